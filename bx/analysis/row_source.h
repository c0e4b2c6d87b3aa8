// Where the rows of a plane come from: a plane in memory, or one that is made piece by piece and never held.
#pragma once

#include <cstdint>

#include "geometry.h"

// Gives parts of the rows of a plane of floats. One object serves one thread.
class CBxRowSource {
public:
    // Of the values in an area, and of the differences between neighbours in it.
    struct SRange {
        float low;
        float high;
        float alongRows;     // no two neighbours of a row differ by more
        float alongColumns;  // nor two of a column
    };

    virtual ~CBxRowSource() = default;

    static constexpr int kSpan = 16;  // columns

    // Starts a strip of `width` columns from `left`, of which columns outside the plane are never written; the rows of
    // a strip are asked for in ascending order, some perhaps again.
    virtual void BeginStrip(int left, int width) = 0;
    // Writes the strip's part of a row.
    virtual void Row(float* out, int row) = 0;
    // Writes some of the first 64 spans of it: span i are the columns from kSpan * i on, written where bit i is set.
    virtual void Spans(float* out, int row, std::uint64_t spans) = 0;
    // Bounds for `count` windows of an area: window i are those of its columns that lie in the `width` columns from
    // left + kSpan * i on. They may be wider than the values; those of an empty window are 0.
    virtual void Ranges(SRange* ranges, const CBxRect<int>& area, int left, int width, int count) = 0;
};
