// Upright grids that a cell map speaks for, from the list to the reading.
#pragma once

#include <cstddef>

#include "cell_map.h"
#include "deep_run.h"

struct SBxMapGrid {
    float worth;
    CBxRect<double> frame;  // of the carrier, in pixels of the picture; may reach beyond it
};

// Sorts grids by their worth, best first, and drops those that lie within a sixth of a cell of a better one. Returns
// how many are left, at most `most`.
std::size_t BX_KeepDistinct(SBxMapGrid* grids, std::size_t count, std::size_t most);

// Moves the edges of a grid to where it is worth most; `scale` are the map's pixels a pixel of the picture.
void BX_FollowMap(SBxMapGrid& grid, const CBxCellMap& map, double scale);

// Moves the edges of a grid to where the comb of its means is clearest, and decodes it there. `keptTones`: the comb of
// unchanged tones counts, not that of any gain. Any thread.
void BX_ReadMapGrid(CBxDeepRun& run, const SBxMapGrid& grid, double pixel, bool keptTones, EBxDeepStage stage);
