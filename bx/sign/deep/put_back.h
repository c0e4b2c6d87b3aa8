// A picture put back to what it was before its tones were changed.
//
// Pixel by pixel, as a mean of bent tones is not the bent mean. What was moved beyond an end of the tones is lost: a
// gain of 1.25 about the middle makes all tones below 26 black. Such a pixel gets a tone a third of the lost range
// away from those that were kept, where most of them are. A cell with few of them is then nearly what it was.
#pragma once

#include "owned_pic.h"
#include "tone.h"

// How wide the ranges are, in tones as written, that a change has made black or white.
struct SBxLostTones {
    double dark = 0.0;
    double bright = 0.0;

    explicit SBxLostTones(const SBxTone& tone);
    SBxLostTones() = default;
};

// What each of the 256 values was.
void BX_MakePutBackTable(unsigned char* table, const SBxTone& tone);

// From a 3_8 picture. `back` receives a picture of the same size, in the pixels of an earlier one if it has one. 0; 6
// without memory.
[[nodiscard]] unsigned char BX_PutBack(CBxOwnedPic& back, const SBxPicBuf& picture, const unsigned char* table);

// What a comb in a picture that was put back says of the picture itself.
SBxTone BX_Together(const SBxTone& undone, const SBxTone& comb);
