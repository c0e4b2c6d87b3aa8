// Reads the means of chosen cells of many candidate rectangles in one walk over the smoothed blue plane.
//
// The means are those of CBxSignOp::GetAllMeansFloat on the label map of BX_BuildLabelMap, but for the order of the
// additions (about 1e-12 of their value). No label map is made and no pixel inside a cell is visited: with the sums of
// a row from its left end, the part of a row inside an ellipse is a difference of two of them.
//
//   one row of one cell:        rim  inner pixels  rim
//                          .....|===|#############|===|.....
//                                 ^                 ^
//                  first and last sample inside the ellipse, in thirds of a pixel, on each of three lines of the row
#pragma once

#include "candidate_cells.h"
#include "geometry.h"
#include "heap_array.h"
#include "row_source.h"

class CBxStopCheck;

class CBxCellReader {
public:
    // Takes the candidates, in pixels of the plane; those whose frames leave a plane of width x height are not read, as
    // if their cells had no pixels. The choice of cells outlives the reader. False without memory.
    [[nodiscard]] bool Prepare(const CBxRect<double>* candidates, unsigned int count, int width, int height,
                               const SBxCellChoice& choice);

    // Smooths the plane as it comes, stretched by `zoom`, and adds up the cells of all candidates. 0; 1 when stopped
    // (`stop` may be null); 6 without memory.
    [[nodiscard]] unsigned char Read(CBxRowSource& blue, double zoom, const CBxStopCheck* stop);

    // The 256 means of a candidate; NaN for a cell without pixels and for one that was not chosen.
    void Means(double* means, unsigned int candidate) const;

private:
    // What of the plane the candidates' frames span, from its left end on.
    CBxRect<int> ReadArea() const;

    CBxHeapArray<SBxCandidateCells> m_Candidates;
    CBxHeapArray<SBxStampRow> m_StampRows;  // of all candidates
    unsigned int m_uiCount = 0;
    int m_iWidth = 0;
    int m_iHeight = 0;
};
