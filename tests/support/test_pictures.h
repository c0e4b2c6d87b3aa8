// Pictures made in code for tests.
#pragma once

#include <cstdint>
#include <random>

#include "owned_pic.h"

// A 3_8 picture of overlapping rectangles, discs and soft noise: enough corners in the dark and in the bright half for
// a sign to hold on to. The same seed gives the same picture on every machine.
inline CBxOwnedPic MakeTexturedPicture(int width, int height, std::uint32_t seed) {
    CBxOwnedPic picture;
    if (picture.Allocate(width, height, 3, 8) != 0) {
        return picture;
    }
    CBxPicBufAPI::SetConst(picture.Pic(), 110);
    std::mt19937 random(seed);
    const auto draw = [&random](int count) { return static_cast<int>(random() % static_cast<std::uint32_t>(count)); };
    const int shapes = 30 + width * height / 9000;
    for (int shape = 0; shape < shapes; ++shape) {
        const int left = draw(width);
        const int top = draw(height);
        const int size = 8 + draw(60);
        const bool disc = draw(3) == 0;
        const int colour[3] = {20 + draw(215), 20 + draw(215), 20 + draw(215)};
        for (int y = top; y < height && y < top + size; ++y) {
            unsigned char* row = BX_PicRow<unsigned char>(picture.Pic(), y);
            for (int x = left; x < width && x < left + size; ++x) {
                const int dx = 2 * (x - left) - size;
                const int dy = 2 * (y - top) - size;
                for (int component = 0; component < 3 && (!disc || dx * dx + dy * dy < size * size); ++component) {
                    row[3 * x + component] = static_cast<unsigned char>(colour[component]);
                }
            }
        }
    }
    for (int y = 0; y < height; ++y) {
        unsigned char* row = BX_PicRow<unsigned char>(picture.Pic(), y);
        for (int x = 0; x < 3 * width; ++x) {
            row[x] = static_cast<unsigned char>(row[x] + draw(7) - 3);
        }
    }
    return picture;
}

inline CBxOwnedPic CopyOf(const SBxPicBuf& source) {
    CBxOwnedPic copy;
    if (copy.AllocateLike(source) == 0) {
        CBxPicBufAPI::Copy(copy.Pic(), source);
    }
    return copy;
}
