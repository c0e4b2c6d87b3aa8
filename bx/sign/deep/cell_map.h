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
#include "pattern_plane.h"
#include "sign_format.h"
#include "tone.h"

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
    // Lets the map tell the comb of tones that became of a sign's, too; once after Make, planes as before.
    [[nodiscard]] bool AddComb(const CBxPatternPlane& planes, const SBxTone& tone);

    int Width() const { return m_iWidth; }
    int Height() const { return m_iHeight; }

    // The worth of each pixel as a cell's centre.
    const float* Values() const { return m_Worth.Data(); }
    // The worth of a grid whose outer edges lie so, in pixels of the map.
    float Worth(const CBxRect<double>& frame) const;

    // Adds up rows of the map, from column `from` up to `to`: sums[x] belongs to column x, sums[Width()] becomes 0.
    void SumRows(float* sums, const SBxCellPlaces& rows, int from, int to) const;
    static float SumColumns(const float* sums, const SBxCellPlaces& columns) {
        float sum = 0.0f;
        for (const int column : columns.places) {
            sum += sums[column];
        }
        return sum;
    }

private:
    double m_dCellWidth = 0.0;
    double m_dCellHeight = 0.0;
    int m_iWidth = 0;
    int m_iHeight = 0;
    CBxHeapArray<float> m_Worth;
};
