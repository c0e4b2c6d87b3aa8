#include "pic_map.h"

#include <cmath>
#include <limits>

namespace {

constexpr double kPi = 3.141592653589793;

// Truncates toward zero; ends at the limits of int, and at 0 for what is no number.
int SaturatedInt(double value) {
    if (std::isnan(value)) {
        return 0;
    }
    if (value >= std::numeric_limits<int>::max()) {
        return std::numeric_limits<int>::max();
    }
    if (value <= std::numeric_limits<int>::min()) {
        return std::numeric_limits<int>::min();
    }
    return static_cast<int>(value);
}

}  // namespace

void CBxPicMap::Compute(double dstX, double dstY, double srcX, double srcY, double angle, double scale) {
    const double radians = angle / 180.0 * kPi;
    m_dA = std::cos(radians) / scale;
    m_dB = std::sin(radians) / scale;
    m_dX0 = srcX - (dstX * m_dA - dstY * m_dB);
    m_dY0 = srcY - (dstY * m_dA + dstX * m_dB);
}

void CBxPicMap::MapPointDstToSrc(double* sx, double* sy, int dx, int dy) const {
    if (sx != nullptr) {
        *sx = m_dX0 + m_dA * dx - m_dB * dy;
    }
    if (sy != nullptr) {
        *sy = m_dY0 + m_dB * dx + m_dA * dy;
    }
}

void CBxPicMap::MapPointSrcToDst(int* dx, int* dy, double sx, double sy) const {
    const double divisor = m_dA * m_dA + m_dB * m_dB;
    const double fromX = sx - m_dX0;
    const double fromY = sy - m_dY0;
    if (dx != nullptr) {
        *dx = SaturatedInt((m_dA * fromX + m_dB * fromY) / divisor + 0.5);
    }
    if (dy != nullptr) {
        *dy = SaturatedInt((m_dA * fromY - m_dB * fromX) / divisor + 0.5);
    }
}
