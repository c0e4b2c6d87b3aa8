// The loop that adds up cells.
// Part of kernel_loops.h: internal linkage, no standard function.
#pragma once

#include "kernel_pairs.h"
#include "kernels.h"

namespace {

// The sums at eight places and at the places behind them.
struct SNeighbours {
    TPairs at;
    TPairs behind;
};

inline SNeighbours LoadNeighbours(const double* prefix, TPlaces places) {
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
    return {LoadPairs(prefix, places), LoadPairs(prefix + 1, places)};
#endif
}

// The sums in front of eight places in thirds of a pixel.
inline TPairs SumsOfThirds(const double* prefix, TPairs places) {
    const TPlaces pixels = ToInts((places + 0.5) * (1.0 / 3.0));
    const SNeighbours sums = LoadNeighbours(prefix, pixels);
    return 3.0 * sums.at + (places - 3.0 * ToDoubles(pixels)) * (sums.behind - sums.at);
}

// The sums at eight places and at the two places behind each.
struct STriples {
    TPairs at;
    TPairs behind;
    TPairs farBehind;
};

inline STriples LoadTriples(const double* prefix, TPlaces places) {
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
    return {LoadPairs(prefix, places), LoadPairs(prefix + 1, places), LoadPairs(prefix + 2, places)};
#endif
}

// The sums of three lines in front of places that lie in two neighbouring pixels: of the first of them as many thirds
// as the places have in it, and so of the second.
inline TPairs SumsOfThreeLines(const double* prefix, TPairs a, TPairs b, TPairs c) {
    const TPlaces pixels = ToInts((Smaller(Smaller(a, b), c) + 0.5) * (1.0 / 3.0));
    const STriples sums = LoadTriples(prefix, pixels);
    const TPairs start = 3.0 * ToDoubles(pixels);
    const TPairs three = AllPairs(3.0);
    const TPairs all = (a - start) + (b - start) + (c - start);
    const TPairs inFirst = Smaller(a - start, three) + Smaller(b - start, three) + Smaller(c - start, three);
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

// What the rows of a group of cells have in common.
struct SGroup {
    TPairs centre;
    TPairs rim;  // the labels of the stamp, mirrored
    TPairs inner;
};

inline SGroup LoadGroup(const SBxEllipseRow& row, int first) {
    const auto twice = [first](const double* from) {
        const THalf half = Load<THalf>(from + first);
        return Pairs(half, half);
    };
    const TPairs left = twice(row.lefts);
    const TPairs visible = twice(row.visible);
    const auto places = [left, visible](double begin, double end) {
        return Mirrored(left + Smaller(visible, Pairs(SplatHalf(begin), SplatHalf(end))));
    };
    return {twice(row.centres), places(row.rimLeft, row.rimRight), places(row.innerLeft, row.innerRight)};
}

// Where the ellipses of a group begin and end on a line, inside the labels of the stamp.
struct SBounds {
    TPairs places;    // mirrored
    TPairs opposite;  // of these
    TFlags near;      // a sample
};

inline SBounds BoundsOnLine(const SGroup& group, double reach) {
    const TPairs bound = group.centre - Mirrored(AllPairs(reach));
    // Truncation rounds down here, since nothing lies more than half a sample in front of the frame.
    const TPairs inside = RoundedDown(bound + 1.0);
    const TPairs behind = inside - bound;
    const TPairs places = Larger(Mirrored(inside), group.rim);
    const TFlags near =
        IsBelow(behind, AllPairs(SBxEllipseRow::kNear)) | IsBelow(AllPairs(1.0 - SBxEllipseRow::kNear), behind);
    return {places, Opposite(places), near};
}

// Adds a group on close lines, of which every ellipse is decided, not empty and meets its inner part. Another one stays
// as it is: false.
inline bool AddPlainGroup(const SBxEllipseRow& row, const SGroup& group, bool hasInner, double* sums, double* weights) {
    const TPairs inner = hasInner ? group.inner : AllPairs(1e300);
    const TPairs innerOpposite = hasInner ? Opposite(group.inner) : AllPairs(1e300);
    TPairs places[SBxEllipseRow::kLines];
    TFlags open{};
    TFlags full = IsBelow(AllPairs(0.0), AllPairs(1.0));
    for (int line = 0; line < SBxEllipseRow::kLines; ++line) {
        const SBounds bounds = BoundsOnLine(group, row.reach[line]);
        open |= bounds.near | IsBelow(innerOpposite, bounds.places);
        full &= IsBelow(bounds.places, bounds.opposite);
        places[line] = Mirrored(Smaller(bounds.places, inner));
    }
    if (Bits(open) != 0 || Bits(full) != (1U << kLanes) - 1) {
        return false;
    }
    Store(sums, Load<THalf>(sums) + Between(SumsOfThreeLines(row.prefix, places[0], places[1], places[2])));
    Store(weights, Load<THalf>(weights) + Between(places[0]) + Between(places[1]) + Between(places[2]));
    return true;
}

// Adds any group. Returns the bits of what was left out: 4 line + i for the i-th cell.
inline unsigned int AddGroup(const SBxEllipseRow& row, const SGroup& group, bool hasInner, bool close, double* sums,
                             double* weights) {
    TPairs places[SBxEllipseRow::kLines] = {};
    TFlags special{};
    unsigned int left = 0;
    THalf sum = Load<THalf>(sums);
    THalf weight = Load<THalf>(weights);
    for (int line = 0; line < SBxEllipseRow::kLines; ++line) {
        if (row.reach[line] <= 0.0) {
            continue;
        }
        const SBounds bounds = BoundsOnLine(group, row.reach[line]);
        const TFlags full = IsBelow(bounds.places, bounds.opposite);
        TFlags open = bounds.near;
        if (hasInner) {
            open |= full & IsBelow(Opposite(group.inner), bounds.places);
            places[line] = Choose(full, Smaller(bounds.places, group.inner), group.inner);
        } else {
            places[line] = Choose(full | Begins(), bounds.places, bounds.opposite);
        }
        open = OfBothHalves(open);
        places[line] = Choose(open, AllPairs(0.0), Mirrored(places[line]));
        left |= (Bits(open) & 0xFU) << line * SBxEllipseRow::kGroup;
        special |= open | ~full;
        sum += Between(SumsOfThirds(row.prefix, places[line]));
        weight += Between(places[line]);
    }
    if (close) {
        // The sum of a cell does not depend on the others of the group, to the last bit.
        const THalf atOnce = Load<THalf>(sums) + Between(SumsOfThreeLines(row.prefix, places[0], places[1], places[2]));
        sum = Begin(Choose(OfBothHalves(special), Pairs(sum, sum), Pairs(atOnce, atOnce)));
    }
    Store(sums, sum);
    Store(weights, weight);
    return left;
}

bool AddEllipseRow(const SBxEllipseRow& row, double* sums, double* weights, unsigned char* undecided) {
    const bool hasInner = row.innerLeft < row.innerRight;
    const bool close = LinesAreClose(row);
    unsigned int any = 0;
    for (int first = 0; first < row.cells; first += SBxEllipseRow::kGroup) {
        const SGroup group = LoadGroup(row, first);
        if (close && AddPlainGroup(row, group, hasInner, sums + first, weights + first)) {
            continue;
        }
        const unsigned int left = AddGroup(row, group, hasInner, close, sums + first, weights + first);
        any |= left;
        for (int i = 0; left != 0 && i < SBxEllipseRow::kLines * SBxEllipseRow::kGroup; ++i) {
            const int place = i / SBxEllipseRow::kGroup * SBxEllipseRow::kColumns + first + i % SBxEllipseRow::kGroup;
            undecided[place] = (left >> i & 1U) != 0 ? 1 : undecided[place];
        }
    }
    return any != 0;
}

}  // namespace
