// The loop that weighs all texts of the words of a sign at once.
// Part of kernel_loops.h: internal linkage, no standard function.
#pragma once

#include <cstddef>

#include "kernel_vectors.h"
#include "kernels.h"

namespace {

constexpr int kWords = SBxKernels::kWords;
constexpr int kWordTexts = SBxKernels::kWordTexts;
constexpr int kNearTexts = 8;                       // that differ in the first three data bits
constexpr int kFarTexts = kWordTexts / kNearTexts;  // that differ in the others
constexpr int kFarData = SBxKernels::kWordData - 3;

// As many words as a register holds.
#if defined(__AVX512F__)
constexpr int kWordLanes = 16;
#elif defined(__AVX2__)
constexpr int kWordLanes = 8;
#else
constexpr int kWordLanes = 4;
#endif
typedef float TWords __attribute__((vector_size(kWordLanes * sizeof(float))));

inline TWords LargerWords(TWords a, TWords b) {
    return a > b ? a : b;
}

// A Walsh-Hadamard transform of `Count` values.
template <int Count>
inline void TransformWords(TWords* values) {
#pragma GCC unroll 4
    for (int step = 1; step < Count; step *= 2) {
#pragma GCC unroll 16
        for (int i = 0; i < Count; ++i) {
            if ((i & step) == 0) {
                const TWords difference = values[i] - values[i + step];
                values[i] += values[i + step];
                values[i + step] = difference;
            }
        }
    }
}

// The largest of the values whose index has a 0, and of those whose index has a 1, at each of log2(Count) bits, from
// the highest on; spoils the values and leaves the largest of all in the first.
template <int Count>
inline void RaiseByBits(TWords* zeros, TWords* ones, TWords* values) {
    int bit = 0;
#pragma GCC unroll 4
    for (int half = Count / 2; half >= 1; half /= 2, ++bit) {
        TWords zero = values[0];
        TWords one = values[half];
        values[0] = LargerWords(zero, one);
#pragma GCC unroll 16
        for (int i = 1; i < half; ++i) {
            zero = LargerWords(zero, values[i]);
            one = LargerWords(one, values[i + half]);
            values[i] = LargerWords(values[i], values[i + half]);
        }
        zeros[bit] = LargerWords(zeros[bit], zero);
        ones[bit] = LargerWords(ones[bit], one);
    }
}

inline void WeighSomeWords(float* zeros, float* ones, float* weights) {
    for (int block = 0; block < kFarTexts; ++block) {
        float* const from = weights + static_cast<std::ptrdiff_t>(block) * kNearTexts * kWords;
        TWords near[kNearTexts];
        for (int i = 0; i < kNearTexts; ++i) {
            near[i] = Load<TWords>(from + static_cast<std::ptrdiff_t>(i) * kWords);
        }
        TransformWords<kNearTexts>(near);
        for (int i = 0; i < kNearTexts; ++i) {
            Store(from + static_cast<std::ptrdiff_t>(i) * kWords, near[i]);
        }
    }
    // From the highest data bit on.
    TWords bestZeros[SBxKernels::kWordData];
    TWords bestOnes[SBxKernels::kWordData];
    for (int bit = 0; bit < SBxKernels::kWordData; ++bit) {
        constexpr float kLowest = -3e38f;
        bestZeros[bit] = bestOnes[bit] = kLowest - TWords{};
    }
    TWords near[kNearTexts];
    for (int first = 0; first < kNearTexts; ++first) {
        TWords far[kFarTexts];
        for (int i = 0; i < kFarTexts; ++i) {
            far[i] = Load<TWords>(weights + static_cast<std::ptrdiff_t>(i * kNearTexts + first) * kWords);
        }
        TransformWords<kFarTexts>(far);
        RaiseByBits<kFarTexts>(bestZeros, bestOnes, far);
        near[first] = far[0];
    }
    RaiseByBits<kNearTexts>(bestZeros + kFarData, bestOnes + kFarData, near);
    for (int bit = 0; bit < SBxKernels::kWordData; ++bit) {
        const std::ptrdiff_t place = static_cast<std::ptrdiff_t>(SBxKernels::kWordData - 1 - bit) * kWords;
        Store(zeros + place, bestZeros[bit]);
        Store(ones + place, bestOnes[bit]);
    }
}

void WeighWords(float* __restrict zeros, float* __restrict ones, float* __restrict weights) {
    for (int word = 0; word < kWords; word += kWordLanes) {
        WeighSomeWords(zeros + word, ones + word, weights + word);
    }
}

}  // namespace
