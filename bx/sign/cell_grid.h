// The 16 x 16 cells of a carrier: where they lie, and the label map that tells each pixel its cell.
//
//      left                                        One cell, cell width x cell height:
//      v                                            +-----------------+
//   +--.--+-----+-----+--  ..  --+                  |    . rim  .     |   inner pixels: label 2 c + 2
//   | 0   | 1   | 2   |          |  top             |  .  /-----\  .  |   rim pixels:   label 2 c + 1
//   +-----+-----+-----+          |                  | .  |       |  . |   elsewhere:    label 0
//   | 16  | 17  |                |                  | .  | inner |  . |
//   +-----+--  16 rows           |                  |  .  \-----/  .  |   The ellipse itself has the semi-axes
//   |                            |                  |    .     .      |   0.375 x cell size and runs through
//   +----------------------------+                  +-----------------+   the middle of the rim.
#pragma once

#include "geometry.h"
#include "owned_pic.h"
#include "sign_format.h"

// The geometry of a carrier's cells. Positions inside are relative to the frame's top left corner.
struct SBxCellGrid {
    CBxRect<int> m_Frame;  // left and top truncated, right and bottom rounded up; pixels of the picture
    double m_dCellWidth;
    double m_dCellHeight;
    double m_dFractionX;  // what the truncation cut off
    double m_dFractionY;

    explicit SBxCellGrid(const CBxRect<double>& carrier);

    CBxPoint<double> CentreOfCell(int cell) const;
    // Where the stamp of a cell is put down.
    CBxPoint<int> StampOfCell(int cell) const;
    // All 256 of CentreOfCell.
    void Centres(CBxPoint<double>* centres) const;
};

// Fills `labels`, (re)allocated as 1_16 of the frame's size: the stamp of each cell in turn, zeros included, so that a
// later stamp overwrites the corners of an earlier one. 0 or 6.
[[nodiscard]] unsigned char BX_BuildLabelMap(CBxOwnedPic& labels, const SBxCellGrid& grid);
