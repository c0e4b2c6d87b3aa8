#include <algorithm>
#include <cmath>
#include <cstdint>

#include "pic_buf_api.h"
#include "pic_format.h"

namespace {

// Beyond this, the weight of the general case would leave the integers; far outside the meaning of a share.
constexpr double kMostTransparency = 10000.0;

// Calls blend(d, s) for every pair of pixels of the rectangle and stores what it returns.
template <typename T, typename Blend>
void BlendRect(SBxPicBuf& dst, const SBxPicBuf& src, const CBxRect<int>& rect, Blend blend) {
    for (int y = rect.top; y < rect.bottom; ++y) {
        const T* from = BX_PicRow<T>(src, y);
        T* to = BX_PicRow<T>(dst, y);
        for (int x = rect.left; x < rect.right; ++x) {
            to[x] = static_cast<T>(blend(to[x], from[x]));
        }
    }
}

// Share of the source in 256ths.
int QuantisedWeight(double transparency) {
    return static_cast<int>((1.0 - transparency) * 256.0 + 0.5);
}

// Whether blending has anything to do; false for values that are no number as well.
bool IsBlend(const CBxRect<int>& rect, double transparency) {
    return !rect.IsEmpty() && std::abs(transparency) <= kMostTransparency && transparency != 1.0;
}

}  // namespace

void CBxPicBufAPI::TransparentCopy1_8(SBxPicBuf& dst, const SBxPicBuf& src, const CBxRect<int>& rect,
                                      double transparency) {
    using Byte = std::uint8_t;
    if (!IsBlend(rect, transparency)) {
        return;
    }
    if (transparency == 0.0) {
        Copy1_8(dst, src, rect);
    } else if (transparency == 0.25) {
        BlendRect<Byte>(dst, src, rect, [](int d, int s) { return s + ((d - s) >> 2); });
    } else if (transparency == 0.5) {
        BlendRect<Byte>(dst, src, rect, [](int d, int s) { return (d + s) >> 1; });
    } else if (transparency == 0.75) {
        BlendRect<Byte>(dst, src, rect, [](int d, int s) { return d + ((s - d) >> 2); });
    } else {
        const int weight = QuantisedWeight(transparency);
        BlendRect<Byte>(dst, src, rect, [weight](int d, int s) { return d + (((s - d) * weight) >> 8); });
    }
}

void CBxPicBufAPI::TransparentCopy1_D(SBxPicBuf& dst, const SBxPicBuf& src, const CBxRect<int>& rect,
                                      double transparency) {
    if (!IsBlend(rect, transparency)) {
        return;
    }
    if (transparency == 0.0) {
        Copy1_D(dst, src, rect);
    } else if (transparency == 0.25) {
        BlendRect<double>(dst, src, rect, [](double d, double s) { return s + (d - s) * 0.25; });
    } else if (transparency == 0.5) {
        BlendRect<double>(dst, src, rect, [](double d, double s) { return (d + s) * 0.5; });
    } else if (transparency == 0.75) {
        BlendRect<double>(dst, src, rect, [](double d, double s) { return d + (s - d) * 0.25; });
    } else {
        const double weight = QuantisedWeight(transparency);
        BlendRect<double>(dst, src, rect, [weight](double d, double s) { return d + (s - d) * weight / 256.0; });
    }
}

void CBxPicBufAPI::TransparentCopy(SBxPicBuf& dst, const SBxPicBuf& src, const CBxRect<int>& rect,
                                   double transparency) {
    switch (BX_CommonFormat(dst, src)) {
        case EBxFormat::k1_8:
            return TransparentCopy1_8(dst, src, rect, transparency);
        case EBxFormat::k1_D:
            return TransparentCopy1_D(dst, src, rect, transparency);
        default:
            return;
    }
}

void CBxPicBufAPI::Plus1_8(SBxPicBuf& dst, SBxPicBuf& src) {
    BlendRect<std::uint8_t>(dst, src, {0, 0, dst.m_iWidth, dst.m_iHeight},
                            [](int d, int s) { return std::min(d + s, 255); });
}

void CBxPicBufAPI::Plus1_D(SBxPicBuf& dst, SBxPicBuf& src) {
    BlendRect<double>(dst, src, {0, 0, dst.m_iWidth, dst.m_iHeight}, [](double d, double s) { return d + s; });
}

void CBxPicBufAPI::Plus(SBxPicBuf& dst, SBxPicBuf& src) {
    switch (BX_CommonFormat(dst, src)) {
        case EBxFormat::k1_8:
            return Plus1_8(dst, src);
        case EBxFormat::k1_D:
            return Plus1_D(dst, src);
        default:
            return;
    }
}
