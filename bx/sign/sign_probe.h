// A first look at a carrier, through a few of its cells, that refuses nearly every one without a sign.
#pragma once

#include "cell_choice.h"

// The 60 cells of four code words. Their 28 data bits hold all bits of eleven of the check sums, and characters that a
// text long enough to be found cannot end before: one carrier in about 2000 passes by chance.
const SBxCellChoice& BX_ProbeCells();

// Whether 256 cell bits are surely not accepted by BX_DecodeSign, whatever stands in the cells that are not in
// BX_ProbeCells. A carrier that is accepted is never refused.
bool BX_ProbeRefuses(const int* cells);
