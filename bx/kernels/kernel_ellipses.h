// The loop that adds up ellipses from sums along rows.
// Part of kernel_loops.h: internal linkage, no standard function.
#pragma once

#include "kernels.h"

namespace {

void SumEllipses(const SBxEllipses& cells, float* sums, float* areas) {
    constexpr int kColumns = SBxEllipses::kColumns;
    const auto rightEdge = static_cast<float>(cells.width);
    for (int column = 0; column < kColumns; ++column) {
        sums[column] = 0.0f;
        areas[column] = 0.0f;
    }
    for (int row = 0; row < cells.rows; ++row) {
        int lefts[kColumns];
        int rights[kColumns];
        float leftParts[kColumns];
        float rightParts[kColumns];
        for (int column = 0; column < kColumns; ++column) {
            const int y = cells.firstRows[column] + row;
            const float height = static_cast<float>(y) + 0.5f - cells.centresY[column];
            const float ratio = height * cells.inverseTop;
            const float square = 1.0f - ratio * ratio;
            const float inside = y >= 0 && y < cells.height && square > 0.0f ? square : 0.0f;
            const float half = cells.reach * __builtin_sqrtf(inside);
            const float middle = cells.centresX[column] + cells.shear * height;
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
