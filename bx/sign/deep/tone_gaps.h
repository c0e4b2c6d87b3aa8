// Tells a gain from the gaps that it tore into the tones.
//
// All tones times more than 1 leave some of the 256 values without a source: at a gain of 1.1 every eleventh is
// missing. Any later change that mixes pixels (scaling, turning, JPEG) fills the gaps again. So does signing, in blue:
// gaps that are empty there were made after it, and tell what became of the sign.
#pragma once

#include "pic_buf.h"
#include "tone.h"

// From a 3_8 picture: the gain and the offset that explain the gaps. The offset is the least of those that do; gain
// times a whole number may have to be added. False when there are no such gaps.
[[nodiscard]] bool BX_FindToneGaps(SBxTone& tone, const SBxPicBuf& picture);
