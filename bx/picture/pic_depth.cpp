#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <utility>

#include "owned_pic.h"
#include "pic_buf_api.h"
#include "pic_format.h"
#include "result.h"

namespace {

// Copies the components that both pictures have, each through convert(value).
template <typename To, typename From, typename Convert>
void CopyComponents(SBxPicBuf& dst, const SBxPicBuf& src, Convert convert) {
    const std::int64_t count = static_cast<std::int64_t>(src.m_iWidth) * std::min(dst.m_iComponents, src.m_iComponents);
    for (int y = 0; y < src.m_iHeight; ++y) {
        const From* from = BX_PicRow<From>(src, y);
        To* to = BX_PicRow<To>(dst, y);
        for (std::int64_t index = 0; index < count; ++index) {
            to[index] = static_cast<To>(convert(static_cast<unsigned int>(from[index])));
        }
    }
}

int ShiftBetween(const SBxPicBuf& dst, const SBxPicBuf& src) {
    return std::min(std::abs(dst.m_iComponents - src.m_iComponents), 31);
}

// Depths whose components are read as 8-bit or 16-bit integers.
bool IsIntegerDepth(std::int64_t bitsPerComponent) {
    return bitsPerComponent >= 8 && bitsPerComponent <= 16;
}

// Brings the components of `src` to the count of `dst`, which has the same size and depth.
void ChangeComponents(SBxPicBuf& dst, const SBxPicBuf& src) {
    const bool isByte = src.m_iBitsPerComponent == 8;
    if (dst.m_iComponents == src.m_iComponents) {
        CBxPicBufAPI::Copy(dst, src);
    } else if (dst.m_iComponents == 1) {
        isByte ? CBxPicBufAPI::ConvertToIntensity_x8(dst, src) : CBxPicBufAPI::ConvertToIntensity_x16(dst, src);
    } else {
        isByte ? CBxPicBufAPI::ExpandComponents_x8(dst, src) : CBxPicBufAPI::ExpandComponents_x16(dst, src);
    }
}

// Brings the values of `src` to the depth of `dst`, which has another one and the same size and count.
void ChangeDepth(SBxPicBuf& dst, const SBxPicBuf& src) {
    if (dst.m_iBitsPerComponent == 8) {
        CBxPicBufAPI::ChangeBpcBuff16x8(dst, src);
    } else if (src.m_iBitsPerComponent == 8) {
        CBxPicBufAPI::ChangeBpcBuff8x16(dst, src);
    } else {
        CBxPicBufAPI::ChangeBpcBuff16x16(dst, src);
    }
}

}  // namespace

void CBxPicBufAPI::ChangeBpcBuff8x16(SBxPicBuf& dst, const SBxPicBuf& src) {
    const int shift = ShiftBetween(dst, src);
    CopyComponents<std::uint16_t, std::uint8_t>(dst, src, [shift](unsigned int value) { return value << shift; });
}

void CBxPicBufAPI::ChangeBpcBuff16x8(SBxPicBuf& dst, const SBxPicBuf& src) {
    const int shift = ShiftBetween(dst, src);
    CopyComponents<std::uint8_t, std::uint16_t>(dst, src, [shift](unsigned int value) { return value >> shift; });
}

void CBxPicBufAPI::ChangeBpcBuff16x16(SBxPicBuf& dst, const SBxPicBuf& src) {
    const int shift = ShiftBetween(dst, src);
    const bool toLeft = dst.m_iBitsPerComponent > src.m_iBitsPerComponent;
    CopyComponents<std::uint16_t, std::uint16_t>(
        dst, src, [shift, toLeft](unsigned int value) { return toLeft ? value << shift : value >> shift; });
}

int CBxPicBufAPI::ConvertBpcComp(SBxPicBuf& pic, unsigned int bitsPerComponent, unsigned int components) {
    const bool sameCount = static_cast<unsigned int>(pic.m_iComponents) == components;
    const bool sameDepth = static_cast<unsigned int>(pic.m_iBitsPerComponent) == bitsPerComponent;
    if (!sameCount && (pic.m_iComponents != 1 && components != 1)) {
        return kBxFailure;
    }
    const bool integers = IsIntegerDepth(pic.m_iBitsPerComponent) && IsIntegerDepth(bitsPerComponent);
    if (components == 0 || pic.m_iComponents <= 0 || (!integers && !(sameCount && sameDepth))) {
        return kBxFailure;
    }
    CBxOwnedPic scratch;
    int result = scratch.Allocate(pic.m_iWidth, pic.m_iHeight, static_cast<int>(components), pic.m_iBitsPerComponent);
    if (result != kBxSuccess) {
        return result;
    }
    ChangeComponents(scratch.Pic(), pic);
    if (!sameDepth) {
        CBxOwnedPic converted;
        result = converted.Allocate(pic.m_iWidth, pic.m_iHeight, static_cast<int>(components),
                                    static_cast<int>(bitsPerComponent));
        if (result != kBxSuccess) {
            return result;
        }
        ChangeDepth(converted.Pic(), scratch.Pic());
        scratch = std::move(converted);
    }
    std::swap(pic, scratch.Pic());  // the old pixels go with the scratch picture
    return kBxSuccess;
}
