// The ellipse of a cell.
#pragma once

#include "geometry.h"
#include "sign_format.h"

// An axis-parallel ellipse; "inside" is strict, so that a degenerate one holds nothing.
struct SBxEllipse {
    CBxPoint<double> centre;
    double a;  // semi-axes, pixels
    double b;

    bool Holds(double x, double y) const {
        const double dx = x - centre.x;
        const double dy = y - centre.y;
        return dx * dx / (a * a) + dy * dy / (b * b) < 1.0;
    }
    // The same for a sample: the middle of a third of a pixel in each direction, counted in thirds.
    bool HoldsSample(int thirdX, int thirdY) const {
        return Holds(thirdX / 3 + (2 * (thirdX % 3) + 1) / 6.0, thirdY / 3 + (2 * (thirdY % 3) + 1) / 6.0);
    }
};

inline SBxEllipse BX_EllipseOfCell(const CBxPoint<double>& centre, double cellWidth, double cellHeight) {
    return {centre, kEllipseShare * cellWidth, kEllipseShare * cellHeight};
}
