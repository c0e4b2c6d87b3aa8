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
// comb of unchanged tones. Where a gain is known, with its combs alone: the offset may be one of three.
class CBxMapMarks {
public:
    static constexpr int kMost = 3;

    explicit CBxMapMarks(const CBxDeepRun& run);

    int Count() const { return m_iCount; }
    // Gives a map that was just made, or given another mark, this mark. False without memory.
    [[nodiscard]] bool Apply(CBxCellMap& map, const CBxPatternPlane& planes, int index) const;
    // The gain of a mark's comb, 0 for any.
    double Gain(int index) const { return m_bAnyGain[index] ? 0.0 : m_Tones[index].gain; }

private:
    int m_iCount;
    bool m_bAnyGain[kMost] = {};
    SBxTone m_Tones[kMost];
};

// Moves the edges of a grid to where the comb of its means is clearest, of this gain (0: of any), and decodes it there.
// `pixel` is the size of a pixel of the map. Any thread.
void BX_ReadMapGrid(CBxDeepRun& run, const SBxMapGrid& grid, double pixel, double gain, EBxDeepStage stage);
