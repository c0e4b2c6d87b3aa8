#include <algorithm>
#include <cstdint>
#include <limits>

#include "pic_buf_api.h"
#include "pic_format.h"

namespace {

constexpr double kRedShare = 0.299;
constexpr double kGreenShare = 0.587;
constexpr double kBlueShare = 0.114;

// How much of a colour difference is stored, and what brings it back.
constexpr double kRedDifference = 0.713;
constexpr double kBlueDifference = 0.564;
constexpr double kRedDifferenceBack = 1.402524544179523;
constexpr double kBlueDifferenceBack = 1.773049645390071;
constexpr double kGreenBack = 1.7035775127768313;

constexpr int kNoDifference = 128;

template <typename T>
T Clamped(int value) {
    return static_cast<T>(std::clamp<int>(value, 0, std::numeric_limits<T>::max()));
}

template <typename T>
void PixelToYuv(T* to, const T* from) {
    const int blue = from[0];
    const int green = from[1];
    const int red = from[2];
    const int luma = Clamped<T>(static_cast<int>(kRedShare * red + kGreenShare * green + kBlueShare * blue + 0.5));
    // Not rounded by a half, unlike the luma.
    to[0] = static_cast<T>(luma);
    to[1] = Clamped<T>(static_cast<int>((red - luma) * kRedDifference + kNoDifference));
    to[2] = Clamped<T>(static_cast<int>((blue - luma) * kBlueDifference + kNoDifference));
}

template <typename T>
void PixelToRgb(T* to, const T* from) {
    const int luma = from[0];
    const int red = static_cast<int>((from[1] - kNoDifference) * kRedDifferenceBack + luma + 0.5);
    const int blue = static_cast<int>((from[2] - kNoDifference) * kBlueDifferenceBack + luma + 0.5);
    const int green = static_cast<int>((luma - kBlueShare * blue - kRedShare * red) * kGreenBack + 0.5);
    to[0] = Clamped<T>(blue);
    to[1] = Clamped<T>(green);
    to[2] = Clamped<T>(red);
}

template <typename T>
void ConvertPixels(SBxPicBuf& dst, const SBxPicBuf& src, void (*convert)(T*, const T*)) {
    if (dst.m_iComponents != 3 || src.m_iComponents != 3) {
        return;
    }
    for (int y = 0; y < src.m_iHeight; ++y) {
        const T* from = BX_PicRow<T>(src, y);
        T* to = BX_PicRow<T>(dst, y);
        for (int x = 0; x < src.m_iWidth; ++x, from += 3, to += 3) {
            convert(to, from);
        }
    }
}

// The depth that both pictures have, 0 when they differ.
int CommonDepth(const SBxPicBuf& dst, const SBxPicBuf& src) {
    return dst.m_iBitsPerComponent == src.m_iBitsPerComponent ? dst.m_iBitsPerComponent : 0;
}

}  // namespace

void CBxPicBufAPI::ConvertRGBtoYUV_x8(SBxPicBuf& dst, const SBxPicBuf& src) {
    ConvertPixels<std::uint8_t>(dst, src, PixelToYuv);
}

void CBxPicBufAPI::ConvertRGBtoYUV_x16(SBxPicBuf& dst, const SBxPicBuf& src) {
    ConvertPixels<std::uint16_t>(dst, src, PixelToYuv);
}

void CBxPicBufAPI::ConvertRGBtoYUV(SBxPicBuf& dst, const SBxPicBuf& src) {
    switch (CommonDepth(dst, src)) {
        case 8:
            return ConvertRGBtoYUV_x8(dst, src);
        case 16:
            return ConvertRGBtoYUV_x16(dst, src);
        default:
            return;
    }
}

void CBxPicBufAPI::ConvertYUVtoRGB_x8(SBxPicBuf& dst, const SBxPicBuf& src) {
    ConvertPixels<std::uint8_t>(dst, src, PixelToRgb);
}

void CBxPicBufAPI::ConvertYUVtoRGB_x16(SBxPicBuf& dst, const SBxPicBuf& src) {
    ConvertPixels<std::uint16_t>(dst, src, PixelToRgb);
}

void CBxPicBufAPI::ConvertYUVtoRGB(SBxPicBuf& dst, const SBxPicBuf& src) {
    switch (CommonDepth(dst, src)) {
        case 8:
            return ConvertYUVtoRGB_x8(dst, src);
        case 16:
            return ConvertYUVtoRGB_x16(dst, src);
        default:
            return;
    }
}
