// Reads any 256 cells as a sign, and wants the same of it as a plain decoder.
//
// The first byte tells what follows: 256 cells as they are (even), or the ten codes of a text (odd) and then cells to
// turn over.
#include <cstring>

#include "fuzz_target.h"
#include "plain_sign_code.h"
#include "sign_block.h"

namespace {

void FlipCells(CPlainCells& cells, CFuzzBytes& bytes) {
    for (std::size_t at = 0; at < cells.size(); at += 8) {
        const unsigned int flipped = bytes.Byte();
        for (std::size_t bit = 0; bit < 8; ++bit) {
            cells[at + bit] = cells[at + bit] != ((flipped >> bit & 1U) != 0);
        }
    }
}

SBxReadBlock Decode(const CPlainCells& cells) {
    int bits[256];
    for (std::size_t cell = 0; cell < cells.size(); ++cell) {
        bits[cell] = cells[cell] ? 1 : 0;
    }
    return BX_DecodeSign(bits);
}

void RequireSameAsPlain(const CPlainCells& cells) {
    const SBxReadBlock read = Decode(cells);
    const SPlainReading plain = PlainReadingOfCells(cells);
    Require(read.m_bAccepted == plain.isAccepted);
    Require(read.m_uiCorrectedBits == plain.correctedBits);
    Require(read.m_szCharacters[18] == 0);
    for (std::size_t position = 0; position < plain.codes.size(); ++position) {
        Require(read.m_szCharacters[8 + position] == PlainCharacterOfCode(plain.codes[position]));
    }
    if (plain.isAccepted) {
        // Written again, the text is accepted without a bit to correct.
        const SBxReadBlock again = Decode(PlainCellsOfCodes(plain.codes));
        Require(again.m_bAccepted && again.m_uiCorrectedBits == 0);
        Require(std::memcmp(again.m_szCharacters, read.m_szCharacters, sizeof(read.m_szCharacters)) == 0);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* input, std::size_t inputSize) {
    CFuzzBytes bytes(input, inputSize);
    CPlainCells cells;
    if (bytes.Byte() % 2 != 0) {
        CPlainCodes codes;
        for (int& code : codes) {
            code = static_cast<int>(bytes.Byte() % 64);
        }
        cells = PlainCellsOfCodes(codes);
    }
    FlipCells(cells, bytes);
    RequireSameAsPlain(cells);
    return 0;
}
