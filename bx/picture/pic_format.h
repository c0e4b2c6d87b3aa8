// The named pixel formats, for the operations that choose a variant.
#pragma once

#include "pic_buf.h"

enum class EBxFormat { kOther, k1_8, k3_8, k1_16, k1_F, k3_F, k1_D };

inline EBxFormat BX_FormatOf(const SBxPicBuf& pic) {
    const bool one = pic.m_iComponents == 1;
    const bool three = pic.m_iComponents == 3;
    switch (pic.m_iBitsPerComponent) {
        case 8:
            return one ? EBxFormat::k1_8 : three ? EBxFormat::k3_8 : EBxFormat::kOther;
        case 16:
            return one ? EBxFormat::k1_16 : EBxFormat::kOther;
        case 32:
            return one ? EBxFormat::k1_F : three ? EBxFormat::k3_F : EBxFormat::kOther;
        case 64:
            return one ? EBxFormat::k1_D : EBxFormat::kOther;
        default:
            return EBxFormat::kOther;
    }
}

// kOther when two pictures that are to be combined differ in format.
inline EBxFormat BX_CommonFormat(const SBxPicBuf& first, const SBxPicBuf& second) {
    const EBxFormat format = BX_FormatOf(first);
    return format == BX_FormatOf(second) ? format : EBxFormat::kOther;
}

// 64 bits wide, so that products with a width cannot overflow.
inline std::int64_t BX_BytesPerComponent(const SBxPicBuf& pic) {
    return (static_cast<std::int64_t>(pic.m_iBitsPerComponent) + 7) / 8;
}

inline std::int64_t BX_BytesPerPixel(const SBxPicBuf& pic) {
    return BX_BytesPerComponent(pic) * pic.m_iComponents;
}
