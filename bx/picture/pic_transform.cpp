#include <algorithm>

#include "pic_buf_api.h"
#include "pic_format.h"

namespace {

// The mapping as seen by a view that begins at (left, top).
CBxPicMap MovedTo(const CBxPicMap& map, int left, int top) {
    CBxPicMap moved = map;
    map.MapPointDstToSrc(&moved.m_dX0, &moved.m_dY0, left, top);
    return moved;
}

void TransformWhole(SBxPicBuf& dst, const SBxPicBuf& src, const CBxPicMap& map, EBxInterpolation kind, bool fast) {
    using Api = CBxPicBufAPI;
    switch (kind) {
        case EBxInterpolation::kConstant:
            return fast ? Api::TransformConstantFast(dst, src, map) : Api::TransformConstant(dst, src, map);
        case EBxInterpolation::kBilinear:
            return fast ? Api::TransformBilinearFast(dst, src, map) : Api::TransformBilinear(dst, src, map);
        case EBxInterpolation::kBicubic:
            return fast ? Api::TransformBicubicFast(dst, src, map) : Api::TransformBicubic(dst, src, map);
    }
}

}  // namespace

void CBxPicBufAPI::Transform1_D(SBxPicBuf& dst, CBxRect<int> rect, const SBxPicBuf& src, const CBxPicMap& map,
                                EBxInterpolation kind, bool /*fast*/) {
    if (rect.IsEmpty()) {
        return;
    }
    SBxPicBuf view;
    SubPic1_D(view, dst, rect);
    const CBxPicMap moved = MovedTo(map, rect.left, rect.top);
    switch (kind) {
        case EBxInterpolation::kConstant:
            return TransformConstant1_D(view, src, moved);
        case EBxInterpolation::kBilinear:
            return TransformBilinear1_D(view, src, moved);
        case EBxInterpolation::kBicubic:
            return TransformBicubic1_D(view, src, moved);
    }
}

void CBxPicBufAPI::Transform(SBxPicBuf& dst, CBxRect<int> rect, const SBxPicBuf& src, const CBxPicMap& map,
                             EBxInterpolation kind, bool fast) {
    // A frame whose inner rectangle reaches beyond the outer one asks for rectangles beyond the picture.
    rect = {std::max(rect.left, 0), std::max(rect.top, 0), std::min(rect.right, dst.m_iWidth),
            std::min(rect.bottom, dst.m_iHeight)};
    if (rect.IsEmpty()) {
        return;
    }
    SBxPicBuf view;
    switch (BX_CommonFormat(dst, src)) {
        case EBxFormat::k1_8:
        case EBxFormat::k3_8:
            SubPic(view, dst, rect);
            return TransformWhole(view, src, MovedTo(map, rect.left, rect.top), kind, fast);
        case EBxFormat::k1_D:
            return Transform1_D(dst, rect, src, map, kind, fast);
        default:
            return;
    }
}

void CBxPicBufAPI::Transform(SBxPicBuf& dst, CBxRect<int> outer, const CBxRect<int>& inner, const SBxPicBuf& src,
                             const CBxPicMap& map, EBxInterpolation kind, bool fast) {
    Transform(dst, CBxRect<int>{outer.left, outer.top, outer.right, inner.top}, src, map, kind, fast);
    Transform(dst, CBxRect<int>{outer.left, inner.bottom, outer.right, outer.bottom}, src, map, kind, fast);
    Transform(dst, CBxRect<int>{outer.left, inner.top, inner.left, inner.bottom}, src, map, kind, fast);
    Transform(dst, CBxRect<int>{inner.right, inner.top, outer.right, inner.bottom}, src, map, kind, fast);
}
