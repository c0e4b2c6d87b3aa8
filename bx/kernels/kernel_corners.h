// The loops of the corner search, several steps in one, in whole groups of 16 samples.
// Part of kernel_loops.h: internal linkage, no standard function.
#pragma once

#include <cstddef>

#include "kernel_vectors.h"
#include "kernels.h"

namespace {

#if defined(__AVX512F__)

template <int Tap>
__m512 Shifted(__m512 lower, __m512 upper) {
    return _mm512_castsi512_ps(_mm512_alignr_epi32(_mm512_castps_si512(upper), _mm512_castps_si512(lower), Tap));
}

// The neighbours are shifted together from two registers: loads of 64 bytes at every offset would cross a line of the
// cache each time.
template <int Taps>
__m512 FilterShifted(__m512 lower, __m512 upper, const float* weight) {
    __m512 sum = _mm512_mul_ps(_mm512_set1_ps(weight[0]), lower);
    sum = _mm512_add_ps(sum, _mm512_mul_ps(_mm512_set1_ps(weight[1]), Shifted<1>(lower, upper)));
    sum = _mm512_add_ps(sum, _mm512_mul_ps(_mm512_set1_ps(weight[2]), Shifted<2>(lower, upper)));
    sum = _mm512_add_ps(sum, _mm512_mul_ps(_mm512_set1_ps(weight[3]), Shifted<3>(lower, upper)));
    sum = _mm512_add_ps(sum, _mm512_mul_ps(_mm512_set1_ps(weight[4]), Shifted<4>(lower, upper)));
    if constexpr (Taps == 7) {
        sum = _mm512_add_ps(sum, _mm512_mul_ps(_mm512_set1_ps(weight[5]), Shifted<5>(lower, upper)));
        sum = _mm512_add_ps(sum, _mm512_mul_ps(_mm512_set1_ps(weight[6]), Shifted<6>(lower, upper)));
    }
    return sum;
}

void SmoothAlong(float* __restrict out, const float* __restrict in, std::size_t groups, const float* taps, float low,
                 float high) {
    const __m512 lowest = _mm512_set1_ps(low);
    const __m512 highest = _mm512_set1_ps(high);
    const auto clamped = [&](const float* from) {
        return _mm512_min_ps(_mm512_max_ps(_mm512_loadu_ps(from), lowest), highest);
    };
    __m512 lower = clamped(in);
    for (std::size_t i = 0; i < groups * kWide; i += kWide) {
        const __m512 upper = clamped(in + i + kWide);
        _mm512_storeu_ps(out + i, FilterShifted<7>(lower, upper, taps));
        lower = upper;
    }
}

// The squares of the differences along a row and across it, and their product.
struct SProducts {
    __m512 xx;
    __m512 xy;
    __m512 yy;
};

inline SProducts ProductsAt(const float* row, const float* next) {
    const __m512 here = _mm512_loadu_ps(row);
    const __m512 dx = _mm512_sub_ps(_mm512_loadu_ps(row + 1), here);
    const __m512 dy = _mm512_sub_ps(_mm512_loadu_ps(next), here);
    return {_mm512_mul_ps(dx, dx), _mm512_mul_ps(dx, dy), _mm512_mul_ps(dy, dy)};
}

void LargestGradients(const SBxGradientRows& out, const float* const* rows, int rowCount, std::size_t groups) {
    for (std::size_t i = 0; i < groups * kWide; i += kWide) {
        __m512 xx = _mm512_setzero_ps();
        __m512 yy = xx;
        __m512 trace = xx;
        __m512 here = _mm512_loadu_ps(rows[0] + i);
        for (int row = 0; row < rowCount; ++row) {
            const __m512 next = _mm512_loadu_ps(rows[row + 1] + i);
            const __m512 dx = _mm512_sub_ps(_mm512_loadu_ps(rows[row] + i + 1), here);
            const __m512 dy = _mm512_sub_ps(next, here);
            const __m512 dx2 = _mm512_mul_ps(dx, dx);
            const __m512 dy2 = _mm512_mul_ps(dy, dy);
            xx = _mm512_max_ps(xx, dx2);
            yy = _mm512_max_ps(yy, dy2);
            trace = _mm512_max_ps(trace, _mm512_add_ps(dx2, dy2));
            here = next;
        }
        _mm512_storeu_ps(out.xx + i, xx);
        _mm512_storeu_ps(out.yy + i, yy);
        _mm512_storeu_ps(out.trace + i, trace);
    }
}

void LargestOfBlocks(float* out, const float* const* rows, int rowCount, std::size_t blocks) {
    for (std::size_t block = 0; block < blocks; ++block) {
        __m512 largest = _mm512_setzero_ps();
        for (int row = 0; row < rowCount; ++row) {
            const float* from = rows[row] + block * kWide;
            largest = _mm512_max_ps(largest, _mm512_max_ps(_mm512_loadu_ps(from), _mm512_loadu_ps(from + 7)));
        }
        out[block] = _mm512_reduce_max_ps(largest);
    }
}

void TensorAlong(float* const* out, const float* row, const float* next, std::size_t groups, const float* taps) {
    SProducts lower = ProductsAt(row, next);
    for (std::size_t i = 0; i < groups * kWide; i += kWide) {
        const SProducts upper = ProductsAt(row + i + kWide, next + i + kWide);
        _mm512_storeu_ps(out[0] + i, FilterShifted<5>(lower.xx, upper.xx, taps));
        _mm512_storeu_ps(out[1] + i, FilterShifted<5>(lower.xy, upper.xy, taps));
        _mm512_storeu_ps(out[2] + i, FilterShifted<5>(lower.yy, upper.yy, taps));
        lower = upper;
    }
}

void ResponseAcross(float* __restrict out, const float* const* xx, const float* const* xy, const float* const* yy,
                    std::size_t groups, const float* taps) {
    const auto across = [taps](const float* const* rows, std::size_t i) {
        __m512 sum = _mm512_mul_ps(_mm512_set1_ps(taps[0]), _mm512_loadu_ps(rows[0] + i));
        for (int tap = 1; tap < 5; ++tap) {
            sum = _mm512_add_ps(sum, _mm512_mul_ps(_mm512_set1_ps(taps[tap]), _mm512_loadu_ps(rows[tap] + i)));
        }
        return sum;
    };
    const __m512 share = _mm512_set1_ps(0.08f);
    for (std::size_t i = 0; i < groups * kWide; i += kWide) {
        const __m512 sxx = across(xx, i);
        const __m512 sxy = across(xy, i);
        const __m512 syy = across(yy, i);
        const __m512 trace = _mm512_add_ps(sxx, syy);
        const __m512 determinant = _mm512_sub_ps(_mm512_mul_ps(sxx, syy), _mm512_mul_ps(sxy, sxy));
        _mm512_storeu_ps(out + i, _mm512_sub_ps(determinant, _mm512_mul_ps(share, _mm512_mul_ps(trace, trace))));
    }
}

void StrictMaxima(unsigned short* __restrict flags, const float* upper, const float* middle, const float* lower,
                  std::size_t groups, float threshold) {
    const __m512 least = _mm512_set1_ps(threshold);
    for (std::size_t group = 0; group < groups; ++group) {
        const std::size_t i = group * kWide;
        const __m512 value = _mm512_loadu_ps(middle + i + 1);
        __mmask16 above = _mm512_cmp_ps_mask(value, least, _CMP_GT_OQ);
        if (above != 0) {
            const float* const neighbours[] = {upper,      upper + 1, upper + 2, middle,
                                               middle + 2, lower,     lower + 1, lower + 2};
            for (const float* neighbour : neighbours) {
                above = _mm512_mask_cmp_ps_mask(above, value, _mm512_loadu_ps(neighbour + i), _CMP_GT_OQ);
            }
        }
        flags[group] = above;
    }
}

#else

void SmoothAlong(float* __restrict out, const float* __restrict in, std::size_t groups, const float* taps, float low,
                 float high) {
    const float t0 = taps[0], t1 = taps[1], t2 = taps[2], t3 = taps[3], t4 = taps[4], t5 = taps[5], t6 = taps[6];
    for (std::size_t i = 0; i < groups * kWide; i += kWide) {
        float c[kWide + 8];
        for (std::size_t k = 0; k < kWide + 8; ++k) {
            const float raised = in[i + k] < low ? low : in[i + k];
            c[k] = raised >= high ? high : raised;
        }
        for (std::size_t k = 0; k < kWide; ++k) {
            out[i + k] = t0 * c[k] + t1 * c[k + 1] + t2 * c[k + 2] + t3 * c[k + 3] + t4 * c[k + 4] + t5 * c[k + 5] +
                         t6 * c[k + 6];
        }
    }
}

void LargestGradients(const SBxGradientRows& out, const float* const* rows, int rowCount, std::size_t groups) {
    for (std::size_t i = 0; i < groups * kWide; i += kWide) {
        float xx[kWide] = {};
        float yy[kWide] = {};
        float trace[kWide] = {};
        for (int row = 0; row < rowCount; ++row) {
            const float* here = rows[row] + i;
            const float* next = rows[row + 1] + i;
            for (std::size_t k = 0; k < kWide; ++k) {
                const float dx = here[k + 1] - here[k];
                const float dy = next[k] - here[k];
                const float dx2 = dx * dx;
                const float dy2 = dy * dy;
                const float sum = dx2 + dy2;
                xx[k] = dx2 > xx[k] ? dx2 : xx[k];
                yy[k] = dy2 > yy[k] ? dy2 : yy[k];
                trace[k] = sum > trace[k] ? sum : trace[k];
            }
        }
        __builtin_memcpy(out.xx + i, xx, sizeof xx);
        __builtin_memcpy(out.yy + i, yy, sizeof yy);
        __builtin_memcpy(out.trace + i, trace, sizeof trace);
    }
}

void LargestOfBlocks(float* out, const float* const* rows, int rowCount, std::size_t blocks) {
    for (std::size_t block = 0; block < blocks; ++block) {
        float largest[kWide] = {};
        for (int row = 0; row < rowCount; ++row) {
            const float* from = rows[row] + block * kWide;
            for (std::size_t k = 0; k < kWide; ++k) {
                const float larger = from[k] > from[k + 7] ? from[k] : from[k + 7];
                largest[k] = larger > largest[k] ? larger : largest[k];
            }
        }
        float most = largest[0];
        for (std::size_t k = 1; k < kWide; ++k) {
            most = largest[k] > most ? largest[k] : most;
        }
        out[block] = most;
    }
}

void TensorAlong(float* const* out, const float* row, const float* next, std::size_t groups, const float* taps) {
    const float t0 = taps[0], t1 = taps[1], t2 = taps[2], t3 = taps[3], t4 = taps[4];
    for (std::size_t i = 0; i < groups * kWide; i += kWide) {
        float products[3][kWide + 4];
        for (std::size_t k = 0; k < kWide + 4; ++k) {
            const float dx = row[i + k + 1] - row[i + k];
            const float dy = next[i + k] - row[i + k];
            products[0][k] = dx * dx;
            products[1][k] = dx * dy;
            products[2][k] = dy * dy;
        }
        for (int product = 0; product < 3; ++product) {
            const float* p = products[product];
            float* __restrict to = out[product] + i;
            for (std::size_t k = 0; k < kWide; ++k) {
                to[k] = t0 * p[k] + t1 * p[k + 1] + t2 * p[k + 2] + t3 * p[k + 3] + t4 * p[k + 4];
            }
        }
    }
}

void ResponseAcross(float* __restrict out, const float* const* xx, const float* const* xy, const float* const* yy,
                    std::size_t groups, const float* taps) {
    const float t0 = taps[0], t1 = taps[1], t2 = taps[2], t3 = taps[3], t4 = taps[4];
    const auto across = [=](float* __restrict to, const float* const* rows, std::size_t i) {
        for (std::size_t k = 0; k < kWide; ++k) {
            to[k] = t0 * rows[0][i + k] + t1 * rows[1][i + k] + t2 * rows[2][i + k] + t3 * rows[3][i + k] +
                    t4 * rows[4][i + k];
        }
    };
    for (std::size_t i = 0; i < groups * kWide; i += kWide) {
        float sxx[kWide];
        float sxy[kWide];
        float syy[kWide];
        across(sxx, xx, i);
        across(sxy, xy, i);
        across(syy, yy, i);
        for (std::size_t k = 0; k < kWide; ++k) {
            const float trace = sxx[k] + syy[k];
            out[i + k] = sxx[k] * syy[k] - sxy[k] * sxy[k] - 0.08f * (trace * trace);
        }
    }
}

void StrictMaxima(unsigned short* __restrict flags, const float* upper, const float* middle, const float* lower,
                  std::size_t groups, float threshold) {
    for (std::size_t group = 0; group < groups; ++group) {
        const float* u = upper + group * kWide;
        const float* m = middle + group * kWide;
        const float* l = lower + group * kWide;
        int any = 0;
        for (std::size_t k = 0; k < kWide; ++k) {
            any |= m[k + 1] > threshold;
        }
        unsigned int found = 0;
        for (std::size_t k = 0; any != 0 && k < kWide; ++k) {
            const float value = m[k + 1];
            const bool above = (value > threshold) & (value > u[k]) & (value > u[k + 1]) & (value > u[k + 2]) &
                               (value > m[k]) & (value > m[k + 2]) & (value > l[k]) & (value > l[k + 1]) &
                               (value > l[k + 2]);
            found |= static_cast<unsigned int>(above) << k;
        }
        flags[group] = static_cast<unsigned short>(found);
    }
}

#endif

}  // namespace
