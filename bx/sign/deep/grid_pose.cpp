#include "grid_pose.h"

#include <cmath>
#include <utility>

namespace {

constexpr double kPi = 3.141592653589793;

}  // namespace

// A quarter turn clockwise takes rows that run to the right on: down, to the left, up. Rows of a mirrored picture run
// to the left to begin with.
int SBxGridOrientation::QuarterTurns() const {
    if (Mirrored()) {
        return !transposes ? (reversesX ? 0 : 2) : (reversesX ? 1 : 3);
    }
    return !transposes ? (reversesX ? 2 : 0) : (reversesX ? 1 : 3);
}

SBxGridPose BX_PoseOfDiagonal(const CBxPoint<double>& p, const CBxPoint<double>& q, double degrees) {
    const double angle = degrees / 180.0 * kPi;
    const double cosine = std::cos(angle);
    const double sine = std::sin(angle);
    // The diagonal, in the carrier's own upright frame.
    const double dx = q.x - p.x;
    const double dy = q.y - p.y;
    double width = cosine * dx + sine * dy;
    double height = -sine * dx + cosine * dy;
    CBxPoint<double> origin = p;
    if (width < 0.0) {
        origin = {origin.x + width * cosine, origin.y + width * sine};
        width = -width;
    }
    if (height < 0.0) {
        origin = {origin.x - height * sine, origin.y + height * cosine};
        height = -height;
    }
    const double column = width / kGridSide;
    const double row = height / kGridSide;
    return {origin, {column * cosine, column * sine}, {-row * sine, row * cosine}};
}

SBxGridPose BX_Reorient(const SBxGridPose& pose, const SBxGridOrientation& orientation) {
    SBxGridPose result = pose;
    if (orientation.reversesX) {
        result.origin = result.PointAt(kGridSide, 0.0);
        result.along = {-result.along.x, -result.along.y};
    }
    if (orientation.reversesY) {
        result.origin = result.PointAt(0.0, kGridSide);
        result.down = {-result.down.x, -result.down.y};
    }
    if (orientation.transposes) {
        std::swap(result.along, result.down);
    }
    return result;
}

SBxGridPose BX_MovedPose(const SBxGridPose& pose, int move, double step) {
    SBxGridPose moved = pose;
    const auto shift = [](CBxPoint<double>& point, const CBxPoint<double>& by, double factor) {
        point = {point.x + factor * by.x, point.y + factor * by.y};
    };
    const double perCell = step / kGridSide;
    switch (move) {
        case 0:  // the first column's edge, the last one's stays
            shift(moved.origin, pose.along, step);
            shift(moved.along, pose.along, -perCell);
            break;
        case 1:
            shift(moved.origin, pose.down, step);
            shift(moved.down, pose.down, -perCell);
            break;
        case 2:  // the last column's edge
            shift(moved.along, pose.along, perCell);
            break;
        case 3:
            shift(moved.down, pose.down, perCell);
            break;
        default: {
            constexpr double kMiddle = kGridSide / 2.0;
            const CBxPoint<double> middle = pose.PointAt(kMiddle, kMiddle);
            shift(moved.along, {-pose.along.y, pose.along.x}, perCell);
            shift(moved.down, {-pose.down.y, pose.down.x}, perCell);
            moved.origin = middle;
            shift(moved.origin, moved.along, -kMiddle);
            shift(moved.origin, moved.down, -kMiddle);
            break;
        }
    }
    return moved;
}
