// What became of the tones, and what the cell means say under it.
//
// A cell of a signed carrier has its mean at 1.5 (for a 0) or 4.5 (for a 1) above a multiple of 6. If the tones were
// changed to gain * tone + offset since, the means lie at the images of these values: an even comb of lines 3 * gain
// apart, which a Fourier transform over the means finds together with its place.
#pragma once

#include "sign_format.h"

// tone as written = ((255 * (tone / 255) ^ (1 / exponent)) - offset) / gain
struct SBxTone {
    double gain = 1.0;
    double offset = 0.0;
    double exponent = 1.0;

    bool IsUnchanged() const { return gain == 1.0 && offset == 0.0 && exponent == 1.0; }
};

// The soft values of 256 means: near 1 where the mean says 0, near -1 where it says 1; 0 where it is no number.
void BX_SoftValues(float* soft, const float* means, const SBxTone& tone);

// How well means lie on a comb of unchanged gain, whatever its offset: 1 when all do, about 1 / sqrt(count) for
// anything else. Means that are no numbers do not count; 0 without any.
float BX_CombScore(const float* means, int count);

// The tones of a picture that was not brightened: 256 means tell the offset, if they show a comb at all. Programs that
// scale or turn a picture often cut off fractions and make it darker by half a tone or a whole one.
SBxTone BX_ToneOfMeans(const float* means);

// The comb that fits best with a gain from kLowestGain to kHighestGain, and how well, 0 .. 1. The exponent is left at
// 1. Which of its lines are zeros remains open: `offset` is the smaller one of two, 3 * gain apart.
inline constexpr double kLowestGain = 0.7;
inline constexpr double kHighestGain = 1.42;
float BX_FindComb(SBxTone& tone, const float* means);
// The same among other gains.
float BX_FindCombBetween(SBxTone& tone, const float* means, double lowestGain, double highestGain);
