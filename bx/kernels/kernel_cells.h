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

// The sums at eight places and at the two places behind each.
struct STriples {
    TDoubles at;
    TDoubles behind;
    TDoubles farBehind;
};

inline STriples LoadTriples(const double* prefix, TInts places) {
#if defined(__AVX512F__)
    int place[kLanes];
    __builtin_memcpy(place, &places, sizeof place);
    const auto two = [&](int lane) {
        return _mm512_insertf64x4(_mm512_castpd256_pd512(_mm256_loadu_pd(prefix + place[lane])),
                                  _mm256_loadu_pd(prefix + place[lane + 1]), 1);
    };
    const __m512d first = two(0);
    const __m512d second = two(2);
    const __m512d third = two(4);
    const __m512d fourth = two(6);
    const __m512i pairs = _mm512_setr_epi64(0, 4, 8, 12, 1, 5, 9, 13);
    const __m512i last = _mm512_setr_epi64(2, 6, 10, 14, 2, 6, 10, 14);
    const __m512d lower = _mm512_permutex2var_pd(first, pairs, second);
    const __m512d upper = _mm512_permutex2var_pd(third, pairs, fourth);
    return {_mm512_shuffle_f64x2(lower, upper, 0x44), _mm512_shuffle_f64x2(lower, upper, 0xEE),
            _mm512_shuffle_f64x2(_mm512_permutex2var_pd(first, last, second),
                                 _mm512_permutex2var_pd(third, last, fourth), 0x44)};
#else
    STriples sums;
    for (int lane = 0; lane < kLanes; ++lane) {
        sums.at[lane] = prefix[places[lane]];
        sums.behind[lane] = prefix[places[lane] + 1];
        sums.farBehind[lane] = prefix[places[lane] + 2];
    }
    return sums;
#endif
}

// The sums of three lines in front of places that lie in two neighbouring pixels: of the first of them as many thirds
// as the places have in it, and so of the second.
inline TDoubles SumsOfThreeLines(const double* prefix, TDoubles a, TDoubles b, TDoubles c) {
    const TInts pixels = ToInts((Smaller(Smaller(a, b), c) + 0.5) * (1.0 / 3.0));
    const STriples sums = LoadTriples(prefix, pixels);
    const TDoubles start = 3.0 * ToDoubles(pixels);
    const TDoubles three = Splat(3.0);
    const TDoubles all = (a - start) + (b - start) + (c - start);
    const TDoubles inFirst = Smaller(a - start, three) + Smaller(b - start, three) + Smaller(c - start, three);
    return 9.0 * sums.at + inFirst * (sums.behind - sums.at) + (all - inFirst) * (sums.farBehind - sums.behind);
}

// Whether the bounds of a cell on the three lines surely lie in two neighbouring pixels.
inline bool LinesAreClose(const SBxEllipseRow& row) {
    const double a = row.reach[0];
    const double b = row.reach[1];
    const double c = row.reach[2];
    const double least = a < b ? (a < c ? a : c) : (b < c ? b : c);
    const double most = a > b ? (a > c ? a : c) : (b > c ? b : c);
    return least > 0.0 && most - least <= 3.0;
}

// Adds what lies between the bounds of eight cells on three lines; at once where the bounds of each cell are close.
inline void AddLines(const SBxEllipseRow& row, const TDoubles* begins, const TDoubles* ends, bool close, double* sums,
                     double* weights) {
    TDoubles sum = LoadDoubles(sums);
    TDoubles weight = LoadDoubles(weights);
    if (close) {
        sum += SumsOfThreeLines(row.prefix, ends[0], ends[1], ends[2]) -
               SumsOfThreeLines(row.prefix, begins[0], begins[1], begins[2]);
    }
    for (int line = 0; line < SBxEllipseRow::kLines; ++line) {
        if (!close && row.reach[line] > 0.0) {
            sum += SumsOfThirds(row.prefix, ends[line]) - SumsOfThirds(row.prefix, begins[line]);
        }
        weight += ends[line] - begins[line];
    }
    StoreDoubles(sums, sum);
    StoreDoubles(weights, weight);
}

#if defined(__AVX512F__)

// With the instructions' own names: comparisons fill mask registers, which the compiler's own vectors do not use.
bool AddEllipseRow(const SBxEllipseRow& row, double* sums, double* weights, unsigned char* undecided) {
    const bool hasInner = row.innerLeft < row.innerRight;
    const bool close = LinesAreClose(row);
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
        TDoubles begins[SBxEllipseRow::kLines] = {};
        TDoubles ends[SBxEllipseRow::kLines] = {};
        unsigned int special = 0;
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
            begins[line] = _mm512_maskz_mov_pd(decided, begin);
            ends[line] = _mm512_maskz_mov_pd(decided, end);
            any |= open;
            special |= open | empty;
            _mm_storel_epi64(reinterpret_cast<__m128i*>(undecided + line * SBxEllipseRow::kColumns + first),
                             _mm_maskz_set1_epi8(static_cast<__mmask16>(open & 0xFF), 1));
        }
        AddLines(row, begins, ends, close && special == 0, sums + first, weights + first);
    }
    return any != 0;
}

#else

// Where eight cells begin and end on one line.
struct SBounds {
    TDoubles begin;
    TDoubles end;
    TMask open;  // not decided: begin and end are 0
    TMask empty;
};

SBounds BoundsOnLine(const SBxEllipseRow& row, double halfWidth, int first) {
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
    return {open ? TDoubles{} : begin, open ? TDoubles{} : end, open, empty};
}

bool AddEllipseRow(const SBxEllipseRow& row, double* sums, double* weights, unsigned char* undecided) {
    const bool close = LinesAreClose(row);
    bool any = false;
    for (int first = 0; first < SBxEllipseRow::kColumns; first += kLanes) {
        TDoubles begins[SBxEllipseRow::kLines] = {};
        TDoubles ends[SBxEllipseRow::kLines] = {};
        bool special = false;
        for (int line = 0; line < SBxEllipseRow::kLines; ++line) {
            if (row.reach[line] <= 0.0) {
                continue;
            }
            const SBounds bounds = BoundsOnLine(row, row.reach[line], first);
            begins[line] = bounds.begin;
            ends[line] = bounds.end;
            for (int lane = 0; lane < kLanes; ++lane) {
                undecided[line * SBxEllipseRow::kColumns + first + lane] = bounds.open[lane] != 0;
                any |= bounds.open[lane] != 0;
                special |= (bounds.open[lane] | bounds.empty[lane]) != 0;
            }
        }
        AddLines(row, begins, ends, close && !special, sums + first, weights + first);
    }
    return any;
}

#endif

}  // namespace
