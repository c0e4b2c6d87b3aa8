#include "pattern_plane.h"

#include <algorithm>
#include <cmath>

#include "heap_array.h"

namespace {

constexpr double kMostPixels = 1e6;
constexpr int kBox = 24;               // pixels on either side; the neighbourhood of the relation
constexpr int kSteps = 16;             // of the plane, a tone
constexpr int kZeroLevel = 2048;       // of the plane
constexpr double kRing = 0.54;         // semi-axis of the ground around a cell, in cells
constexpr double kMostRows = 12.0;     // of an ellipse: contrasts need no better
constexpr double kMostContrast = 4.0;  // tones; more comes from the picture, not from a sign
constexpr float kLeastUnrest = 0.1f;   // tones squared
constexpr float kUnrestOfSign = 1.2f;
constexpr double kAlignedVariance = 2.6;  // of the contrasts of a sign's cells
constexpr double kElsewhereVariance = 0.9;

// Blue and the mean of green and red of a picture reduced by a whole factor.
struct SReducedPlanes {
    int width;
    int height;
    CBxHeapArray<float> blue;
    CBxHeapArray<float> mean;

    bool Make(const SBxPicBuf& picture, int factor) {
        width = picture.m_iWidth / factor;
        height = picture.m_iHeight / factor;
        const std::size_t count = static_cast<std::size_t>(width) * height;
        if (!blue.AllocateZeroed(count) || !mean.AllocateZeroed(count)) {
            return false;
        }
        const float share = 1.0f / static_cast<float>(factor * factor);
        for (int y = 0; y < height * factor; ++y) {
            const auto* row = BX_PicRow<unsigned char>(picture, y);
            float* blueRow = blue.Data() + static_cast<std::ptrdiff_t>(y / factor) * width;
            float* meanRow = mean.Data() + static_cast<std::ptrdiff_t>(y / factor) * width;
            for (int x = 0; x < width; ++x) {
                int blueSum = 0;
                int otherSum = 0;
                for (int i = 0; i < factor; ++i) {
                    const unsigned char* pixel = row + 3 * (x * factor + i);
                    blueSum += pixel[0];
                    otherSum += pixel[1] + pixel[2];
                }
                blueRow[x] += share * static_cast<float>(blueSum);
                meanRow[x] += 0.5f * share * static_cast<float>(otherSum);
            }
        }
        return true;
    }
};

// Mean over boxes that reach so far to either side, cut at the edges.
bool BoxMean(float* out, const float* in, int width, int height, int boxX, int boxY) {
    CBxHeapArray<double> columns;
    if (!columns.AllocateZeroed(static_cast<std::size_t>(width) + 1)) {
        return false;
    }
    double* sums = columns.Data();
    const auto add = [&](int y, double sign) {
        for (int x = 0; x < width; ++x) {
            sums[x] += sign * static_cast<double>(in[static_cast<std::ptrdiff_t>(y) * width + x]);
        }
    };
    for (int y = 0; y < std::min(boxY, height); ++y) {
        add(y, 1.0);
    }
    for (int y = 0; y < height; ++y) {
        if (y + boxY < height) {
            add(y + boxY, 1.0);
        }
        if (y - boxY - 1 >= 0) {
            add(y - boxY - 1, -1.0);
        }
        const int rows = std::min(height - 1, y + boxY) - std::max(0, y - boxY) + 1;
        double sum = 0.0;
        for (int x = 0; x < std::min(boxX, width); ++x) {
            sum += sums[x];
        }
        for (int x = 0; x < width; ++x) {
            sum += x + boxX < width ? sums[x + boxX] : 0.0;
            sum -= x - boxX - 1 >= 0 ? sums[x - boxX - 1] : 0.0;
            const int count = rows * (std::min(width - 1, x + boxX) - std::max(0, x - boxX) + 1);
            out[static_cast<std::ptrdiff_t>(y) * width + x] = static_cast<float>(sum / count);
        }
    }
    return true;
}

}  // namespace

