#include "clipped_pixels.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "heap_array.h"
#include "kernels.h"

namespace {

constexpr double kMostPixels = 5e5;
constexpr int kDarkest = 2;  // saving as JPEG moves the ends a little
constexpr int kBrightest = 253;
constexpr int kNoTone = 1000;  // beyond the others
constexpr int kWhole = 1000;
constexpr float kMostClipped = 90.0f;  // thousandths of a cell
constexpr double kMostUnknown = 1e4;   // thousandths times lost tones
constexpr double kMostRows = 8.0;      // of an ellipse

// How many clipped pixels each column of some rows holds.
class CClippedColumns {
public:
    // Tones up to `darkest` and from `brightest` on are clipped; neither needs to be one.
    CClippedColumns(int darkest, int brightest)
        : m_ucDark(static_cast<unsigned char>(std::max(0, darkest + 1))),
          m_ucBright(static_cast<unsigned char>(std::min(255, brightest - 1))) {}

    bool Prepare(std::size_t width) {
        return m_Counts.Allocate(width) && m_Blue.Allocate(width) && m_Others.Allocate(2 * width);
    }
    void Clear() { std::fill_n(m_Counts.Data(), m_Counts.Size(), std::uint16_t{0}); }
    void AddRow(const unsigned char* row) {
        const std::size_t width = m_Counts.Size();
        BX_Kernels().Split3(m_Blue.Data(), m_Others.Data(), m_Others.Data() + width, row, width);
        const unsigned char* const blue = m_Blue.Data();
        std::uint16_t* const counts = m_Counts.Data();
        for (std::size_t x = 0; x < width; ++x) {
            counts[x] = static_cast<std::uint16_t>(counts[x] + (blue[x] < m_ucDark || blue[x] > m_ucBright ? 1 : 0));
        }
    }
    // Of squares of factor x factor pixels. Returns whether any holds clipped ones.
    bool WriteShares(std::uint16_t* shares, int factor) const {
        const auto side = static_cast<std::size_t>(factor);
        int any = 0;
        for (std::size_t x = 0; x < m_Counts.Size() / side; ++x) {
            int count = 0;
            for (std::size_t i = 0; i < side; ++i) {
                count += m_Counts[x * side + i];
            }
            any |= count;
            shares[x] = static_cast<std::uint16_t>(count * kWhole / (factor * factor));
        }
        return any != 0;
    }

private:
    const unsigned char m_ucDark;    // darker ones are clipped
    const unsigned char m_ucBright;  // brighter ones are
    CBxHeapArray<std::uint16_t> m_Counts;
    CBxHeapArray<unsigned char> m_Blue;
    CBxHeapArray<unsigned char> m_Others;
};

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
    CClippedColumns columns(darkest, brightest);
    if (!shares.Allocate(static_cast<std::size_t>(width) * height) ||
        !columns.Prepare(static_cast<std::size_t>(width) * factor)) {
        return false;
    }
    for (int y = 0; y < height; ++y) {
        columns.Clear();
        for (int row = y * factor; row < (y + 1) * factor; ++row) {
            columns.AddRow(BX_PicRow<unsigned char>(picture, row));
        }
        m_bAny = columns.WriteShares(shares.Data() + static_cast<std::ptrdiff_t>(y) * width, factor) || m_bAny;
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
