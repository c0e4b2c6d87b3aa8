#include <array>
#include <cmath>
#include <limits>

#include "draw_parts.h"
#include "pic_buf_api.h"
#include "pic_format.h"

namespace {

using Point = CBxPoint<int>;

int RoundedInt(double value) {
    constexpr double kLeast = std::numeric_limits<int>::min();
    constexpr double kMost = std::numeric_limits<int>::max();
    return static_cast<int>(std::clamp(value + 0.5, kLeast, kMost));
}

// One segment, from p1 to p2.
class CBxSplineSegment {
public:
    CBxSplineSegment(const Point& p0, const Point& p1, const Point& p2, const Point& p3) : m_Points{p0, p1, p2, p3} {
        for (const Point& point : m_Points) {
            const double across = std::abs(static_cast<double>(point.x) - p1.x);
            const double down = std::abs(static_cast<double>(point.y) - p1.y);
            m_dFarthest = std::max({m_dFarthest, across, down});
        }
    }

    CBxSplinePoint At(double t) const {
        const double t2 = t * t;
        const double t3 = t2 * t;
        const double weights[4] = {(-t3 + 2.0 * t2 - t) / 2.0, (3.0 * t3 - 5.0 * t2 + 2.0) / 2.0,
                                   (-3.0 * t3 + 4.0 * t2 + t) / 2.0, (t3 - t2) / 2.0};
        double x = 0.0;
        double y = 0.0;
        for (int k = 0; k < 4; ++k) {
            x += weights[k] * m_Points[k].x;
            y += weights[k] * m_Points[k].y;
        }
        return {RoundedInt(x), RoundedInt(y), t};
    }

    // Whether the curve between two of its points stays out of the picture for certain: from each weight's steepest
    // slope, it moves by less than 4 times the extent of its points while t goes from 0 to 1.
    bool IsOutside(const SBxPicBuf& pic, const CBxSplinePoint& from, const CBxSplinePoint& to) const {
        const double reach = 4.0 * m_dFarthest * (to.t - from.t) + 2.0;
        return from.x + reach < 0.0 || from.x - reach >= pic.m_iWidth || from.y + reach < 0.0 ||
               from.y - reach >= pic.m_iHeight;
    }

private:
    std::array<Point, 4> m_Points;
    double m_dFarthest = 0.0;
};

// The points that are still ahead, the nearest on top. Each is halfway between the current point and the one below, so
// that they are used up (neighbouring doubles are reached) before the array is.
class CBxPendingPoints {
public:
    bool IsEmpty() const { return m_iCount == 0; }
    bool IsFull() const { return m_iCount == m_Points.size(); }
    const CBxSplinePoint& Top() const { return m_Points[m_iCount - 1]; }
    void Push(const CBxSplinePoint& point) { m_Points[m_iCount++] = point; }
    void Pop() { --m_iCount; }

private:
    std::array<CBxSplinePoint, 64> m_Points;
    std::size_t m_iCount = 0;
};

bool Touch(const CBxSplinePoint& one, const CBxSplinePoint& other) {
    const std::int64_t across = static_cast<std::int64_t>(one.x) - other.x;
    const std::int64_t down = static_cast<std::int64_t>(one.y) - other.y;
    return std::abs(across) < 2 && std::abs(down) < 2;
}

void Plot(SBxPicBuf& pic, const CBxSplinePoint& point, unsigned char value) {
    if (BX_IsInside(pic, point.x, point.y)) {
        BX_PicRow<std::uint8_t>(pic, point.y)[point.x] = value;
    }
}

}  // namespace

void CBxPicBufAPI::DrawSplineSegment(SBxPicBuf& pic, const CBxPoint<int>& p0, const CBxPoint<int>& p1,
                                     const CBxPoint<int>& p2, const CBxPoint<int>& p3, const CBxColor& colour) {
    if (BX_FormatOf(pic) != EBxFormat::k1_8) {
        return;
    }
    const unsigned char value = BX_LargestComponent(colour);
    const CBxSplineSegment curve(p0, p1, p2, p3);
    CBxSplinePoint current{p1.x, p1.y, 0.0};
    Plot(pic, current, value);
    CBxPendingPoints pending;
    pending.Push({p2.x, p2.y, 1.0});
    while (!pending.IsEmpty()) {
        const CBxSplinePoint next = pending.Top();
        const double halfway = (current.t + next.t) / 2.0;
        const bool isIndivisible = pending.IsFull() || halfway <= current.t || halfway >= next.t;
        if (Touch(current, next) || isIndivisible || curve.IsOutside(pic, current, next)) {
            Plot(pic, next, value);
            current = next;
            pending.Pop();
        } else {
            pending.Push(curve.At(halfway));
        }
    }
}
