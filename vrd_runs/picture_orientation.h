// The eight ways in which a camera may have been held, numbered as in EXIF: 1 is upright.
#pragma once

#include "geometry.h"
#include "owned_pic.h"

inline constexpr int kUpright = 1;

// What the EXIF data of a JPEG say about it; upright for every other file and every other value.
int BX_ReadOrientation(const char* fileName);

// Whether width and height change places when the picture is put upright.
bool BX_SwapsSides(int orientation);

// Puts a 3_8 picture upright in `target`. 0, or 6 without memory.
[[nodiscard]] unsigned char BX_PutUpright(CBxOwnedPic& target, const SBxPicBuf& stored, int orientation);

// Where a point of the stored picture, whose size is `stored`, is in the upright one. Pixel (0, 0) covers 0 to 1.
CBxPoint<double> BX_PutUpright(const CBxPoint<double>& point, CBxSize<int> stored, int orientation);
