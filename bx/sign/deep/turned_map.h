// Looks at every place of a cell map for grids that were turned by some degrees.
//
// The map is turned back, in steps of a sixth of a cell, to whole numbers of two bytes. Upright grids of one size then
// have their columns at fixed distances, so the worth of all grids of a row is the sum of 16 shifted copies of the
// row's sums,
//
//      sums of 16 rows      s s s s s s s s s s s s ..
//      shifted              . . s s s s s s s s s s ..
//                           . . . . . s s s s s s s ..
//
// eight of them at a time: a billion grids a second.
#pragma once

#include <cstdint>

#include "cell_map.h"
#include "grid_pose.h"
#include "heap_array.h"

// A grid that a map speaks for.
struct SBxTurnedGrid {
    float worth;
    float degrees;  // by which the picture was turned
    SBxGridPose pose;
};

// The best grids that were offered, none of them within a third of a cell of a better one.
class CBxBestGrids {
public:
    // Room for `most` distinct grids that are worth more than `bar`. False without memory.
    [[nodiscard]] bool Prepare(std::size_t most, float bar);

    // What a grid must be worth to be taken.
    float Bar() const { return m_fBar; }
    void Offer(const SBxTurnedGrid& grid);
    // Sorts, best first, and drops what is near a better one; to be called before the grids are read.
    void Settle();

    std::size_t Count() const { return m_uiCount; }
    SBxTurnedGrid& operator[](std::size_t index) { return m_Grids[index]; }
    const SBxTurnedGrid& operator[](std::size_t index) const { return m_Grids[index]; }

private:
    std::size_t m_uiMost = 0;
    std::size_t m_uiCount = 0;
    float m_fBar = 0.0f;
    CBxHeapArray<SBxTurnedGrid> m_Grids;  // three times as many as are kept
};

// A map of cells of nearly one size.
class CBxTurnedMap {
public:
    // Pixels of the map a pixel of the picture, on an axis on which cells have this size.
    static double ScaleOf(double cell);
    // For cells from `cellWidth` x `cellHeight` pixels of the picture up to kSizes times as large, from planes whose
    // columns were scaled for them. False without memory.
    [[nodiscard]] bool Make(const CBxPatternPlane& columns, double cellWidth, double cellHeight);

    static constexpr double kSizes = 1.3;

    // The worth of any grid.
    float Worth(const SBxGridPose& pose) const;
    // Moves the edges of a grid, and turns it, to where it is worth most; returns that.
    float Follow(SBxGridPose& pose) const;

private:
    friend class CBxTurnedSweep;

    float At(double x, double y) const;

    double m_dCellWidth = 0.0;
    double m_dCellHeight = 0.0;
    double m_dScaleX = 1.0;  // pixels of the map a pixel of the picture
    double m_dScaleY = 1.0;
    CBxCellMap m_Map;
};

// A map turned back by some degrees, and the walk over its grids.
class CBxTurnedSweep {
public:
    // How many grids of cells from this size up a picture of this size has room for, about.
    static double Grids(double width, double height, double cellWidth, double cellHeight);
    // How many grids SweepHeight looks at, over all heights. A picture is swept in the frame that holds it when it is
    // turned back: that of 400 x 8000 pixels at 12 degrees is five times as wide.
    static double GridsSwept(double width, double height, double cellWidth, double cellHeight, double degrees);

    // False without memory.
    [[nodiscard]] bool Prepare(const CBxTurnedMap& map, double degrees);

    // Offers what is worth it of the grids of one height, 0 .. kHeights - 1. Returns how many there are.
    unsigned long SweepHeight(CBxBestGrids& best, int height);

    static constexpr int kHeights = 18;

private:
    static constexpr int kWidths = kHeights;
    static constexpr int kFours = kGridSide / 4;
    struct SSpacing;
    struct SWidth;
    void TurnBack(const CBxTurnedMap& map);
    void SumFoursDown(const SSpacing& spacing);
    void SumRows(int top, const SSpacing& rows);
    void SumFoursAcross(const SSpacing& columns);
    void FindBest(CBxBestGrids& best, const SWidth& wide, int top, double height);

    float m_fDegrees = 0.0f;
    double m_dScaleX = 1.0;  // pixels of the view a pixel of the picture
    double m_dScaleY = 1.0;
    CBxPoint<double> m_Origin = {};  // of the view, in the frame turned back
    int m_iWidth = 0;
    int m_iHeight = 0;
    CBxHeapArray<std::int16_t> m_View;
    CBxHeapArray<std::int16_t> m_Fours;  // of cells that stand one below the other
    CBxHeapArray<std::int16_t> m_Sums;   // of 16 rows
    CBxHeapArray<std::int16_t> m_FoursOfRow;
    CBxHeapArray<std::int16_t> m_Worths;
};
