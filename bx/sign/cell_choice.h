// Which of the 256 cells of a carrier are read.
#pragma once

#include "sign_format.h"

// The chosen cells of each row of cells, from left to right.
struct SBxCellChoice {
    int counts[kGridSide] = {};
    // Behind the last cell of a row stands that cell again.
    unsigned char columns[kGridSide][kGridSide] = {};

    // Cells come in ascending order.
    void Add(int cell) {
        const int row = cell / kGridSide;
        for (int place = counts[row]++; place < kGridSide; ++place) {
            columns[row][place] = static_cast<unsigned char>(cell % kGridSide);
        }
    }
};

inline const SBxCellChoice& BX_AllCells() {
    static const SBxCellChoice kAll = [] {
        SBxCellChoice all;
        for (int cell = 0; cell < kCellCount; ++cell) {
            all.Add(cell);
        }
        return all;
    }();
    return kAll;
}
