// The blocks of a strip, and what decides whether a block can hold a corner that matters.
#pragma once

#include <algorithm>
#include <cstdint>

#include "corner_selection.h"

inline constexpr int kBlock = 16;        // pixels along a block that is searched or left out
inline constexpr int kStripBlocks = 63;  // blocks side by side that are searched at a time: one less than a word's bits
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
inline constexpr float kFitOvershoot = 0.28125;
// Rounding in float cannot lift a response above its bound by more than this.
inline constexpr float kRoundingSlack = 1.001f;
// Nor above what the exact tensor gives by more than this share of the trace's square.
inline constexpr float kResponseRounding = 1e-5f;

// For each block of a row of blocks: the largest dx^2, dy^2 and dx^2 + dy^2 of what its corners depend on.
struct SBxGradients {
    static constexpr int kRoom = kStripBlocks + 1;
    float xx[kRoom];
    float yy[kRoom];
    float trace[kRoom];
};

// The blocks that may hold a corner of strength `bar`.
//
// The response a b - 0.08 (a + b)^2 with a <= xx, b <= yy and a + b <= trace grows with the smaller of a and b, and
// with the larger up to (1 - 0.16) / 0.16 times the smaller; it is at least -0.08 trace^2.
inline std::uint64_t BX_BlocksThatMatter(const SBxGradients& gradients, float bar) {
    float strengths[SBxGradients::kRoom];
    for (int block = 0; block < SBxGradients::kRoom; ++block) {
        const float xx = gradients.xx[block];
        const float yy = gradients.yy[block];
        const float trace = gradients.trace[block];
        const float smaller = std::min(std::min(xx, yy), 0.5f * trace);
        const float larger = std::min(std::min(std::max(xx, yy), trace - smaller), (1.0f / 0.16f - 1.0f) * smaller);
        const float response =
            smaller * larger - 0.08f * (smaller + larger) * (smaller + larger) + kResponseRounding * trace * trace;
        const float strength = kRoundingSlack * (response + kFitOvershoot * (response + 0.08f * trace * trace));
        strengths[block] = response > kCornerThreshold ? strength : 0.0f;
    }
    std::uint64_t blocks = 0;
    for (int block = 0; block < kStripBlocks; ++block) {
        blocks |= std::uint64_t{strengths[block] > 0.0f && strengths[block] >= bar} << block;
    }
    return blocks;
}

// A response at or below this cannot become a corner of strength `bar` where dx^2 + dy^2 <= trace: its neighbours are
// at least -0.08 trace^2, which bounds how far the fitted surface can rise above it.
inline float BX_LeastMaximum(double trace, double bar) {
    const double least = (bar / kRoundingSlack - kFitOvershoot * kRoundingSlack * 0.08 * trace * trace) /
                         ((1.0 + kFitOvershoot) * kRoundingSlack);
    return std::max(kCornerThreshold, static_cast<float>(least));
}
