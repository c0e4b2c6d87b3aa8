// The search for important rectangles, on rows that are never held as a plane.
#pragma once

#include "geometry.h"
#include "row_source.h"
#include "sign_run.h"

// As CBxSignOp::GetAllImportantRectangles, for a plane of width x height that `source` gives row by row.
[[nodiscard]] unsigned char BX_FindImportantRectangles(SBxSignRun& run, CBxRect<double>* rects, unsigned int& count,
                                                       CBxRowSource& source, const CBxSize<int>& plane,
                                                       CBxPoint<double>* anchors, unsigned int& anchorCount,
                                                       bool detection, double zoom);
