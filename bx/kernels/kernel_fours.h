// Loops over rows of whole numbers of two bytes.
// Part of kernel_loops.h: internal linkage, no standard function.
#pragma once

#include <cstddef>

namespace {

short SumFour(short* __restrict out, const short* a, const short* b, const short* c, const short* d,
              std::size_t count) {
    short largest = -32768;
    for (std::size_t i = 0; i < count; ++i) {
        const auto sum = static_cast<short>(a[i] + b[i] + c[i] + d[i]);
        out[i] = sum;
        largest = sum > largest ? sum : largest;
    }
    return largest;
}

void DotProducts(int* __restrict sums, const short* vector, const short* rows, std::size_t rowCount,
                 std::size_t length) {
    for (std::size_t row = 0; row < rowCount; ++row, rows += length) {
        int sum = 0;
        for (std::size_t i = 0; i < length; ++i) {
            sum += vector[i] * rows[i];
        }
        sums[row] = sum;
    }
}

}  // namespace
