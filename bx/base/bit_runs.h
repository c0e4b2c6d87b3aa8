// Runs of ones in a word of marks.
#pragma once

#include <bit>
#include <cstdint>

// Calls `visit(first, end)` for every run of ones, lowest first: bits first .. end - 1 are set, their neighbours not.
template <typename Visit>
void BX_ForEachRun(std::uint64_t marks, Visit visit) {
    int first = 0;
    while (marks != 0) {
        const int zeros = std::countr_zero(marks);
        marks >>= zeros;
        const int ones = std::countr_one(marks);
        first += zeros;
        visit(first, first + ones);
        first += ones;
        marks = ones < 64 ? marks >> ones : 0;
    }
}
