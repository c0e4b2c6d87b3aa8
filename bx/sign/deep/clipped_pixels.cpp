#include "clipped_pixels.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "heap_array.h"

namespace {

constexpr double kMostPixels = 5e5;
constexpr int kDarkest = 2;  // saving as JPEG moves the ends a little
constexpr int kBrightest = 253;
constexpr int kNoTone = 1000;  // beyond the others
constexpr int kWhole = 1000;
constexpr float kMostClipped = 90.0f;  // thousandths of a cell
constexpr double kMostUnknown = 1e4;   // thousandths times lost tones
constexpr double kMostRows = 8.0;      // of an ellipse

}  // namespace

bool CBxClippedPixels::Prepare(const SBxPicBuf& picture) {
    m_fMostClipped = kMostClipped;
    return Prepare(picture, kDarkest, kBrightest);
}

bool CBxClippedPixels::Prepare(const SBxPicBuf& picture, const SBxLostTones& lost) {
    const double widest = std::max(lost.dark, lost.bright);
    if (widest <= 0.0) {
        m_bAny = false;
        return true;
    }
    m_fMostClipped = static_cast<float>(kMostUnknown / std::max(1.0, widest));
    return Prepare(picture, lost.dark > 0.0 ? kDarkest : -kNoTone, lost.bright > 0.0 ? kBrightest : kNoTone);
}

bool CBxClippedPixels::Prepare(const SBxPicBuf& picture, int darkest, int brightest) {
    const double pixels = static_cast<double>(picture.m_iWidth) * picture.m_iHeight;
    const int factor = std::max(1, static_cast<int>(std::lround(std::sqrt(pixels / kMostPixels))));
    const int width = picture.m_iWidth / factor;
    const int height = picture.m_iHeight / factor;
    m_dScale = 1.0 / factor;
    m_bAny = false;
    if (width == 0 || height == 0) {
        return true;
    }
    CBxHeapArray<std::uint16_t> shares;
    CBxHeapArray<int> counts;
    if (!shares.Allocate(static_cast<std::size_t>(width) * height) || !counts.Allocate(width)) {
        return false;
    }
    for (int y = 0; y < height; ++y) {
        std::fill_n(counts.Data(), width, 0);
        for (int row = y * factor; row < (y + 1) * factor; ++row) {
            const auto* blue = BX_PicRow<unsigned char>(picture, row);
            for (int x = 0; x < width; ++x) {
                for (int i = 0; i < factor; ++i, blue += 3) {
                    counts[x] += *blue <= darkest || *blue >= brightest ? 1 : 0;
                }
            }
        }
        for (int x = 0; x < width; ++x) {
            m_bAny = m_bAny || counts[x] != 0;
            shares[static_cast<std::size_t>(y) * width + x] =
                static_cast<std::uint16_t>(counts[x] * kWhole / (factor * factor));
        }
    }
    return !m_bAny || m_Shares.Prepare(shares.Data(), width, height);
}

void CBxClippedPixels::LeaveOut(float* means, const SBxGridPose& pose) const {
    if (!m_bAny) {
        return;
    }
    SBxGridPose scaled = pose;
    for (CBxPoint<double>* point : {&scaled.origin, &scaled.along, &scaled.down}) {
        *point = {point->x * m_dScale, point->y * m_dScale};
    }
    float shares[kCellCount];
    m_Shares.MeansOfShare(shares, scaled, kEllipseShare, kMostRows, false);
    for (int cell = 0; cell < kCellCount; ++cell) {
        // Cells of a grid that is too fine for the reduced plane have no share, and stay.
        if (shares[cell] > m_fMostClipped) {
            means[cell] = std::numeric_limits<float>::quiet_NaN();
        }
    }
}
