// The loops that resample rows and columns.
// Part of kernel_loops.h: internal linkage, no standard function.
#pragma once

#include <cstddef>

#include "kernel_vectors.h"
#include "kernels.h"

namespace {

#if defined(__AVX512F__)
// Eight bytes as numbers. Written with the instructions' own names: the compiler takes a conversion apart otherwise.
inline TDoubles LoadBytes(const unsigned char* from) {
    return _mm512_cvtepi32_pd(_mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(from))));
}

inline TDoubles Permuted(TDoubles lower, TMask places, TDoubles upper) {
    return _mm512_permutex2var_pd(lower, reinterpret_cast<__m512i>(places), upper);
}
#endif

template <int Taps>
void ResampleAlongTaps(double* __restrict out, const unsigned char* __restrict in, const int* __restrict first,
                       const double* const* weights, std::size_t count) {
    const double* weight[Taps];
    for (int tap = 0; tap < Taps; ++tap) {
        weight[tap] = weights[tap];
    }
    std::size_t i = 0;
#if defined(__AVX512F__)
    // Eight samples of a picture that is hardly shrunk lie so close that sixteen bytes of the source hold them all: one
    // permutation of two registers a tap.
    for (; i + kLanes <= count; i += kLanes) {
        if (first[i + kLanes - 1] - first[i] + Taps > 2 * kLanes) {
            break;
        }
        const unsigned char* source = in + first[i];
        const TDoubles lower = LoadBytes(source);
        const TDoubles upper = LoadBytes(source + kLanes);
        TInts places;
        __builtin_memcpy(&places, first + i, sizeof places);
        const TMask place = __builtin_convertvector(places - first[i], TMask);
        TDoubles sum = Load<TDoubles>(weight[0] + i) * Permuted(lower, place, upper);
        for (int tap = 1; tap < Taps; ++tap) {
            sum += Load<TDoubles>(weight[tap] + i) * Permuted(lower, place + tap, upper);
        }
        Store(out + i, sum);
    }
#endif
    for (; i < count; ++i) {
        const unsigned char* source = in + first[i];
        double sum = weight[0][i] * source[0];
        for (int tap = 1; tap < Taps; ++tap) {
            sum += weight[tap][i] * source[tap];
        }
        out[i] = sum;
    }
}

void ResampleAlong(double* out, const unsigned char* in, const int* first, const double* const* weights, int tapCount,
                   std::size_t count) {
    if (tapCount == 2) {
        ResampleAlongTaps<2>(out, in, first, weights, count);
        return;
    }
    if (tapCount == 3) {
        ResampleAlongTaps<3>(out, in, first, weights, count);
        return;
    }
    for (std::size_t i = 0; i < count; ++i) {
        const unsigned char* source = in + first[i];
        double sum = weights[0][i] * source[0];
        for (int tap = 1; tap < tapCount; ++tap) {
            sum += weights[tap][i] * source[tap];
        }
        out[i] = sum;
    }
}

void EnlargeAlong(double* __restrict out, const unsigned char* __restrict in, const int* __restrict first,
                  const unsigned int* __restrict shares, std::size_t count) {
    std::size_t i = 0;
    // The samples of a group lie close together in the source: one permutation brings both bytes of every sample to its
    // place, as 16-bit numbers, and one instruction multiplies and adds the pairs.
#if defined(__AVX512VBMI__)
    const __m512i behind = _mm512_set1_epi32(0x10000);
    for (; i + kWide <= count; i += kWide) {
        const __m512i source =
            _mm512_castsi256_si512(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(in + first[i])));
        const __m512i place = _mm512_sub_epi32(_mm512_loadu_si512(first + i), _mm512_set1_epi32(first[i]));
        const __m512i places = _mm512_add_epi32(_mm512_or_si512(place, _mm512_slli_epi32(place, 16)), behind);
        const __m512i pairs = _mm512_maskz_permutexvar_epi8(0x5555555555555555u, places, source);
        const __m512i sums = _mm512_madd_epi16(pairs, _mm512_loadu_si512(shares + i));
        _mm512_storeu_pd(out + i, _mm512_cvtepi32_pd(_mm512_castsi512_si256(sums)));
        _mm512_storeu_pd(out + i + kLanes, _mm512_cvtepi32_pd(_mm512_extracti64x4_epi64(sums, 1)));
    }
