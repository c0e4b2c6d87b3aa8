#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "test_pictures.h"

using testing::Each;
using testing::ElementsAre;

using Api = CBxPicBufAPI;
using Rect = CBxRect<int>;
using Byte = std::uint8_t;
using Word = std::uint16_t;

namespace {

int BlendOf(int d, int s, double transparency) {
    CBxOwnedPic dst = PicOf<Byte>(1, 1, 1, {static_cast<Byte>(d)});
    Api::TransparentCopy(dst.Pic(), PicOf<Byte>(1, 1, 1, {static_cast<Byte>(s)}).Pic(), Rect{0, 0, 1, 1}, transparency);
    return dst->m_pData[0];
}

std::vector<Byte> YuvOf(Byte blue, Byte green, Byte red) {
    CBxOwnedPic pic = PicOf<Byte>(1, 1, 3, {blue, green, red});
    Api::ConvertRGBtoYUV(pic.Pic(), pic.Pic());
    return Values<Byte>(pic.Pic());
}

}  // namespace

// Every pair of bytes against the exact mixture: shifts and weights round down, by less than one grey level.
TEST(TransparentCopy, ShareOfTheDestinationRemains) {
    for (const double share : {0.25, 0.5, 0.75, 0.125, 0.9, 1.0, 0.0}) {
        const double quantised = 1.0 - std::floor((1.0 - share) * 256.0 + 0.5) / 256.0;
        for (int d = 0; d < 256; d += 3) {
            for (int s = 0; s < 256; s += 5) {
                const double exact = d * quantised + s * (1.0 - quantised);
                ASSERT_EQ(BlendOf(d, s, share), static_cast<int>(std::floor(exact + 1e-9)))
                    << d << ' ' << s << ' ' << share;
            }
        }
    }
    EXPECT_EQ(BlendOf(0, 255, 0.5), 127);
}

TEST(TransparentCopy, BlendsInPlaceButCopiesToTheCorner) {
    const CBxOwnedPic src = PicOf<double>(3, 1, 1, {10, 20, 30});
    CBxOwnedPic dst = MakePic(3, 1, 1, 64);
    Api::TransparentCopy(dst.Pic(), src.Pic(), Rect{1, 0, 2, 1}, 0.25);
    EXPECT_THAT(Values<double>(dst.Pic()), ElementsAre(0, 15, 0));
    Api::TransparentCopy(dst.Pic(), src.Pic(), Rect{2, 0, 3, 1}, 0.1);  // 230 / 256 of the source
    EXPECT_THAT(Values<double>(dst.Pic()), ElementsAre(0, 15, 30.0 * 230 / 256));
    Api::TransparentCopy(dst.Pic(), src.Pic(), Rect{1, 0, 2, 1}, 0.0);
    EXPECT_EQ(Values<double>(dst.Pic())[0], 20);
    EXPECT_EQ(Values<double>(dst.Pic())[1], 15);
    for (const double nonsense : {std::nan(""), 1e300, -1e300}) {
        Api::TransparentCopy(dst.Pic(), src.Pic(), Rect{1, 0, 2, 1}, nonsense);
        EXPECT_EQ(Values<double>(dst.Pic())[1], 15);
    }
}

TEST(PicPlus, BytesSaturateAndDoublesDoNot) {
    CBxOwnedPic bytes = PicOf<Byte>(3, 1, 1, {200, 100, 0});
    Api::Plus(bytes.Pic(), PicOf<Byte>(3, 1, 1, {100, 100, 255}).Pic());
    EXPECT_THAT(Values<Byte>(bytes.Pic()), ElementsAre(255, 200, 255));
    CBxOwnedPic doubles = PicOf<double>(2, 1, 1, {200.5, -1});
    Api::Plus(doubles.Pic(), PicOf<double>(2, 1, 1, {100, -2}).Pic());
    EXPECT_THAT(Values<double>(doubles.Pic()), ElementsAre(300.5, -3));
}

