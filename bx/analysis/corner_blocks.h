// The blocks of a band of rows, and what decides whether a block can hold a corner that matters.
#pragma once

#include <algorithm>

#include "corner_selection.h"

inline constexpr int kStripWidth = 1024;  // columns that are searched at a time
inline constexpr int kBandHeight = 64;    // rows that are searched at a time
inline constexpr int kReachBefore = 6;  // pixels in front of a maximum that its fit depends on, in rows and in columns
inline constexpr int kReachBehind = 7;  // and behind it
inline constexpr int kMargin = 8;       // room for them around a band of a strip
inline constexpr int kBoundsCell = 8;   // pixels along a cell of the gradient bounds
inline constexpr int kBlock = 16;       // pixels along a block that is searched or left out
inline constexpr int kBlockCells = kBlock / kBoundsCell;

inline constexpr int kBufferWidth = kStripWidth + 2 * kMargin;
inline constexpr int kBufferHeight = kBandHeight + 2 * kMargin;
inline constexpr int kCellColumns = kBufferWidth / kBoundsCell;
inline constexpr int kCellRows = kBufferHeight / kBoundsCell;
inline constexpr int kBlockColumns = kStripWidth / kBlock;
inline constexpr int kBlockRows = kBandHeight / kBlock;

// The fitted surface rises above its centre v by at most this share of v minus its lowest neighbour: half of what the
// sum of the absolute weights of bi-quadratic interpolation, (5 / 4)^2, exceeds 1.
inline constexpr double kFitOvershoot = 0.28125;
// Rounding in float cannot lift a response above its bound by more than this.
inline constexpr double kRoundingSlack = 1.001;

// The greatest strength that a corner can have where dx^2 <= xx, dy^2 <= yy and dx^2 + dy^2 <= trace: the response is
// at most xx * yy, and at most (1 / 4 - 0.08) trace^2; it is at least -0.08 trace^2.
inline double BX_GreatestStrength(double xx, double yy, double trace) {
    const double response = std::min(xx * yy, 0.17 * trace * trace);
    if (response * kRoundingSlack <= kCornerThreshold) {
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

// A half-open rectangle of blocks.
struct SBxBlocks {
    int left;
    int right;
    int top;
    int bottom;
};

// Which blocks of a band have to be looked at.
class CBxBlockMap {
public:
    void Mark(int row, int column) {
        m_bMarked[row][column] = true;
        m_bColumnMarked[column] = true;
    }
    bool IsMarked(int row, int column) const { return m_bMarked[row][column]; }

    // Calls `visit` for runs of neighbouring marked columns from `first` up to `end`, each with the rows that its marks
    // span.
    template <typename Visit>
    void ForEachRun(int first, int end, Visit visit) const {
        for (int column = first; column < end; ++column) {
            if (!m_bColumnMarked[column]) {
                continue;
            }
            SBxBlocks run{column, column, kBlockRows, 0};
            for (; run.right < end && m_bColumnMarked[run.right]; ++run.right) {
                for (int row = 0; row < kBlockRows; ++row) {
                    if (m_bMarked[row][run.right]) {
                        run.top = std::min(run.top, row);
                        run.bottom = std::max(run.bottom, row + 1);
                    }
                }
            }
            visit(run);
            column = run.right;
        }
    }

private:
    bool m_bMarked[kBlockRows][kBlockColumns] = {};
    bool m_bColumnMarked[kBlockColumns] = {};
};
