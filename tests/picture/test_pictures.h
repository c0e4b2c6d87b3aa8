// Pictures made in code for the tests of this folder.
#pragma once

#include <cstdint>
#include <random>
#include <vector>

#include "owned_pic.h"

inline CBxOwnedPic MakePic(int width, int height, int components, int bits, unsigned char fill = 0) {
    CBxOwnedPic pic;
    if (pic.Allocate(width, height, components, bits) == 0) {
        CBxPicBufAPI::SetConst(pic.Pic(), fill);
    }
    return pic;
}

// Every component is drawn from 0 .. 255, whatever the depth.
template <typename T>
CBxOwnedPic MakeRandomPic(int width, int height, int components, unsigned int seed) {
    CBxOwnedPic pic = MakePic(width, height, components, static_cast<int>(sizeof(T)) * 8);
    std::mt19937 random(seed);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width * components; ++x) {
            BX_PicRow<T>(pic.Pic(), y)[x] = static_cast<T>(random() & 0xFF);
        }
    }
    return pic;
}

// All components, row after row. Of a view only its own pixels.
template <typename T>
std::vector<T> Values(const SBxPicBuf& pic) {
    std::vector<T> values;
    for (int y = 0; y < pic.m_iHeight; ++y) {
        const T* row = BX_PicRow<T>(pic, y);
        values.insert(values.end(), row, row + static_cast<std::size_t>(pic.m_iWidth) * pic.m_iComponents);
    }
    return values;
}

template <typename T>
CBxOwnedPic PicOf(int width, int height, int components, const std::vector<T>& values) {
    CBxOwnedPic pic = MakePic(width, height, components, static_cast<int>(sizeof(T)) * 8);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width * components; ++x) {
            BX_PicRow<T>(pic.Pic(), y)[x] = values.at(static_cast<std::size_t>(y) * width * components + x);
        }
    }
    return pic;
}
