// The loops themselves. Included once by each kernels_*.cpp, which is compiled for one instruction set.
//
// Everything in here has internal linkage and no standard function is called: a shared inline function compiled for a
// wide form could end up being used on a machine that does not have it.
#pragma once

#include "kernel_bounds.h"
#include "kernel_cells.h"
#include "kernel_choices.h"
#include "kernel_corners.h"
#include "kernel_ellipses.h"
#include "kernel_fours.h"
#include "kernel_maps.h"
#include "kernel_products.h"
#include "kernel_resampling.h"
#include "kernel_sums.h"
#include "kernel_walks.h"
#include "kernel_words.h"
#include "kernels.h"

namespace {

template <int Taps>
void FilterAlongTaps(float* __restrict out, const float* __restrict in, std::size_t count, const float* taps) {
    float weight[Taps];
    for (int tap = 0; tap < Taps; ++tap) {
        weight[tap] = taps[tap];
    }
    std::size_t i = 0;
#if defined(__AVX512F__)
    if (count + Taps > 2 * kWide) {
        __m512 lower = _mm512_loadu_ps(in);
        for (; i + 2 * kWide < count + Taps; i += kWide) {
            const __m512 upper = _mm512_loadu_ps(in + i + kWide);
            _mm512_storeu_ps(out + i, FilterShifted<Taps>(lower, upper, weight));
            lower = upper;
        }
    }
#endif
    for (; i < count; ++i) {
        float sum = weight[0] * in[i];
        for (int tap = 1; tap < Taps; ++tap) {
            sum += weight[tap] * in[i + static_cast<std::size_t>(tap)];
        }
        out[i] = sum;
    }
}

void FilterAlong(float* out, const float* in, std::size_t count, const float* taps, int tapCount) {
    tapCount == 7 ? FilterAlongTaps<7>(out, in, count, taps) : FilterAlongTaps<5>(out, in, count, taps);
}

void FilterAcross7(float* __restrict out, const float* const* rows, std::size_t count, const float* taps) {
    const float* r0 = rows[0];
    const float* r1 = rows[1];
    const float* r2 = rows[2];
    const float* r3 = rows[3];
    const float* r4 = rows[4];
    const float* r5 = rows[5];
    const float* r6 = rows[6];
    const float t0 = taps[0], t1 = taps[1], t2 = taps[2], t3 = taps[3], t4 = taps[4], t5 = taps[5], t6 = taps[6];
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = t0 * r0[i] + t1 * r1[i] + t2 * r2[i] + t3 * r3[i] + t4 * r4[i] + t5 * r5[i] + t6 * r6[i];
    }
}

void FilterAcross5(float* __restrict out, const float* const* rows, std::size_t count, const float* taps) {
    const float* r0 = rows[0];
    const float* r1 = rows[1];
    const float* r2 = rows[2];
    const float* r3 = rows[3];
    const float* r4 = rows[4];
    const float t0 = taps[0], t1 = taps[1], t2 = taps[2], t3 = taps[3], t4 = taps[4];
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = t0 * r0[i] + t1 * r1[i] + t2 * r2[i] + t3 * r3[i] + t4 * r4[i];
    }
}

void FilterAcross(float* out, const float* const* rows, std::size_t count, const float* taps, int tapCount) {
    tapCount == 7 ? FilterAcross7(out, rows, count, taps) : FilterAcross5(out, rows, count, taps);
}

void Subtract(float* __restrict out, const float* a, const float* b, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = a[i] - b[i];
    }
}

void Multiply(float* __restrict out, const float* a, const float* b, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = a[i] * b[i];
    }
}

void Harris(float* __restrict out, const float* sxx, const float* syy, const float* sxy, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        const float trace = sxx[i] + syy[i];
        out[i] = sxx[i] * syy[i] - sxy[i] * sxy[i] - 0.08f * (trace * trace);
    }
}

double SurfaceMaximum(int* x, int* y, const double* c) {
    constexpr int kSteps = 17;
    constexpr int kRoom = 24;
    double ys[kRoom];
    double best[kRoom];
    double bestColumn[kRoom];
    for (int row = 0; row < kRoom; ++row) {
        ys[row] = (row < kSteps ? row : kSteps - 1) * 0.125;
        best[row] = -1e300;
        bestColumn[row] = 8.0;
    }
    for (int column = 0; column < kSteps; ++column) {
        const double at = column * 0.125;
        const double c0 = c[0] * at * at;
        const double c1 = c[1] * at * at;
        const double c2 = c[2] * at * at;
        const double c3 = c[3] * at;
        const double c4 = c[4] * at;
        const double c5 = c[5] * at;
        for (int row = 0; row < kRoom; ++row) {
            const double v = ys[row];
            const double value = c0 * v * v + c1 * v + c2 + c3 * v * v + c4 * v + c5 + c[6] * v * v + c[7] * v + c[8];
            const bool better = value > best[row];
            best[row] = better ? value : best[row];
            bestColumn[row] = better ? column : bestColumn[row];
        }
    }
    int winner = 8;
    double largest = -1e300;
    double winnerColumn = 8.0;
    for (int row = 0; row < kSteps; ++row) {
        if (best[row] > largest || (best[row] == largest && largest > -1e300 && bestColumn[row] < winnerColumn)) {
            largest = best[row];
            winner = row;
            winnerColumn = bestColumn[row];
        }
    }
    *x = static_cast<int>(winnerColumn);
    *y = winner;
    return largest;
}

constexpr SBxKernels MakeKernels(const char* name) {
    SBxKernels kernels{};
    kernels.m_szName = name;
    kernels.FilterAlong = FilterAlong;
    kernels.FilterAcross = FilterAcross;
    kernels.Subtract = Subtract;
    kernels.Multiply = Multiply;
    kernels.Harris = Harris;
    kernels.Split3 = Split3;
    kernels.AddBytes = AddBytes;
    kernels.WidenBounds = WidenBounds;
    kernels.ResampleAlong = ResampleAlong;
    kernels.EnlargeAlong = EnlargeAlong;
    kernels.ResampleAcross = ResampleAcross;
    kernels.ResampleMeanAcross = ResampleMeanAcross;
    kernels.SmoothAlong = SmoothAlong;
    kernels.LargestGradients = LargestGradients;
    kernels.LargestOfBlocks = LargestOfBlocks;
    kernels.TensorAlong = TensorAlong;
    kernels.ResponseAcross = ResponseAcross;
    kernels.StrictMaxima = StrictMaxima;
    kernels.SurfaceMaximum = SurfaceMaximum;
    kernels.SmoothedSums4 = SmoothedSums4;
    kernels.AddEllipseRow = AddEllipseRow;
    kernels.SumEllipses = SumEllipses;
    kernels.SumFour = SumFour;
    kernels.LargestOfFour = LargestOfFour;
    kernels.SumBothAxes = SumBothAxes;
    kernels.MeansOfBoxes = MeansOfBoxes;
    kernels.ContrastsOfCells = ContrastsOfCells;
    kernels.EvidenceOfCells = EvidenceOfCells;
    kernels.TakeOffMeans = TakeOffMeans;
    kernels.CosinesOfBoxes = CosinesOfBoxes;
    kernels.AddContrasts = AddContrasts;
    kernels.SumRows = SumRows;
    kernels.LaySideBySide = LaySideBySide;
    kernels.BestColumns = BestColumns;
    kernels.DotProducts = DotProducts;
    kernels.SampleAlong = SampleAlong;
    kernels.WeighWords = WeighWords;
    return kernels;
}

}  // namespace
