// The loops themselves. Included once by each kernels_*.cpp, which is compiled for one instruction set.
//
// Everything in here has internal linkage and no standard function is called: a shared inline function compiled for a
// wide form could end up being used on a machine that does not have it.
#pragma once

#if defined(__AVX512F__)
#include <immintrin.h>
#endif

#include "kernels.h"

namespace {

// Eight numbers side by side; the compiler splits them where the registers are narrower.
constexpr int kLanes = 8;
typedef double TDoubles __attribute__((vector_size(kLanes * sizeof(double))));
typedef long long TMask __attribute__((vector_size(kLanes * sizeof(long long))));
typedef int TInts __attribute__((vector_size(kLanes * sizeof(int))));

inline TDoubles LoadDoubles(const double* from) {
    TDoubles value;
    __builtin_memcpy(&value, from, sizeof value);
    return value;
}
inline void StoreDoubles(double* to, TDoubles value) {
    __builtin_memcpy(to, &value, sizeof value);
}
inline TDoubles Splat(double value) {
    return value - TDoubles{};
}
inline TDoubles Larger(TDoubles a, TDoubles b) {
    return a > b ? a : b;
}
inline TDoubles Smaller(TDoubles a, TDoubles b) {
    return a < b ? a : b;
}
#if defined(__AVX512F__)
// Conversions by the instructions' own names: the compiler takes them apart otherwise.
inline TDoubles ToDoubles(TInts a) {
    return _mm512_cvtepi32_pd(reinterpret_cast<__m256i>(a));
}
inline TInts ToInts(TDoubles a) {
    return reinterpret_cast<TInts>(_mm512_cvttpd_epi32(a));
}
#else
inline TDoubles ToDoubles(TInts a) {
    return __builtin_convertvector(a, TDoubles);
}
inline TInts ToInts(TDoubles a) {
    return __builtin_convertvector(a, TInts);
}
#endif
inline TDoubles Truncated(TDoubles a) {
    return ToDoubles(ToInts(a));
}

template <int Taps>
void FilterAlongTaps(float* __restrict out, const float* __restrict in, std::size_t count, const float* taps) {
    float weight[Taps];
    for (int tap = 0; tap < Taps; ++tap) {
        weight[tap] = taps[tap];
    }
    for (std::size_t i = 0; i < count; ++i) {
        float sum = weight[0] * in[i];
        for (int tap = 1; tap < Taps; ++tap) {
            sum += weight[tap] * in[i + static_cast<std::size_t>(tap)];
        }
        out[i] = sum;
    }
}

void FilterAlong(float* out, const float* in, std::size_t count, const float* taps, int tapCount) {
    tapCount == 7 ? FilterAlongTaps<7>(out, in, count, taps) : FilterAlongTaps<5>(out, in, count, taps);
}

void FilterAcross7(float* __restrict out, const float* const* rows, std::size_t count, const float* taps) {
    const float* r0 = rows[0];
    const float* r1 = rows[1];
    const float* r2 = rows[2];
    const float* r3 = rows[3];
    const float* r4 = rows[4];
    const float* r5 = rows[5];
    const float* r6 = rows[6];
    const float t0 = taps[0], t1 = taps[1], t2 = taps[2], t3 = taps[3], t4 = taps[4], t5 = taps[5], t6 = taps[6];
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = t0 * r0[i] + t1 * r1[i] + t2 * r2[i] + t3 * r3[i] + t4 * r4[i] + t5 * r5[i] + t6 * r6[i];
    }
}

void FilterAcross5(float* __restrict out, const float* const* rows, std::size_t count, const float* taps) {
    const float* r0 = rows[0];
    const float* r1 = rows[1];
    const float* r2 = rows[2];
    const float* r3 = rows[3];
    const float* r4 = rows[4];
    const float t0 = taps[0], t1 = taps[1], t2 = taps[2], t3 = taps[3], t4 = taps[4];
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = t0 * r0[i] + t1 * r1[i] + t2 * r2[i] + t3 * r3[i] + t4 * r4[i];
    }
}

void FilterAcross(float* out, const float* const* rows, std::size_t count, const float* taps, int tapCount) {
    tapCount == 7 ? FilterAcross7(out, rows, count, taps) : FilterAcross5(out, rows, count, taps);
}

void Subtract(float* __restrict out, const float* a, const float* b, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = a[i] - b[i];
    }
}

void Multiply(float* __restrict out, const float* a, const float* b, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = a[i] * b[i];
    }
}

void Harris(float* __restrict out, const float* sxx, const float* syy, const float* sxy, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        const float trace = sxx[i] + syy[i];
        out[i] = sxx[i] * syy[i] - sxy[i] * sxy[i] - 0.08f * (trace * trace);
    }
}

