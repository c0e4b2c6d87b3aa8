// Clamping of pictures and their conversion to float planes.
#include <algorithm>
#include <cstddef>

#include "owned_pic.h"
#include "pic_buf_api.h"
#include "result.h"
#include "sign_op.h"

void CBxSignOp::ModifyChangeFromTo(SBxPicBuf& picture, unsigned int from, unsigned int to) {
    const auto lowest = static_cast<unsigned char>(std::min(from, 255U));
    const auto highest = static_cast<unsigned char>(std::min(to, 255U));
    const int bytesOfRow = picture.m_iWidth * picture.m_iComponents * ((picture.m_iBitsPerComponent + 7) / 8);
    for (int y = 0; y < picture.m_iHeight; ++y) {
        unsigned char* bytes = BX_PicRow<unsigned char>(picture, y);
        for (int i = 0; i < bytesOfRow; ++i) {
            const unsigned char byte = bytes[i];
            const unsigned char lowered = byte > highest ? highest : byte;
            bytes[i] = byte < lowest ? lowest : lowered;
        }
    }
}

void CBxSignOp::ModifyChangeFromToFloat(SBxPicBuf& picture, unsigned int from, unsigned int to) {
    const auto low = static_cast<float>(from);
    const auto high = static_cast<float>(to);
    for (int y = 0; y < picture.m_iHeight; ++y) {
        auto* row = BX_PicRow<float>(picture, y);
        std::transform(row, row + picture.m_iWidth, row, [low, high](float value) {
            return value < low ? low : value >= high ? high : value;
        });
    }
}

void CBxSignOp::Convert3x8_Float(SBxPicBuf& target, const SBxPicBuf& source) {
    for (int y = 0; y < source.m_iHeight; ++y) {
        const unsigned char* from = BX_PicRow<unsigned char>(source, y);
        std::copy(from, from + std::size_t{3} * static_cast<std::size_t>(source.m_iWidth), BX_PicRow<float>(target, y));
    }
}

void CBxSignOp::Convert8BitToFloat(SBxPicBuf& target, const SBxPicBuf& source) {
    for (int y = 0; y < source.m_iHeight; ++y) {
        const unsigned char* from = BX_PicRow<unsigned char>(source, y);
        std::copy(from, from + source.m_iWidth, BX_PicRow<float>(target, y));
    }
}

unsigned char CBxSignOp::ConvertComp1Float23(SBxPicBuf& picture) {
    CBxOwnedPic mean;
    if (mean.Allocate(picture.m_iWidth, picture.m_iHeight, 1, 32) != kBxSuccess) {
        return kBxOutOfMemory;
    }
    for (int y = 0; y < picture.m_iHeight; ++y) {
        const float* from = BX_PicRow<float>(picture, y);
        float* to = BX_PicRow<float>(mean.Pic(), y);
        for (int x = 0; x < picture.m_iWidth; ++x) {
            to[x] = (from[3 * x + 1] + from[3 * x + 2]) / 2.0f;
        }
    }
    std::swap(picture, mean.Pic());
    return kBxSuccess;
}

void CBxSignOp::WriteRectToPicBuf(SBxPicBuf* picture, CBxRect<int> rect, unsigned int colour) {
    if (picture == nullptr || rect.IsEmpty()) {
        return;
    }
    const auto put = [picture, colour](int x, int y) {
        if (x < 0 || y < 0 || x >= picture->m_iWidth || y >= picture->m_iHeight) {
            return;
        }
        unsigned char* pixel = BX_PicRow<unsigned char>(*picture, y) + std::ptrdiff_t{3} * x;
        pixel[0] = static_cast<unsigned char>(colour);
        pixel[1] = static_cast<unsigned char>(colour >> 8);
        pixel[2] = static_cast<unsigned char>(colour >> 16);
    };
    const CBxRect<int> drawn{std::max(rect.left, -1), std::max(rect.top, -1),
                             std::min(rect.right, picture->m_iWidth + 1),
                             std::min(rect.bottom, picture->m_iHeight + 1)};
    for (int x = drawn.left; x < drawn.right; ++x) {
        put(x, rect.top);
        put(x, rect.bottom - 1);
    }
    for (int y = drawn.top; y < drawn.bottom; ++y) {
        put(rect.left, y);
        put(rect.right - 1, y);
    }
}
