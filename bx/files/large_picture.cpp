#include "large_picture.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "heap_array.h"
#include "result.h"

namespace {

constexpr double kLobes = 3.0;  // of the Lanczos kernel on either side, in target pixels

double Lanczos(double x) {
    if (std::fabs(x) >= kLobes) {
        return 0.0;
    }
    const double angle = std::numbers::pi * x;
    return std::fabs(x) < 1e-9 ? 1.0 : kLobes * std::sin(angle) * std::sin(angle / kLobes) / (angle * angle);
}

// For each target pixel of a line: which source pixels make it up, and their weights, which sum to 1.
class CTaps {
public:
    // False without memory.
    bool Prepare(int sourceLength, int targetLength) {
        const double step = static_cast<double>(sourceLength) / targetLength;
        m_iMost = static_cast<int>(std::ceil(2.0 * kLobes * step)) + 2;
        if (!m_First.Allocate(static_cast<std::size_t>(targetLength)) ||
            !m_Weights.AllocateZeroed(static_cast<std::size_t>(targetLength) * static_cast<std::size_t>(m_iMost))) {
            return false;
        }
        for (int target = 0; target < targetLength; ++target) {
            const double centre = (target + 0.5) * step;
            const int first = std::clamp(static_cast<int>(centre - kLobes * step), 0, sourceLength - 1);
            m_First[static_cast<std::size_t>(target)] = first;
            Fill(target, first, sourceLength, centre, step);
        }
        return true;
    }

    int First(int target) const { return m_First[static_cast<std::size_t>(target)]; }
    int Most() const { return m_iMost; }
    // Most() weights; those beyond the end of the source line are 0.
    const float* Weights(int target) const {
        return m_Weights.Data() + static_cast<std::size_t>(target) * static_cast<std::size_t>(m_iMost);
    }

private:
    void Fill(int target, int first, int sourceLength, double centre, double step) {
        float* weights = m_Weights.Data() + static_cast<std::size_t>(target) * static_cast<std::size_t>(m_iMost);
        const int count = std::min(m_iMost, sourceLength - first);
        double sum = 0.0;
        for (int tap = 0; tap < count; ++tap) {
            sum += Lanczos((first + tap + 0.5 - centre) / step);
        }
        for (int tap = 0; tap < count; ++tap) {
            weights[tap] = static_cast<float>(Lanczos((first + tap + 0.5 - centre) / step) / sum);
        }
    }

    CBxHeapArray<int> m_First;
    CBxHeapArray<float> m_Weights;
    int m_iMost = 0;
};

// Shrinks one row of bytes into a row of floats.
void ShrinkRow(float* out, const unsigned char* bytes, int sourceWidth, int targetWidth, const CTaps& columns) {
    for (int target = 0; target < targetWidth; ++target, out += 3) {
        const int first = columns.First(target);
        const float* weights = columns.Weights(target);
        const int count = std::min(columns.Most(), sourceWidth - first);
        float blue = 0.0F;
        float green = 0.0F;
        float red = 0.0F;
        const unsigned char* pixel = bytes + static_cast<std::ptrdiff_t>(first) * 3;
        for (int tap = 0; tap < count; ++tap, pixel += 3) {
            blue += weights[tap] * pixel[0];
            green += weights[tap] * pixel[1];
            red += weights[tap] * pixel[2];
        }
        out[0] = blue;
        out[1] = green;
        out[2] = red;
    }
}

// The rows of the source, shrunk in width, of which the last few are kept.
class CShrunkRows {
public:
    CShrunkRows(const SBxPicBuf& source, const CTaps& columns, int width)
        : m_Source(source), m_Columns(columns), m_iWidth(width) {}

    // Keeps `count` rows. False without memory.
    bool Prepare(int count) {
        m_iCount = count;
        return m_Rows.Allocate(static_cast<std::size_t>(count) * RowFloats());
    }

    // Row `row`, which is at most `count` - 1 rows above the lowest one asked for so far.
    const float* Get(int row) {
        for (; m_iNext <= row; ++m_iNext) {
            ShrinkRow(Slot(m_iNext), BX_PicRow<unsigned char>(m_Source, m_iNext), m_Source.m_iWidth, m_iWidth,
                      m_Columns);
        }
        return Slot(row);
    }

private:
    std::size_t RowFloats() const { return static_cast<std::size_t>(m_iWidth) * 3; }
    float* Slot(int row) { return m_Rows.Data() + static_cast<std::size_t>(row % m_iCount) * RowFloats(); }

