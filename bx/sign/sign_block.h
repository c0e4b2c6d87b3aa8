// The sign block: the text and its check codes, as the 256 cell bits of a carrier and back.
#pragma once

// What a grid of cells was read as.
struct SBxReadBlock {
    char m_szCharacters[19];         // the 18 decoded characters and a zero; the text stands from position 8
    unsigned int m_uiCorrectedBits;  // bits that the error correction changed
    bool m_bAccepted;                // the check codes match and the text is longer than 5 characters
};

// Writes the 256 cell bits (0 or 1, row by row) that carry a text. Characters beyond the tenth are not carried;
// characters outside a-z, A-Z, 0-9 are carried as a dash.
void BX_EncodeSign(int* cells, const char* text);

// The same for the ten 6-bit codes of a text, 0 behind its end. The cells are a linear function of the 60 bits of the
// codes: the cells of the sum of two texts, bit by bit, are the sum of their cells.
void BX_EncodeTextCodes(int* cells, const int* textCodes);

// Reads 256 cell bits back.
SBxReadBlock BX_DecodeSign(const int* cells);
