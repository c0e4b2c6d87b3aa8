#include <cstdint>

#include "pic_buf_api.h"
#include "pic_format.h"
#include "result.h"

namespace {

bool HasPlane(const SBxPicBuf& many, unsigned int index, const SBxPicBuf& plane) {
    return plane.m_iComponents == 1 && many.m_iComponents > 0 &&
           index < static_cast<unsigned int>(many.m_iComponents) && many.m_iWidth == plane.m_iWidth &&
           many.m_iHeight == plane.m_iHeight && many.m_iBitsPerComponent == plane.m_iBitsPerComponent;
}

// 1, and nothing touched, when the two do not belong together or are less deep than T.
template <typename T>
int Extract(SBxPicBuf& dst, unsigned int index, const SBxPicBuf& src) {
    if (!HasPlane(src, index, dst) || BX_BytesPerComponent(src) < static_cast<std::int64_t>(sizeof(T))) {
        return kBxFailure;
    }
    for (int y = 0; y < src.m_iHeight; ++y) {
        const T* from = BX_PicRow<T>(src, y) + index;
        T* to = BX_PicRow<T>(dst, y);
        for (int x = 0; x < src.m_iWidth; ++x, from += src.m_iComponents) {
            to[x] = *from;
        }
    }
    return kBxSuccess;
}

template <typename T>
int Insert(SBxPicBuf& dst, unsigned int index, const SBxPicBuf& src) {
    if (!HasPlane(dst, index, src) || BX_BytesPerComponent(dst) < static_cast<std::int64_t>(sizeof(T))) {
        return kBxFailure;
    }
    for (int y = 0; y < dst.m_iHeight; ++y) {
        const T* from = BX_PicRow<T>(src, y);
        T* to = BX_PicRow<T>(dst, y) + index;
        for (int x = 0; x < dst.m_iWidth; ++x, to += dst.m_iComponents) {
            *to = from[x];
        }
    }
    return kBxSuccess;
}

// `mask` is applied to every mean.
template <typename T>
void Average(SBxPicBuf& dst, const SBxPicBuf& src, unsigned int mask) {
    if (src.m_iComponents <= 0) {
        return;
    }
    const unsigned int count = static_cast<unsigned int>(src.m_iComponents);
    for (int y = 0; y < src.m_iHeight; ++y) {
        const T* from = BX_PicRow<T>(src, y);
        T* to = BX_PicRow<T>(dst, y);
        for (int x = 0; x < src.m_iWidth; ++x, from += count) {
            unsigned int sum = 0;
            for (unsigned int component = 0; component < count; ++component) {
                sum += from[component];
            }
            to[x] = static_cast<T>((sum / count) & mask);
        }
    }
}

template <typename T>
void Expand(SBxPicBuf& dst, const SBxPicBuf& src) {
    for (int y = 0; y < src.m_iHeight; ++y) {
        const T* from = BX_PicRow<T>(src, y);
        T* to = BX_PicRow<T>(dst, y);
        for (int x = 0; x < src.m_iWidth; ++x, to += dst.m_iComponents) {
            for (int component = 0; component < dst.m_iComponents; ++component) {
                to[component] = from[x];
            }
        }
    }
}

}  // namespace

int CBxPicBufAPI::ExtractComponent_x8(SBxPicBuf& dst, unsigned int index, SBxPicBuf& src) {
    return Extract<std::uint8_t>(dst, index, src);
}

int CBxPicBufAPI::ExtractComponent_x16(SBxPicBuf& dst, unsigned int index, SBxPicBuf& src) {
    return Extract<std::uint16_t>(dst, index, src);
}

int CBxPicBufAPI::ExtractComponent_x32(SBxPicBuf& dst, unsigned int index, SBxPicBuf& src) {
    return Extract<std::uint32_t>(dst, index, src);
}

int CBxPicBufAPI::ExtractComponent(SBxPicBuf& dst, unsigned int index, SBxPicBuf& src) {
    switch (src.m_iBitsPerComponent) {
        case 8:
            return ExtractComponent_x8(dst, index, src);
        case 16:
            return ExtractComponent_x16(dst, index, src);
        case 32:
            return ExtractComponent_x32(dst, index, src);
        default:
            return kBxFailure;
    }
}

int CBxPicBufAPI::InsertComponent_x8(SBxPicBuf& dst, unsigned int index, SBxPicBuf& src) {
    return Insert<std::uint8_t>(dst, index, src);
}

int CBxPicBufAPI::InsertComponent_x16(SBxPicBuf& dst, unsigned int index, SBxPicBuf& src) {
    return Insert<std::uint16_t>(dst, index, src);
}

int CBxPicBufAPI::InsertComponent(SBxPicBuf& dst, unsigned int index, SBxPicBuf& src) {
    return dst.m_iBitsPerComponent == 8 ? InsertComponent_x8(dst, index, src) : InsertComponent_x16(dst, index, src);
}

void CBxPicBufAPI::ConvertToIntensity_x8(SBxPicBuf& dst, const SBxPicBuf& src) {
    Average<std::uint8_t>(dst, src, 0xFF);
}

void CBxPicBufAPI::ConvertToIntensity_x16(SBxPicBuf& dst, const SBxPicBuf& src) {
    Average<std::uint16_t>(dst, src, 0xFF);
}

void CBxPicBufAPI::ExpandComponents_x8(SBxPicBuf& dst, const SBxPicBuf& src) {
    Expand<std::uint8_t>(dst, src);
}

void CBxPicBufAPI::ExpandComponents_x16(SBxPicBuf& dst, const SBxPicBuf& src) {
    Expand<std::uint16_t>(dst, src);
}
