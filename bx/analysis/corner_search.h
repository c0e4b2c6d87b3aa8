// The corners of the dark and of the bright half of a picture, found in one walk over its rows.
//
// Gives the corners that CBxCornerDetector gives for the picture clamped to 0 .. 128 and to 128 .. 256: the same
// positions, strengths and order. It gets there with a fraction of the work:
//
//   - the picture is walked in strips, a row of blocks at a time, whose buffers fit the cache; nothing of its size is
//     allocated;
//   - only 50 corners of each half are kept, so a corner below the strength of the 50th does not matter. What the
//     strength can be at most follows from the range of the pixels around, and more closely from their gradients:
//     blocks that cannot hold a corner that matters are left out. The bar that was used is checked against the result;
//     where it was too high, the half is searched again with a lower one.
#pragma once

#include "corner_detector.h"
#include "geometry.h"
#include "row_source.h"

// The corners of one half, strongest first, in pixels of the plane.
struct SBxCornerList {
    CBxPoint<double> m_Points[CBxCornerDetector::kMostCorners];
    float m_fStrengths[CBxCornerDetector::kMostCorners];
    unsigned int m_uiCount;
};

// What a search may start from: strengths that the weakest of 50 corners of each half probably exceeds, 0 for no guess.
// A guess that is too high costs time, never the result.
struct SBxCornerBars {
    float m_fDark = 0.0f;
    float m_fBright = 0.0f;
};

// Polled now and then while the rows are walked; true ends the walk.
class CBxStopCheck {
public:
    virtual ~CBxStopCheck() = default;
    virtual bool Stopped() const = 0;
};

// Finds the corners of both halves of a plane of width x height pixels.
//
//   zoom    stretch of the smoothing kernels
//   bars    guesses; receives the strengths of the weakest corners of full lists, 0 for a list that is not full
//   stop    may be null
//
// 0; 1 when stopped; 6 without memory. On 1 and 6 the lists are empty.
[[nodiscard]] unsigned char BX_FindCornersOfHalves(SBxCornerList& dark, SBxCornerList& bright, CBxRowSource& source,
                                                   int width, int height, double zoom, SBxCornerBars& bars,
                                                   const CBxStopCheck* stop);
