// The loop that smooths rows downwards and sums them along.
// Part of kernel_loops.h: internal linkage, no standard function.
#pragma once

#include "kernel_vectors.h"
#include "kernels.h"

namespace {

constexpr int kSumTaps = SBxKernels::kSummedRows + SBxKernels::kSummedTaps - 1;

#if defined(__AVX512F__)

// Writes carry + the sums of `values` up to each of them, and gives the last of them in all lanes. In each half of a
// vector a sum is made of those of one, two and four neighbours.
inline __m512d StoreSums(double* sums, __m256 values, __m512d carry) {
    const __m512d ones = _mm512_cvtps_pd(values);
    const __m512d twos = _mm512_add_pd(ones, _mm512_maskz_permutex_pd(0xEE, ones, 0x90));
    const __m512d fours = _mm512_add_pd(twos, _mm512_maskz_permutex_pd(0xCC, twos, 0x40));
    const __m512d lowerSum = _mm512_maskz_permutexvar_pd(0xF0, _mm512_set1_epi64(3), fours);
    const __m512d all = _mm512_add_pd(_mm512_add_pd(carry, lowerSum), fours);
    _mm512_storeu_pd(sums, all);
    return _mm512_permutexvar_pd(_mm512_set1_epi64(7), all);
}

void SmoothedSums4(double* const* sums, const float* const* rows, std::size_t count, const float* taps) {
    __m512 weights[SBxKernels::kSummedTaps];
    for (int tap = 0; tap < SBxKernels::kSummedTaps; ++tap) {
        weights[tap] = _mm512_set1_ps(taps[tap]);
    }
    __m512d carries[SBxKernels::kSummedRows];
    for (int row = 0; row < SBxKernels::kSummedRows; ++row) {
        carries[row] = _mm512_setzero_pd();
        sums[row][0] = 0.0;
    }
    for (std::size_t i = 0; i < count; i += kWide) {
        __m512 samples[kSumTaps];
        for (int row = 0; row < kSumTaps; ++row) {
            samples[row] = _mm512_loadu_ps(rows[row] + i);
        }
        for (int row = 0; row < SBxKernels::kSummedRows; ++row) {
            __m512 smooth = _mm512_mul_ps(weights[0], samples[row]);
            for (int tap = 1; tap < SBxKernels::kSummedTaps; ++tap) {
                smooth = _mm512_add_ps(smooth, _mm512_mul_ps(weights[tap], samples[row + tap]));
            }
            double* out = sums[row] + i + 1;
            carries[row] = StoreSums(out, _mm512_castps512_ps256(smooth), carries[row]);
            carries[row] = StoreSums(out + kLanes, _mm512_extractf32x8_ps(smooth, 1), carries[row]);
        }
    }
}

#else

typedef float TFourFloats __attribute__((vector_size(4 * sizeof(float))));

// The sums of `values` up to each of them: those of one, two and four neighbours.
inline THalf SumsOfFour(const float* values) {
    TFourFloats four;
    __builtin_memcpy(&four, values, sizeof four);
    const THalf ones = __builtin_convertvector(four, THalf);
    const THalf twos = ones + __builtin_shufflevector(THalf{}, ones, 0, 4, 5, 6);
    return twos + __builtin_shufflevector(THalf{}, twos, 0, 1, 4, 5);
}

// Smooths a group of samples.
inline void SmoothGroup(float* __restrict out, const float* const* rows, std::size_t first, const float* taps) {
    const float* r0 = rows[0] + first;
    const float* r1 = rows[1] + first;
    const float* r2 = rows[2] + first;
    const float* r3 = rows[3] + first;
    const float* r4 = rows[4] + first;
    const float* r5 = rows[5] + first;
    const float* r6 = rows[6] + first;
    const float t0 = taps[0], t1 = taps[1], t2 = taps[2], t3 = taps[3], t4 = taps[4], t5 = taps[5], t6 = taps[6];
    for (std::size_t i = 0; i < kWide; ++i) {
        out[i] = t0 * r0[i] + t1 * r1[i] + t2 * r2[i] + t3 * r3[i] + t4 * r4[i] + t5 * r5[i] + t6 * r6[i];
    }
}

void SmoothedSums4(double* const* sums, const float* const* rows, std::size_t count, const float* taps) {
    constexpr std::size_t kFour = 4;
    double carries[SBxKernels::kSummedRows] = {};
    for (int row = 0; row < SBxKernels::kSummedRows; ++row) {
        sums[row][0] = 0.0;
    }
    for (std::size_t first = 0; first < count; first += kWide) {
        for (int row = 0; row < SBxKernels::kSummedRows; ++row) {
            float smooth[kWide];
            SmoothGroup(smooth, rows + row, first, taps);
            double* out = sums[row] + first + 1;
            double carry = carries[row];
            for (std::size_t i = 0; i < kWide; i += kFour) {
                const THalf all = carry + SumsOfFour(smooth + i);
                Store(out + i, all);
                carry = all[3];
            }
            carries[row] = carry;
        }
    }
}

#endif

}  // namespace
