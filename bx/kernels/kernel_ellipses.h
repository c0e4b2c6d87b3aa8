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
        int offsets[kColumns];
        int leftPixels[kColumns];
        int rightPixels[kColumns];
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
            offsets[column] = clamped * cells.pitch;
            leftPixels[column] = static_cast<int>(left);
            rightPixels[column] = static_cast<int>(right);
            leftParts[column] = left - static_cast<float>(leftPixels[column]);
            rightParts[column] = right - static_cast<float>(rightPixels[column]);
            areas[column] += right - left;
        }
        int whole[kColumns];
        int atLeft[kColumns];
        int atRight[kColumns];
        for (int column = 0; column < kColumns; ++column) {
            const unsigned int* line = cells.sums + offsets[column];
            const unsigned int* left = line + leftPixels[column];
            const unsigned int* right = line + rightPixels[column];
            whole[column] = static_cast<int>(right[0] - left[0]);
            atLeft[column] = static_cast<int>(left[1] - left[0]);
            atRight[column] = static_cast<int>(right[1] - right[0]);
        }
        for (int column = 0; column < kColumns; ++column) {
            sums[column] += static_cast<float>(whole[column]) +
                            rightParts[column] * static_cast<float>(atRight[column]) -
                            leftParts[column] * static_cast<float>(atLeft[column]);
        }
    }
}

}  // namespace
