// How well a cell of a sign would sit at each pixel, for cells of one size.
//
// Two marks tell a cell. It stands out from the ground between the ellipses, weighed by the unrest of the picture
// there; and its mean lies on the comb of the tones while the means of places around it do not. A grid is worth the sum
// over the centres of its 256 cells, which costs next to nothing: for upright grids the map is first added up along the
// 16 rows of cells, and each choice of columns is then a sum of 16 numbers,
//
//      row of cells 0    . . . x . . . x . . . x        map, one row of pixels for each row of cells
//      row of cells 1    . . . x . . . x . . . x
//                        -----------------------
//      added up          . . . s . . . s . . . s        the grid's worth is the sum of s
//
// so that millions of grids can be tried. It finds them from a tenth of a cell off, on calm ground from a quarter.
#pragma once

#include "geometry.h"
#include "heap_array.h"
#include "kernels.h"
#include "pattern_plane.h"
#include "sign_format.h"

// Where the centres of 16 cells in a row lie, in whole pixels of the map; those that lie outside have the place behind
// its last one.
struct SBxCellPlaces {
    int places[kGridSide];
    int inside;  // how many do not

    SBxCellPlaces() = default;
    // Of cells between two edges on an axis of `size` pixels.
    SBxCellPlaces(double first, double last, int size);
};

// Made, then read by any number of threads.
class CBxCellMap {
public:
    // For cells of this size in pixels of the planes, by their contrast alone. A map may be made anew, of planes of the
    // same size without new memory. False without memory.
    [[nodiscard]] bool Make(const CBxPatternPlane& planes, double cellWidth, double cellHeight);
    // Lets the map tell the comb of a sign's tones, too; once after Make, planes as before. False without memory.
    [[nodiscard]] bool AddComb(const CBxPatternPlane& planes);

    int Width() const { return m_iWidth; }
    int Height() const { return m_iHeight; }

    // The worth of each pixel as a cell's centre.
    const float* Values() const { return m_Worth.Data(); }
    // The worth of a grid whose outer edges lie so, in pixels of the map.
    float Worth(const CBxRect<double>& frame) const;

private:
    double m_dCellWidth = 0.0;
    double m_dCellHeight = 0.0;
    int m_iWidth = 0;
    int m_iHeight = 0;
    CBxHeapArray<float> m_Worth;
};

// Weighs choices of columns of cells together with some choices of rows of cells on a map. One thread's.
class CBxCellChoices {
public:
    static constexpr int kTogether = SBxKernels::kRowChoices;

    // For maps of this width. False without memory.
    [[nodiscard]] bool Prepare(int width);

    // Adds the map up along each of these choices of rows, at most kTogether, from column `from` up to `to`.
    void SumRows(const CBxCellMap& map, const SBxCellPlaces* rows, int count, int from, int to);

    // The first of the best choices of columns for each of the rows, and what it is worth. Columns are between `from`
    // and `to`, or outside the map.
    struct SBest {
        float worths[kTogether];
        int choices[kTogether];  // -1 when there are no columns
    };
    void FindBest(SBest& best, const SBxCellPlaces* columns, std::size_t count) const;

private:
    int m_iWidth = 0;
    CBxHeapArray<float> m_Sums;        // of each choice of rows, one after the other
    CBxHeapArray<float> m_SideBySide;  // the same by columns; that behind the last one is 0
};
