// The choice of carriers: at most 5 rectangles that keep apart.
#pragma once

#include "geometry.h"

// Which rectangles carry the sign, in the order in which they are written.
struct SBxCarrierChoice {
    unsigned int m_uiIndex[5];  // into the rectangles that were given
    unsigned int m_uiCount;     // 0 (no rectangles) to 5
};

// Chooses the largest set of rectangles that keep apart, and of sets of that size the one of least total area.
//
// A tuple is a first pair (a, b), a before b, whose members may share an edge, and up to three further members, each
// more than 40 pixels in x or in y from every other member. Tuples are ordered by their last member first (e, then d,
// then c, then a, then b); of equal areas the first tuple in this order is chosen. With no pair at all the smallest
// rectangle is chosen.
//
//   count   any number; 6 when memory ran out, else 0
//
// Searches the sets directly, so that crowded pictures need no lists of tuples.
[[nodiscard]] unsigned char BX_ChooseCarriers(SBxCarrierChoice& choice, const CBxRect<double>* rects,
                                              unsigned int count);
