// Where the 16 x 16 cells of a carrier may lie in a picture that was changed: turned, mirrored, stretched, cut.
//
//      origin
//        +---- along ---->+---- ..       Cell c stands in column c % 16 and row c / 16 of the grid as it was
//        |\    cell 0     |  cell 1      written. Its centre is origin + (column + 1/2) along + (row + 1/2) down.
//      down  (ellipse)                   All in pixels of the picture, pixel (0, 0) covering 0 .. 1.
//        v                |
//        +----------------+
#pragma once

#include "geometry.h"
#include "sign_format.h"

struct SBxGridPose {
    CBxPoint<double> origin;  // the outer corner of cell 0
    CBxPoint<double> along;   // from a cell to the next one of its row
    CBxPoint<double> down;    // from a cell to the next one of its column

    CBxPoint<double> PointAt(double column, double row) const {
        return {origin.x + column * along.x + row * down.x, origin.y + column * along.y + row * down.y};
    }
    CBxPoint<double> CentreOfCell(int cell) const { return PointAt(cell % kGridSide + 0.5, cell / kGridSide + 0.5); }
};

// The eight ways in which a square grid can come to lie on itself: quarter turns, each as it is or mirrored.
//
// In picture pixels the grid's rows run to the right (or to the left, with reversesX), its columns downwards (or
// upwards, with reversesY); `transposes` lays the rows along the picture's columns and the other way round.
struct SBxGridOrientation {
    bool reversesX;
    bool reversesY;
    bool transposes;

    // What was done to the picture: clockwise quarter turns, as seen on a screen, after a mirroring left to right if
    // Mirrored.
    bool Mirrored() const { return reversesX != reversesY ? !transposes : transposes; }
    int QuarterTurns() const;
};
inline constexpr int kGridOrientations = 8;
inline constexpr SBxGridOrientation BX_GridOrientation(int index) {
    return {(index & 1) != 0, (index & 2) != 0, (index & 4) != 0};
}

// The grid of an upright carrier.
inline SBxGridPose BX_PoseOfRectangle(const CBxRect<double>& carrier) {
    return {{carrier.left, carrier.top}, {carrier.Width() / kGridSide, 0.0}, {0.0, carrier.Height() / kGridSide}};
}

// The grid of the carrier that has `p` and `q` at the ends of a diagonal and was turned by `degrees` (positive: its
// rows fall to the right, as seen on a screen).
SBxGridPose BX_PoseOfDiagonal(const CBxPoint<double>& p, const CBxPoint<double>& q, double degrees);

// The same ground read in another orientation.
SBxGridPose BX_Reorient(const SBxGridPose& pose, const SBxGridOrientation& orientation);

// The grid with one of its edges moved by `step` cells (the first column's, the first row's, the last column's, the
// last row's), or turned about its middle by a sixteenth of as much, in radians.
inline constexpr int kGridMoves = 5;
SBxGridPose BX_MovedPose(const SBxGridPose& pose, int move, double step);
