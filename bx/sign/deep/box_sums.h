// Sums over boxes around the pixels of a plane, made and read row by row.
//
// Kept are sums over both axes, everything above and to the left of a place, of whole numbers that may run over: of the
// four sums whose difference is that of a box nothing is lost as long as the box itself does not run over.
//
//      row above the box       d . . . . c
//                              . x x x x x
//                              . x x x x x       sum over the box = (a - b) - (c - d)
//      last row of the box     b x x x x a
//
// Only as many rows are kept as the highest box needs, and rows are longer than the plane by the longest reach, so that
// boxes that are cut at the edges need no care.
#pragma once

#include <cstdint>

#include "heap_array.h"
#include "kernels.h"

// Pixels to either side.
struct SBxReach {
    int x;
    int y;
};

class CBxBoxSums {
public:
    // For a plane of which no sample is further from zero than `largest`, and boxes that reach no further than this:
    // samples lose what is behind the finest whole numbers whose sums over such a box 32 bits hold. False without
    // memory.
    [[nodiscard]] bool Prepare(int width, int height, SBxReach farthest, double largest);

    // Whole numbers a sample's one.
    double Scale() const { return m_fScale; }
    // How many rows were added, the first one first.
    int Rows() const { return m_iRows; }
    void AddRow(const float* row);
    // How many rows must have been added before the boxes around row `y` can be read.
    int RowsFor(int y, int reach) const { return y + reach < m_iHeight ? y + reach + 1 : m_iHeight; }
    // Around each pixel of row `y`, cut at the edges; y not below that of boxes read before. Valid until the next row.
    SBxBoxes Boxes(int y, SBxReach reach) const;

private:
    std::uint32_t* RowOf(int row) { return m_Sums.Data() + static_cast<std::ptrdiff_t>(row % m_iKept) * m_iPitch; }
    const std::uint32_t* RowOf(int row) const {
        return m_Sums.Data() + static_cast<std::ptrdiff_t>(row % m_iKept) * m_iPitch;
    }

    int m_iWidth = 0;
    int m_iHeight = 0;
    int m_iReachX = 0;
    int m_iRows = 0;
    int m_iKept = 1;
    int m_iPitch = 0;
    float m_fScale = 1.0f;
    CBxHeapArray<std::uint32_t> m_Sums;
};

// What sums over boxes, or over crosses of two of them, are multiplied by to become means.
class CBxBoxShares {
public:
    // Of one box, or of a cross of two of which the first is the wider one. `scale` is that of the sums. False without
    // memory.
    [[nodiscard]] bool Prepare(int width, int height, double scale, SBxReach box) {
        return Prepare(width, height, scale, box, box);
    }
    [[nodiscard]] bool Prepare(int width, int height, double scale, SBxReach wide, SBxReach high);

    // Of the pixels of row `y`; valid until the next call.
    const float* OfRow(int y);

private:
    int m_iHeight = 0;
    double m_dScale = 1.0;
    SBxReach m_Wide = {};
    SBxReach m_High = {};
    int m_iRowsOfWide = -1;  // that the shares are made for
    int m_iRowsOfHigh = -1;
    CBxHeapArray<float> m_Shares;
};