void Clamp(float* out, const float* in, std::size_t count, float low, float high) {
    for (std::size_t i = 0; i < count; ++i) {
        const float value = in[i];
        const float raised = value < low ? low : value;
        out[i] = raised >= high ? high : raised;
    }
}

void Mean(float* __restrict out, const float* a, const float* b, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = (a[i] + b[i]) * 0.5f;
    }
}

#if defined(__AVX512F__)
// Eight bytes as numbers. Written with the instructions' own names: the compiler takes a conversion apart otherwise.
inline TDoubles LoadBytes(const unsigned char* from) {
    return _mm512_cvtepi32_pd(_mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(from))));
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
        TDoubles sum = LoadDoubles(weight[0] + i) * __builtin_shuffle(lower, upper, place);
        for (int tap = 1; tap < Taps; ++tap) {
            sum += LoadDoubles(weight[tap] + i) * __builtin_shuffle(lower, upper, place + tap);
        }
        StoreDoubles(out + i, sum);
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

void EnlargeAlong(float* __restrict out, const unsigned char* __restrict in, const int* __restrict first,
                  const float* __restrict share, std::size_t count) {
    std::size_t i = 0;
#if defined(__AVX512F__)
    // Sixteen samples of an enlargement lie in eighteen bytes of the source: one permutation of two registers a tap.
    constexpr std::size_t kWide = 16;
    const __m512 thousand = _mm512_set1_ps(1000.0f);
    for (; i + kWide <= count; i += kWide) {
        const __m128i* source = reinterpret_cast<const __m128i*>(in + first[i]);
        const __m512 lower = _mm512_cvtepi32_ps(_mm512_cvtepu8_epi32(_mm_loadu_si128(source)));
        const __m512 upper = _mm512_cvtepi32_ps(_mm512_cvtepu8_epi32(_mm_loadu_si128(source + 1)));
        const __m512i place = _mm512_sub_epi32(_mm512_loadu_si512(first + i), _mm512_set1_epi32(first[i]));
        const __m512 before = _mm512_permutex2var_ps(lower, place, upper);
        const __m512 behind = _mm512_permutex2var_ps(lower, _mm512_add_epi32(place, _mm512_set1_epi32(1)), upper);
        const __m512 part = _mm512_loadu_ps(share + i);
        _mm512_storeu_ps(
            out + i, _mm512_add_ps(_mm512_mul_ps(_mm512_sub_ps(thousand, part), before), _mm512_mul_ps(part, behind)));
    }
#endif
    for (; i < count; ++i) {
        const unsigned char* source = in + first[i];
        out[i] = (1000.0f - share[i]) * static_cast<float>(source[0]) + share[i] * static_cast<float>(source[1]);
    }
}

void EnlargeAcross(float* __restrict out, const float* __restrict upper, const float* __restrict lower,
                   double upperWeight, double lowerWeight, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = static_cast<float>(upperWeight * static_cast<double>(upper[i]) +
                                    lowerWeight * static_cast<double>(lower[i]));
    }
}

void ResampleAcross2(float* __restrict out, const double* r0, const double* r1, double w0, double w1,
                     std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = static_cast<float>(w0 * r0[i] + w1 * r1[i]);
    }
}

void ResampleAcross3(float* __restrict out, const double* r0, const double* r1, const double* r2, double w0, double w1,
                     double w2, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = static_cast<float>(w0 * r0[i] + w1 * r1[i] + w2 * r2[i]);
    }
}

void ResampleAcross(float* __restrict out, const double* const* rows, const double* weights, int rowCount,
                    std::size_t count) {
    if (rowCount == 2) {
        ResampleAcross2(out, rows[0], rows[1], weights[0], weights[1], count);
        return;
    }
    if (rowCount == 3) {
        ResampleAcross3(out, rows[0], rows[1], rows[2], weights[0], weights[1], weights[2], count);
        return;
    }
    for (std::size_t i = 0; i < count; ++i) {
        double sum = weights[0] * rows[0][i];
        for (int row = 1; row < rowCount; ++row) {
            sum += weights[row] * rows[row][i];
        }
        out[i] = static_cast<float>(sum);
    }
}

void GradientBounds(float* __restrict xx, float* __restrict yy, float* __restrict trace, const float* __restrict row,
                    const float* __restrict next, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        const float dx = row[i + 1] - row[i];
        const float dy = next[i] - row[i];
        const float dx2 = dx * dx;
        const float dy2 = dy * dy;
        const float sum = dx2 + dy2;
        xx[i] = dx2 > xx[i] ? dx2 : xx[i];
        yy[i] = dy2 > yy[i] ? dy2 : yy[i];
        trace[i] = sum > trace[i] ? sum : trace[i];
    }
}

