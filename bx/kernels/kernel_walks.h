// The loop that walks across a plane.
// Part of kernel_loops.h: internal linkage, no standard function.
#pragma once

#include <cstddef>

#include "kernel_vectors.h"
#include "kernels.h"

namespace {

inline short SampleOfWalk(const SBxPlaneWalk& walk, std::size_t i) {
    const auto steps = static_cast<double>(static_cast<int>(i));
    const double x = walk.x + steps * walk.stepX;
    const double y = walk.y + steps * walk.stepY;
    if (!(x >= 0.0 && y >= 0.0 && x < walk.width - 1 && y < walk.height - 1)) {
        return 0;
    }
    const int column = static_cast<int>(x);
    const int row = static_cast<int>(y);
    const auto dx = static_cast<float>(x - column);
    const auto dy = static_cast<float>(y - row);
    const float* upper = walk.plane + static_cast<std::ptrdiff_t>(row) * walk.width + column;
    const float* lower = upper + walk.width;
    const float above = upper[0] + dx * (upper[1] - upper[0]);
    const float below = lower[0] + dx * (lower[1] - lower[0]);
    return static_cast<short>(walk.factor * (above + dy * (below - above)));
}

#if defined(__AVX512F__)

// Two neighbouring samples of a row in each lane, and the value between them.
inline __m256 BetweenNeighbours(__m512i pairs, __m256 dx) {
    const __m256 left = _mm256_castsi256_ps(_mm512_cvtepi64_epi32(pairs));
    const __m256 right = _mm256_castsi256_ps(_mm512_cvtepi64_epi32(_mm512_srli_epi64(pairs, 32)));
    return _mm256_add_ps(left, _mm256_mul_ps(dx, _mm256_sub_ps(right, left)));
}

void SampleAlong(short* __restrict out, const SBxPlaneWalk& walk, std::size_t count) {
    const SBxPlaneWalk own = walk;
    const __m512d zero = _mm512_setzero_pd();
    const __m512d right = _mm512_set1_pd(own.width - 1);
    const __m512d bottom = _mm512_set1_pd(own.height - 1);
    __m256i steps = _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7);
    std::size_t i = 0;
    for (; i + kLanes <= count; i += kLanes, steps = _mm256_add_epi32(steps, _mm256_set1_epi32(kLanes))) {
        const __m512d numbers = _mm512_cvtepi32_pd(steps);
        const __m512d x = _mm512_add_pd(_mm512_set1_pd(own.x), _mm512_mul_pd(numbers, _mm512_set1_pd(own.stepX)));
        const __m512d y = _mm512_add_pd(_mm512_set1_pd(own.y), _mm512_mul_pd(numbers, _mm512_set1_pd(own.stepY)));
        const __mmask8 inside = _mm512_cmp_pd_mask(x, zero, _CMP_GE_OQ) & _mm512_cmp_pd_mask(y, zero, _CMP_GE_OQ) &
                                _mm512_cmp_pd_mask(x, right, _CMP_LT_OQ) & _mm512_cmp_pd_mask(y, bottom, _CMP_LT_OQ);
        if (inside == 0) {
            _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i), _mm_setzero_si128());
            continue;
        }
        const __m256i columns = _mm512_cvttpd_epi32(x);
        const __m256i rows = _mm512_cvttpd_epi32(y);
        const __m256 dx = _mm512_cvtpd_ps(_mm512_sub_pd(x, _mm512_cvtepi32_pd(columns)));
        const __m256 dy = _mm512_cvtpd_ps(_mm512_sub_pd(y, _mm512_cvtepi32_pd(rows)));
        const __m256i places = _mm256_add_epi32(_mm256_mullo_epi32(rows, _mm256_set1_epi32(own.width)), columns);
        const __m512i none = _mm512_setzero_si512();
        const __m512i upper = _mm512_mask_i32gather_epi64(none, inside, places, own.plane, sizeof(float));
        const __m512i lower = _mm512_mask_i32gather_epi64(none, inside, places, own.plane + own.width, sizeof(float));
        const __m256 above = BetweenNeighbours(upper, dx);
        const __m256 below = BetweenNeighbours(lower, dx);
        const __m256 value = _mm256_add_ps(above, _mm256_mul_ps(dy, _mm256_sub_ps(below, above)));
        const __m256i whole = _mm256_maskz_cvttps_epi32(inside, _mm256_mul_ps(_mm256_set1_ps(own.factor), value));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i), _mm256_cvtepi32_epi16(whole));
    }
    for (; i < count; ++i) {
        out[i] = SampleOfWalk(own, i);
    }
}

#else

void SampleAlong(short* __restrict out, const SBxPlaneWalk& walk, std::size_t count) {
    const SBxPlaneWalk own = walk;
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = SampleOfWalk(own, i);
    }
}

#endif

}  // namespace
