// The loops that weigh choices of rows and columns of cells on a map.
// Part of kernel_loops.h: internal linkage, no standard function.
#pragma once

#include <cstddef>

#include "kernels.h"

namespace {

constexpr int kChoices = SBxKernels::kRowChoices;
typedef float TChoiceWorths __attribute__((vector_size(kChoices * sizeof(float))));
typedef int TChoiceIndices __attribute__((vector_size(kChoices * sizeof(int))));

void SumFourRows(float* __restrict sums, const float* const* rows, std::size_t count) {
    const float* const a = rows[0];
    const float* const b = rows[1];
    const float* const c = rows[2];
    const float* const d = rows[3];
    for (std::size_t i = 0; i < count; ++i) {
        sums[i] += (a[i] + b[i]) + (c[i] + d[i]);
    }
}

// All rows of cells at once, which is how most grids lie.
void SumSixteenRows(float* __restrict sums, const float* const* rows, std::size_t count) {
    const float* const r0 = rows[0];
    const float* const r1 = rows[1];
    const float* const r2 = rows[2];
    const float* const r3 = rows[3];
    const float* const r4 = rows[4];
    const float* const r5 = rows[5];
    const float* const r6 = rows[6];
    const float* const r7 = rows[7];
    const float* const r8 = rows[8];
    const float* const r9 = rows[9];
    const float* const r10 = rows[10];
    const float* const r11 = rows[11];
    const float* const r12 = rows[12];
    const float* const r13 = rows[13];
    const float* const r14 = rows[14];
    const float* const r15 = rows[15];
    for (std::size_t i = 0; i < count; ++i) {
        const float upper = ((r0[i] + r1[i]) + (r2[i] + r3[i])) + ((r4[i] + r5[i]) + (r6[i] + r7[i]));
        sums[i] = (upper + ((r8[i] + r9[i]) + (r10[i] + r11[i]))) + ((r12[i] + r13[i]) + (r14[i] + r15[i]));
    }
}

void SumRows(float* __restrict sums, const float* const* rows, int rowCount, std::size_t count) {
    if (rowCount == 16) {
        SumSixteenRows(sums, rows, count);
        return;
    }
    for (std::size_t i = 0; i < count; ++i) {
        sums[i] = 0.0f;
    }
    int row = 0;
    for (; row + 4 <= rowCount; row += 4) {
        SumFourRows(sums, rows + row, count);
    }
    for (; row < rowCount; ++row) {
        const float* const last = rows[row];
        for (std::size_t i = 0; i < count; ++i) {
            sums[i] += last[i];
        }
    }
}

void LaySideBySide(float* __restrict out, const float* const* rows, std::size_t count) {
    typedef float TFour __attribute__((vector_size(4 * sizeof(float))));
    std::size_t i = 0;
    for (; i + 4 <= count; i += 4) {
        for (int row = 0; row < kChoices; row += 4) {
            TFour a, b, c, d;
            __builtin_memcpy(&a, rows[row] + i, sizeof a);
            __builtin_memcpy(&b, rows[row + 1] + i, sizeof b);
            __builtin_memcpy(&c, rows[row + 2] + i, sizeof c);
            __builtin_memcpy(&d, rows[row + 3] + i, sizeof d);
            const TFour lowAb = __builtin_shufflevector(a, b, 0, 4, 1, 5);
            const TFour lowCd = __builtin_shufflevector(c, d, 0, 4, 1, 5);
            const TFour highAb = __builtin_shufflevector(a, b, 2, 6, 3, 7);
            const TFour highCd = __builtin_shufflevector(c, d, 2, 6, 3, 7);
            const TFour columns[4] = {__builtin_shufflevector(lowAb, lowCd, 0, 1, 4, 5),
                                      __builtin_shufflevector(lowAb, lowCd, 2, 3, 6, 7),
                                      __builtin_shufflevector(highAb, highCd, 0, 1, 4, 5),
                                      __builtin_shufflevector(highAb, highCd, 2, 3, 6, 7)};
            for (std::size_t column = 0; column < 4; ++column) {
                __builtin_memcpy(out + (i + column) * kChoices + row, &columns[column], sizeof(TFour));
            }
        }
    }
    for (; i < count; ++i) {
        for (int row = 0; row < kChoices; ++row) {
            out[i * kChoices + static_cast<std::size_t>(row)] = rows[row][i];
        }
    }
}

void BestColumns(float* worths, int* choices, const float* sums, const int* columns, std::size_t pitch, int count) {
    TChoiceWorths best;
    TChoiceIndices chosen;
    __builtin_memcpy(&best, worths, sizeof best);
    __builtin_memcpy(&chosen, choices, sizeof chosen);
    for (int choice = 0; choice < count; ++choice, columns += pitch) {
        TChoiceWorths sum = {};
        for (int column = 0; column < 16; ++column) {
            TChoiceWorths next;
            __builtin_memcpy(&next, sums + static_cast<std::ptrdiff_t>(columns[column]) * kChoices, sizeof next);
            sum += next;
        }
        const TChoiceIndices isBetter = sum > best;
        best = isBetter ? sum : best;
        chosen = isBetter ? choice - TChoiceIndices{} : chosen;
    }
    __builtin_memcpy(worths, &best, sizeof best);
    __builtin_memcpy(choices, &chosen, sizeof chosen);
}

}  // namespace
