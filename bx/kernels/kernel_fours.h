// The loop that adds up four rows of whole numbers.
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

}  // namespace
