// Filters on one-channel float planes: plain arrays of width x height floats, row after row.
#pragma once

// The weights that a smoothing with a kernel really uses at a zoom.
//
//   taps     receives tapCount weights that sum to 1
//   kernel   the kernel at zoom 1: tapCount (5 or 7) weights, symmetric about the centre, sum 1
//   zoom     stretch of the kernel
//
// Up to zoom 1.01 only kernel[0] is read and the weights are 1, 2, 4, 2, 1 or 1, 2, 4, 6, 4, 2, 1 times it. Above, the
// half kernel is read at distances stretched by the zoom, mirrored and scaled to sum 1. The 7-tap kernel of the corner
// detection differs between the two on purpose: signs are written with the one and often read with the other.
void BX_KernelTaps(float* taps, const float* kernel, int tapCount, double zoom);

class CBxFloatFilter {
public:
    // Separable smoothing with a symmetric 7-tap or 5-tap kernel, along the rows and then along the columns.
    //
    //   out, in, tmp    planes of width x height floats; three different planes
    //   kernel, zoom    as for BX_KernelTaps
    //
    // With radius r, positions r .. n - r - 2 of a line of n samples are computed; those before take the value of
    // position r, those behind the value of position n - r - 2. A line exactly as long as the kernel takes the value of
    // its middle everywhere. Leaves `out` unwritten when the plane is narrower or lower than the kernel.
    static void ConvWithKernel2D_7(float* out, const float* in, unsigned int width, unsigned int height, float* tmp,
                                   const float* kernel, double zoom);
    static void ConvWithKernel2D(float* out, const float* in, unsigned int width, unsigned int height, float* tmp,
                                 const float* kernel, double zoom);

    // The same with the weights of zoom 1.01 and below (_1), and with all weights of the given kernel (_General).
    static void ConvWithKernel2D_7_1(float* out, const float* in, unsigned int width, unsigned int height, float* tmp,
                                     const float* kernel);
    static void ConvWithKernel2D_7_General(float* out, const float* in, unsigned int width, unsigned int height,
                                           float* tmp, const float* kernel);
    static void ConvWithKernel2D_1(float* out, const float* in, unsigned int width, unsigned int height, float* tmp,
                                   const float* kernel);
    static void ConvWithKernel2D_General(float* out, const float* in, unsigned int width, unsigned int height,
                                         float* tmp, const float* kernel);

    // out(x, y) = in(x + 1, y) - in(x, y); the last column repeats the one before it (0 when there is only one).
    static void GetDerivationDx(float* out, const float* in, unsigned int width, unsigned int height);
    // out(x, y) = in(x, y + 1) - in(x, y); the last row repeats the one before it (0 when there is only one).
    static void GetDerivationDy(float* out, const float* in, unsigned int width, unsigned int height);
    // out = a * b for each pixel.
    static void PointProduct(float* out, const float* a, const float* b, unsigned int width, unsigned int height);
    // The Harris response sxx * syy - sxy^2 - 0.08 * (sxx + syy)^2.
    static void HessianProduct(float* out, const float* sxx, const float* syy, const float* sxy, unsigned int width,
                               unsigned int height);
};
