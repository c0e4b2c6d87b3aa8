// Means of a plane over boxes.
#pragma once

// Writes for each pixel the mean over the box that reaches so many pixels to either side, cut at the edges. `out` and
// `in` are two planes of width x height floats, packed rows, and no sample is further from zero than `largest`: samples
// lose what is behind the finest whole numbers whose sums 32 bits hold. False without memory.
[[nodiscard]] bool BX_BoxMean(float* out, const float* in, int width, int height, int reachX, int reachY,
                              double largest = 255.0);