TEST(PicPlanes, AnExtractedComponentGoesBackWhereItWas) {
    for (unsigned int index = 0; index < 3; ++index) {
        CBxOwnedPic bytes = MakeRandomPic<Byte>(5, 4, 3, index);
        CBxOwnedPic plane = MakePic(5, 4, 1, 8);
        ASSERT_EQ(Api::ExtractComponent(plane.Pic(), index, bytes.Pic()), 0);
        const std::vector<Byte> all = Values<Byte>(bytes.Pic());
        for (int i = 0; i < 20; ++i) {
            ASSERT_EQ(Values<Byte>(plane.Pic())[i], all[3 * i + index]);
        }
        CBxOwnedPic target = MakePic(5, 4, 3, 8, 7);
        ASSERT_EQ(Api::InsertComponent(target.Pic(), index, plane.Pic()), 0);
        for (std::size_t i = 0; i < all.size(); ++i) {
            ASSERT_EQ(Values<Byte>(target.Pic())[i], i % 3 == index ? all[i] : 7);
        }
        CBxOwnedPic words = MakeRandomPic<Word>(5, 4, 3, index);
        CBxOwnedPic floats = MakeRandomPic<float>(5, 4, 3, index);
        CBxOwnedPic wordPlane = MakePic(5, 4, 1, 16);
        CBxOwnedPic floatPlane = MakePic(5, 4, 1, 32);
        ASSERT_EQ(Api::ExtractComponent(wordPlane.Pic(), index, words.Pic()), 0);
        ASSERT_EQ(Api::ExtractComponent(floatPlane.Pic(), index, floats.Pic()), 0);
        EXPECT_EQ(Values<Word>(wordPlane.Pic())[19], Values<Word>(words.Pic())[57 + index]);
        EXPECT_EQ(Values<float>(floatPlane.Pic())[19], Values<float>(floats.Pic())[57 + index]);
    }
}

TEST(PicPlanes, PlanesOfViewsSkipTheRestOfTheParentsRows) {
    CBxOwnedPic parent = MakeRandomPic<Byte>(6, 5, 3, 2);
    SBxPicBuf view;
    Api::SubPic(view, parent.Pic(), Rect{2, 1, 4, 4});
    CBxOwnedPic plane = MakePic(2, 3, 1, 8);
    ASSERT_EQ(Api::ExtractComponent(plane.Pic(), 1, view), 0);
    EXPECT_EQ(BX_PicRow<Byte>(plane.Pic(), 2)[1], BX_PicRow<Byte>(parent.Pic(), 3)[3 * 3 + 1]);
}

TEST(PicPlanes, WhatDoesNotBelongTogetherIsRefused) {
    CBxOwnedPic src = MakePic(4, 4, 3, 8, 1);
    CBxOwnedPic plane = MakePic(4, 4, 1, 8, 2);
    EXPECT_EQ(Api::ExtractComponent(plane.Pic(), 3, src.Pic()), 1);
    EXPECT_EQ(Api::InsertComponent(src.Pic(), 3, plane.Pic()), 1);
    EXPECT_EQ(Api::ExtractComponent(src.Pic(), 0, src.Pic()), 1);
    CBxOwnedPic others[] = {MakePic(5, 4, 1, 8), MakePic(4, 5, 1, 8), MakePic(4, 4, 1, 16), MakePic(4, 4, 3, 8)};
    for (CBxOwnedPic& other : others) {
        EXPECT_EQ(Api::ExtractComponent(other.Pic(), 0, src.Pic()), 1);
        EXPECT_EQ(Api::InsertComponent(src.Pic(), 0, other.Pic()), 1);
    }
    CBxOwnedPic doubles = MakePic(4, 4, 3, 64);
    EXPECT_EQ(Api::ExtractComponent(MakePic(4, 4, 1, 64).Pic(), 0, doubles.Pic()), 1);
    // A depth of one byte that is not 8 would be overrun by the 16-bit form.
    CBxOwnedPic nibbles = MakePic(4, 4, 3, 4, 3);
    EXPECT_EQ(Api::InsertComponent(nibbles.Pic(), 0, MakePic(4, 4, 1, 4).Pic()), 1);
    EXPECT_THAT(Values<Byte>(src.Pic()), Each(1));
    EXPECT_THAT(Values<Byte>(plane.Pic()), Each(2));
}

TEST(PicPlanes, IntensityIsTheTruncatedMean) {
    CBxOwnedPic bytes = MakePic(2, 1, 1, 8);
    Api::ConvertToIntensity_x8(bytes.Pic(), PicOf<Byte>(2, 1, 3, {10, 20, 31, 255, 255, 255}).Pic());
    EXPECT_THAT(Values<Byte>(bytes.Pic()), ElementsAre(20, 255));
    CBxOwnedPic words = MakePic(2, 1, 1, 16);
    Api::ConvertToIntensity_x16(words.Pic(), PicOf<Word>(2, 1, 3, {0x1234, 0x1234, 0x1234, 9, 10, 12}).Pic());
    EXPECT_THAT(Values<Word>(words.Pic()), ElementsAre(0x34, 10));
    CBxOwnedPic expanded = MakePic(2, 1, 3, 16);
    Api::ExpandComponents_x16(expanded.Pic(), words.Pic());
    EXPECT_THAT(Values<Word>(expanded.Pic()), ElementsAre(0x34, 0x34, 0x34, 10, 10, 10));
}

