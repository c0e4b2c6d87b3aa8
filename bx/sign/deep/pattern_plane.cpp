#include "pattern_plane.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "box_mean.h"

namespace {

constexpr double kUsualPixels = 6e5;
constexpr double kMostWhole = 7e5;      // pixels of a picture that is not reduced
constexpr int kReach = 24;              // pixels to either side; the neighbourhood of the relation
constexpr float kLeastVariance = 4.0f;  // of green and red, tones squared; less tells nothing of blue

// Blue and the mean of green and red of a picture reduced by a whole factor; both planes are zero to begin with.
void Reduce(float* blue, float* mean, const SBxPicBuf& picture, int factor) {
    const int width = picture.m_iWidth / factor;
    const int height = picture.m_iHeight / factor;
    const float share = 1.0f / static_cast<float>(factor * factor);
    for (int y = 0; y < height * factor; ++y) {
        const auto* row = BX_PicRow<unsigned char>(picture, y);
        float* blueRow = blue + static_cast<std::ptrdiff_t>(y / factor) * width;
        float* meanRow = mean + static_cast<std::ptrdiff_t>(y / factor) * width;
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
}

// What a pixel of a scaled axis is made of: the mean over the part of the axis that it covers, of at least one pixel.
struct SCover {
    int first;
    int last;
    float ofFirst;
    float ofLast;
    float share;

    SCover() = default;
    SCover(int index, double scale, int size) {
        const double width = std::max(1.0, 1.0 / scale);
        const double from = std::clamp((index + 0.5) / scale - width / 2, 0.0, size - 1.0);
        const double to = std::clamp(from + width, from + 1e-3, static_cast<double>(size));
        first = static_cast<int>(from);
        last = std::min(static_cast<int>(to), size - 1);
        ofFirst = static_cast<float>(first < last ? first + 1 - from : to - from);
        ofLast = static_cast<float>(first < last ? to - last : 0.0);
        share = static_cast<float>(1.0 / (to - from));
    }
};

void HalveColumns(float* out, int outWidth, const float* in, int width, int height) {
    for (int y = 0; y < height; ++y) {
        const float* row = in + static_cast<std::ptrdiff_t>(y) * width;
        float* outRow = out + static_cast<std::ptrdiff_t>(y) * outWidth;
        for (int x = 0; x < outWidth; ++x) {
            outRow[x] = 0.5f * (row[2 * x] + row[2 * x + 1]);
        }
    }
}

void ScaleColumns(float* out, int outWidth, const float* in, int width, int height, double scale) {
    if (scale == 0.5 && width > 1) {
        HalveColumns(out, outWidth, in, width, height);
        return;
    }
    constexpr int kTogether = 16;
    for (int begin = 0; begin < outWidth; begin += kTogether) {
        const int end = std::min(outWidth, begin + kTogether);
        SCover covers[kTogether];
        for (int x = begin; x < end; ++x) {
            covers[x - begin] = SCover(x, scale, width);
        }
        for (int y = 0; y < height; ++y) {
            const float* row = in + static_cast<std::ptrdiff_t>(y) * width;
            float* outRow = out + static_cast<std::ptrdiff_t>(y) * outWidth;
            for (int x = begin; x < end; ++x) {
                const SCover& cover = covers[x - begin];
                float sum = cover.ofFirst * row[cover.first] + cover.ofLast * row[cover.last];
                for (int i = cover.first + 1; i < cover.last; ++i) {
                    sum += row[i];
                }
                outRow[x] = cover.share * sum;
            }
        }
    }
}

void ScaleRows(float* out, int outHeight, const float* in, int width, int height, double scale) {
    for (int y = 0; y < outHeight; ++y) {
        const SCover cover(y, scale, height);
        float* outRow = out + static_cast<std::ptrdiff_t>(y) * width;
        std::fill(outRow, outRow + width, 0.0f);
        for (int i = cover.first; i <= cover.last; ++i) {
            const float weight = cover.share * (i == cover.first  ? cover.ofFirst
                                                : i == cover.last ? cover.ofLast
                                                                  : 1.0f);
            const float* row = in + static_cast<std::ptrdiff_t>(i) * width;
            for (int x = 0; x < width; ++x) {
                outRow[x] += weight * row[x];
            }
        }
    }
}

// The means of two by two pixels; `width` and `height` of what comes of it.
void HalvePlane(float* out, const float* in, int width, int height, int pitch) {
    for (int y = 0; y < height; ++y) {
        const float* upper = in + static_cast<std::ptrdiff_t>(2 * y) * pitch;
        const float* lower = upper + pitch;
        float* row = out + static_cast<std::ptrdiff_t>(y) * width;
        for (int x = 0; x < width; ++x) {
            row[x] = 0.25f * ((upper[2 * x] + upper[2 * x + 1]) + (lower[2 * x] + lower[2 * x + 1]));
        }
    }
}

}  // namespace

bool CBxPatternPlane::PrepareColumns(const CBxPatternPlane& planes, double scale) {
    m_iWidth = std::max(1, static_cast<int>(planes.m_iWidth * scale));
    m_iHeight = planes.m_iHeight;
    m_dScale = planes.m_dScale;
    const std::size_t count = static_cast<std::size_t>(m_iWidth) * m_iHeight;
    if (!m_Blue.Allocate(count) || !m_Pattern.Allocate(count)) {
        return false;
    }
    ScaleColumns(m_Blue.Data(), m_iWidth, planes.m_Blue.Data(), planes.m_iWidth, m_iHeight, scale);
    ScaleColumns(m_Pattern.Data(), m_iWidth, planes.m_Pattern.Data(), planes.m_iWidth, m_iHeight, scale);
    return true;
}

bool CBxPatternPlane::PrepareRows(const CBxPatternPlane& planes, double scale) {
    m_iWidth = planes.m_iWidth;
    m_iHeight = std::max(1, static_cast<int>(planes.m_iHeight * scale));
    m_dScale = planes.m_dScale;
    const std::size_t count = static_cast<std::size_t>(m_iWidth) * m_iHeight;
    if (!m_Blue.Allocate(count) || !m_Pattern.Allocate(count)) {
        return false;
    }
    ScaleRows(m_Blue.Data(), m_iHeight, planes.m_Blue.Data(), m_iWidth, planes.m_iHeight, scale);
    ScaleRows(m_Pattern.Data(), m_iHeight, planes.m_Pattern.Data(), m_iWidth, planes.m_iHeight, scale);
    return true;
}

bool CBxPatternPlane::Halve(const CBxPatternPlane& planes) {
    m_iWidth = planes.m_iWidth / 2;
    m_iHeight = planes.m_iHeight / 2;
    m_dScale = planes.m_dScale / 2;
    const std::size_t count = static_cast<std::size_t>(m_iWidth) * m_iHeight;
    if (count == 0 || !m_Blue.Allocate(count) || !m_Pattern.Allocate(count)) {
        return false;
    }
    HalvePlane(m_Blue.Data(), planes.Blue(), m_iWidth, m_iHeight, planes.m_iWidth);
    HalvePlane(m_Pattern.Data(), planes.Pattern(), m_iWidth, m_iHeight, planes.m_iWidth);
    return true;
}

bool CBxPatternPlane::Prepare(const SBxPicBuf& picture) {
    const double pixels = static_cast<double>(picture.m_iWidth) * picture.m_iHeight;
    const int factor =
        std::max(pixels > kMostWhole ? 2 : 1, static_cast<int>(std::lround(std::sqrt(pixels / kUsualPixels))));
    const int width = m_iWidth = picture.m_iWidth / factor;
    const int height = m_iHeight = picture.m_iHeight / factor;
    m_dScale = 1.0 / factor;
    const std::size_t count = static_cast<std::size_t>(width) * height;
    CBxHeapArray<float> mean;
    CBxHeapArray<float> product;
    CBxHeapArray<float> meanOfBlue;
    CBxHeapArray<float> meanOfMean;
    CBxHeapArray<float> meanOfProduct;
    CBxHeapArray<float> meanOfSquare;
    if (!m_Blue.AllocateZeroed(count) || !m_Pattern.Allocate(count) || !mean.AllocateZeroed(count) ||
        !product.Allocate(count) || !meanOfBlue.Allocate(count) || !meanOfMean.Allocate(count) ||
        !meanOfProduct.Allocate(count) || !meanOfSquare.Allocate(count)) {
        return false;
    }
    Reduce(m_Blue.Data(), mean.Data(), picture, factor);
    for (std::size_t i = 0; i < count; ++i) {
        product[i] = m_Blue[i] * mean[i];
    }
    bool done = BX_BoxMean(meanOfProduct.Data(), product.Data(), width, height, kReach, kReach, kLargest * kLargest);
    for (std::size_t i = 0; i < count; ++i) {
        product[i] = mean[i] * mean[i];
    }
    done = done &&
           BX_BoxMean(meanOfSquare.Data(), product.Data(), width, height, kReach, kReach, kLargest * kLargest) &&
           BX_BoxMean(meanOfBlue.Data(), m_Blue.Data(), width, height, kReach, kReach, kLargest) &&
           BX_BoxMean(meanOfMean.Data(), mean.Data(), width, height, kReach, kReach, kLargest);
    if (!done) {
        return false;
    }
    for (std::size_t i = 0; i < count; ++i) {
        const float covariance = meanOfProduct[i] - meanOfBlue[i] * meanOfMean[i];
        const float variance = meanOfSquare[i] - meanOfMean[i] * meanOfMean[i];
        const float slope = covariance / (variance + kLeastVariance);
        m_Pattern[i] = std::clamp(m_Blue[i] - meanOfBlue[i] - slope * (mean[i] - meanOfMean[i]),
                                  static_cast<float>(-kLargest), static_cast<float>(kLargest));
    }
    return true;
}
