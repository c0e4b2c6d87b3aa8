#include "search_picture.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "kernels.h"
#include "sign_format.h"

// The bounds of a row of cells while they are still those of single columns, and two rows of sums.
struct CBxSearchPicture::SBoundRows {
    SBxColumnBounds bounds;
    std::uint16_t* sums;
    std::uint16_t* nextSums;
    static constexpr int kCount = 6;

    SBoundRows(std::uint16_t* room, std::ptrdiff_t pitch)
        : bounds{room, room + pitch, room + 2 * pitch, room + 3 * pitch},
          sums(room + 4 * pitch),
          nextSums(room + 5 * pitch) {}
};

namespace {

constexpr std::int16_t kNothing = -0x7FFF;  // below every bound

}  // namespace

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
    if (!m_Planes.Allocate(3 * planeBytes) ||
        !m_Cells.Allocate(cellRows * static_cast<std::size_t>(m_iCellsPerRow) * kBounds)) {
        return false;
    }
    CBxHeapArray<std::uint16_t> room;
    if (!room.Allocate(SBoundRows::kCount * static_cast<std::size_t>(m_iPitch))) {
        return false;
    }
    for (int row = 0; row < m_iHeight; ++row) {
        SplitRow(picture, row);
    }
    SBoundRows rows(room.Data(), m_iPitch);
    for (int cellRow = 0; cellRow * kCell < m_iHeight; ++cellRow) {
        BoundCells(cellRow, rows);
    }
    return true;
}

void CBxSearchPicture::SplitRow(const SBxPicBuf& picture, int row) {
    const unsigned char* from = BX_PicRow<unsigned char>(picture, row);
    const std::ptrdiff_t planeBytes = static_cast<std::ptrdiff_t>(m_iHeight) * m_iPitch;
    unsigned char* blue = m_Planes.Data() + static_cast<std::ptrdiff_t>(row) * m_iPitch;
    unsigned char* green = blue + planeBytes;
    unsigned char* red = green + planeBytes;
    BX_Kernels().Split3(blue, green, red, from, static_cast<std::size_t>(m_iWidth));
    for (unsigned char* line : {blue, green, red}) {
        std::fill(line + m_iWidth, line + m_iPitch, line[m_iWidth - 1]);
    }
}

// Green + red of a row, and once more behind its end.
void CBxSearchPicture::SumRow(std::uint16_t* sums, int row) const {
    BX_Kernels().AddBytes(sums, Row(Green, row), Row(Red, row), static_cast<std::size_t>(m_iWidth) + 1);
}

// Bounds one row of cells: column by column over its rows first, which runs in wide registers.
void CBxSearchPicture::BoundCells(int cellRow, SBoundRows& rows) {
    const SBxColumnBounds& columns = rows.bounds;
    std::fill(columns.low, columns.low + m_iPitch, std::uint16_t{0xFFFF});
    for (std::uint16_t* bounds : {columns.high, columns.alongRows, columns.alongColumns}) {
        std::fill(bounds, bounds + m_iPitch, std::uint16_t{0});
    }
    SumRow(rows.sums, cellRow * kCell);
    for (int row = cellRow * kCell; row < std::min((cellRow + 1) * kCell, m_iHeight); ++row) {
        SumRow(rows.nextSums, std::min(row + 1, m_iHeight - 1));
        BX_Kernels().WidenBounds(columns, rows.sums, rows.nextSums, static_cast<std::size_t>(m_iWidth));
        std::swap(rows.sums, rows.nextSums);
    }
    const auto largest = [](const std::uint16_t* of) {
        return static_cast<std::int16_t>(std::max({of[0], of[1], of[2], of[3]}));
    };
    std::int16_t* cells = m_Cells.Data() + static_cast<std::ptrdiff_t>(cellRow) * m_iCellsPerRow * kBounds;
    for (int cell = 0; cell < m_iCellsPerRow; ++cell) {
        const int x = cell * kCell;
        const std::uint16_t* low = columns.low + x;
        const int lowest = std::min({low[0], low[1], low[2], low[3]});
        *cells++ = static_cast<std::int16_t>(-lowest);
        *cells++ = largest(columns.high + x);
        *cells++ = largest(columns.alongRows + x);
        *cells++ = largest(columns.alongColumns + x);
    }
}

bool CBxSearchPicture::CColumnRanges::Prepare(const CBxSearchPicture& picture) {
    m_iWidth = picture.m_iWidth;
    return m_Largest.Allocate(static_cast<std::size_t>(picture.m_iCellsPerRow) * kBounds);
}

void CBxSearchPicture::CColumnRanges::Begin(const CBxSearchPicture& picture, const CBxRect<int>& area) {
    m_iFirstColumn = std::max(0, area.left) / kCell;
    const int lastColumn = (std::min(m_iWidth, area.right) - 1) / kCell;
    const int firstRow = std::max(0, area.top) / kCell;
    const int lastRow = (std::min(picture.m_iHeight, area.bottom) - 1) / kCell;
    const int count = (lastColumn - m_iFirstColumn + 1) * kBounds;
    std::int16_t* __restrict largest = m_Largest.Data();
    std::fill_n(largest, count, kNothing);
    for (int row = firstRow; row <= lastRow; ++row) {
        const std::int16_t* cells =
            picture.m_Cells.Data() +
            (static_cast<std::ptrdiff_t>(row) * picture.m_iCellsPerRow + m_iFirstColumn) * kBounds;
        for (int i = 0; i < count; ++i) {
            largest[i] = cells[i] > largest[i] ? cells[i] : largest[i];
        }
    }
}

CBxSearchPicture::SRange CBxSearchPicture::CColumnRanges::RangeOf(int left, int right) const {
    const int firstColumn = std::max(0, left) / kCell - m_iFirstColumn;
    const int lastColumn = (std::min(m_iWidth, right) - 1) / kCell - m_iFirstColumn;
    std::int16_t largest[kBounds] = {kNothing, 0, 0, 0};
    const std::int16_t* cell = m_Largest.Data() + static_cast<std::ptrdiff_t>(firstColumn) * kBounds;
    for (int column = firstColumn; column <= lastColumn; ++column, cell += kBounds) {
        for (int bound = 0; bound < kBounds; ++bound) {
            largest[bound] = cell[bound] > largest[bound] ? cell[bound] : largest[bound];
        }
    }
    return {-largest[0], largest[1], largest[2], largest[3]};
}
