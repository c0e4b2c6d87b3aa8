#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "pic_buf_api.h"
#include "pic_format.h"
#include "result.h"

namespace {

// False when the stride or the byte size does not fit its field.
bool ComputeSizes(const SBxPicBuf& buf, std::int32_t& stride, std::uint32_t& byteSize) {
    if (buf.m_iWidth < 0 || buf.m_iHeight < 0 || buf.m_iComponents < 0 || buf.m_iBitsPerComponent < 0) {
        return false;
    }
    constexpr std::int64_t kMostStride = std::numeric_limits<std::int32_t>::max();
    const std::int64_t components = static_cast<std::int64_t>(buf.m_iWidth) * buf.m_iComponents;
    if (components > kMostStride) {
        return false;
    }
    const std::int64_t rowBytes = components * BX_BytesPerComponent(buf);
    if (rowBytes > kMostStride || rowBytes * buf.m_iHeight > std::numeric_limits<std::uint32_t>::max()) {
        return false;
    }
    stride = static_cast<std::int32_t>(rowBytes);
    byteSize = static_cast<std::uint32_t>(rowBytes * buf.m_iHeight);
    return true;
}

// Never null for an empty picture, so that null always means "no pixels could be had".
unsigned char* AllocatePixels(std::uint32_t byteSize) {
    return static_cast<unsigned char*>(std::malloc(byteSize == 0 ? 1 : byteSize));
}

void ReleasePixels(SBxPicBuf& buf) {
    std::free(buf.m_pData);
    buf.m_pData = nullptr;
}

// Bytes from the first to the last pixel. All of an owned picture; less than the byte size that a view inherits.
std::size_t ReachableBytes(const SBxPicBuf& buf) {
    if (buf.m_pData == nullptr || buf.m_iWidth <= 0 || buf.m_iHeight <= 0) {
        return 0;
    }
    const std::int64_t lastRow = static_cast<std::int64_t>(buf.m_iStride) * (buf.m_iHeight - 1);
    const std::int64_t extent = lastRow + buf.m_iWidth * BX_BytesPerPixel(buf);
    return static_cast<std::size_t>(std::clamp<std::int64_t>(extent, 0, buf.m_uiByteSize));
}

void MakeView(SBxPicBuf& view, const SBxPicBuf& src, const CBxRect<int>& rect, int bytesPerPixel) {
    if (rect.IsEmpty()) {
        return;
    }
    SBxPicBuf result = src;
    result.m_pData +=
        static_cast<std::int64_t>(rect.top) * src.m_iStride + static_cast<std::int64_t>(rect.left) * bytesPerPixel;
    result.m_iWidth = rect.Width();
    result.m_iHeight = rect.Height();
    view = result;
}

}  // namespace

void CBxPicBufAPI::Init(SBxPicBuf& buf) {
    buf = SBxPicBuf{};
}

int CBxPicBufAPI::ReinitHeap(SBxPicBuf& buf, int width, int height, int components, int bitsPerComponent) {
    ReleasePixels(buf);
    buf = {nullptr, 0, 0, width, height, components, bitsPerComponent};
    if (ComputeSizes(buf, buf.m_iStride, buf.m_uiByteSize)) {
        buf.m_pData = AllocatePixels(buf.m_uiByteSize);
    }
    return buf.m_pData != nullptr ? kBxSuccess : kBxOutOfMemory;
}

int CBxPicBufAPI::ReinitHeap(SBxPicBuf& buf, const SBxPicBuf& model) {
    // A record whose last allocation failed has a byte size but no pixels to keep.
    if (buf.m_uiByteSize != model.m_uiByteSize || buf.m_pData == nullptr) {
        ReleasePixels(buf);
        buf.m_pData = AllocatePixels(model.m_uiByteSize);
        if (buf.m_pData == nullptr) {
            return kBxOutOfMemory;
        }
    }
    unsigned char* pixels = buf.m_pData;
    buf = model;
    buf.m_pData = pixels;
    return kBxSuccess;
}

void CBxPicBufAPI::DoneHeap(SBxPicBuf& buf) {
    if (buf.m_pData != nullptr) {
        ReleasePixels(buf);
        Init(buf);
    }
}

void CBxPicBufAPI::SetConst(SBxPicBuf& buf, unsigned char value) {
    const std::size_t count = ReachableBytes(buf);
    if (count > 0) {
        std::memset(buf.m_pData, value, count);
    }
}

void CBxPicBufAPI::Zero(SBxPicBuf& buf) {
    SetConst(buf, 0);
}

void CBxPicBufAPI::Copy(SBxPicBuf& dst, const SBxPicBuf& src) {
    const std::size_t count = std::min(ReachableBytes(dst), ReachableBytes(src));
    if (count > 0) {
        std::memmove(dst.m_pData, src.m_pData, count);
    }
}

void CBxPicBufAPI::SubPic1_8(SBxPicBuf& view, const SBxPicBuf& src, const CBxRect<int>& rect) {
    MakeView(view, src, rect, 1);
}

void CBxPicBufAPI::SubPic3_8(SBxPicBuf& view, const SBxPicBuf& src, const CBxRect<int>& rect) {
    MakeView(view, src, rect, 3);
}

void CBxPicBufAPI::SubPic1_D(SBxPicBuf& view, const SBxPicBuf& src, const CBxRect<int>& rect) {
    MakeView(view, src, rect, 8);
}

void CBxPicBufAPI::SubPic(SBxPicBuf& view, const SBxPicBuf& src, const CBxRect<int>& rect) {
    switch (BX_FormatOf(src)) {
        case EBxFormat::k1_8:
            return SubPic1_8(view, src, rect);
        case EBxFormat::k3_8:
            return SubPic3_8(view, src, rect);
        case EBxFormat::k1_D:
            return SubPic1_D(view, src, rect);
        default:
            return;
    }
}
