// What the drawing operations share. Coordinates are 64 bits wide, so that a widened rectangle cannot overflow.
#pragma once

#include <algorithm>
#include <cstdint>

#include "geometry.h"
#include "pic_buf.h"

using SBxWideRect = CBxRect<std::int64_t>;

// What drawing writes into 1_8 pictures.
inline unsigned char BX_LargestComponent(const CBxColor& colour) {
    return std::max({colour.red, colour.green, colour.blue});
}

inline bool BX_IsInside(const SBxPicBuf& pic, std::int64_t x, std::int64_t y) {
    return x >= 0 && y >= 0 && x < pic.m_iWidth && y < pic.m_iHeight;
}

// Fills the part of the rectangle that lies in the picture, which is 3_8.
void BX_FillClipped(SBxPicBuf& pic, const SBxWideRect& rect, const CBxColor& colour);