void LargestOfEight(float* __restrict out, float* __restrict in, std::size_t count) {
    const std::size_t samples = 8 * count;
    for (std::size_t step = 1; step <= 4; step *= 2) {
        for (std::size_t i = 0; i < samples; ++i) {
            // Those behind are still as the step before left them.
            in[i] = in[i + step] > in[i] ? in[i + step] : in[i];
        }
    }
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = in[8 * i];
    }
}

void GradientProducts(float* __restrict xx, float* __restrict xy, float* __restrict yy, const float* __restrict row,
                      const float* __restrict next, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        const float dx = row[i + 1] - row[i];
        const float dy = next[i] - row[i];
        xx[i] = dx * dx;
        xy[i] = dx * dy;
        yy[i] = dy * dy;
    }
}

bool StrictMaxima(unsigned char* __restrict flags, const float* __restrict upper, const float* __restrict middle,
                  const float* __restrict lower, std::size_t count, float threshold) {
    int any = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const float value = middle[i + 1];
        const int above = (value > threshold) & (value > upper[i]) & (value > upper[i + 1]) & (value > upper[i + 2]) &
                          (value > middle[i]) & (value > middle[i + 2]) & (value > lower[i]) & (value > lower[i + 1]) &
                          (value > lower[i + 2]);
        flags[i] = static_cast<unsigned char>(above);
        any |= above;
    }
    return any != 0;
}

double SurfaceMaximum(int* x, int* y, const double* c) {
    constexpr int kSteps = 17;
    constexpr int kRoom = 24;
    double ys[kRoom];
    double best[kRoom];
    double bestColumn[kRoom];
    for (int row = 0; row < kRoom; ++row) {
        ys[row] = (row < kSteps ? row : kSteps - 1) * 0.125;
        best[row] = -1e300;
        bestColumn[row] = 8.0;
    }
    for (int column = 0; column < kSteps; ++column) {
        const double at = column * 0.125;
        const double c0 = c[0] * at * at;
        const double c1 = c[1] * at * at;
        const double c2 = c[2] * at * at;
        const double c3 = c[3] * at;
        const double c4 = c[4] * at;
        const double c5 = c[5] * at;
        for (int row = 0; row < kRoom; ++row) {
            const double v = ys[row];
            const double value = c0 * v * v + c1 * v + c2 + c3 * v * v + c4 * v + c5 + c[6] * v * v + c[7] * v + c[8];
            const bool better = value > best[row];
            best[row] = better ? value : best[row];
            bestColumn[row] = better ? column : bestColumn[row];
        }
    }
    int winner = 8;
    double largest = -1e300;
    double winnerColumn = 8.0;
    for (int row = 0; row < kSteps; ++row) {
        if (best[row] > largest || (best[row] == largest && largest > -1e300 && bestColumn[row] < winnerColumn)) {
            largest = best[row];
            winner = row;
            winnerColumn = bestColumn[row];
        }
    }
    *x = static_cast<int>(winnerColumn);
    *y = winner;
    return largest;
}

void PrefixSums4(double* const* sums, const float* const* rows, std::size_t count) {
    double* __restrict s0 = sums[0];
    double* __restrict s1 = sums[1];
    double* __restrict s2 = sums[2];
    double* __restrict s3 = sums[3];
    double a0 = 0.0, a1 = 0.0, a2 = 0.0, a3 = 0.0;
    for (std::size_t i = 0; i < count; ++i) {
        s0[i] = a0;
        s1[i] = a1;
        s2[i] = a2;
        s3[i] = a3;
        a0 += rows[0][i];
        a1 += rows[1][i];
        a2 += rows[2][i];
        a3 += rows[3][i];
    }
    s0[count] = a0;
    s1[count] = a1;
    s2[count] = a2;
    s3[count] = a3;
}

// The sums at eight places and at the places behind them.
struct SNeighbours {
    TDoubles at;
    TDoubles behind;
};

inline SNeighbours LoadNeighbours(const double* prefix, TInts places) {
#if defined(__AVX512F__)
    // Both of a pair in one load, four pairs to a register, then one permutation each.
    int place[kLanes];
    __builtin_memcpy(place, &places, sizeof place);
    const auto four = [prefix](const int* of) {
        const __m256d lower =
            _mm256_insertf128_pd(_mm256_castpd128_pd256(_mm_loadu_pd(prefix + of[0])), _mm_loadu_pd(prefix + of[1]), 1);
        const __m256d upper =
            _mm256_insertf128_pd(_mm256_castpd128_pd256(_mm_loadu_pd(prefix + of[2])), _mm_loadu_pd(prefix + of[3]), 1);
        return _mm512_insertf64x4(_mm512_castpd256_pd512(lower), upper, 1);
    };
    const __m512d first = four(place);
    const __m512d second = four(place + 4);
    return {_mm512_permutex2var_pd(first, _mm512_setr_epi64(0, 2, 4, 6, 8, 10, 12, 14), second),
            _mm512_permutex2var_pd(first, _mm512_setr_epi64(1, 3, 5, 7, 9, 11, 13, 15), second)};
#else
    SNeighbours sums;
    for (int lane = 0; lane < kLanes; ++lane) {
        sums.at[lane] = prefix[places[lane]];
        sums.behind[lane] = prefix[places[lane] + 1];
    }
    return sums;
#endif
}

