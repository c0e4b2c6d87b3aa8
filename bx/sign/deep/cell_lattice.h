// The cells around a grid: its rows and columns continued to all sides.
//
//      . . . . . . . .
//      . . +-----+ . .        The grid found lies on the right lattice, but perhaps some whole cells off; a
//      . . |     | . .        carrier's comb is clearest where all of its 256 cells are looked at.
//      . . +-----+ . .
//      . . . . . . . .
#pragma once

#include "deep_run.h"

class CBxCellLattice {
public:
    // Reads the means of the cells of `trial` and of half a grid on each side.
    void Read(CBxDeepRun& run, const SBxGridTrial& trial);

    // Writes the grids other than the one read whose combs are clearest, best first; returns how many.
    int ClearestPlaces(SBxGridTrial* places, int most) const;

private:
    static constexpr int kMargin = kGridSide / 2;
    static constexpr int kSide = kGridSide + 2 * kMargin;

    double ClearnessAt(int column, int row) const;

    SBxGridTrial m_Trial;
    float m_fReal[kSide][kSide];  // of the phasors of the means on the comb; 0 outside the picture
    float m_fImaginary[kSide][kSide];
};
