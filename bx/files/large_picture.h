// Photographs that are larger than the engine searches.
//
// The engine skips every zoom whose scaled picture exceeds 20,000,000 pixels. Its smallest zoom is 0.90, so above
// 24,691,358 pixels it would search nothing at all. Callers then search a smaller copy and give the finding in pixels
// of the original.
#pragma once

#include <cstdint>

#include "geometry.h"
#include "owned_pic.h"
#include "pic_buf.h"

inline constexpr std::int64_t kMostPixelsOfZoom = 20'000'000;    // of the scaled picture
inline constexpr std::int64_t kMostPixelsSearched = 24'691'358;  // of a picture that is searched at zoom 0.90
inline constexpr std::int64_t kMostPixelsSigned = 40'000'000;

// The largest zoom up to 1.0 (1.0, 0.95 or 0.90) that the engine searches in a picture of this size; 0.0 when there is
// none. A saved picture is checked at this zoom.
double BX_GetCheckZoom(int width, int height);

// Whether a detection needs a smaller copy.
bool BX_IsTooLargeToSearch(int width, int height);

// The largest size of the same shape with at most `mostPixels` pixels; the size itself when it is small enough.
CBxSize<int> BX_GetFittingSize(int width, int height, std::int64_t mostPixels);

// Shrinks a 3_8 picture into `target`, with a Lanczos filter of three lobes: it keeps corners sharp, so that a sign is
// found in twice as many shrunk photographs as after averaging areas. The target size must be positive and no larger
// than the source. Returns 0, 1 for another format or size, 6 without memory.
[[nodiscard]] unsigned char BX_ShrinkPicture(CBxOwnedPic& target, const SBxPicBuf& source, CBxSize<int> size);

// Takes a rectangle from a picture of size `from` to the same place in one of size `to`.
CBxRect<double> BX_MapRectangle(const CBxRect<double>& rectangle, CBxSize<int> from, CBxSize<int> to);

// The smallest rectangle of whole pixels that covers `rectangle`, clipped to the picture.
CBxRect<int> BX_GetCoveringPixels(const CBxRect<double>& rectangle, CBxSize<int> picture);