#elif defined(__AVX2__)
    constexpr std::size_t kHalf = kWide / 2;
    const __m256i behind = _mm256_set1_epi32(static_cast<int>(0x80018000u));
    for (; i + kHalf <= count; i += kHalf) {
        const __m256i source =
            _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(in + first[i])));
        const __m256i place = _mm256_sub_epi32(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(first + i)),
                                               _mm256_set1_epi32(first[i]));
        const __m256i places = _mm256_add_epi32(_mm256_or_si256(place, _mm256_slli_epi32(place, 16)), behind);
        const __m256i pairs = _mm256_shuffle_epi8(source, places);
        const __m256i sums = _mm256_madd_epi16(pairs, _mm256_loadu_si256(reinterpret_cast<const __m256i*>(shares + i)));
        _mm256_storeu_pd(out + i, _mm256_cvtepi32_pd(_mm256_castsi256_si128(sums)));
        _mm256_storeu_pd(out + i + kHalf / 2, _mm256_cvtepi32_pd(_mm256_extracti128_si256(sums, 1)));
    }
#endif
    for (; i < count; ++i) {
        const unsigned char* source = in + first[i];
        out[i] = static_cast<double>((shares[i] & 0xFFFF) * source[0] + (shares[i] >> 16) * source[1]);
    }
}

// One sample of a column: the weighted sum of `Rows` rows, of `rowCount` where that is 0.
template <int Rows>
inline float Blended(const double* const* rows, const double* weights, int rowCount, std::size_t i) {
    double sum = weights[0] * rows[0][i];
    for (int row = 1; row < (Rows > 0 ? Rows : rowCount); ++row) {
        sum += weights[row] * rows[row][i];
    }
    return static_cast<float>(sum);
}

// The pointers and weights as values of their own, which the compiler keeps in registers.
template <int Rows>
struct SRows {
    const double* rows[Rows];
    double weights[Rows];
    SRows(const double* const* theRows, const double* theWeights) {
        for (int row = 0; row < Rows; ++row) {
            rows[row] = theRows[row];
            weights[row] = theWeights[row];
        }
    }
};

template <int Rows>
void BlendRows(float* __restrict out, const double* const* rows, const double* weights, std::size_t count) {
    const SRows<Rows> own(rows, weights);
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = Blended<Rows>(own.rows, own.weights, Rows, i);
    }
}

template <int Rows>
void BlendMean(float* __restrict out, const double* const* first, const double* const* second, const double* weights,
               std::size_t count) {
    const SRows<Rows> a(first, weights);
    const SRows<Rows> b(second, weights);
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = (Blended<Rows>(a.rows, a.weights, Rows, i) + Blended<Rows>(b.rows, b.weights, Rows, i)) * 0.5f;
    }
}

void ResampleAcross(float* out, const double* const* rows, const double* weights, int rowCount, std::size_t count) {
    if (rowCount == 2) {
        BlendRows<2>(out, rows, weights, count);
        return;
    }
    if (rowCount == 3) {
        BlendRows<3>(out, rows, weights, count);
        return;
    }
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = Blended<0>(rows, weights, rowCount, i);
    }
}

void ResampleMeanAcross(float* out, const double* const* first, const double* const* second, const double* weights,
                        int rowCount, std::size_t count) {
    if (rowCount == 2) {
        BlendMean<2>(out, first, second, weights, count);
        return;
    }
    if (rowCount == 3) {
        BlendMean<3>(out, first, second, weights, count);
        return;
    }
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = (Blended<0>(first, weights, rowCount, i) + Blended<0>(second, weights, rowCount, i)) * 0.5f;
    }
}

}  // namespace
