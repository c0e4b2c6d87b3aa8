// Reads a sign from cells that say how sure they are.
//
// The 256 cell bits are a linear code of the 60 text bits: 16 words of the BCH(15,7) code, whose 112 data bits are 48
// check bits, the text and four zeros, and 13 cells that are always 0. The ordinary search corrects two bits of a word
// and wants all check bits right; here all of the code works at once, on soft values:
//
//   1. Messages go back and forth between the words (all 128 of each are weighed) and the 48 check equations. Each
//      data bit gathers what the others know of it (belief propagation with maxima instead of sums).
//   2. The 60 surest independent data bits determine a text. It, and every text that comes of turning over one or two
//      of the 60, is encoded and compared with the cells (ordered-statistics decoding of order two).
//   3. The text that agrees best is the reading.
//
// How sure a reading is does not depend on how it was found: with c the +1 and -1 of a text's cells and s the soft
// values, t = sum(c s) / sqrt(sum(s s)). For fixed sizes of s and fair, independent signs, a given text reaches t with
// a probability of at most exp(-t t / 2) (Hoeffding), and any of the 2^60 texts with at most 2^60 times that.
#pragma once

#include "sign_format.h"

struct SBxSoftReading {
    char m_szText[kTextCodes + 1] = {};  // empty when no text that can be a sign was among the best
    double m_dAgreement = 0.0;           // t; 16 when all cells are sure and right
    double m_dGap = 0.0;                 // how much more than the runner-up's
};

// What a wrong text must have been to be taken for a reading: the bound above, as the exponent of 2, for one decoding.
double BX_ChanceOfAgreement(double agreement);
// Bits by which an agreement exceeds chance, for one text: -log2 of the bound exp(-t t / 2); 0 for none.
double BX_BitsOfAgreement(double agreement);

// `soft` holds 256 values from -1 (surely 1) to 1 (surely 0), or sums of a few such; 0 for a cell that says nothing.
// With a `leastAgreement` above 0 decodings that hardly reach it, and those of cells that look like noise, end early
// with an empty text: texts that agree by less than about 10 may be lost, too. So ends one with a value that is no
// number or beyond 16.
SBxSoftReading BX_DecodeSoft(const float* soft, double leastAgreement);

// Whether cells may be a sign's though they do not agree well enough yet to be decoded, as those of a grid that lies a
// little beside a carrier. In a quarter of the time.
bool BX_MayBeSign(const float* soft);

// The length of the soft values as a vector.
double BX_LengthOfSoft(const float* soft);

// The agreement of one text with the cells.
double BX_AgreementOfText(const float* soft, const char* text);
// The same for the 256 cell bits of a text.
double BX_AgreementOfCells(const float* soft, const int* cells);

// How regular cells are: for the displacement at which most (or fewest) cells say the same as the cell displaced from
// them, how many standard deviations that is from a half. Signs have 3, rarely above 5; windows, tiles, lines of text
// and calm ground have many more, and the bound above does not hold for them.
double BX_Regularity(const float* soft);
// Beyond this cells are too regular for most texts.
inline constexpr double kMostRegularity = 5.5;
// And beyond this for any: of 20,000 random texts of six characters 147 are beyond 5.5, four beyond 6.5, of longer ones
// fewer, and of all texts of two characters in turn the most regular one has 8.8.
inline constexpr double kMostRegularityOfText = 9.0;

// Whether cells are regular in a way that the text read from them does not explain.
bool BX_IsTooRegular(const float* soft, const char* text);

// Whether a text says one character five times in a row or more, or '-' four times. Screens of printing dots, pages of
// text and other patterns of two periods decode to such texts ("wF8------M", "wF8----E9M"), for which the bound above
// does not hold either; signs are hardly ever so, and one that is can still be read with certainty.
bool BX_RepeatsItself(const char* text);
