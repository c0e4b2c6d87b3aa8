// The loops that make maps of cells.
// Part of kernel_loops.h: internal linkage, no standard function.
#pragma once

#include <cstddef>

#include "kernel_vectors.h"
#include "kernels.h"

namespace {

constexpr float kRadiansOfTurn = 6.2831853f;

typedef int TFourInts __attribute__((vector_size(4 * sizeof(int))));
typedef float TFourSamples __attribute__((vector_size(4 * sizeof(float))));

inline unsigned int WholeNumber(float sample, float scale) {
    return static_cast<unsigned int>(static_cast<int>(sample * scale));
}

void SumBothAxes(unsigned int* __restrict out, const unsigned int* above, const float* in, float scale,
                 std::size_t count) {
    std::size_t i = 0;
    unsigned int carry = 0;
#if defined(__AVX512F__)
    // Sums of one, two, four and eight neighbours.
    const __m512i zero = _mm512_setzero_si512();
    const __m512i last = _mm512_set1_epi32(15);
    __m512i carries = zero;
    for (; i + kWide <= count; i += kWide) {
        const __m512i ones = _mm512_cvttps_epi32(_mm512_mul_ps(_mm512_loadu_ps(in + i), _mm512_set1_ps(scale)));
        const __m512i twos = _mm512_add_epi32(ones, _mm512_alignr_epi32(ones, zero, 15));
        const __m512i fours = _mm512_add_epi32(twos, _mm512_alignr_epi32(twos, zero, 14));
        const __m512i eights = _mm512_add_epi32(fours, _mm512_alignr_epi32(fours, zero, 12));
        const __m512i all = _mm512_add_epi32(eights, _mm512_alignr_epi32(eights, zero, 8));
        const __m512i sums = _mm512_add_epi32(all, carries);
        _mm512_storeu_si512(out + i, _mm512_add_epi32(sums, _mm512_loadu_si512(above + i)));
        carries = _mm512_add_epi32(carries, _mm512_permutexvar_epi32(last, all));
    }
    carry = static_cast<unsigned int>(_mm_cvtsi128_si32(_mm512_castsi512_si128(carries)));
#else
    typedef unsigned int TFourSums __attribute__((vector_size(4 * sizeof(unsigned int))));
    constexpr std::size_t kFour = 4;
    TFourSums carries = {};
    for (; i + kFour <= count; i += kFour) {
        TFourSamples samples;
        TFourSums upper;
        __builtin_memcpy(&samples, in + i, sizeof samples);
        __builtin_memcpy(&upper, above + i, sizeof upper);
        const auto ones = reinterpret_cast<TFourSums>(__builtin_convertvector(samples * scale, TFourInts));
        const TFourSums twos = ones + __builtin_shufflevector(TFourSums{}, ones, 0, 4, 5, 6);
        const TFourSums all = twos + __builtin_shufflevector(TFourSums{}, twos, 0, 1, 4, 5);
        const TFourSums sums = carries + all + upper;
        __builtin_memcpy(out + i, &sums, sizeof sums);
        carries += __builtin_shufflevector(all, all, 3, 3, 3, 3);
    }
    carry = carries[0];
#endif
    for (; i < count; ++i) {
        carry += WholeNumber(in[i], scale);
        out[i] = above[i] + carry;
    }
}

inline float SumOfBox(const SBxBoxes& boxes, std::size_t i) {
    return static_cast<float>(
        static_cast<int>((boxes.lowerRight[i] - boxes.lowerLeft[i]) - (boxes.upperRight[i] - boxes.upperLeft[i])));
}

void MeansOfBoxes(float* __restrict out, const SBxBoxes& boxes, const float* shares, std::size_t count) {
    const SBxBoxes all = boxes;
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = SumOfBox(all, i) * shares[i];
    }
}

