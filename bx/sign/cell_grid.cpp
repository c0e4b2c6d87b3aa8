#include "cell_grid.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "pic_buf_api.h"
#include "result.h"
#include "sign_op.h"

SBxCellGrid::SBxCellGrid(const CBxRect<double>& carrier)
    : m_Frame{static_cast<int>(carrier.left), static_cast<int>(carrier.top), static_cast<int>(std::ceil(carrier.right)),
              static_cast<int>(std::ceil(carrier.bottom))},
      m_dCellWidth(0.0),
      m_dCellHeight(0.0),
      m_dFractionX(carrier.left - m_Frame.left),
      m_dFractionY(carrier.top - m_Frame.top) {
    CBxSignOp::GetRealStampZoom(carrier.Width(), carrier.Height(), kGridSide, kGridSide, m_dCellWidth, m_dCellHeight);
}

CBxPoint<double> SBxCellGrid::CentreOfCell(int cell) const {
    return {(cell % kGridSide + 0.5) * m_dCellWidth + m_dFractionX,
            (cell / kGridSide + 0.5) * m_dCellHeight + m_dFractionY};
}

CBxPoint<int> SBxCellGrid::StampOfCell(int cell) const {
    return {std::max(0, static_cast<int>(cell % kGridSide * m_dCellWidth + m_dFractionX)),
            std::max(0, static_cast<int>(cell / kGridSide * m_dCellHeight + m_dFractionY))};
}

void SBxCellGrid::Centres(CBxPoint<double>* centres) const {
    for (int cell = 0; cell < kCellCount; ++cell) {
        centres[cell] = CentreOfCell(cell);
    }
}

unsigned char BX_BuildLabelMap(CBxOwnedPic& labels, const SBxCellGrid& grid) {
    CBxOwnedPic stamp;
    if (labels.Allocate(grid.m_Frame.Width(), grid.m_Frame.Height(), 1, 16) != kBxSuccess ||
        CBxSignOp::GenerateSmallWhat(stamp.Pic(), grid.m_dCellWidth, grid.m_dCellHeight) != kBxSuccess) {
        return kBxOutOfMemory;
    }
    CBxPicBufAPI::Zero(labels.Pic());
    for (int cell = 0; cell < kCellCount; ++cell) {
        const CBxPoint<int> place = grid.StampOfCell(cell);
        const CBxSize<int> size{std::min(stamp->m_iWidth, labels->m_iWidth - place.x),
                                std::min(stamp->m_iHeight, labels->m_iHeight - place.y)};
        if (size.width > 0 && size.height > 0) {
            CBxPicBufAPI::CopyRect(labels.Pic(), stamp.Pic(), place, {0, 0}, size);
        }
        CBxSignOp::AddNonZeroBy2(stamp.Pic());
    }
    return kBxSuccess;
}
