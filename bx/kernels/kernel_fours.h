// The loop that adds up four rows of whole numbers.
// Part of kernel_loops.h: internal linkage, no standard function.
#pragma once

#include <cstddef>

#if defined(__AVX512F__)
#include <immintrin.h>
#endif

namespace {

#if defined(__AVX512F__)

inline short LargestOf(__m512i values) {
    const __m256i half = _mm256_max_epi16(_mm512_castsi512_si256(values), _mm512_extracti64x4_epi64(values, 1));
    const __m128i quarter = _mm_max_epi16(_mm256_castsi256_si128(half), _mm256_extracti128_si256(half, 1));
    // What is largest is what lacks least of 32767.
    const __m128i lack = _mm_minpos_epu16(_mm_xor_si128(quarter, _mm_set1_epi16(32767)));
    return static_cast<short>(_mm_cvtsi128_si32(lack) ^ 32767);
}

// The sums of so many places, 0 in the others.
inline __m512i SumsOfFour(const short* a, const short* b, const short* c, const short* d, __mmask32 places) {
    return _mm512_add_epi16(_mm512_add_epi16(_mm512_maskz_loadu_epi16(places, a), _mm512_maskz_loadu_epi16(places, b)),
                            _mm512_add_epi16(_mm512_maskz_loadu_epi16(places, c), _mm512_maskz_loadu_epi16(places, d)));
}

// Rows are short, so what is left of them behind whole vectors counts. Without `out` nothing is written.
inline short SumAndFindLargest(short* out, const short* a, const short* b, const short* c, const short* d,
                               std::size_t count) {
    constexpr std::size_t kShorts = 32;
    __m512i largest = _mm512_set1_epi16(-32768);
    for (std::size_t i = 0; i < count; i += kShorts) {
        const std::size_t left = count - i;
        const __mmask32 places = left < kShorts ? (1U << left) - 1U : ~0U;
        const __m512i sums = SumsOfFour(a + i, b + i, c + i, d + i, places);
        if (out != nullptr) {
            _mm512_mask_storeu_epi16(out + i, places, sums);
        }
        largest = _mm512_mask_max_epi16(largest, places, largest, sums);
    }
    return LargestOf(largest);
}

short SumFour(short* out, const short* a, const short* b, const short* c, const short* d, std::size_t count) {
    return SumAndFindLargest(out, a, b, c, d, count);
}

short LargestOfFour(const short* a, const short* b, const short* c, const short* d, std::size_t count) {
    return SumAndFindLargest(nullptr, a, b, c, d, count);
}

#else

short SumFour(short* __restrict out, const short* a, const short* b, const short* c, const short* d,
              std::size_t count) {
    short largest = -32768;
    for (std::size_t i = 0; i < count; ++i) {
        const auto sum = static_cast<short>(a[i] + b[i] + c[i] + d[i]);
        out[i] = sum;
        largest = sum > largest ? sum : largest;
    }
    return largest;
}

short LargestOfFour(const short* a, const short* b, const short* c, const short* d, std::size_t count) {
    short largest = -32768;
    for (std::size_t i = 0; i < count; ++i) {
        const auto sum = static_cast<short>(a[i] + b[i] + c[i] + d[i]);
        largest = sum > largest ? sum : largest;
    }
    return largest;
}

#endif

}  // namespace
