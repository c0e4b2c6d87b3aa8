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

// A group of cells in one vector: where the cells begin in the lower half, where they end in the upper one. In a
// mirrored vector the ends have changed their signs, so that "more to the right" is "more inside" for both.
inline TDoubles Mirrored(TDoubles places) {
    constexpr long long kSign = static_cast<long long>(1ULL << 63);
    return reinterpret_cast<TDoubles>(reinterpret_cast<TMask>(places) ^ TMask{0, 0, 0, 0, kSign, kSign, kSign, kSign});
}

// Of a mirrored vector: the ends in the place of the begins and the begins in that of the ends.
inline TDoubles Opposite(TDoubles mirrored) {
    return -WithHalvesSwapped(mirrored);
}

// What the rows of a group of cells have in common.
struct SGroup {
    TDoubles centre;
    TDoubles rim;  // the labels of the stamp, mirrored
    TDoubles inner;
};

inline SGroup LoadGroup(const SBxEllipseRow& row, int first) {
    const auto twice = [first](const double* from) {
        const THalf half = LoadHalf(from + first);
        return Joined(half, half);
    };
    const TDoubles left = twice(row.lefts);
    const TDoubles visible = twice(row.visible);
    const auto places = [left, visible](double begin, double end) {
        const TDoubles bounds{begin, begin, begin, begin, end, end, end, end};
        return Mirrored(left + Smaller(visible, bounds));
    };
    return {twice(row.centres), places(row.rimLeft, row.rimRight), places(row.innerLeft, row.innerRight)};
}

// Adds what lies between the places of a group on three lines; at once where the bounds of each cell are close.
inline void AddLines(const SBxEllipseRow& row, const TDoubles* places, bool close, double* sums, double* weights) {
    THalf sum = LoadHalf(sums);
    THalf weight = LoadHalf(weights);
    const auto between = [](TDoubles pairs) { return UpperHalf(pairs) - LowerHalf(pairs); };
    if (close) {
        sum += between(SumsOfThreeLines(row.prefix, places[0], places[1], places[2]));
    }
    for (int line = 0; line < SBxEllipseRow::kLines; ++line) {
        if (!close && row.reach[line] > 0.0) {
            sum += between(SumsOfThirds(row.prefix, places[line]));
        }
        weight += between(places[line]);
    }
    StoreHalf(sums, sum);
    StoreHalf(weights, weight);
}

// Where the cells of a group begin and end on one line; bit i belongs to cell i.
struct SBounds {
    TDoubles places;    // 0 of cells that are open
    unsigned int open;  // not decided
    unsigned int empty;
};

#if defined(__AVX512F__)

// With the instructions' own names: comparisons fill mask registers, which the compiler's own vectors do not use.
inline SBounds BoundsOnLine(const SGroup& group, double reach, bool hasInner) {
    const __m512d bound = group.centre - Mirrored(Splat(reach));
    // Truncation rounds down here, since nothing lies more than half a sample in front of the frame.
    const __m512d inside = _mm512_roundscale_pd(bound + 1.0, _MM_FROUND_TO_ZERO);
    const __m512d behind = inside - bound;
    unsigned int open = _mm512_cmp_pd_mask(behind, _mm512_set1_pd(SBxEllipseRow::kNear), _CMP_LT_OQ) |
                        _mm512_cmp_pd_mask(behind, _mm512_set1_pd(1.0 - SBxEllipseRow::kNear), _CMP_GT_OQ);
    __m512d places = _mm512_max_pd(Mirrored(inside), group.rim);
    const __m512d opposite = Opposite(places);
    const __mmask8 empty = _mm512_cmp_pd_mask(places, opposite, _CMP_GE_OQ);
    if (hasInner) {
        const __mmask8 apart = _mm512_cmp_pd_mask(places, Opposite(group.inner), _CMP_GT_OQ);
        open |= apart & ~static_cast<unsigned int>(empty);
        places = _mm512_mask_mov_pd(_mm512_min_pd(places, group.inner), empty, group.inner);
    } else {
        places = _mm512_mask_mov_pd(places, empty & 0xF0, opposite);
    }
    open = (open | open >> 4) & 0xF;
    const auto decided = static_cast<__mmask8>(~(open | open << 4));
    return {_mm512_maskz_mov_pd(decided, Mirrored(places)), open, empty & 0xFU};
}

#else

// One bit for each cell of which either half is set.
inline unsigned int BitsOfHalves(TMask mask) {
    const TMask both = mask | __builtin_shufflevector(mask, mask, 4, 5, 6, 7, 0, 1, 2, 3);
    const TMask bits = both & TMask{1, 2, 4, 8, 0, 0, 0, 0};
    return static_cast<unsigned int>(bits[0] | bits[1] | bits[2] | bits[3]);
}

inline SBounds BoundsOnLine(const SGroup& group, double reach, bool hasInner) {
    const TDoubles bound = group.centre - Mirrored(Splat(reach));
    // Truncation rounds down here, since nothing lies more than half a sample in front of the frame.
    const TDoubles inside = Truncated(bound + 1.0);
    const TDoubles behind = inside - bound;
    TMask open = (behind < SBxEllipseRow::kNear) | (behind > 1.0 - SBxEllipseRow::kNear);
    TDoubles places = Larger(Mirrored(inside), group.rim);
    const TDoubles opposite = Opposite(places);
    const TMask empty = places >= opposite;
    if (hasInner) {
        open |= ~empty & (places > Opposite(group.inner));
        places = empty ? group.inner : Smaller(places, group.inner);
    } else {
        places = empty & TMask{0, 0, 0, 0, -1, -1, -1, -1} ? opposite : places;
    }
    open |= __builtin_shufflevector(open, open, 4, 5, 6, 7, 0, 1, 2, 3);
    return {open ? TDoubles{} : Mirrored(places), BitsOfHalves(open), BitsOfHalves(empty)};
}

#endif

bool AddEllipseRow(const SBxEllipseRow& row, double* sums, double* weights, unsigned char* undecided) {
    const bool hasInner = row.innerLeft < row.innerRight;
    const bool close = LinesAreClose(row);
    unsigned int any = 0;
    for (int first = 0; first < row.cells; first += SBxEllipseRow::kGroup) {
        const SGroup group = LoadGroup(row, first);
        TDoubles places[SBxEllipseRow::kLines] = {};
        unsigned int special = 0;
        for (int line = 0; line < SBxEllipseRow::kLines; ++line) {
            if (row.reach[line] <= 0.0) {
                continue;
            }
            const SBounds bounds = BoundsOnLine(group, row.reach[line], hasInner);
            places[line] = bounds.places;
            // Bit i becomes byte i.
            const unsigned int bytes = bounds.open * 0x00204081U & 0x01010101U;
            __builtin_memcpy(undecided + line * SBxEllipseRow::kColumns + first, &bytes, sizeof bytes);
            any |= bounds.open;
            special |= bounds.open | bounds.empty;
        }
        AddLines(row, places, close && special == 0, sums + first, weights + first);
    }
    return any != 0;
}

}  // namespace