    const SBxPicBuf& m_Source;
    const CTaps& m_Columns;
    const int m_iWidth;
    int m_iCount = 1;
    int m_iNext = 0;
    CBxHeapArray<float> m_Rows;
};

// Makes one target row out of shrunk rows. `sums` has room for one.
void MixRows(unsigned char* out, CShrunkRows& rows, const CTaps& taps, int target, int sourceHeight, float* sums,
             int floats) {
    std::fill_n(sums, floats, 0.0F);
    const int first = taps.First(target);
    const int count = std::min(taps.Most(), sourceHeight - first);
    for (int tap = 0; tap < count; ++tap) {
        const float weight = taps.Weights(target)[tap];
        const float* row = rows.Get(first + tap);
        for (int index = 0; index < floats; ++index) {
            sums[index] += weight * row[index];
        }
    }
    for (int index = 0; index < floats; ++index) {
        out[index] = static_cast<unsigned char>(std::clamp(sums[index] + 0.5F, 0.0F, 255.0F));
    }
}

}  // namespace

double BX_GetCheckZoom(int width, int height) {
    for (int index = 2; index >= 0; --index) {
        const double zoom = 0.9 + 0.05 * index;
        if (static_cast<double>(width) * height * zoom * zoom <= static_cast<double>(kMostPixelsOfZoom)) {
            return zoom;
        }
    }
    return 0.0;
}

bool BX_IsTooLargeToSearch(int width, int height) {
    return static_cast<std::int64_t>(width) * height > kMostPixelsSearched;
}

CBxSize<int> BX_GetFittingSize(int width, int height, std::int64_t mostPixels) {
    const double pixels = static_cast<double>(width) * height;
    if (pixels <= static_cast<double>(mostPixels)) {
        return {width, height};
    }
    const double scale = std::sqrt(static_cast<double>(mostPixels) / pixels);
    CBxSize<int> size = {std::max(1, static_cast<int>(width * scale)), std::max(1, static_cast<int>(height * scale))};
    // A side that is one pixel already cannot shrink further, so the other one shrinks more.
    size.width =
        static_cast<int>(std::min<std::int64_t>(size.width, std::max<std::int64_t>(1, mostPixels / size.height)));
    size.height = static_cast<int>(std::min<std::int64_t>(size.height, mostPixels / size.width));
    return size;
}

unsigned char BX_ShrinkPicture(CBxOwnedPic& target, const SBxPicBuf& source, CBxSize<int> size) {
    if (source.m_pData == nullptr || source.m_iComponents != 3 || source.m_iBitsPerComponent != 8 || size.width <= 0 ||
        size.height <= 0 || size.width > source.m_iWidth || size.height > source.m_iHeight) {
        return kBxFailure;
    }
    CTaps columns;
    CTaps taps;
    CBxHeapArray<float> sums;
    if (!columns.Prepare(source.m_iWidth, size.width) || !taps.Prepare(source.m_iHeight, size.height) ||
        !sums.Allocate(static_cast<std::size_t>(size.width) * 3)) {
        return kBxOutOfMemory;
    }
    CShrunkRows rows(source, columns, size.width);
    if (!rows.Prepare(std::min(taps.Most(), source.m_iHeight)) ||
        target.Allocate(size.width, size.height, 3, 8) != kBxSuccess) {
        return kBxOutOfMemory;
    }
    for (int row = 0; row < size.height; ++row) {
        MixRows(BX_PicRow<unsigned char>(target.Pic(), row), rows, taps, row, source.m_iHeight, sums.Data(),
                size.width * 3);
    }
    return kBxSuccess;
}

CBxRect<double> BX_MapRectangle(const CBxRect<double>& rectangle, CBxSize<int> from, CBxSize<int> to) {
    const double scaleX = static_cast<double>(to.width) / from.width;
    const double scaleY = static_cast<double>(to.height) / from.height;
    return {rectangle.left * scaleX, rectangle.top * scaleY, rectangle.right * scaleX, rectangle.bottom * scaleY};
}

CBxRect<int> BX_GetCoveringPixels(const CBxRect<double>& rectangle, CBxSize<int> picture) {
    const auto clip = [](double value, int length) {
        return static_cast<int>(std::clamp(value, 0.0, static_cast<double>(length)));
    };
    return {clip(std::floor(rectangle.left), picture.width), clip(std::floor(rectangle.top), picture.height),
            clip(std::ceil(rectangle.right), picture.width), clip(std::ceil(rectangle.bottom), picture.height)};
}
