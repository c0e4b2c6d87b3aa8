// The rules by which corners are kept, shared by every way of finding candidates.
#pragma once

#include <algorithm>

#include "geometry.h"

inline constexpr int kCornerTileSize = 500;               // largest side of a tile
inline constexpr int kCornerBorder = 10;                  // no corner lies closer to an edge of its picture
inline constexpr double kSmallestCornerDistance2 = 10.0;  // squared distance between two corners
inline constexpr float kCornerThreshold = 10.0f;          // of the response

// How a side is cut into tiles; tile i covers i x tileSize up to the next one or the end.
struct SBxTiling {
    int tiles;
    int tileSize;

    explicit SBxTiling(int length)
        : tiles((length + kCornerTileSize - 1) / kCornerTileSize),
          tileSize(tiles > 0 ? (length + tiles - 1) / tiles : 0) {}
};

inline bool BX_InsideCornerBorder(double x, double y, int width, int height) {
    return x >= kCornerBorder && y >= kCornerBorder && width - x >= kCornerBorder && height - y >= kCornerBorder;
}

// The corners kept so far; offered strongest first.
struct SBxKeptCorners {
    CBxPoint<double>* points;  // room for `most`
    float* strengths;
    unsigned int most;
    unsigned int count;

    bool IsFull() const { return count == most; }

    // Keeps a corner that is no duplicate of one kept before.
    void Offer(double x, double y, float strength) {
        const bool duplicate = std::any_of(points, points + count, [x, y](const CBxPoint<double>& point) {
            const double dx = x - point.x;
            const double dy = y - point.y;
            return dx * dx + dy * dy < kSmallestCornerDistance2;
        });
        if (!duplicate) {
            points[count] = {x, y};
            strengths[count] = strength;
            ++count;
        }
    }
};
