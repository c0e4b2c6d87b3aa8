#include "corner_planes.h"

#include <algorithm>

#include "corner_detector.h"
#include "float_filters.h"

CBxCornerPlanes::CBxCornerPlanes(double zoom) : m_Kernels(BX_Kernels()) {
    BX_KernelTaps(m_fSmoothingTaps, kSmoothingKernel, 7, zoom);
    BX_KernelTaps(m_fTensorTaps, kTensorKernel, 5, zoom);
    m_dLargestTap = *std::max_element(m_fSmoothingTaps, m_fSmoothingTaps + 7);
}

bool CBxCornerPlanes::Prepare() {
    // One row more than is used: the loops read past the end of the last.
    constexpr std::size_t kPlane = std::size_t{kBufferHeight + 1} * kRowPitch;
    return m_Plane.AllocateZeroed(kPlane) && m_Smoothed.AllocateZeroed(kPlane) &&
           m_Rows.AllocateZeroed(std::size_t{kShortRows + 1} * kRowPitch);
}

void CBxCornerPlanes::Smooth(const CBxRect<int>& area, const SBxTones& tones) {
    m_Area = area;
    const int first = area.left - 3;
    const int count = area.Width() + 7;
    const std::size_t groups = GroupsOf(count);
    const auto along = [this](int row) { return ShortRow(row % kRing); };
    for (int row = area.top - 6; row < area.bottom + 7; ++row) {
        m_Kernels.SmoothAlong(along(row), PlaneRow(row) + first - 3, groups, m_fSmoothingTaps, tones.low, tones.high);
        const int centre = row - 3;
        if (centre < area.top - 3) {
            continue;
        }
        const float* rows[7];
        for (int tap = 0; tap < 7; ++tap) {
            rows[tap] = along(centre - 3 + tap);
        }
        float* smoothed = SmoothedRow(centre);
        m_Kernels.FilterAcross(smoothed + first, rows, groups * SBxKernels::kGroup, m_fSmoothingTaps, 7);
        // No gradients in the rest of the first and of the last cell.
        std::fill(smoothed + first / kBoundsCell * kBoundsCell, smoothed + first, smoothed[first]);
        std::fill_n(smoothed + first + count, kBoundsCell, smoothed[first + count - 1]);
    }
}

void CBxCornerPlanes::BoundGradients() {
    const int firstCell = (m_Area.left - 3) / kBoundsCell;
    const int columns = m_Area.right + 3 - firstCell * kBoundsCell;
    for (int cellRow = (m_Area.top - 3) / kBoundsCell; cellRow <= (m_Area.bottom + 2) / kBoundsCell; ++cellRow) {
        const int top = std::max(cellRow * kBoundsCell, m_Area.top - 3);
        const int bottom = std::min((cellRow + 1) * kBoundsCell, m_Area.bottom + 3);
        const float* rows[kBoundsCell + 1];
        for (int row = top; row <= bottom; ++row) {
            rows[row - top] = SmoothedRow(row) + firstCell * kBoundsCell;
        }
        SGradientRow& cells = m_Gradients[cellRow];
        m_Kernels.GradientBounds({cells.xx + firstCell, cells.yy + firstCell, cells.trace + firstCell}, rows,
                                 bottom - top, GroupsOf(columns));
    }
}

SBxGradients CBxCornerPlanes::GradientsOfBlock(int blockRow, int blockColumn) const {
    SBxGradients largest{0.0f, 0.0f, 0.0f};
    const int firstRow = std::max(blockRow * kBlockCells, (m_Area.top - 3) / kBoundsCell);
    const int endRow = std::min((blockRow + 1) * kBlockCells + 2, (m_Area.bottom + 2) / kBoundsCell + 1);
    const int firstColumn = std::max(blockColumn * kBlockCells, (m_Area.left - 3) / kBoundsCell);
    const int endColumn = std::min((blockColumn + 1) * kBlockCells + 2, (m_Area.right + 2) / kBoundsCell + 1);
    for (int row = firstRow; row < endRow; ++row) {
        const SGradientRow& cells = m_Gradients[row];
        for (int column = firstColumn; column < endColumn; ++column) {
            largest.xx = std::max(largest.xx, cells.xx[column]);
            largest.yy = std::max(largest.yy, cells.yy[column]);
            largest.trace = std::max(largest.trace, cells.trace[column]);
        }
    }
    return largest;
}

CBxCornerPlanes::CResponse::CResponse(CBxCornerPlanes& planes, const CBxRect<int>& area)
    : m_Planes(planes),
      m_iFirst(area.left - 1),
      m_iNextTensorRow(area.top - 3),
      m_iNextRow(area.top - 1),
      m_uiGroups(GroupsOf(area.Width() + 2)) {}

void CBxCornerPlanes::CResponse::MakeNextRow() {
    const SBxKernels& kernels = m_Planes.m_Kernels;
    for (; m_iNextTensorRow <= m_iNextRow + 2; ++m_iNextTensorRow) {
        float* const parts[3] = {TensorRow(0, m_iNextTensorRow), TensorRow(1, m_iNextTensorRow),
                                 TensorRow(2, m_iNextTensorRow)};
        kernels.TensorAlong(parts, m_Planes.SmoothedRow(m_iNextTensorRow) + m_iFirst - 2,
                            m_Planes.SmoothedRow(m_iNextTensorRow + 1) + m_iFirst - 2, m_uiGroups,
                            m_Planes.m_fTensorTaps);
    }
    const float* rows[3][5];
    for (int part = 0; part < 3; ++part) {
        for (int tap = 0; tap < 5; ++tap) {
            rows[part][tap] = TensorRow(part, m_iNextRow - 2 + tap);
        }
    }
    kernels.ResponseAcross(Row(m_iNextRow), rows[0], rows[1], rows[2], m_uiGroups, m_Planes.m_fTensorTaps);
    ++m_iNextRow;
}

CBxCornerPlanes::SResponseRows CBxCornerPlanes::CResponse::Around(int row) {
    while (m_iNextRow <= row + 1) {
        MakeNextRow();
    }
    return {Row(row - 1), Row(row), Row(row + 1)};
}
