// The loop that adds up cells.
// Part of kernel_loops.h: internal linkage, no standard function.
#pragma once

#include "kernel_vectors.h"
#include "kernels.h"

namespace {

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

#if defined(__AVX512F__)

// With the instructions' own names: comparisons fill mask registers, which the compiler's own vectors do not use.
bool AddEllipseRow(const SBxEllipseRow& row, double* sums, double* weights, unsigned char* undecided) {
    const bool hasInner = row.innerLeft < row.innerRight;
    const __m512d one = _mm512_set1_pd(1.0);
    const __m512d near = _mm512_set1_pd(SBxEllipseRow::kNear);
    const __m512d far = _mm512_set1_pd(1.0 - SBxEllipseRow::kNear);
    unsigned int any = 0;
    for (int first = 0; first < SBxEllipseRow::kColumns; first += kLanes) {
        const __m512d centre = _mm512_loadu_pd(row.centres + first);
        const __m512d left = _mm512_loadu_pd(row.lefts + first);
        const __m512d visible = _mm512_loadu_pd(row.visible + first);
        const auto place = [left, visible](double bound) {
            return _mm512_add_pd(left, _mm512_min_pd(visible, _mm512_set1_pd(bound)));
        };
        const __m512d rimLeft = place(row.rimLeft);
        const __m512d rimRight = place(row.rimRight);
        const __m512d innerLeft = place(row.innerLeft);
        const __m512d innerRight = place(row.innerRight);
        __m512d sum = _mm512_loadu_pd(sums + first);
        __m512d weight = _mm512_loadu_pd(weights + first);
        for (int line = 0; line < SBxEllipseRow::kLines; ++line) {
            if (row.reach[line] <= 0.0) {
                continue;
            }
            const __m512d reach = _mm512_set1_pd(row.reach[line]);
            const __m512d from = _mm512_sub_pd(centre, reach);
            const __m512d to = _mm512_add_pd(centre, reach);
            const __m512d firstInside = _mm512_roundscale_pd(_mm512_add_pd(from, one), _MM_FROUND_TO_ZERO);
            const __m512d endInside = _mm512_roundscale_pd(_mm512_add_pd(to, one), _MM_FROUND_TO_ZERO);
            const __m512d behindFrom = _mm512_sub_pd(firstInside, from);
            const __m512d behindTo = _mm512_sub_pd(endInside, to);
            unsigned int open =
                static_cast<unsigned int>(_mm512_cmp_pd_mask(_mm512_min_pd(behindFrom, behindTo), near, _CMP_LT_OQ)) |
                _mm512_cmp_pd_mask(_mm512_max_pd(behindFrom, behindTo), far, _CMP_GT_OQ);
            __m512d begin = _mm512_max_pd(firstInside, rimLeft);
            __m512d end = _mm512_min_pd(endInside, rimRight);
            const __mmask8 empty = _mm512_cmp_pd_mask(begin, end, _CMP_GE_OQ);
            if (hasInner) {
                open |= static_cast<unsigned int>(_mm512_cmp_pd_mask(begin, innerRight, _CMP_GT_OQ) |
                                                  _mm512_cmp_pd_mask(end, innerLeft, _CMP_LT_OQ)) &
                        ~static_cast<unsigned int>(empty);
                begin = _mm512_mask_mov_pd(_mm512_min_pd(begin, innerLeft), empty, innerLeft);
                end = _mm512_mask_mov_pd(_mm512_max_pd(end, innerRight), empty, innerRight);
            } else {
                end = _mm512_mask_mov_pd(end, empty, begin);
            }
            const auto decided = static_cast<__mmask8>(~open);
            begin = _mm512_maskz_mov_pd(decided, begin);
            end = _mm512_maskz_mov_pd(decided, end);
            const __m512d added = _mm512_sub_pd(SumsOfThirds(row.prefix, end), SumsOfThirds(row.prefix, begin));
            sum = _mm512_add_pd(sum, added);
            weight = _mm512_add_pd(weight, _mm512_sub_pd(end, begin));
            any |= open;
            _mm_storel_epi64(reinterpret_cast<__m128i*>(undecided + line * SBxEllipseRow::kColumns + first),
                             _mm_maskz_set1_epi8(static_cast<__mmask16>(open & 0xFF), 1));
        }
        _mm512_storeu_pd(sums + first, sum);
        _mm512_storeu_pd(weights + first, weight);
    }
    return any != 0;
}

#else

// Adds eight cells of one line; returns which are undecided.
TMask AddEllipsesOfLine(const SBxEllipseRow& row, double halfWidth, int first, double* sums, double* weights) {
    const TDoubles centre = LoadDoubles(row.centres + first);
    const TDoubles left = LoadDoubles(row.lefts + first);
    const TDoubles visible = LoadDoubles(row.visible + first);
    const TDoubles from = centre - halfWidth;
    const TDoubles to = centre + halfWidth;
    // Truncation rounds down here, since nothing lies more than half a sample in front of the frame.
    const TDoubles firstInside = Truncated(from + 1.0);
    const TDoubles endInside = Truncated(to + 1.0);
    const TDoubles behindFrom = firstInside - from;
    const TDoubles behindTo = endInside - to;
    TMask open = (Smaller(behindFrom, behindTo) < SBxEllipseRow::kNear) |
                 (Larger(behindFrom, behindTo) > 1.0 - SBxEllipseRow::kNear);

    TDoubles begin = Larger(firstInside, left + Smaller(visible, Splat(row.rimLeft)));
    TDoubles end = Smaller(endInside, left + Smaller(visible, Splat(row.rimRight)));
    const TMask empty = begin >= end;
    if (row.innerLeft < row.innerRight) {
        const TDoubles innerLeft = left + Smaller(visible, Splat(row.innerLeft));
        const TDoubles innerRight = left + Smaller(visible, Splat(row.innerRight));
        open |= ~empty & ((begin > innerRight) | (end < innerLeft));
        begin = empty ? innerLeft : Smaller(begin, innerLeft);
        end = empty ? innerRight : Larger(end, innerRight);
    } else {
        end = empty ? begin : end;
    }
    begin = open ? TDoubles{} : begin;
    end = open ? TDoubles{} : end;
    const TDoubles added = SumsOfThirds(row.prefix, end) - SumsOfThirds(row.prefix, begin);
    StoreDoubles(sums + first, LoadDoubles(sums + first) + added);
    StoreDoubles(weights + first, LoadDoubles(weights + first) + (end - begin));
    return open;
}

bool AddEllipseRow(const SBxEllipseRow& row, double* sums, double* weights, unsigned char* undecided) {
    bool any = false;
    for (int line = 0; line < SBxEllipseRow::kLines; ++line) {
        if (row.reach[line] <= 0.0) {
            continue;
        }
        for (int first = 0; first < SBxEllipseRow::kColumns; first += kLanes) {
            const TMask open = AddEllipsesOfLine(row, row.reach[line], first, sums, weights);
            for (int lane = 0; lane < kLanes; ++lane) {
                undecided[line * SBxEllipseRow::kColumns + first + lane] = open[lane] != 0;
                any |= open[lane] != 0;
            }
        }
    }
    return any;
}

#endif

}  // namespace