void ContrastsOfCells(float* __restrict out, const SBxCellBoxes& cells, float factor, float most, std::size_t count) {
    const SBxBoxes wide = cells.wide;
    const SBxBoxes high = cells.high;
    const SBxBoxes middle = cells.middle;
    const SBxBoxes ground = cells.ground;
    const float* const shares = cells.shares;
    const float* const sharesOfGround = cells.sharesOfGround;
    const auto sumOf = [](const SBxBoxes& boxes, std::size_t i) {
        return (boxes.lowerRight[i] - boxes.lowerLeft[i]) - (boxes.upperRight[i] - boxes.upperLeft[i]);
    };
    for (std::size_t i = 0; i < count; ++i) {
        const unsigned int cross = sumOf(wide, i) + sumOf(high, i) - sumOf(middle, i);
        const float mean = static_cast<float>(static_cast<int>(cross)) * shares[i];
        const float contrast = factor * (mean - SumOfBox(ground, i) * sharesOfGround[i]);
        const float square = contrast * contrast;
        out[i] = square < most ? square : most;
    }
}

// The logarithm of a quotient between a fifth and 1, to some thousandths, without a call.
inline float LogOfQuotient(float numerator, float denominator) {
    const float z = (numerator - denominator) / (numerator + denominator);
    const float square = z * z;
    return 2.0f * z * (1.0f + square * (1.0f / 3.0f + square * (1.0f / 5.0f + square / 7.0f)));
}

void EvidenceOfCells(float* __restrict values, const SBxBoxes& boxes, const float* shares, const SBxCellOdds& odds,
                     std::size_t count) {
    const SBxBoxes all = boxes;
    const SBxCellOdds known = odds;
    for (std::size_t i = 0; i < count; ++i) {
        const float above = SumOfBox(all, i) * shares[i] - known.unrestOfSign;
        const float unrest = known.leastUnrest > above ? known.leastUnrest : above;
        const float aligned = known.alignedVariance + unrest;
        const float elsewhere = known.elsewhereVariance + unrest;
        const float square = values[i] < known.mostSquare ? values[i] : known.mostSquare;
        values[i] = 0.5f * (LogOfQuotient(elsewhere, aligned) + square * (aligned - elsewhere) / (aligned * elsewhere));
    }
}

void TakeOffMeans(float* __restrict values, const SBxBoxes& boxes, const float* shares, float most, std::size_t count) {
    const SBxBoxes all = boxes;
    for (std::size_t i = 0; i < count; ++i) {
        const float value = values[i] - SumOfBox(all, i) * shares[i];
        const float low = value < -most ? -most : value;
        values[i] = low > most ? most : low;
    }
}

// To two thousandths, without a call.
inline float MinusCosine(float angle) {
    const float turns = angle * (1.0f / kRadiansOfTurn);
    const float rest = turns - static_cast<float>(static_cast<int>(turns)) - 0.5f;  // of a turn, -0.5 .. 0.5
    const float square = rest * rest * (kRadiansOfTurn * kRadiansOfTurn);
    const float tail = 1.0f / 720.0f - square * (1.0f / 40320.0f - square / 3628800.0f);
    return 1.0f - square * (0.5f - square * (1.0f / 24.0f - square * tail));
}

void CosinesOfBoxes(float* __restrict out, const SBxBoxes& boxes, const float* shares, float factor,
                    std::size_t count) {
    const SBxBoxes all = boxes;
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = MinusCosine(SumOfBox(all, i) * shares[i] * factor);
    }
}

void AddContrasts(float* __restrict values, const SBxCellBoxes& cells, float weight, std::size_t count) {
    const SBxBoxes middle = cells.middle;
    const SBxBoxes ground = cells.ground;
    const float* const shares = cells.shares;
    const float* const sharesOfGround = cells.sharesOfGround;
    for (std::size_t i = 0; i < count; ++i) {
        values[i] += weight * (SumOfBox(middle, i) * shares[i] - SumOfBox(ground, i) * sharesOfGround[i]);
    }
}

}  // namespace
