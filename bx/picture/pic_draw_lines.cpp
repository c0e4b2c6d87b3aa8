#include <cstdlib>

#include "draw_parts.h"
#include "pic_buf_api.h"
#include "pic_format.h"

namespace {

using Point = CBxPoint<std::int64_t>;

// Twice the product of two differences of coordinates takes 65 bits.
using Wide = __int128;

// Walks the points of a line that lie between the two borders of the picture that its major axis crosses. The points
// before are skipped in one step, so that a line costs what is seen of it.
class CBxLineWalk {
public:
    // `majorSize` is the width or the height of the picture, by isVertical.
    CBxLineWalk(const Point& from, const Point& to, bool isVertical, std::int64_t majorSize)
        : m_iMajor(isVertical ? from.y : from.x), m_iMinor(isVertical ? from.x : from.y), m_bVertical(isVertical) {
        const std::int64_t majorDifference = isVertical ? to.y - from.y : to.x - from.x;
        const std::int64_t minorDifference = isVertical ? to.x - from.x : to.y - from.y;
        m_iMajorStep = majorDifference < 0 ? -1 : 1;
        m_iMinorStep = minorDifference < 0 ? -1 : 1;
        m_iLong = std::abs(majorDifference);
        m_iShort = std::abs(minorDifference);
        const std::int64_t toFirstBorder = m_iMajorStep > 0 ? -m_iMajor : m_iMajor - (majorSize - 1);
        const std::int64_t toLastBorder = m_iMajorStep > 0 ? majorSize - 1 - m_iMajor : m_iMajor;
        m_iPoint = std::max<std::int64_t>(0, toFirstBorder);
        m_iLastPoint = std::min(m_iLong, toLastBorder);
        if (!IsAtEnd()) {
            SkipToPoint(m_iPoint);
        }
    }

    bool IsAtEnd() const { return m_iPoint > m_iLastPoint; }

    Point Current() const { return m_bVertical ? Point{m_iMinor, m_iMajor} : Point{m_iMajor, m_iMinor}; }

    void Next() {
        if (m_iError >= 0) {
            m_iError -= 2 * m_iLong;
            m_iMinor += m_iMinorStep;
        }
        m_iError += 2 * m_iShort;
        m_iMajor += m_iMajorStep;
        ++m_iPoint;
    }

private:
    // The error before point k is 2 short (k + 1) - long - 2 long n after n minor steps, and stays in a window of
    // 2 long, which gives n.
    void SkipToPoint(std::int64_t point) {
        const Wide length = m_iLong;
        const Wide climb = 2 * static_cast<Wide>(m_iShort) * point;
        const Wide minorSteps = m_iLong == 0 ? 0 : (climb + length) / (2 * length);
        m_iMajor += m_iMajorStep * point;
        m_iMinor += m_iMinorStep * static_cast<std::int64_t>(minorSteps);
        m_iError = static_cast<std::int64_t>(climb + 2 * m_iShort - length - 2 * length * minorSteps);
    }

    std::int64_t m_iMajor;
    std::int64_t m_iMinor;
    bool m_bVertical;
    std::int64_t m_iMajorStep;
    std::int64_t m_iMinorStep;
    std::int64_t m_iLong;
    std::int64_t m_iShort;
    std::int64_t m_iPoint;
    std::int64_t m_iLastPoint;
    std::int64_t m_iError = 0;
};

// Whether the box of the two end points, widened on all sides, has a pixel of the picture.
bool IsSeen(const SBxPicBuf& pic, const Point& from, const Point& to, std::int64_t margin) {
    return std::max(from.x, to.x) + margin >= 0 && std::min(from.x, to.x) - margin < pic.m_iWidth &&
           std::max(from.y, to.y) + margin >= 0 && std::min(from.y, to.y) - margin < pic.m_iHeight;
}

// Calls visit(point, isVertical) for the points of the line. A diagonal goes along x.
template <typename Visit>
void VisitLine(const SBxPicBuf& pic, const Point& from, const Point& to, Visit visit) {
    const bool isVertical = std::abs(to.x - from.x) < std::abs(to.y - from.y);
    CBxLineWalk walk(from, to, isVertical, isVertical ? pic.m_iHeight : pic.m_iWidth);
    for (; !walk.IsAtEnd(); walk.Next()) {
        visit(walk.Current(), isVertical);
    }
}

}  // namespace

void CBxPicBufAPI::DrawLine(SBxPicBuf& pic, int x0, int y0, int x1, int y1, const CBxColor& colour) {
    const Point from{x0, y0};
    const Point to{x1, y1};
    if (BX_FormatOf(pic) != EBxFormat::k1_8 || !IsSeen(pic, from, to, 0)) {
        return;
    }
    const unsigned char value = BX_LargestComponent(colour);
    const bool isWhole = BX_IsInside(pic, x0, y0) && BX_IsInside(pic, x1, y1);
    VisitLine(pic, from, to, [&](const Point& point, bool) {
        if (isWhole || BX_IsInside(pic, point.x, point.y)) {
            BX_PicRow<std::uint8_t>(pic, static_cast<int>(point.y))[point.x] = value;
        }
    });
}

void CBxPicBufAPI::DrawLine(SBxPicBuf& pic, int x0, int y0, int x1, int y1, int width, const CBxColor& colour) {
    if (width == 1) {
        return DrawLine(pic, x0, y0, x1, y1, colour);
    }
    const Point from{x0, y0};
    const Point to{x1, y1};
    const std::int64_t across = width;
    if (BX_FormatOf(pic) != EBxFormat::k3_8 || width < 1 || !IsSeen(pic, from, to, across - 1)) {
        return;
    }
    VisitLine(pic, from, to, [&](const Point& point, bool isVertical) {
        const auto [x, y] = point;
        BX_FillClipped(pic,
                       isVertical ? SBxWideRect{x - across + 1, y, x + across, y + 1}
                                  : SBxWideRect{x, y - across + 1, x + 1, y + across},
                       colour);
    });
}