TEST(ConvertBpcComp, ChangesDepthAndComponentsTogether) {
    CBxOwnedPic pic = PicOf<Byte>(2, 1, 3, {10, 20, 31, 1, 2, 3});
    ASSERT_EQ(Api::ConvertBpcComp(pic.Pic(), 16, 1), 0);
    EXPECT_EQ(pic->m_iStride, 4);
    EXPECT_THAT(Values<Word>(pic.Pic()), ElementsAre(20, 2));
    ASSERT_EQ(Api::ConvertBpcComp(pic.Pic(), 12, 3), 0);
    EXPECT_EQ(pic->m_iBitsPerComponent, 12);
    EXPECT_THAT(Values<Word>(pic.Pic()), ElementsAre(20, 20, 20, 2, 2, 2));
    BX_PicRow<Word>(pic.Pic(), 0)[1] = 0x7FF;
    ASSERT_EQ(Api::ConvertBpcComp(pic.Pic(), 8, 3), 0);
    EXPECT_EQ(pic->m_uiByteSize, 6u);
    EXPECT_THAT(Values<Byte>(pic.Pic()), ElementsAre(20, 0xFF, 20, 2, 2, 2));
}

TEST(ConvertBpcComp, RefusalsLeaveThePictureAsItWas) {
    CBxOwnedPic pic = MakeRandomPic<Byte>(3, 3, 3, 4);
    const std::vector<Byte> before = Values<Byte>(pic.Pic());
    EXPECT_EQ(Api::ConvertBpcComp(pic.Pic(), 8, 4), 1);
    EXPECT_EQ(Api::ConvertBpcComp(pic.Pic(), 8, 0), 1);
    EXPECT_EQ(Api::ConvertBpcComp(pic.Pic(), 32, 3), 1);
    EXPECT_EQ(Api::ConvertBpcComp(pic.Pic(), 0xFFFFFFFF, 3), 1);
    EXPECT_EQ(Values<Byte>(pic.Pic()), before);
    CBxOwnedPic floats = MakeRandomPic<float>(3, 3, 3, 4);
    EXPECT_EQ(Api::ConvertBpcComp(floats.Pic(), 32, 1), 1);
    EXPECT_EQ(Api::ConvertBpcComp(floats.Pic(), 16, 3), 1);
    EXPECT_EQ(Api::ConvertBpcComp(floats.Pic(), 32, 3), 0);
    EXPECT_EQ(floats->m_iComponents, 3);
}

TEST(PicColour, KnownColours) {
    EXPECT_THAT(YuvOf(255, 255, 255), ElementsAre(255, 128, 128));
    EXPECT_THAT(YuvOf(0, 0, 0), ElementsAre(0, 128, 128));
    EXPECT_THAT(YuvOf(0, 0, 255), ElementsAre(76, 255, 85));  // V 255.6, U 85.1
    EXPECT_THAT(YuvOf(255, 0, 0), ElementsAre(29, 107, 255));
}

// The luma is rounded and the differences truncated, so that a way there and back moves a component by a few levels.
TEST(PicColour, TheWayBackRestoresTheColour) {
    for (int blue = 0; blue < 256; blue += 15) {
        for (int green = 0; green < 256; green += 15) {
            for (int red = 0; red < 256; red += 15) {
                const std::vector<Byte> colour = {static_cast<Byte>(blue), static_cast<Byte>(green),
                                                  static_cast<Byte>(red)};
                const std::vector<Byte> yuv = YuvOf(colour[0], colour[1], colour[2]);
                CBxOwnedPic back = MakePic(1, 1, 3, 8);
                Api::ConvertYUVtoRGB(back.Pic(), PicOf<Byte>(1, 1, 3, yuv).Pic());
                CBxOwnedPic words = PicOf<Word>(1, 1, 3, {colour[0], colour[1], colour[2]});
                Api::ConvertRGBtoYUV(words.Pic(), words.Pic());
                for (int i = 0; i < 3; ++i) {
                    ASSERT_NEAR(Values<Byte>(back.Pic())[i], colour[i], 3) << blue << ' ' << green << ' ' << red;
                    ASSERT_EQ(Values<Word>(words.Pic())[i], yuv[i]);
                }
            }
        }
    }
}
