// Tells what was done to the tones from the gaps that it tore into them.
//
// All tones times more than 1 leave some of the 256 values without a source: at a gain of 1.1 every eleventh is
// missing. An exponent does the same to the dark tones or to the bright ones. Any later change that mixes pixels
// (scaling, turning, JPEG) fills the gaps again. So does signing, in blue: gaps that are empty there were made after
// it, and tell what became of the sign.
#pragma once

#include "pic_buf.h"
#include "tone.h"

// From a 3_8 picture: the gain and the offset, or the exponent, that explain the gaps. Gaps tell the offset up to a
// whole number of gains; of these it is the one that changes of brightness or contrast make. False when there are no
// such gaps.
[[nodiscard]] bool BX_FindToneGaps(SBxTone& tone, const SBxPicBuf& picture);
