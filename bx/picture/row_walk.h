// Walks the rows of a destination picture and tells which columns can be read from the source without a test.
#pragma once

#include <cstdint>

#include "geometry.h"
#include "pic_buf.h"
#include "pic_map.h"

// Columns [first, last) of a row.
struct SBxRun {
    int first;
    int last;
};

// What a way of sampling reads around a position: `taps` x `taps` pixels, for positions that keep `edge` away from the
// borders of the source. The first pixel read lies at trunc(position - shift).
struct SBxReach {
    int taps;
    double shift;
    double edge;
};

inline constexpr SBxReach kConstantReach{1, 0.0, 0.01};
inline constexpr SBxReach kBilinearReach{2, 0.5, 0.51};
inline constexpr SBxReach kBicubicReach{4, 1.5, 1.51};

// Whether a source is too small for a way of sampling and goes to the next simpler one.
inline bool BX_IsTooSmall(const SBxPicBuf& src, const SBxReach& reach) {
    return src.m_iWidth < reach.taps || src.m_iHeight < reach.taps;
}

// Position along one axis over the columns of a row: start + column x step, in source pixels.
struct SBxAxis {
    double start;
    double step;

    double At(int column) const { return start + column * step; }
};

// The same in 16.16 fixed point, minus the shift of the reach. 64 bits wide, so that no source is too wide.
struct SBxFixedAxis {
    std::int64_t start;
    std::int64_t step;

    std::int64_t At(int column) const { return start + column * step; }
};

class CBxRowWalk {
public:
    // Columns that are walked in one go by adding up steps; few enough that rounding stays far below the 0.01 pixels
    // that lie between the valid region and the end of the source.
    static constexpr int kMostAddedSteps = 1024;

    // Stands on row 0. `dst` and `src` are only asked for their sizes.
    CBxRowWalk(const SBxPicBuf& dst, const SBxPicBuf& src, const CBxPicMap& map, const SBxReach& reach);

    void NextRow();

    const SBxAxis& X() const { return m_X; }
    const SBxAxis& Y() const { return m_Y; }
    // The columns whose positions lie in the valid region; at both ends the very numbers that At() gives have been
    // tested. Empty where positions are no numbers or are absurdly far away.
    SBxRun ExactRun() const;

    SBxFixedAxis FixedX() const;
    SBxFixedAxis FixedY() const;
    // ExactRun, narrowed until every pixel that the fixed-point walk reads lies in the source: its rounded steps drift
    // away from the exact positions on long rows.
    SBxRun FixedRun() const;

private:
    bool IsWalkable() const;

    SBxAxis m_X;
    SBxAxis m_Y;
    SBxReach m_Reach;
    int m_iColumns;
    CBxSize<int> m_Source;
    CBxRect<double> m_Valid;
};
