#include "picture_pyramid.h"

#include <algorithm>

#include "picture_orientation.h"
#include "result.h"

namespace {

constexpr int kSmallestSide = 100;

// The mean of 2 x 2 pixels; at odd far edges the last column or row counts twice.
void Halve(SBxPicBuf& half, const SBxPicBuf& whole) {
    const int pairs = whole.m_iWidth / 2;
    for (int y = 0; y < half.m_iHeight; ++y) {
        const unsigned char* top = BX_PicRow<unsigned char>(whole, 2 * y);
        const unsigned char* bottom = BX_PicRow<unsigned char>(whole, std::min(2 * y + 1, whole.m_iHeight - 1));
        unsigned char* to = BX_PicRow<unsigned char>(half, y);
        for (int x = 0; x < pairs; ++x, top += 6, bottom += 6, to += 3) {
            for (int c = 0; c < 3; ++c) {
                to[c] = static_cast<unsigned char>((top[c] + top[c + 3] + bottom[c] + bottom[c + 3] + 2) / 4);
            }
        }
        for (int c = 0; pairs < half.m_iWidth && c < 3; ++c) {
            to[c] = static_cast<unsigned char>((top[c] + bottom[c] + 1) / 2);
        }
    }
}

}  // namespace

void CBxPicturePyramid::Build(const SBxPicBuf& picture, int orientation) {
    Clear();
    if (picture.m_pData == nullptr || picture.m_iWidth <= 0 || picture.m_iHeight <= 0) {
        return;
    }
    m_Levels.push_back(picture);
    if (orientation != kUpright) {
        CBxOwnedPic upright;
        if (BX_PutUpright(upright, picture, orientation) == kBxSuccess) {
            m_Levels[0] = upright.Pic();
            m_Owned.push_back(std::move(upright));
            m_iOrientation = orientation;
        }
    }
    while (std::min(m_Levels.back().m_iWidth, m_Levels.back().m_iHeight) > kSmallestSide) {
        const SBxPicBuf whole = m_Levels.back();
        CBxOwnedPic half;
        if (half.Allocate((whole.m_iWidth + 1) / 2, (whole.m_iHeight + 1) / 2, 3, 8) != kBxSuccess) {
            return;
        }
        Halve(half.Pic(), whole);
        m_Levels.push_back(half.Pic());
        m_Owned.push_back(std::move(half));
    }
}

void CBxPicturePyramid::Clear() {
    m_Levels.clear();
    m_Owned.clear();
    m_iOrientation = kUpright;
}

int CBxPicturePyramid::LevelFor(double zoom) const {
    int level = 0;
    while (level + 1 < static_cast<int>(m_Levels.size()) && zoom * (1 << (level + 1)) <= 1.0) {
        ++level;
    }
    return level;
}
