#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>

#include "test_pictures.h"

using testing::Each;

using Api = CBxPicBufAPI;
using Point = CBxPoint<int>;
using Rect = CBxRect<int>;
using Size = CBxSize<int>;

namespace {

struct SFormat {
    int components;
    int bits;
};

std::vector<unsigned char> Bytes(const SBxPicBuf& pic, const Rect& rect) {
    const int pixelBytes = pic.m_iComponents * pic.m_iBitsPerComponent / 8;
    std::vector<unsigned char> bytes;
    for (int y = rect.top; y < rect.bottom; ++y) {
        const unsigned char* row = BX_PicRow<unsigned char>(pic, y);
        bytes.insert(bytes.end(), row + rect.left * pixelBytes, row + rect.right * pixelBytes);
    }
    return bytes;
}

CBxOwnedPic RandomBytes(int width, int height, SFormat format, unsigned int seed) {
    CBxOwnedPic pic = MakePic(width, height, format.components, format.bits);
    std::mt19937 random(seed);
    for (std::uint32_t i = 0; i < pic->m_uiByteSize; ++i) {
        pic->m_pData[i] = static_cast<unsigned char>(random());
    }
    return pic;
}

Rect Whole(const SBxPicBuf& pic) {
    return {0, 0, pic.m_iWidth, pic.m_iHeight};
}

}  // namespace

TEST(PicCopy, RectanglesArriveInTheTopLeftCorner) {
    for (const SFormat format : {SFormat{1, 8}, {3, 8}, {1, 32}, {3, 32}, {1, 64}}) {
        const CBxOwnedPic src = RandomBytes(9, 7, format, 5);
        CBxOwnedPic dst = RandomBytes(4, 5, format, 6);
        const std::vector<unsigned char> right = Bytes(dst.Pic(), Rect{3, 0, 4, 5});
        Api::Copy(dst.Pic(), src.Pic(), Rect{5, 2, 8, 6});
        EXPECT_EQ(Bytes(dst.Pic(), Rect{0, 0, 3, 4}), Bytes(src.Pic(), Rect{5, 2, 8, 6})) << format.bits;
        EXPECT_EQ(Bytes(dst.Pic(), Rect{3, 0, 4, 5}), right);

        const std::vector<unsigned char> before = Bytes(dst.Pic(), Whole(dst.Pic()));
        Api::Copy(dst.Pic(), src.Pic(), Rect{5, 2, 5, 6});
        Api::Copy(dst.Pic(), src.Pic(), Rect{5, 6, 8, 2});
        EXPECT_EQ(Bytes(dst.Pic(), Whole(dst.Pic())), before);
    }
}

// The four bands of a frame all go to the corner, in the order top, bottom, left, right.
TEST(PicCopy, FramesAreFourRectanglesOneOverTheOther) {
    const CBxOwnedPic src = MakeRandomPic<std::uint8_t>(9, 9, 1, 8);
    CBxOwnedPic expected = MakePic(9, 9, 1, 8);
    for (const Rect& band : {Rect{1, 1, 8, 3}, Rect{1, 6, 8, 8}, Rect{1, 3, 2, 6}, Rect{5, 3, 8, 6}}) {
        Api::Copy(expected.Pic(), src.Pic(), band);
    }
    CBxOwnedPic dst = MakePic(9, 9, 1, 8);
    Api::Copy(dst.Pic(), src.Pic(), Rect{1, 1, 8, 8}, Rect{2, 3, 5, 6});
    EXPECT_EQ(Bytes(dst.Pic(), Whole(dst.Pic())), Bytes(expected.Pic(), Whole(expected.Pic())));
}

TEST(PicCopy, BlocksGoFromPositionToPosition) {
    for (const SFormat format : {SFormat{1, 8}, {3, 8}, {1, 16}, {1, 32}, {1, 64}}) {
        CBxOwnedPic src = RandomBytes(8, 6, format, 11);
        CBxOwnedPic dst = RandomBytes(7, 7, format, 12);
        const std::vector<unsigned char> above = Bytes(dst.Pic(), Rect{0, 0, 7, 3});
        Api::CopyRect(dst.Pic(), src.Pic(), Point{1, 3}, Point{4, 2}, Size{4, 3});
        EXPECT_EQ(Bytes(dst.Pic(), Rect{1, 3, 5, 6}), Bytes(src.Pic(), Rect{4, 2, 8, 5})) << format.bits;
        EXPECT_EQ(Bytes(dst.Pic(), Rect{0, 0, 7, 3}), above);
    }
}

TEST(PicCopy, OverlappingMovesReadTheOldPixels) {
    for (const SFormat format : {SFormat{1, 8}, SFormat{1, 64}}) {
        for (int shiftY = -2; shiftY <= 2; ++shiftY) {
            for (int shiftX = -2; shiftX <= 2; ++shiftX) {
                CBxOwnedPic pic = RandomBytes(12, 12, format, 21);
                const std::vector<unsigned char> block = Bytes(pic.Pic(), Rect{3, 3, 9, 8});
                Api::Copy(pic.Pic(), Point{3 + shiftX, 3 + shiftY}, Point{3, 3}, Size{6, 5});
                EXPECT_EQ(Bytes(pic.Pic(), Rect{3 + shiftX, 3 + shiftY, 9 + shiftX, 8 + shiftY}), block)
                    << shiftX << ", " << shiftY;
            }
        }
    }
}

TEST(PicCopy, FillsWriteEveryByteOfTheRectangleOnly) {
    for (const SFormat format : {SFormat{1, 8}, {3, 8}, {1, 64}}) {
        CBxOwnedPic pic = MakePic(6, 5, format.components, format.bits, 1);
        Api::SetConst(pic.Pic(), Rect{2, 1, 4, 3}, 9);
        EXPECT_THAT(Bytes(pic.Pic(), Rect{2, 1, 4, 3}), Each(9));
        EXPECT_THAT(Bytes(pic.Pic(), Rect{0, 0, 2, 5}), Each(1));
        EXPECT_THAT(Bytes(pic.Pic(), Rect{4, 0, 6, 5}), Each(1));
        EXPECT_THAT(Bytes(pic.Pic(), Rect{0, 3, 6, 5}), Each(1));
        Api::Zero(pic.Pic(), Rect{2, 1, 4, 3});
        EXPECT_THAT(Bytes(pic.Pic(), Rect{2, 1, 4, 3}), Each(0));
    }
}

TEST(PicCopy, FormatsWithoutVariantAndMixedFormatsDoNothing) {
    CBxOwnedPic wide = MakePic(4, 4, 1, 16, 1);
    Api::Copy(wide.Pic(), MakePic(4, 4, 1, 16, 2).Pic(), Rect{0, 0, 4, 4});
    Api::SetConst(wide.Pic(), Rect{0, 0, 4, 4}, 2);
    EXPECT_THAT(Bytes(wide.Pic(), Rect{0, 0, 4, 4}), Each(1));
    CBxOwnedPic narrow = MakePic(4, 4, 1, 8, 1);
    Api::Copy(narrow.Pic(), MakePic(4, 4, 3, 8, 2).Pic(), Rect{0, 0, 4, 4});
    EXPECT_THAT(Bytes(narrow.Pic(), Rect{0, 0, 4, 4}), Each(1));
}
