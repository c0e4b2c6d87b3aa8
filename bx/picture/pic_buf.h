// The picture record that everything works on.
#pragma once

#include <cstdint>

// A plain record: its life cycle is driven by CBxPicBufAPI (Init, ReinitHeap, DoneHeap). Rows of an owned picture are
// packed; a view made by CBxPicBufAPI::SubPic borrows the pixels and the stride of its parent and never frees them.
//
// Formats are named by components and depth: 1_8, 3_8 (bytes blue, green, red), 1_16, 1_F, 3_F (float), 1_D (double).
struct SBxPicBuf {
    unsigned char* m_pData;            // first byte of row 0, null when there are no pixels
    std::uint32_t m_uiByteSize;        // stride x height; a view carries its parent's
    std::int32_t m_iStride;            // bytes from the start of one row to the start of the next
    std::int32_t m_iWidth;             // pixels
    std::int32_t m_iHeight;            // rows
    std::int32_t m_iComponents;        // components of a pixel, 1 or 3
    std::int32_t m_iBitsPerComponent;  // 8, 16, 32 (float) or 64 (double)
};

// The first component of a row, as the component type of the picture.
template <typename T>
T* BX_PicRow(SBxPicBuf& pic, int row) {
    return reinterpret_cast<T*>(pic.m_pData + static_cast<std::int64_t>(row) * pic.m_iStride);
}
template <typename T>
const T* BX_PicRow(const SBxPicBuf& pic, int row) {
    return reinterpret_cast<const T*>(pic.m_pData + static_cast<std::int64_t>(row) * pic.m_iStride);
}
