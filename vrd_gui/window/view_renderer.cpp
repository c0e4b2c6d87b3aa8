#include "view_renderer.h"

#include <algorithm>
#include <cmath>
#include <system_error>
#include <thread>
#include <vector>

#include "pic_buf_api.h"
#include "result.h"

namespace {

constexpr int kFewestRowsOfBand = 64;
constexpr unsigned int kMostBands = 8;

// What one frame is drawn from. The target is a 3_8 picture of the drawn rectangle alone.
struct SFrameSource {
    SBxPicBuf level;
    CBxPicMap map;     // from target pixels to pixels of the level
    double levelZoom;  // target pixels for one pixel of the level
    bool isCrisp;
};

SFrameSource SourceOf(const CBxPicturePyramid& pyramid, const SBxViewGeometry& geometry) {
    const int index = pyramid.LevelFor(geometry.m_dZoom);
    const double levelZoom = geometry.m_dZoom * (1 << index);
    const CBxPoint<int> offset = geometry.DrawnOffset();
    const CBxRect<int> drawn = geometry.DrawnRectangle();
    CBxPicMap map{};
    map.m_dX0 = (drawn.left + 0.5 - offset.x) / levelZoom;
    map.m_dY0 = (drawn.top + 0.5 - offset.y) / levelZoom;
    map.m_dA = 1.0 / levelZoom;
    map.m_dB = 0.0;
    return {pyramid.Level(index), map, levelZoom, geometry.m_dZoom >= kCrispZoom};
}

// At 100 % of a level pixels are copied as they are.
bool CopyBand(SBxPicBuf& target, const CBxRect<int>& band, const SFrameSource& source) {
    const CBxPoint<int> from{static_cast<int>(source.map.m_dX0), static_cast<int>(source.map.m_dY0) + band.top};
    const CBxSize<int> size{band.Width(), band.Height()};
    if (source.levelZoom != 1.0 || from.x + size.width > source.level.m_iWidth ||
        from.y + size.height > source.level.m_iHeight) {
        return false;
    }
    SBxPicBuf level = source.level;
    CBxPicBufAPI::CopyRect3_8(target, level, {band.left, band.top}, from, size);
    return true;
}

// Between pixel centres is mixed; the half pixel at the picture's own border has nothing to be mixed with and is drawn
// plainly. `band` is a range of whole rows.
void DrawBand(SBxPicBuf& target, const CBxRect<int>& band, const SFrameSource& source) {
    if (CopyBand(target, band, source)) {
        return;
    }
    if (source.isCrisp) {
        CBxPicBufAPI::Transform(target, band, source.level, source.map, EBxInterpolation::kConstant, true);
        return;
    }
    const int border = static_cast<int>(std::ceil(source.levelZoom)) + 1;
    const CBxRect<int> inner{std::min(border, target.m_iWidth), std::max(band.top, border),
                             std::max(target.m_iWidth - border, 0), std::min(band.bottom, target.m_iHeight - border)};
    if (inner.IsEmpty()) {
        CBxPicBufAPI::Transform(target, band, source.level, source.map, EBxInterpolation::kConstant, true);
    } else {
        CBxPicBufAPI::Transform(target, band, inner, source.level, source.map, EBxInterpolation::kConstant, true);
    }
    CBxPicBufAPI::Transform(target, band, source.level, source.map, EBxInterpolation::kBilinear, true);
}

// Three bytes become four; the order of blue, green and red is that of the image already.
// `corner` is where the first pixel goes.
void CopyToFrame(uchar* corner, qsizetype stride, const SBxPicBuf& pixels, const CBxRect<int>& band) {
    for (int y = band.top; y < band.bottom; ++y) {
        const unsigned char* from = BX_PicRow<unsigned char>(pixels, y);
        QRgb* to = reinterpret_cast<QRgb*>(corner + y * stride);
        for (int x = 0; x < pixels.m_iWidth; ++x, from += 3) {
            to[x] = 0xFF000000u | static_cast<QRgb>(from[2] << 16) | static_cast<QRgb>(from[1] << 8) | from[0];
        }
    }
}

// Calls `work(first row, end row)` for bands that together are all rows, on several threads where there are several
// processors. A thread that cannot be started leaves its band to this one.
template <typename Work>
void RunInBands(int rows, Work work) {
    const unsigned int processors = std::clamp(std::thread::hardware_concurrency(), 1U, kMostBands);
    const int bands = std::clamp(rows / kFewestRowsOfBand, 1, static_cast<int>(processors));
    std::vector<std::thread> threads;
    for (int i = 1; i < bands; ++i) {
        const int first = rows * i / bands;
        const int end = rows * (i + 1) / bands;
        try {
            threads.emplace_back(work, first, end);
        } catch (const std::system_error&) {
            work(first, end);
        }
    }
    work(0, rows / bands);
    for (std::thread& thread : threads) {
        thread.join();
    }
}

}  // namespace

const QImage& CBxViewRenderer::Render(const CBxPicturePyramid& pyramid, const SBxViewGeometry& geometry,
                                      QRgb surround) {
    const QSize size(geometry.m_View.width, geometry.m_View.height);
    if (m_Frame.size() != size) {
        m_Frame = QImage(size, QImage::Format_RGB32);
    }
    if (m_Frame.isNull()) {
        return m_Frame;
    }
    const CBxRect<int> drawn = geometry.DrawnRectangle();
    const bool coversView = drawn == CBxRect<int>{0, 0, size.width(), size.height()};
    if (!coversView) {
        m_Frame.fill(surround);
    }
    if (pyramid.IsEmpty() || drawn.IsEmpty()) {
        return m_Frame;
    }
    if (m_Pixels->m_iWidth != drawn.Width() || m_Pixels->m_iHeight != drawn.Height()) {
        if (m_Pixels.Allocate(drawn.Width(), drawn.Height(), 3, 8) != kBxSuccess) {
            m_Pixels.Free();
            m_Frame.fill(surround);
            return m_Frame;
        }
        CBxPicBufAPI::Zero(m_Pixels.Pic());
    }
    const SFrameSource source = SourceOf(pyramid, geometry);
    const qsizetype stride = m_Frame.bytesPerLine();
    uchar* const corner = m_Frame.bits() + drawn.top * stride + qsizetype{4} * drawn.left;
    RunInBands(drawn.Height(), [this, &source, &drawn, corner, stride](int first, int end) {
        const CBxRect<int> band{0, first, drawn.Width(), end};
        DrawBand(m_Pixels.Pic(), band, source);
        CopyToFrame(corner, stride, m_Pixels.Pic(), band);
    });
    return m_Frame;
}
