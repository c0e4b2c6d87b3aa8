// Finds up to 50 stable corners of a picture, by the Harris measure, to an eighth of a pixel.
//
// The corners are the anchors of the rectangles that carry a sign: whoever reads a sign has to find the same corners
// that its writer found, so every number in here belongs to the sign's format.
#pragma once

#include "geometry.h"
#include "pic_buf.h"

// One corner candidate, in pixels of the picture at hand.
struct SBxPointANMS {
    double x;
    double y;
    float R;             // strength: the maximum of the fitted surface
    unsigned char flag;  // 1 once it stands in the list of the whole picture
};

// The smoothing kernel of the whole system, and the kernel of the structure tensor; weights at zoom 1, sum 1.
inline constexpr float kSmoothingKernel[7] = {0.05f, 0.125f, 0.175f, 0.3f, 0.175f, 0.125f, 0.05f};
inline constexpr float kTensorKernel[5] = {0.1f, 0.2f, 0.4f, 0.2f, 0.1f};

class CBxCornerDetector {
public:
    static constexpr unsigned int kMostCorners = 50;

    // The corners of a 1_F picture, strongest first, found in tiles of at most 500 x 500 pixels.
    //
    //   points      receives a new array of kMostCorners points, which the caller frees with std::free; null on 6
    //   count       the number kept, 0 .. 50
    //   strengths   receives the strength of each corner; at least 50 entries
    //   zoom        stretch of the smoothing kernels
    //
    // Returns 0, or 6 when memory ran out. The picture is not changed.
    static int FindCornersHarrisInsert_Tailed(CBxPoint<double>*& points, unsigned int& count, SBxPicBuf* picture,
                                              unsigned int& ignored, float* strengths, double zoom);

    // The same for one picture in one piece, keeping only corners inside `accept` (bounds inclusive). The picture is
    // overwritten by its Harris response.
    static int FindCornersHarrisInsert(CBxPoint<double>*& points, unsigned int& count, SBxPicBuf* picture,
                                       unsigned int& ignored, float* strengths, double zoom, CBxRect<int> accept);

    // Appends the fitted strict 3 x 3 maxima above `threshold` to an array from std::malloc (or null with capacity 0)
    // that grows by 50. Returns 0 or 6; on 6 the array still holds what was found and is still the caller's.
    static int FindLocalMaxima3x3WithThreshold(SBxPointANMS*& candidates, unsigned int& count, unsigned int& capacity,
                                               const float* response, unsigned int width, unsigned int height,
                                               float threshold, unsigned int ignored);

    // qsort comparator: +1 when the second is the stronger one, else -1, never 0.
    static int compareR(const void* first, const void* second);
};
