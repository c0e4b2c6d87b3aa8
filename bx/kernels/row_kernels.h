// Row loops in which the time of the analysis is spent: plain pointers and counts, no pictures.
//
// Every loop multiplies and adds in float, the first tap first, so that the bits of a result depend neither on the
// width of the machine's vectors nor on the compiler. Outputs never alias inputs.
#pragma once

#include <cstddef>

// out[i] = taps[0] * in[i] + taps[1] * in[i + 1] + ... + taps[tapCount - 1] * in[i + tapCount - 1], for i < count.
// `in` holds count + tapCount - 1 samples; tapCount is 5 or 7.
void BX_FilterAlongRow(float* out, const float* in, std::size_t count, const float* taps, int tapCount);

// out[i] = taps[0] * rows[0][i] + ... + taps[tapCount - 1] * rows[tapCount - 1][i], for i < count.
void BX_FilterAcrossRows(float* out, const float* const* rows, std::size_t count, const float* taps, int tapCount);

// out[i] = a[i] - b[i].
void BX_SubtractRows(float* out, const float* a, const float* b, std::size_t count);

// out[i] = a[i] * b[i]; a and b may be the same row.
void BX_MultiplyRows(float* out, const float* a, const float* b, std::size_t count);

// out[i] = sxx[i] * syy[i] - sxy[i]^2 - 0.08 * (sxx[i] + syy[i])^2.
void BX_HarrisRow(float* out, const float* sxx, const float* syy, const float* sxy, std::size_t count);
