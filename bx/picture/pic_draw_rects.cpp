#include "draw_parts.h"
#include "pic_buf_api.h"
#include "pic_format.h"

namespace {

// The band of `width` pixels around a rectangle.
void FillBorder(SBxPicBuf& pic, const SBxWideRect& rect, std::int64_t width, const CBxColor& colour) {
    const std::int64_t left = rect.left - width;
    const std::int64_t right = rect.right + width;
    BX_FillClipped(pic, {left, rect.top - width, right, rect.top}, colour);
    BX_FillClipped(pic, {left, rect.bottom, right, rect.bottom + width}, colour);
    BX_FillClipped(pic, {left, rect.top, rect.left, rect.bottom}, colour);
    BX_FillClipped(pic, {rect.right, rect.top, right, rect.bottom}, colour);
}

}  // namespace

void BX_FillClipped(SBxPicBuf& pic, const SBxWideRect& rect, const CBxColor& colour) {
    const std::int64_t left = std::max<std::int64_t>(rect.left, 0);
    const std::int64_t right = std::min<std::int64_t>(rect.right, pic.m_iWidth);
    const std::int64_t top = std::max<std::int64_t>(rect.top, 0);
    const std::int64_t bottom = std::min<std::int64_t>(rect.bottom, pic.m_iHeight);
    for (std::int64_t y = top; y < bottom; ++y) {
        std::uint8_t* row = BX_PicRow<std::uint8_t>(pic, static_cast<int>(y));
        for (std::int64_t x = left; x < right; ++x) {
            row[3 * x] = colour.blue;
            row[3 * x + 1] = colour.green;
            row[3 * x + 2] = colour.red;
        }
    }
}

void CBxPicBufAPI::FillRect(SBxPicBuf& pic, const CBxRect<int>& rect, const CBxColor& colour) {
    if (BX_FormatOf(pic) == EBxFormat::k3_8) {
        BX_FillClipped(pic, {rect.left, rect.top, rect.right, rect.bottom}, colour);
    }
}

void CBxPicBufAPI::DrawRectBorder(SBxPicBuf& pic, const CBxRect<int>& rect, int width, const CBxColor& colour) {
    if (BX_FormatOf(pic) == EBxFormat::k3_8 && !rect.IsEmpty() && width > 0) {
        FillBorder(pic, {rect.left, rect.top, rect.right, rect.bottom}, width, colour);
    }
}

void CBxPicBufAPI::DrawRectPoint(SBxPicBuf& pic, int x, int y, int radius, int width, const CBxColor& fill,
                                 const CBxColor& border) {
    const std::int64_t reach = radius;
    const SBxWideRect square{x - reach + 1, y - reach + 1, x + reach, y + reach};
    if (BX_FormatOf(pic) != EBxFormat::k3_8 || square.IsEmpty()) {
        return;
    }
    BX_FillClipped(pic, square, fill);
    if (width > 0) {
        FillBorder(pic, square, width, border);
    }
}
