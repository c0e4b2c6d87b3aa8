// The code of the sign written plainly, as what the decoders are held against: nothing here is the product's but the
// order of the cells.
#pragma once

#include <array>
#include <bitset>

using CPlainCodes = std::array<int, 10>;  // the 6-bit codes of a text, 0 behind its end
using CPlainCells = std::bitset<256>;

// What 256 cells say.
struct SPlainReading {
    CPlainCodes codes = {};
    unsigned int correctedBits = 0;
    bool isAccepted = false;  // the check codes match and none of the first six codes is 0
};

CPlainCells PlainCellsOfCodes(const CPlainCodes& codes);
SPlainReading PlainReadingOfCells(const CPlainCells& cells);
char PlainCharacterOfCode(int code);
