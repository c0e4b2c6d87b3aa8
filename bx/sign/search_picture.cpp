#include "search_picture.h"

#include <algorithm>
#include <cstddef>

#include "sign_format.h"

bool CBxSearchPicture::Prepare(const SBxPicBuf& picture, double smallestZoom) {
    m_iWidth = picture.m_iWidth;
    m_iHeight = picture.m_iHeight;
    m_iCellsPerRow = (m_iWidth + kCell - 1) / kCell;
    const auto cellRows = static_cast<std::size_t>((m_iHeight + kCell - 1) / kCell);
    if (BX_IsTooLargeToSearch(m_iWidth, m_iHeight, smallestZoom)) {
        return true;
    }
    m_iPitch = m_iWidth + kReadAhead;
    const auto planeBytes = static_cast<std::size_t>(m_iPitch) * static_cast<std::size_t>(m_iHeight);
    if (!m_Planes.Allocate(3 * planeBytes) || !m_Cells.Allocate(cellRows * static_cast<std::size_t>(m_iCellsPerRow))) {
        return false;
    }
    CBxHeapArray<std::uint16_t> bounds;
    if (!bounds.Allocate(2 * static_cast<std::size_t>(m_iPitch))) {
        return false;
    }
    for (int row = 0; row < m_iHeight; ++row) {
        SplitRow(picture, row);
    }
    for (int cellRow = 0; cellRow * kCell < m_iHeight; ++cellRow) {
        BoundCells(cellRow, bounds.Data(), bounds.Data() + m_iPitch);
    }
    return true;
}

void CBxSearchPicture::SplitRow(const SBxPicBuf& picture, int row) {
    const unsigned char* from = BX_PicRow<unsigned char>(picture, row);
    const std::ptrdiff_t planeBytes = static_cast<std::ptrdiff_t>(m_iHeight) * m_iPitch;
    unsigned char* blue = m_Planes.Data() + static_cast<std::ptrdiff_t>(row) * m_iPitch;
    unsigned char* green = blue + planeBytes;
    unsigned char* red = green + planeBytes;
    for (int x = 0; x < m_iWidth; ++x) {
        blue[x] = from[3 * x];
        green[x] = from[3 * x + 1];
        red[x] = from[3 * x + 2];
    }
    for (unsigned char* line : {blue, green, red}) {
        std::fill(line + m_iWidth, line + m_iPitch, line[m_iWidth - 1]);
    }
}

// Bounds one row of cells: column by column over its rows first, which runs in wide registers.
void CBxSearchPicture::BoundCells(int cellRow, std::uint16_t* low, std::uint16_t* high) {
    std::fill(low, low + m_iPitch, std::uint16_t{0xFFFF});
    std::fill(high, high + m_iPitch, std::uint16_t{0});
    for (int row = cellRow * kCell; row < std::min((cellRow + 1) * kCell, m_iHeight); ++row) {
        const unsigned char* green = Row(Green, row);
        const unsigned char* red = Row(Red, row);
        for (int x = 0; x < m_iWidth; ++x) {
            const auto sum = static_cast<std::uint16_t>(green[x] + red[x]);
            low[x] = sum < low[x] ? sum : low[x];
            high[x] = sum > high[x] ? sum : high[x];
        }
    }
    SRange* cells = m_Cells.Data() + static_cast<std::ptrdiff_t>(cellRow) * m_iCellsPerRow;
    for (int cell = 0; cell < m_iCellsPerRow; ++cell) {
        const std::uint16_t* l = low + cell * kCell;
        const std::uint16_t* h = high + cell * kCell;
        cells[cell] = {std::min({l[0], l[1], l[2], l[3]}), std::max({h[0], h[1], h[2], h[3]})};
    }
}

CBxSearchPicture::SRange CBxSearchPicture::RangeOf(const CBxRect<int>& area) const {
    const int firstColumn = std::max(0, area.left) / kCell;
    const int lastColumn = (std::min(m_iWidth, area.right) - 1) / kCell;
    const int firstRow = std::max(0, area.top) / kCell;
    const int lastRow = (std::min(m_iHeight, area.bottom) - 1) / kCell;
    SRange range{0xFFFF, 0};
    for (int row = firstRow; row <= lastRow; ++row) {
        const SRange* cells = m_Cells.Data() + static_cast<std::ptrdiff_t>(row) * m_iCellsPerRow;
        for (int column = firstColumn; column <= lastColumn; ++column) {
            range.low = std::min(range.low, cells[column].low);
            range.high = std::max(range.high, cells[column].high);
        }
    }
    return range;
}
