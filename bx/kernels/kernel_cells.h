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

}  // namespace
