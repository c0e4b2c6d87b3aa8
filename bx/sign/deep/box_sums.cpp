#include "box_sums.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace {

// The largest power of two by which no box of so many samples of this size runs over.
float ScaleOf(double largest, double samples) {
    constexpr double kMostSum = 2147483647.0;
    return static_cast<float>(std::exp2(std::floor(std::log2(kMostSum / (samples * largest)))));
}

// How many of the pixels around `place` lie on an axis of `size` pixels.
int CountInside(int place, int reach, int size) {
    return std::min(size - 1, place + reach) - std::max(0, place - reach) + 1;
}

}  // namespace

bool CBxBoxSums::Prepare(int width, int height, SBxReach farthest, double largest) {
    m_iWidth = width;
    m_iHeight = height;
    // Behind the edges lies nothing, however far a box reaches.
    m_iReachX = std::min(farthest.x, width);
    m_iRows = 0;
    m_iKept = std::min(height + 1, 2 * std::min(farthest.y, height) + 2);
    m_iPitch = width + 2 * m_iReachX + 1;
    m_fScale = ScaleOf(largest, (2.0 * farthest.x + 1.0) * (2.0 * farthest.y + 1.0));
    return m_Sums.AllocateZeroed(static_cast<std::size_t>(m_iKept) * m_iPitch);
}

void CBxBoxSums::AddRow(const float* row) {
    const std::uint32_t* above = RowOf(m_iRows);
    std::uint32_t* sums = RowOf(++m_iRows);
    const int first = m_iReachX + 1;
    BX_Kernels().SumBothAxes(sums + first, above + first, row, m_fScale, static_cast<std::size_t>(m_iWidth));
    std::fill_n(sums + first + m_iWidth, m_iReachX, sums[m_iReachX + m_iWidth]);
}

SBxBoxes CBxBoxSums::Boxes(int y, SBxReach reach) const {
    const int reachX = std::min(reach.x, m_iReachX);
    const std::uint32_t* upper = RowOf(std::max(0, y - reach.y)) + m_iReachX;
    const std::uint32_t* lower = RowOf(RowsFor(y, reach.y)) + m_iReachX;
    return {lower + reachX + 1, lower - reachX, upper + reachX + 1, upper - reachX};
}

bool CBxBoxShares::Prepare(int width, int height, double scale, SBxReach wide, SBxReach high) {
    m_iHeight = height;
    m_dScale = scale;
    m_Wide = wide;
    m_High = high;
    m_iRowsOfWide = m_iRowsOfHigh = -1;
    return m_Shares.Allocate(static_cast<std::size_t>(width));
}

const float* CBxBoxShares::OfRow(int y) {
    const int ofWide = CountInside(y, m_Wide.y, m_iHeight);
    const int ofHigh = CountInside(y, m_High.y, m_iHeight);
    if (ofWide != m_iRowsOfWide || ofHigh != m_iRowsOfHigh) {
        m_iRowsOfWide = ofWide;
        m_iRowsOfHigh = ofHigh;
        const int width = static_cast<int>(m_Shares.Size());
        for (int x = 0; x < width; ++x) {
            const int pixels =
                CountInside(x, m_Wide.x, width) * ofWide + CountInside(x, m_High.x, width) * (ofHigh - ofWide);
            m_Shares[x] = static_cast<float>(1.0 / (m_dScale * pixels));
        }
    }
    return m_Shares.Data();
}