// The sums in front of eight places in thirds of a pixel.
inline TDoubles SumsOfThirds(const double* prefix, TDoubles places) {
    const TInts pixels = ToInts((places + 0.5) * (1.0 / 3.0));
    const SNeighbours sums = LoadNeighbours(prefix, pixels);
    return 3.0 * sums.at + (places - 3.0 * ToDoubles(pixels)) * (sums.behind - sums.at);
}

bool AddEllipseLine(const SBxEllipseLine& line, double* sums, double* weights, unsigned char* undecided) {
    const bool hasInner = line.innerLeft < line.innerRight;
    bool any = false;
    __builtin_memset(undecided, 0, SBxEllipseLine::kColumns);
    for (int first = 0; first < SBxEllipseLine::kColumns; first += kLanes) {
        const TDoubles centre = LoadDoubles(line.centres + first);
        const TDoubles left = LoadDoubles(line.lefts + first);
        const TDoubles visible = LoadDoubles(line.visible + first);
        const TDoubles from = centre - line.reach;
        const TDoubles to = centre + line.reach;
        // Truncation rounds down here, since nothing lies more than half a sample in front of the frame.
        const TDoubles firstInside = Truncated(from + 1.0);
        const TDoubles endInside = Truncated(to + 1.0);
        const TDoubles behindFrom = firstInside - from;
        const TDoubles behindTo = endInside - to;
        TMask open = (Smaller(behindFrom, behindTo) < SBxEllipseLine::kNear) |
                     (Larger(behindFrom, behindTo) > 1.0 - SBxEllipseLine::kNear);

        TDoubles begin = Larger(firstInside, left + Smaller(visible, Splat(line.rimLeft)));
        TDoubles end = Smaller(endInside, left + Smaller(visible, Splat(line.rimRight)));
        const TMask empty = begin >= end;
        if (hasInner) {
            const TDoubles innerLeft = left + Smaller(visible, Splat(line.innerLeft));
            const TDoubles innerRight = left + Smaller(visible, Splat(line.innerRight));
            open |= ~empty & ((begin > innerRight) | (end < innerLeft));
            begin = empty ? innerLeft : Smaller(begin, innerLeft);
            end = empty ? innerRight : Larger(end, innerRight);
        } else {
            end = empty ? begin : end;
        }
        begin = open ? TDoubles{} : begin;
        end = open ? TDoubles{} : end;
        const TDoubles added = SumsOfThirds(line.prefix, end) - SumsOfThirds(line.prefix, begin);
        StoreDoubles(sums + first, LoadDoubles(sums + first) + added);
        StoreDoubles(weights + first, LoadDoubles(weights + first) + (end - begin));
        long long flags[kLanes];
        __builtin_memcpy(flags, &open, sizeof flags);
        long long anyHere = 0;
        for (const long long flag : flags) {
            anyHere |= flag;
        }
        if (anyHere != 0) {
            any = true;
            for (int lane = 0; lane < kLanes; ++lane) {
                undecided[first + lane] = flags[lane] != 0;
            }
        }
    }
    return any;
}

constexpr SBxKernels MakeKernels(const char* name) {
    SBxKernels kernels{};
    kernels.m_szName = name;
    kernels.FilterAlong = FilterAlong;
    kernels.FilterAcross = FilterAcross;
    kernels.Subtract = Subtract;
    kernels.Multiply = Multiply;
    kernels.Harris = Harris;
    kernels.Clamp = Clamp;
    kernels.Mean = Mean;
    kernels.ResampleAlong = ResampleAlong;
    kernels.EnlargeAlong = EnlargeAlong;
    kernels.EnlargeAcross = EnlargeAcross;
    kernels.ResampleAcross = ResampleAcross;
    kernels.GradientBounds = GradientBounds;
    kernels.LargestOfEight = LargestOfEight;
    kernels.GradientProducts = GradientProducts;
    kernels.StrictMaxima = StrictMaxima;
    kernels.SurfaceMaximum = SurfaceMaximum;
    kernels.PrefixSums4 = PrefixSums4;
    kernels.AddEllipseLine = AddEllipseLine;
    return kernels;
}

}  // namespace
