// The loop that adds up ellipses from sums along rows.
// Part of kernel_loops.h: internal linkage, no standard function.
#pragma once

#include "kernel_vectors.h"
#include "kernels.h"

namespace {

// Where sixteen ellipses lie.
struct SEllipsePlaces {
    int firstRows[SBxEllipses::kColumns];  // may lie outside the plane
    float centresX[SBxEllipses::kColumns];
    float centresY[SBxEllipses::kColumns];
};

inline void PlaceEllipses(SEllipsePlaces& places, const SBxEllipses& cells) {
    const TDoubles farthest = Splat(SBxEllipses::kFarthest);
    for (int column = 0; column < SBxEllipses::kColumns; column += kLanes) {
        const TDoubles index = TDoubles{0.0, 1.0, 2.0, 3.0, 4.0, 5.0, 6.0, 7.0} + static_cast<double>(column);
        const TDoubles x = Smaller(Larger(cells.firstX + index * cells.stepX, -farthest), farthest);
        const TDoubles y = Smaller(Larger(cells.firstY + index * cells.stepY, -farthest), farthest);
        const TDoubles upperEnd = y - (cells.top + 0.5);
        const TDoubles whole = ToDoubles(ToInts(upperEnd));
        const TInts firstRows = ToInts(whole < upperEnd ? whole + 1.0 : whole);
        const TFloats centresX = __builtin_convertvector(x, TFloats);
        const TFloats centresY = __builtin_convertvector(y, TFloats);
        __builtin_memcpy(places.firstRows + column, &firstRows, sizeof firstRows);
        __builtin_memcpy(places.centresX + column, &centresX, sizeof centresX);
        __builtin_memcpy(places.centresY + column, &centresY, sizeof centresY);
    }
}

void SumEllipses(const SBxEllipses& cells, float* sums, float* areas) {
    constexpr int kColumns = SBxEllipses::kColumns;
    const auto rightEdge = static_cast<float>(cells.width);
    for (int column = 0; column < kColumns; ++column) {
        sums[column] = 0.0f;
        areas[column] = 0.0f;
    }
    SEllipsePlaces places;
    PlaceEllipses(places, cells);
    const int rows = static_cast<int>(2.0 * cells.top) + 1;
    const auto inverseTop = static_cast<float>(1.0 / cells.top);
    for (int row = 0; row < rows; ++row) {
        int lefts[kColumns];
        int rights[kColumns];
        float leftParts[kColumns];
        float rightParts[kColumns];
        for (int column = 0; column < kColumns; ++column) {
            const int y = places.firstRows[column] + row;
            const float height = static_cast<float>(y) + 0.5f - places.centresY[column];
            const float ratio = height * inverseTop;
            const float square = 1.0f - ratio * ratio;
            const float inside = y >= 0 && y < cells.height && square > 0.0f ? square : 0.0f;
            const float half = cells.reach * __builtin_sqrtf(inside);
            const float middle = places.centresX[column] + cells.shear * height;
            float left = middle - half;
            float right = middle + half;
            left = left < 0.0f ? 0.0f : left > rightEdge ? rightEdge : left;
            right = right < 0.0f ? 0.0f : right > rightEdge ? rightEdge : right;
            const int clamped = y < 0 ? 0 : y >= cells.height ? cells.height - 1 : y;
            const int leftPixel = static_cast<int>(left);
            const int rightPixel = static_cast<int>(right);
            lefts[column] = clamped * cells.pitch + leftPixel;
            rights[column] = clamped * cells.pitch + rightPixel;
            leftParts[column] = left - static_cast<float>(leftPixel);
            rightParts[column] = right - static_cast<float>(rightPixel);
            areas[column] += right - left;
        }
        // The sums in front of and behind a pixel, as one load.
        struct SPixel {
            unsigned int front;
            unsigned int behind;
        };
        SPixel leftPixels[kColumns];
        SPixel rightPixels[kColumns];
        for (int column = 0; column < kColumns; ++column) {
            __builtin_memcpy(&leftPixels[column], cells.sums + lefts[column], sizeof(SPixel));
            __builtin_memcpy(&rightPixels[column], cells.sums + rights[column], sizeof(SPixel));
        }
        for (int column = 0; column < kColumns; ++column) {
            const SPixel left = leftPixels[column];
            const SPixel right = rightPixels[column];
            sums[column] += static_cast<float>(static_cast<int>(right.front - left.front)) +
                            rightParts[column] * static_cast<float>(static_cast<int>(right.behind - right.front)) -
                            leftParts[column] * static_cast<float>(static_cast<int>(left.behind - left.front));
        }
    }
}

}  // namespace
