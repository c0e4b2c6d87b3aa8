// The blocks of a strip, and what decides whether a block can hold a corner that matters.
#pragma once

#include <algorithm>
#include <cstdint>

#include "corner_selection.h"

inline constexpr int kBlock = 16;  // pixels along a block that is searched or left out
inline constexpr int kStripBlocks =
    63;  // blocks side by side that are searched at a time: bits of a word, with one left
inline constexpr int kStripWidth = kStripBlocks * kBlock;
inline constexpr int kReachBefore = 6;  // pixels in front of a maximum that its fit depends on, in rows and in columns
inline constexpr int kReachBehind = 7;  // and behind it
inline constexpr int kMargin = 8;       // columns of a buffer in front of the first block

// The spans of 16 columns of a buffer that the pixels which some blocks depend on lie in: of block b, these are columns
// 16 b + 2 to 16 b + 30.
inline constexpr std::uint64_t BX_SpansOf(std::uint64_t blocks) {
    static_assert(kMargin >= kReachBefore && kMargin + kBlock + kReachBehind <= 2 * kBlock);
    return blocks | blocks << 1;
}

// The marked blocks of three neighbouring rows of blocks.
struct SBxMarks {
    std::uint64_t before = 0;
    std::uint64_t here = 0;
    std::uint64_t behind = 0;

    void Advance(std::uint64_t next) {
        before = here;
        here = behind;
        behind = next;
    }
    bool Any() const { return (before | here | behind) != 0; }
};

// The fitted surface rises above its centre v by at most this share of v minus its lowest neighbour: half of what the
// sum of the absolute weights of bi-quadratic interpolation, (5 / 4)^2, exceeds 1.
inline constexpr double kFitOvershoot = 0.28125;
// Rounding in float cannot lift a response above its bound by more than this.
inline constexpr double kRoundingSlack = 1.001;
// Nor above what the exact tensor gives by more than this share of the trace's square.
inline constexpr double kResponseRounding = 1e-5;

// The greatest response a b - 0.08 (a + b)^2 with a <= xx, b <= yy, a + b <= trace: it grows with the larger of the two
// up to (1 - 0.16) / 0.16 times the smaller.
inline double BX_GreatestResponse(double xx, double yy, double trace) {
    const double smaller = std::min({xx, yy, 0.5 * trace});
    const double larger = std::min({std::max(xx, yy), trace - smaller, (1.0 / 0.16 - 1.0) * smaller});
    return smaller * larger - 0.08 * (smaller + larger) * (smaller + larger);
}

// The greatest strength that a corner can have where dx^2 <= xx, dy^2 <= yy and dx^2 + dy^2 <= trace: its response is
// at least -0.08 trace^2.
inline double BX_GreatestStrength(double xx, double yy, double trace) {
    const double response = BX_GreatestResponse(xx, yy, trace) + kResponseRounding * trace * trace;
    if (response <= kCornerThreshold) {
        return 0.0;
    }
    return kRoundingSlack * (response + kFitOvershoot * (response + 0.08 * trace * trace));
}

// A response at or below this cannot become a corner of strength `bar` where dx^2 + dy^2 <= trace: its neighbours are
// at least -0.08 trace^2, which bounds how far the fitted surface can rise above it.
inline float BX_LeastMaximum(double trace, double bar) {
    const double least = (bar / kRoundingSlack - kFitOvershoot * kRoundingSlack * 0.08 * trace * trace) /
                         ((1.0 + kFitOvershoot) * kRoundingSlack);
    return std::max(kCornerThreshold, static_cast<float>(least));
}
