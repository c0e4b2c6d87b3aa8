// The planes of one band of rows in which corners are searched: the pixels, smoothed, and their response.
//
// Column 0 of the buffers is kMargin pixels left of the strip, row 0 kMargin above the band; areas and rows are given
// in these. One thread at a time.
#pragma once

#include <cstddef>

#include "corner_blocks.h"
#include "geometry.h"
#include "heap_array.h"
#include "kernels.h"

// The bounds of a half's tones.
struct SBxTones {
    float low;
    float high;
};

// The largest dx^2, dy^2 and dx^2 + dy^2 of some pixels.
struct SBxGradients {
    float xx;
    float yy;
    float trace;
};

class CBxCornerPlanes {
public:
    explicit CBxCornerPlanes(double zoom);

    // False without memory.
    [[nodiscard]] bool Prepare();

    // Where the pixels of a row are to be written before anything below is asked for.
    float* PlaneRow(int row) { return m_Plane.Data() + std::ptrdiff_t{row} * kRowPitch; }

    // The largest tap of the smoothing.
    double LargestTap() const { return m_dLargestTap; }

    // Smooths an area and the three pixels around it, in tones of one half: from the six pixels around it and the
    // seventh behind.
    void Smooth(const CBxRect<int>& area, const SBxTones& tones);
    // Bounds the gradients of the area that was smoothed last.
    void BoundGradients();
    // The bounds of what the corners of a block inside that area depend on.
    SBxGradients GradientsOfBlock(int blockRow, int blockColumn) const;

    // Calls `visit(column, row, upper, middle, lower)` for the strict maxima above the threshold of the response inside
    // an area, which lies inside that which was smoothed: row by row, from left to right; the pointers are to the first
    // of three samples of the response. Ends with false when a visit returns false.
    template <typename Visit>
    bool ForEachMaximum(const CBxRect<int>& area, float threshold, Visit visit) {
        CResponse response(*this, area);
        for (int row = area.top; row < area.bottom; ++row) {
            const SResponseRows rows = response.Around(row);
            m_Kernels.StrictMaxima(m_usMaxima, rows.upper, rows.middle, rows.lower, GroupsOf(area.Width()), threshold);
            for (int left = 0, group = 0; left < area.Width(); left += kGroup, ++group) {
                for (unsigned int flags = m_usMaxima[group]; flags != 0; flags &= flags - 1) {
                    const int i = left + __builtin_ctz(flags);
                    if (i < area.Width() &&
                        !visit(area.left + i, row, rows.upper + i, rows.middle + i, rows.lower + i)) {
                        return false;
                    }
                }
            }
        }
        return true;
    }

private:
    static constexpr int kGroup = static_cast<int>(SBxKernels::kGroup);
    // The loops read up to two groups more than an area and its surroundings need.
    static constexpr int kRowPitch = kBufferWidth + 4 * kGroup;
    static constexpr int kRing = 8;  // filtered rows that are kept
    static constexpr int kShortRows = 3 * kRing + 4;

    static std::size_t GroupsOf(int count) { return static_cast<std::size_t>((count + kGroup - 1) / kGroup); }

    struct SResponseRows {
        const float* upper;
        const float* middle;
        const float* lower;
    };

    // The rows of the response of an area and of one pixel around it, made one after the other.
    class CResponse {
    public:
        CResponse(CBxCornerPlanes& planes, const CBxRect<int>& area);
        // Rows are asked for in ascending order, without gaps.
        SResponseRows Around(int row);

    private:
        void MakeNextRow();
        float* TensorRow(int part, int row) { return m_Planes.ShortRow(kRing * part + row % kRing); }
        float* Row(int row) { return m_Planes.ShortRow(3 * kRing + row % 4); }

        CBxCornerPlanes& m_Planes;
        int m_iFirst;          // column
        int m_iNextTensorRow;  // that is filtered along
        int m_iNextRow;
        std::size_t m_uiGroups;
    };

    float* SmoothedRow(int row) { return m_Smoothed.Data() + std::ptrdiff_t{row} * kRowPitch; }
    float* ShortRow(int row) { return m_Rows.Data() + std::ptrdiff_t{row} * kRowPitch; }

    // The bounds of a row of cells.
    struct SGradientRow {
        float xx[kCellColumns + 2];
        float yy[kCellColumns + 2];
        float trace[kCellColumns + 2];
    };

    const SBxKernels& m_Kernels;
    float m_fSmoothingTaps[7];
    float m_fTensorTaps[5];
    double m_dLargestTap;

    CBxHeapArray<float> m_Plane;
    CBxHeapArray<float> m_Smoothed;
    CBxHeapArray<float> m_Rows;       // short-lived
    CBxRect<int> m_Area{0, 0, 0, 0};  // that was smoothed last
    SGradientRow m_Gradients[kCellRows];
    unsigned short m_usMaxima[kBufferWidth / kGroup + 1];
};
