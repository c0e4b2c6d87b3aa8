#include "clipped_pixels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "owned_pic.h"

// Of pictures that are reduced to be looked at, too, and of grids as fine as carriers can be.
TEST(ClippedPixels, LeaveOutTheCellsThatHoldThemAndNoOthers) {
    for (const int side : {400, 2400, 5600}) {
        CBxOwnedPic picture;
        ASSERT_EQ(picture.Allocate(side, side, 3, 8), 0);
        for (int y = 0; y < side; ++y) {
            auto* row = BX_PicRow<unsigned char>(picture.Pic(), y);
            std::memset(row, 128, 3 * static_cast<std::size_t>(side));
            // The left third is too bright for blue.
            for (int x = 0; x < side / 3; ++x) {
                row[3 * x] = 255;
            }
        }
        CBxClippedPixels clipped;
        ASSERT_TRUE(clipped.Prepare(picture.Pic()));
        const auto leftOut = [&clipped](const CBxRect<double>& carrier) {
            float means[kCellCount] = {};
            clipped.LeaveOut(means, BX_PoseOfRectangle(carrier));
            return std::count_if(means, means + kCellCount, [](float mean) { return mean != mean; });
        };
        const double third = side / 3.0;
        for (const double carrier : {240.0, 260.0, 288.0, 320.0, 360.0}) {
            if (carrier < 2 * third) {
                EXPECT_EQ(leftOut({third + 8, 10.0, third + 8 + carrier, 10.0 + carrier}), 0)
                    << side << ", " << carrier;
            }
        }
        EXPECT_EQ(leftOut({0.0, 0.0, third - 8, third - 8}), kCellCount) << side;
    }
}

TEST(ClippedPixels, AreThoseAtTheEndsThatTheChangeHasLost) {
    constexpr int kSide = 400;
    const struct {
        int blue;
        bool isDark;
        bool isBright;
    } kTones[] = {{0, true, false},    {2, true, false},   {3, false, false},
                  {252, false, false}, {253, false, true}, {255, false, true}};
    for (const auto& tone : kTones) {
        CBxOwnedPic picture;
        ASSERT_EQ(picture.Allocate(kSide, kSide, 3, 8), 0);
        for (int y = 0; y < kSide; ++y) {
            auto* row = BX_PicRow<unsigned char>(picture.Pic(), y);
            for (int x = 0; x < kSide; ++x) {
                row[3 * x] = static_cast<unsigned char>(tone.blue);
                row[3 * x + 1] = 0;
                row[3 * x + 2] = 255;
            }
        }
        const auto leftOut = [](const CBxClippedPixels& clipped) {
            float means[kCellCount] = {};
            clipped.LeaveOut(means, BX_PoseOfRectangle({20.0, 20.0, 380.0, 380.0}));
            return std::count_if(means, means + kCellCount, [](float mean) { return mean != mean; }) == kCellCount;
        };
        CBxClippedPixels clipped;
        ASSERT_TRUE(clipped.Prepare(picture.Pic()));
        EXPECT_EQ(leftOut(clipped), tone.isDark || tone.isBright) << tone.blue;
        SBxLostTones lost;
        ASSERT_TRUE(clipped.Prepare(picture.Pic(), lost));
        EXPECT_FALSE(leftOut(clipped)) << tone.blue;
        lost.dark = 20.0;
        ASSERT_TRUE(clipped.Prepare(picture.Pic(), lost));
        EXPECT_EQ(leftOut(clipped), tone.isDark) << tone.blue;
        lost = SBxLostTones();
        lost.bright = 20.0;
        ASSERT_TRUE(clipped.Prepare(picture.Pic(), lost));
        EXPECT_EQ(leftOut(clipped), tone.isBright) << tone.blue;
    }
}
