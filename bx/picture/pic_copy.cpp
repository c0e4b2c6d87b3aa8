#include <cstring>

#include "pic_buf_api.h"
#include "pic_format.h"

namespace {

unsigned char* PixelAt(SBxPicBuf& pic, int x, int y, int bytesPerPixel) {
    return BX_PicRow<unsigned char>(pic, y) + static_cast<std::int64_t>(x) * bytesPerPixel;
}

const unsigned char* PixelAt(const SBxPicBuf& pic, int x, int y, int bytesPerPixel) {
    return BX_PicRow<unsigned char>(pic, y) + static_cast<std::int64_t>(x) * bytesPerPixel;
}

void CopyBlock(SBxPicBuf& dst, const SBxPicBuf& src, const CBxPoint<int>& dstPos, const CBxPoint<int>& srcPos,
               const CBxSize<int>& size, int bytesPerPixel) {
    if (size.width <= 0 || size.height <= 0) {
        return;
    }
    const std::size_t rowBytes = static_cast<std::size_t>(size.width) * bytesPerPixel;
    for (int row = 0; row < size.height; ++row) {
        std::memcpy(PixelAt(dst, dstPos.x, dstPos.y + row, bytesPerPixel),
                    PixelAt(src, srcPos.x, srcPos.y + row, bytesPerPixel), rowBytes);
    }
}

void CopyToCorner(SBxPicBuf& dst, const SBxPicBuf& src, const CBxRect<int>& rect, int bytesPerPixel) {
    if (!rect.IsEmpty()) {
        CopyBlock(dst, src, {0, 0}, {rect.left, rect.top}, {rect.Width(), rect.Height()}, bytesPerPixel);
    }
}

// The order of the rows keeps rows that are still to be read from being overwritten.
void MoveBlock(SBxPicBuf& pic, const CBxPoint<int>& dstPos, const CBxPoint<int>& srcPos, const CBxSize<int>& size,
               int bytesPerPixel) {
    if (size.width <= 0 || size.height <= 0 || dstPos == srcPos) {
        return;
    }
    const std::size_t rowBytes = static_cast<std::size_t>(size.width) * bytesPerPixel;
    const bool bottomUp = dstPos.y > srcPos.y;
    for (int step = 0; step < size.height; ++step) {
        const int row = bottomUp ? size.height - 1 - step : step;
        std::memmove(PixelAt(pic, dstPos.x, dstPos.y + row, bytesPerPixel),
                     PixelAt(pic, srcPos.x, srcPos.y + row, bytesPerPixel), rowBytes);
    }
}

void FillBlock(SBxPicBuf& pic, const CBxRect<int>& rect, unsigned char value, int bytesPerPixel) {
    if (rect.IsEmpty()) {
        return;
    }
    const std::size_t rowBytes = static_cast<std::size_t>(rect.Width()) * bytesPerPixel;
    for (int row = rect.top; row < rect.bottom; ++row) {
        std::memset(PixelAt(pic, rect.left, row, bytesPerPixel), value, rowBytes);
    }
}

}  // namespace

void CBxPicBufAPI::Copy1_8(SBxPicBuf& dst, const SBxPicBuf& src, const CBxRect<int>& rect) {
    CopyToCorner(dst, src, rect, 1);
}

void CBxPicBufAPI::Copy3_8(SBxPicBuf& dst, const SBxPicBuf& src, const CBxRect<int>& rect) {
    CopyToCorner(dst, src, rect, 3);
}

void CBxPicBufAPI::Copy1_F(SBxPicBuf& dst, const SBxPicBuf& src, const CBxRect<int>& rect) {
    CopyToCorner(dst, src, rect, 4);
}

void CBxPicBufAPI::Copy3_F(SBxPicBuf& dst, const SBxPicBuf& src, const CBxRect<int>& rect) {
    CopyToCorner(dst, src, rect, 12);
}

void CBxPicBufAPI::Copy1_D(SBxPicBuf& dst, const SBxPicBuf& src, const CBxRect<int>& rect) {
    CopyToCorner(dst, src, rect, 8);
}

void CBxPicBufAPI::Copy(SBxPicBuf& dst, const SBxPicBuf& src, const CBxRect<int>& rect) {
    switch (BX_CommonFormat(dst, src)) {
        case EBxFormat::k1_8:
            return Copy1_8(dst, src, rect);
        case EBxFormat::k3_8:
            return Copy3_8(dst, src, rect);
        case EBxFormat::k1_F:
            return Copy1_F(dst, src, rect);
        case EBxFormat::k3_F:
            return Copy3_F(dst, src, rect);
        case EBxFormat::k1_D:
            return Copy1_D(dst, src, rect);
        default:
            return;
    }
}

void CBxPicBufAPI::Copy(SBxPicBuf& dst, const SBxPicBuf& src, const CBxRect<int>& outer, const CBxRect<int>& inner) {
    Copy(dst, src, CBxRect<int>{outer.left, outer.top, outer.right, inner.top});
    Copy(dst, src, CBxRect<int>{outer.left, inner.bottom, outer.right, outer.bottom});
    Copy(dst, src, CBxRect<int>{outer.left, inner.top, inner.left, inner.bottom});
    Copy(dst, src, CBxRect<int>{inner.right, inner.top, outer.right, inner.bottom});
}

