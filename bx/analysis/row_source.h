// Where the rows of a plane come from: a plane in memory, or one that is made row by row and never held.
#pragma once

// Gives rows of a plane of floats, strip by strip. One object serves one thread.
class CBxRowSource {
public:
    virtual ~CBxRowSource() = default;

    // Starts a strip of `width` columns from `left`; the rows of a strip are asked for in ascending order.
    virtual void BeginStrip(int left, int width) = 0;
    // Writes the strip's part of a row.
    virtual void Row(float* out, int row) = 0;
};
