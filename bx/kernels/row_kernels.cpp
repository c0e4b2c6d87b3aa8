#include "row_kernels.h"

namespace {

template <int Taps>
void FilterAlong(float* __restrict out, const float* __restrict in, std::size_t count, const float* taps) {
    float weight[Taps];
    for (int tap = 0; tap < Taps; ++tap) {
        weight[tap] = taps[tap];
    }
    for (std::size_t i = 0; i < count; ++i) {
        float sum = weight[0] * in[i];
        for (int tap = 1; tap < Taps; ++tap) {
            sum += weight[tap] * in[i + static_cast<std::size_t>(tap)];
        }
        out[i] = sum;
    }
}

template <int Taps>
void FilterAcross(float* __restrict out, const float* const* rows, std::size_t count, const float* taps) {
    const float* row[Taps];
    float weight[Taps];
    for (int tap = 0; tap < Taps; ++tap) {
        row[tap] = rows[tap];
        weight[tap] = taps[tap];
    }
    for (std::size_t i = 0; i < count; ++i) {
        float sum = weight[0] * row[0][i];
        for (int tap = 1; tap < Taps; ++tap) {
            sum += weight[tap] * row[tap][i];
        }
        out[i] = sum;
    }
}

}  // namespace

void BX_FilterAlongRow(float* out, const float* in, std::size_t count, const float* taps, int tapCount) {
    tapCount == 7 ? FilterAlong<7>(out, in, count, taps) : FilterAlong<5>(out, in, count, taps);
}

void BX_FilterAcrossRows(float* out, const float* const* rows, std::size_t count, const float* taps, int tapCount) {
    tapCount == 7 ? FilterAcross<7>(out, rows, count, taps) : FilterAcross<5>(out, rows, count, taps);
}

void BX_SubtractRows(float* __restrict out, const float* a, const float* b, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = a[i] - b[i];
    }
}

void BX_MultiplyRows(float* __restrict out, const float* a, const float* b, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = a[i] * b[i];
    }
}

void BX_HarrisRow(float* __restrict out, const float* sxx, const float* syy, const float* sxy, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        const float trace = sxx[i] + syy[i];
        out[i] = sxx[i] * syy[i] - sxy[i] * sxy[i] - 0.08f * (trace * trace);
    }
}