bool CBxPatternPlane::Prepare(const SBxPicBuf& picture) {
    const double pixels = static_cast<double>(picture.m_iWidth) * picture.m_iHeight;
    const int factor = std::max(1, static_cast<int>(std::lround(std::sqrt(pixels / kMostPixels))));
    m_dScale = 1.0 / factor;
    SReducedPlanes planes;
    if (!planes.Make(picture, factor)) {
        return false;
    }
    const int width = planes.width;
    const int height = planes.height;
    const std::size_t count = static_cast<std::size_t>(width) * height;
    CBxHeapArray<float> product;
    CBxHeapArray<float> meanOfBlue;
    CBxHeapArray<float> meanOfMean;
    CBxHeapArray<float> meanOfProduct;
    CBxHeapArray<float> meanOfSquare;
    CBxHeapArray<std::uint16_t> pattern;
    if (!product.AllocateZeroed(count) || !meanOfBlue.Allocate(count) || !meanOfMean.Allocate(count) ||
        !meanOfProduct.Allocate(count) || !meanOfSquare.Allocate(count) || !pattern.Allocate(count)) {
        return false;
    }
    for (std::size_t i = 0; i < count; ++i) {
        product[i] = planes.blue[i] * planes.mean[i];
    }
    bool done = BoxMean(meanOfProduct.Data(), product.Data(), width, height, kBox, kBox);
    for (std::size_t i = 0; i < count; ++i) {
        product[i] = planes.mean[i] * planes.mean[i];
    }
    done = done && BoxMean(meanOfSquare.Data(), product.Data(), width, height, kBox, kBox) &&
           BoxMean(meanOfBlue.Data(), planes.blue.Data(), width, height, kBox, kBox) &&
           BoxMean(meanOfMean.Data(), planes.mean.Data(), width, height, kBox, kBox);
    if (!done) {
        return false;
    }
    for (std::size_t i = 0; i < count; ++i) {
        const float covariance = meanOfProduct[i] - meanOfBlue[i] * meanOfMean[i];
        const float variance = meanOfSquare[i] - meanOfMean[i] * meanOfMean[i];
        const float slope = covariance / (variance + 4.0f);
        float& left = product[i];
        left = planes.blue[i] - meanOfBlue[i] - slope * (planes.mean[i] - meanOfMean[i]);
        pattern[i] = static_cast<std::uint16_t>(
            std::clamp(static_cast<float>(kZeroLevel) + static_cast<float>(kSteps) * left, 0.0f, 4095.0f));
    }
    return MeasureUnrest(product.Data(), width, height) && m_Sums.Prepare(pattern.Data(), width, height);
}

// What a box of a cell's size stands out from a larger one, squared and averaged over a few cells, less what a sign
// adds to it.
bool CBxPatternPlane::MeasureUnrest(const float* pattern, int width, int height) {
    m_iWidth = width;
    m_iHeight = height;
    const std::size_t count = static_cast<std::size_t>(width) * height;
    CBxHeapArray<float> small;
    CBxHeapArray<float> large;
    if (!small.Allocate(count) || !large.Allocate(count) || !m_Unrest.Allocate(count)) {
        return false;
    }
    const auto half = [](int side, double share) { return static_cast<int>(side / kGridSide * share); };
    if (!BoxMean(small.Data(), pattern, width, height, half(width, 0.33), half(height, 0.33)) ||
        !BoxMean(large.Data(), pattern, width, height, half(width, 0.5), half(height, 0.5))) {
        return false;
    }
    for (std::size_t i = 0; i < count; ++i) {
        const float contrast = 1.8f * (small[i] - large[i]);
        small[i] = std::min(contrast * contrast, 100.0f);
    }
    if (!BoxMean(m_Unrest.Data(), small.Data(), width, height, half(width, 1.0), half(height, 1.0))) {
        return false;
    }
    for (std::size_t i = 0; i < count; ++i) {
        m_Unrest[i] = std::max(kLeastUnrest, m_Unrest[i] - kUnrestOfSign);
    }
    return true;
}

double CBxPatternPlane::ContrastOf(const SBxGridPose& pose, bool sampled) const {
    SBxGridPose scaled = pose;
    for (CBxPoint<double>* point : {&scaled.origin, &scaled.along, &scaled.down}) {
        *point = {point->x * m_dScale, point->y * m_dScale};
    }
    float inside[kCellCount];
    float around[kCellCount];
    m_Sums.MeansOfShare(inside, scaled, kEllipseShare, kMostRows, sampled);
    m_Sums.MeansOfShare(around, scaled, kRing, kMostRows * kRing / kEllipseShare, sampled);
    constexpr double kAreas = (kRing * kRing) / (kRing * kRing - kEllipseShare * kEllipseShare);
    double sum = 0.0;
    const int count = sampled ? CBxBlueSums::kSampledCells : kCellCount;
    for (int i = 0; i < count; ++i) {
        const int cell = sampled ? CBxBlueSums::CellOfSample(i) : i;
        const double contrast = static_cast<double>(inside[i] - around[i]) * kAreas / kSteps;
        if (contrast != contrast) {
            continue;
        }
        const CBxPoint<double> centre = scaled.CentreOfCell(cell);
        const int x = std::clamp(static_cast<int>(centre.x), 0, m_iWidth - 1);
        const int y = std::clamp(static_cast<int>(centre.y), 0, m_iHeight - 1);
        const double unrest = m_Unrest[static_cast<std::size_t>(y) * m_iWidth + x];
        const double aligned = kAlignedVariance + unrest;
        const double elsewhere = kElsewhereVariance + unrest;
        const double square = std::min(contrast * contrast, kMostContrast * kMostContrast);
        sum += 0.5 * (std::log(elsewhere / aligned) + square * (1.0 / elsewhere - 1.0 / aligned));
    }
    return sum;
}
