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

// The marks that maps are made of, one after the other: first the contrast alone, for tones of any gain, then with the
// comb of the tones as they are.
class CBxMapMarks {
public:
    static constexpr int kCount = 2;

    explicit CBxMapMarks(const CBxDeepRun& run) : m_bKnowsTone(run.m_bKnowsTone) {}

    // Gives a map this mark; to be called for each in turn after the map was made. False without memory.
    [[nodiscard]] static bool Apply(CBxCellMap& map, const CBxPatternPlane& planes, int index) {
        return index == 0 || map.AddComb(planes);
    }
    // The gain of the combs that grids of a mark may have, 0 for any.
    double Gain(int index) const { return index == 0 && !m_bKnowsTone ? 0.0 : 1.0; }

private:
    bool m_bKnowsTone;
};

// Moves the edges of a grid to where the comb of its means is clearest, of gain 1 (or with 0, of any), and decodes it
// there. `pixel` is the size of a pixel of the map. Any thread.
void BX_ReadMapGrid(CBxDeepRun& run, const SBxMapGrid& grid, double pixel, double gain, EBxDeepStage stage);
