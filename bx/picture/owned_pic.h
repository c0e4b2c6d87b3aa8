// A picture whose pixels are freed by scope.
#pragma once

#include <utility>

#include "pic_buf_api.h"

// Owns the pixels of one record and releases them when it goes. Move-only; a moved-from owner holds an empty record.
// Views of the picture are plain records and must not outlive the owner.
class CBxOwnedPic {
public:
    CBxOwnedPic() { CBxPicBufAPI::Init(m_Pic); }
    // Takes over the pixels of `pic`, which has no pixels afterwards.
    explicit CBxOwnedPic(SBxPicBuf&& pic) : m_Pic(std::exchange(pic, SBxPicBuf{})) {}
    CBxOwnedPic(const CBxOwnedPic&) = delete;
    CBxOwnedPic& operator=(const CBxOwnedPic&) = delete;
    CBxOwnedPic(CBxOwnedPic&& other) noexcept : m_Pic(std::exchange(other.m_Pic, SBxPicBuf{})) {}
    CBxOwnedPic& operator=(CBxOwnedPic&& other) noexcept {
        std::swap(m_Pic, other.m_Pic);
        return *this;
    }
    ~CBxOwnedPic() { CBxPicBufAPI::DoneHeap(m_Pic); }

    // Both as CBxPicBufAPI::ReinitHeap: 0, or 6 without pixels.
    [[nodiscard]] int Allocate(int width, int height, int components, int bitsPerComponent) {
        return CBxPicBufAPI::ReinitHeap(m_Pic, width, height, components, bitsPerComponent);
    }
    [[nodiscard]] int AllocateLike(const SBxPicBuf& model) { return CBxPicBufAPI::ReinitHeap(m_Pic, model); }

    void Free() { CBxPicBufAPI::DoneHeap(m_Pic); }

    // Hands the pixels over to the caller, who releases them with CBxPicBufAPI::DoneHeap.
    [[nodiscard]] SBxPicBuf Release() { return std::exchange(m_Pic, SBxPicBuf{}); }

    SBxPicBuf& Pic() { return m_Pic; }
    const SBxPicBuf& Pic() const { return m_Pic; }
    SBxPicBuf* operator->() { return &m_Pic; }
    const SBxPicBuf* operator->() const { return &m_Pic; }

private:
    SBxPicBuf m_Pic;
};
