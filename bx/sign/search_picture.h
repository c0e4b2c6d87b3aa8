// What the searches of all zooms of a picture share: its components as planes of bytes, and bounds of its tones.
#pragma once

#include <cstdint>

#include "geometry.h"
#include "heap_array.h"
#include "pic_buf.h"

// Made once from a 3_8 picture, which it does not refer to afterwards; read by any number of threads.
class CBxSearchPicture {
public:
    enum EComponent { Blue, Green, Red };

    // Bounds of green + red, and of its differences between neighbours.
    struct SRange {
        int low;
        int high;
        int alongRows;
        int alongColumns;
    };

    static constexpr int kReadAhead = 48;

    // For searches at `smallestZoom` and above: a picture that is too large even for that gives its size only. False
    // without memory.
    [[nodiscard]] bool Prepare(const SBxPicBuf& picture, double smallestZoom);
    // Of any size.
    [[nodiscard]] bool Prepare(const SBxPicBuf& picture) { return Prepare(picture, 0.0); }

    int Width() const { return m_iWidth; }
    int Height() const { return m_iHeight; }
    // A row of one component. The last sample is repeated kReadAhead times behind it.
    const unsigned char* Row(EComponent component, int row) const {
        return m_Planes.Data() + (static_cast<std::ptrdiff_t>(component) * m_iHeight + row) * m_iPitch;
    }
    // Bounds over parts of an area, rounded out to cells of kCell pixels and cut to the picture. One thread at a time.
    class CColumnRanges {
    public:
        // Room for areas of a picture. False without memory.
        [[nodiscard]] bool Prepare(const CBxSearchPicture& picture);
        // The area, which is not empty.
        void Begin(const CBxSearchPicture& picture, const CBxRect<int>& area);
        // Of some columns that lie inside it.
        SRange RangeOf(int left, int right) const;

    private:
        // The largest of every column of cells: -low, high, alongRows, alongColumns.
        CBxHeapArray<std::int16_t> m_Largest;
        int m_iFirstColumn = 0;
        int m_iWidth = 0;  // of the picture
    };

private:
    static constexpr int kBounds = 4;  // of a cell
    static constexpr int kCell = 4;

    void SplitRow(const SBxPicBuf& picture, int row);
    struct SBoundRows;
    void SumRow(std::uint16_t* sums, int row) const;
    void BoundCells(int cellRow, SBoundRows& rows);

    int m_iWidth = 0;
    int m_iHeight = 0;
    int m_iPitch = 0;
    int m_iCellsPerRow = 0;
    CBxHeapArray<unsigned char> m_Planes;  // blue, green, red
    // kBounds for each cell, the first of which is -low: the larger, the wider.
    CBxHeapArray<std::int16_t> m_Cells;
};
