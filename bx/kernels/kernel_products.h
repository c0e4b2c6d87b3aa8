// The loop that multiplies a row of whole numbers with many others.
// Part of kernel_loops.h: internal linkage, no standard function.
#pragma once

#include <cstddef>

namespace {

void DotProducts(int* __restrict sums, const short* vector, std::size_t length, const short* rows, std::size_t pitch,
                 std::size_t rowCount) {
    for (std::size_t row = 0; row < rowCount; ++row, rows += pitch) {
        int sum = 0;
        for (std::size_t i = 0; i < length; ++i) {
            sum += vector[i] * rows[i];
        }
        sums[row] = sum;
    }
}

}  // namespace
