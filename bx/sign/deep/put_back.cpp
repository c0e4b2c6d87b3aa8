#include "put_back.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "result.h"

namespace {

constexpr double kBlack = 0.0;
constexpr double kWhite = 255.0;
constexpr double kInsideLost = 1.0 / 3.0;  // of a lost range, away from what was kept

// What the tone was, beyond the ends too.
double Before(double value, const SBxTone& tone) {
    const double straight = tone.exponent == 1.0 ? value : kWhite * std::pow(value / kWhite, 1.0 / tone.exponent);
    return (straight - tone.offset) / tone.gain;
}

}  // namespace

SBxLostTones::SBxLostTones(const SBxTone& tone)
    : dark(std::max(0.0, Before(kBlack, tone) - kBlack)), bright(std::max(0.0, kWhite - Before(kWhite, tone))) {}

void BX_MakePutBackTable(unsigned char* table, const SBxTone& tone) {
    const SBxLostTones lost(tone);
    for (int value = 0; value < 256; ++value) {
        double before = Before(value, tone);
        if (value == 0) {
            before -= kInsideLost * lost.dark;
        } else if (value == 255) {
            before += kInsideLost * lost.bright;
        }
        table[value] = static_cast<unsigned char>(std::clamp(std::lround(before), 0L, 255L));
    }
}

unsigned char BX_PutBack(CBxOwnedPic& back, const SBxPicBuf& picture, const unsigned char* table) {
    const bool hasPixels = back->m_iWidth == picture.m_iWidth && back->m_iHeight == picture.m_iHeight;
    if (!hasPixels && back.AllocateLike(picture) != kBxSuccess) {
        return kBxOutOfMemory;
    }
    for (int y = 0; y < picture.m_iHeight; ++y) {
        const auto* from = BX_PicRow<unsigned char>(picture, y);
        std::transform(from, from + 3 * static_cast<std::ptrdiff_t>(picture.m_iWidth),
                       BX_PicRow<unsigned char>(back.Pic(), y), [table](unsigned char value) { return table[value]; });
    }
    return kBxSuccess;
}

SBxTone BX_Together(const SBxTone& undone, const SBxTone& comb) {
    return {undone.gain * comb.gain, undone.gain * comb.offset + undone.offset, undone.exponent * comb.exponent};
}