void CBxPicBufAPI::CopyRect1_8(SBxPicBuf& dst, SBxPicBuf& src, const CBxPoint<int>& dstPos, const CBxPoint<int>& srcPos,
                               const CBxSize<int>& size) {
    CopyBlock(dst, src, dstPos, srcPos, size, 1);
}

void CBxPicBufAPI::CopyRect3_8(SBxPicBuf& dst, SBxPicBuf& src, const CBxPoint<int>& dstPos, const CBxPoint<int>& srcPos,
                               const CBxSize<int>& size) {
    CopyBlock(dst, src, dstPos, srcPos, size, 3);
}

void CBxPicBufAPI::CopyRect1_16(SBxPicBuf& dst, SBxPicBuf& src, const CBxPoint<int>& dstPos,
                                const CBxPoint<int>& srcPos, const CBxSize<int>& size) {
    CopyBlock(dst, src, dstPos, srcPos, size, 2);
}

void CBxPicBufAPI::CopyRect1_F(SBxPicBuf& dst, SBxPicBuf& src, const CBxPoint<int>& dstPos, const CBxPoint<int>& srcPos,
                               const CBxSize<int>& size) {
    CopyBlock(dst, src, dstPos, srcPos, size, 4);
}

void CBxPicBufAPI::CopyRect1_D(SBxPicBuf& dst, SBxPicBuf& src, const CBxPoint<int>& dstPos, const CBxPoint<int>& srcPos,
                               const CBxSize<int>& size) {
    CopyBlock(dst, src, dstPos, srcPos, size, 8);
}

void CBxPicBufAPI::CopyRect(SBxPicBuf& dst, SBxPicBuf& src, const CBxPoint<int>& dstPos, const CBxPoint<int>& srcPos,
                            const CBxSize<int>& size) {
    const EBxFormat format = BX_CommonFormat(dst, src);
    if (format == EBxFormat::k1_16) {
        CopyRect1_16(dst, src, dstPos, srcPos, size);  // goes on to the other formats, none of which is its own
    }
    switch (format) {
        case EBxFormat::k1_8:
            return CopyRect1_8(dst, src, dstPos, srcPos, size);
        case EBxFormat::k3_8:
            return CopyRect3_8(dst, src, dstPos, srcPos, size);
        case EBxFormat::k1_F:
            return CopyRect1_F(dst, src, dstPos, srcPos, size);
        case EBxFormat::k1_D:
            return CopyRect1_D(dst, src, dstPos, srcPos, size);
        default:
            return;
    }
}

void CBxPicBufAPI::Copy1_8(SBxPicBuf& pic, const CBxPoint<int>& dstPos, const CBxPoint<int>& srcPos,
                           const CBxSize<int>& size) {
    MoveBlock(pic, dstPos, srcPos, size, 1);
}

void CBxPicBufAPI::Copy1_D(SBxPicBuf& pic, const CBxPoint<int>& dstPos, const CBxPoint<int>& srcPos,
                           const CBxSize<int>& size) {
    MoveBlock(pic, dstPos, srcPos, size, 8);
}

void CBxPicBufAPI::Copy(SBxPicBuf& pic, const CBxPoint<int>& dstPos, const CBxPoint<int>& srcPos,
                        const CBxSize<int>& size) {
    switch (BX_FormatOf(pic)) {
        case EBxFormat::k1_8:
            return Copy1_8(pic, dstPos, srcPos, size);
        case EBxFormat::k1_D:
            return Copy1_D(pic, dstPos, srcPos, size);
        default:
            return;
    }
}

void CBxPicBufAPI::SetConst1_8(SBxPicBuf& pic, const CBxRect<int>& rect, unsigned char value) {
    FillBlock(pic, rect, value, 1);
}

void CBxPicBufAPI::SetConst3_8(SBxPicBuf& pic, const CBxRect<int>& rect, unsigned char value) {
    FillBlock(pic, rect, value, 3);
}

void CBxPicBufAPI::SetConst1_D(SBxPicBuf& pic, const CBxRect<int>& rect, unsigned char value) {
    FillBlock(pic, rect, value, 8);
}

void CBxPicBufAPI::SetConst(SBxPicBuf& pic, const CBxRect<int>& rect, unsigned char value) {
    switch (BX_FormatOf(pic)) {
        case EBxFormat::k1_8:
            return SetConst1_8(pic, rect, value);
        case EBxFormat::k3_8:
            return SetConst3_8(pic, rect, value);
        case EBxFormat::k1_D:
            return SetConst1_D(pic, rect, value);
        default:
            return;
    }
}

void CBxPicBufAPI::Zero(SBxPicBuf& pic, const CBxRect<int>& rect) {
    SetConst(pic, rect, 0);
}
