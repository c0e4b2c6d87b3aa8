// The search of one zoom in its plainest form: whole planes for every filter, a label map for every candidate, every
// pixel visited. The truth that the engine's faster ways are held against, in tests and in benchmarks.
#pragma once

#include <string>
#include <vector>

#include "corner_detector.h"
#include "geometry.h"
#include "owned_pic.h"

struct SPlainCorners {
    std::vector<CBxPoint<double>> points;
    std::vector<float> strengths;
};

struct SPlainZoom {
    std::vector<CBxRect<double>> candidates;  // after the reduction, the whole picture last
    std::vector<std::vector<double>> means;   // of the cells of each candidate that was read
    std::string text;                         // of the first accepted candidate
    int accepted = -1;                        // its index
};

// The scaled picture, 3_F.
CBxOwnedPic PlainScale(const SBxPicBuf& picture, double zoom);
// The mean of green and red of a 3_F picture, as a plane of its own.
CBxOwnedPic PlainMean(const SBxPicBuf& scaled);
// Corners of one half (0 dark, 1 bright) of a plane.
SPlainCorners PlainCorners(const SBxPicBuf& plane, int half, double zoom);
// Blue of a 3_F picture, smoothed for the zoom.
CBxOwnedPic PlainSmoothBlue(const SBxPicBuf& scaled, double zoom);
std::vector<double> PlainMeans(const SBxPicBuf& blue, const CBxRect<double>& candidate);

// Everything, for a picture and a zoom.
SPlainZoom PlainSearchZoom(const SBxPicBuf& picture, double zoom);
