#include "float_filters.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numeric>

#include "kernels.h"

namespace {

constexpr double kLargestPlainZoom = 1.01;
constexpr float kPlainTaps5[5] = {1, 2, 4, 2, 1};
constexpr float kPlainTaps7[7] = {1, 2, 4, 6, 4, 2, 1};

void PlainTaps(float* taps, const float* kernel, int tapCount) {
    const float* multiples = tapCount == 7 ? kPlainTaps7 : kPlainTaps5;
    for (int tap = 0; tap < tapCount; ++tap) {
        taps[tap] = multiples[tap] * kernel[0];
    }
}

// The kernel at a position between its taps, counted from its first tap.
double KernelAt(const float* kernel, double position) {
    if (position <= -1.0) {
        return 0.0;
    }
    if (position < 0.0) {
        return (1.0 + position) * kernel[0];
    }
    const double before = std::floor(position);
    const double behind = std::ceil(position);
    const double weightBefore = behind - position;
    return weightBefore * kernel[static_cast<int>(before)] + (1.0 - weightBefore) * kernel[static_cast<int>(behind)];
}

// Interpolates in double, but a tap is a float from then on, and so is the sum that they are divided by.
void StretchedTaps(float* taps, const float* kernel, int tapCount, double zoom) {
    const int centre = tapCount / 2;
    taps[centre] = kernel[centre];
    for (int distance = 1; distance <= centre; ++distance) {
        const auto tap = static_cast<float>(KernelAt(kernel, centre - distance * zoom));
        taps[centre - distance] = tap;
        taps[centre + distance] = tap;
    }
    const float sum = std::accumulate(taps, taps + tapCount, 0.0f);
    std::transform(taps, taps + tapCount, taps, [sum](float tap) { return tap / sum; });
}

// Smooths a plane that is at least tapCount wide and high.
void Smooth(float* out, const float* in, unsigned int width, unsigned int height, float* tmp, const float* taps,
            int tapCount) {
    const unsigned int radius = static_cast<unsigned int>(tapCount) / 2;
    const auto lastComputed = [radius](unsigned int length) { return std::max(length - radius - 2, radius); };

    const unsigned int lastColumn = lastComputed(width);
    for (unsigned int y = 0; y < height; ++y) {
        const float* source = in + std::size_t{y} * width;
        float* row = tmp + std::size_t{y} * width;
        BX_Kernels().FilterAlong(row + radius, source, lastColumn - radius + 1, taps, tapCount);
        std::fill(row, row + radius, row[radius]);
        std::fill(row + lastColumn + 1, row + width, row[lastColumn]);
    }

    const unsigned int lastRow = lastComputed(height);
    for (unsigned int y = 0; y < height; ++y) {
        const unsigned int centre = std::clamp(y, radius, lastRow);
        const float* rows[7];
        for (int tap = 0; tap < tapCount; ++tap) {
            rows[tap] = tmp + std::size_t{centre - radius + static_cast<unsigned int>(tap)} * width;
        }
        BX_Kernels().FilterAcross(out + std::size_t{y} * width, rows, width, taps, tapCount);
    }
}

void SmoothIfLargeEnough(float* out, const float* in, unsigned int width, unsigned int height, float* tmp,
                         const float* taps, int tapCount) {
    const unsigned int smallest = static_cast<unsigned int>(tapCount);
    if (width >= smallest && height >= smallest) {
        Smooth(out, in, width, height, tmp, taps, tapCount);
    }
}

void SmoothPlain(float* out, const float* in, unsigned int width, unsigned int height, float* tmp, const float* kernel,
                 int tapCount) {
    float taps[7];
    PlainTaps(taps, kernel, tapCount);
    SmoothIfLargeEnough(out, in, width, height, tmp, taps, tapCount);
}

void SmoothAtZoom(float* out, const float* in, unsigned int width, unsigned int height, float* tmp, const float* kernel,
                  int tapCount, double zoom) {
    float taps[7];
    BX_KernelTaps(taps, kernel, tapCount, zoom);
    SmoothIfLargeEnough(out, in, width, height, tmp, taps, tapCount);
}

}  // namespace

void BX_KernelTaps(float* taps, const float* kernel, int tapCount, double zoom) {
    zoom <= kLargestPlainZoom ? PlainTaps(taps, kernel, tapCount) : StretchedTaps(taps, kernel, tapCount, zoom);
}

void CBxFloatFilter::ConvWithKernel2D_7(float* out, const float* in, unsigned int width, unsigned int height,
                                        float* tmp, const float* kernel, double zoom) {
    SmoothAtZoom(out, in, width, height, tmp, kernel, 7, zoom);
}

void CBxFloatFilter::ConvWithKernel2D(float* out, const float* in, unsigned int width, unsigned int height, float* tmp,
                                      const float* kernel, double zoom) {
    SmoothAtZoom(out, in, width, height, tmp, kernel, 5, zoom);
}

void CBxFloatFilter::ConvWithKernel2D_7_1(float* out, const float* in, unsigned int width, unsigned int height,
                                          float* tmp, const float* kernel) {
    SmoothPlain(out, in, width, height, tmp, kernel, 7);
}

void CBxFloatFilter::ConvWithKernel2D_7_General(float* out, const float* in, unsigned int width, unsigned int height,
                                                float* tmp, const float* kernel) {
    SmoothIfLargeEnough(out, in, width, height, tmp, kernel, 7);
}

void CBxFloatFilter::ConvWithKernel2D_1(float* out, const float* in, unsigned int width, unsigned int height,
                                        float* tmp, const float* kernel) {
    SmoothPlain(out, in, width, height, tmp, kernel, 5);
}

void CBxFloatFilter::ConvWithKernel2D_General(float* out, const float* in, unsigned int width, unsigned int height,
                                              float* tmp, const float* kernel) {
    SmoothIfLargeEnough(out, in, width, height, tmp, kernel, 5);
}

void CBxFloatFilter::GetDerivationDx(float* out, const float* in, unsigned int width, unsigned int height) {
    if (width == 0) {
        return;
    }
    for (unsigned int y = 0; y < height; ++y) {
        const float* source = in + std::size_t{y} * width;
        float* row = out + std::size_t{y} * width;
        BX_Kernels().Subtract(row, source + 1, source, width - 1);
        row[width - 1] = width > 1 ? row[width - 2] : 0.0f;
    }
}

void CBxFloatFilter::GetDerivationDy(float* out, const float* in, unsigned int width, unsigned int height) {
    if (height == 0) {
        return;
    }
    BX_Kernels().Subtract(out, in + width, in, std::size_t{height - 1} * width);
    float* last = out + std::size_t{height - 1} * width;
    if (height > 1) {
        std::copy(last - width, last, last);
    } else {
        std::fill(last, last + width, 0.0f);
    }
}

void CBxFloatFilter::PointProduct(float* out, const float* a, const float* b, unsigned int width, unsigned int height) {
    BX_Kernels().Multiply(out, a, b, std::size_t{width} * height);
}

void CBxFloatFilter::HessianProduct(float* out, const float* sxx, const float* syy, const float* sxy,
                                    unsigned int width, unsigned int height) {
    BX_Kernels().Harris(out, sxx, syy, sxy, std::size_t{width} * height);
}
