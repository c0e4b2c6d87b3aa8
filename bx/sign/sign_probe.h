// A first look at a carrier, through a few of its cells, that refuses nearly every one without a sign.
#pragma once

#include "cell_choice.h"

// All bits of some of the check sums stand in a few code words, and so do characters that a text long enough to be
// found cannot end before.
enum class EBxProbe {
    Narrow,  // 60 cells: one carrier in about 2000 passes by chance, and ground of one tone when its cells are all 1
    Wide     // 75 cells: one in about 500, and no ground of one tone
};

// The cells that a probe looks at.
const SBxCellChoice& BX_ProbeCells(EBxProbe probe);

// Whether 256 cell bits are surely not accepted by BX_DecodeSign, whatever stands in the cells that the probe does not
// look at. A carrier that is accepted is never refused.
bool BX_ProbeRefuses(const int* cells, EBxProbe probe);
