// The search for important rectangles, on rows that are never held as a plane.
#pragma once

#include "corner_archive.h"
#include "corner_search.h"
#include "geometry.h"
#include "row_source.h"

// As CBxSignOp::GetAllImportantRectangles, for a plane of width x height that `source` gives row by row; 1 when `stop`
// ends it. `bars` as for BX_FindCornersOfHalves. `archive` receives the corners, unless it is null.
[[nodiscard]] unsigned char BX_FindImportantRectangles(const CBxStopCheck& stop, CBxRect<double>* rects,
                                                       unsigned int& count, CBxRowSource& source,
                                                       const CBxSize<int>& plane, CBxPoint<double>* anchors,
                                                       unsigned int& anchorCount, bool detection, double zoom,
                                                       SBxCornerBars& bars, CBxCornerArchive* archive);
