#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "owned_pic.h"
#include "sign_op.h"

namespace {

CBxOwnedPic RandomPicture(int width, int height) {
    CBxOwnedPic picture;
    EXPECT_EQ(picture.Allocate(width, height, 3, 8), 0);
    std::mt19937 random(static_cast<unsigned int>(1000 * width + height));
    std::generate_n(picture->m_pData, picture->m_uiByteSize,
                    [&random] { return static_cast<unsigned char>(random()); });
    return picture;
}

CBxOwnedPic Scale(SBxPicBuf& source, double zoom) {
    std::vector<double> products(1001 * 256);
    std::vector<double*> table;
    for (int row = 0; row < 1001; ++row) {
        table.push_back(&products[256 * row]);
    }
    CBxOwnedPic target;
    EXPECT_EQ(
        target.Allocate(static_cast<int>(source.m_iWidth * zoom), static_cast<int>(source.m_iHeight * zoom), 3, 32), 0);
    CBxSignOp::TransformBilinearAccurate8x3Float(table.data(), &target.Pic(), &source, zoom);
    return target;
}

}  // namespace

TEST(Scaling, AtZoomOneCopiesThePicture) {
    CBxOwnedPic source = RandomPicture(13, 9);
    CBxOwnedPic target = Scale(source.Pic(), 1.0);
    for (int y = 0; y < 9; ++y) {
        for (int x = 0; x < 3 * 13; ++x) {
            EXPECT_NEAR(BX_PicRow<float>(target.Pic(), y)[x], BX_PicRow<unsigned char>(source.Pic(), y)[x], 1e-4);
        }
    }
}

TEST(Scaling, EnlargementWeighsTheFourPixelsAround) {
    CBxOwnedPic source = RandomPicture(4, 4);
    const double zoom = 2.0;
    CBxOwnedPic target = Scale(source.Pic(), zoom);
    const auto pixel = [&source](int x, int y) { return BX_PicRow<unsigned char>(source.Pic(), y)[3 * x + 1]; };
    // Target (3, 5) lies at source (1.25, 2.25).
    const double expected = 0.75 * (0.75 * pixel(1, 2) + 0.25 * pixel(2, 2)) +  //
                            0.25 * (0.75 * pixel(1, 3) + 0.25 * pixel(2, 3));
    EXPECT_NEAR(BX_PicRow<float>(target.Pic(), 5)[3 * 3 + 1], expected, 1e-4);
    // The first column repeats the first source column; in front of the first row the fraction stays negative.
    const double extrapolated = pixel(0, 0) * 1.25 - pixel(0, 1) * 0.25;
    EXPECT_NEAR(BX_PicRow<float>(target.Pic(), 0)[1], extrapolated, 1e-4);
}

TEST(Scaling, ReductionAveragesWithoutThePartlyCoveredEnd) {
    CBxOwnedPic source = RandomPicture(20, 20);
    const double zoom = 0.9;
    CBxOwnedPic target = Scale(source.Pic(), zoom);
    ASSERT_EQ(target->m_iWidth, 18);
    const auto pixel = [&source](int x, int y) { return BX_PicRow<unsigned char>(source.Pic(), y)[3 * x + 2]; };
    // Target column 4 covers 4.444 .. 5.556: column 4 with weight 0.556, column 5 with weight 1.
    const double first = 1.0 - (4 / 0.9 - 4);
    const double expected =
        (first * first * pixel(4, 4) + first * (pixel(5, 4) + pixel(4, 5)) + pixel(5, 5)) / ((1 + first) * (1 + first));
    EXPECT_NEAR(BX_PicRow<float>(target.Pic(), 4)[3 * 4 + 2], expected, 1e-4);
}

TEST(Scaling, AnAreaWithoutSourceIsNotANumber) {
    // One source row: the last row is never used, so nothing is left.
    CBxOwnedPic source = RandomPicture(30, 2);
    CBxOwnedPic target = Scale(source.Pic(), 0.5);
    ASSERT_EQ(target->m_iHeight, 1);
    EXPECT_FALSE(std::isnan(BX_PicRow<float>(target.Pic(), 0)[0]));
    source = RandomPicture(2, 2);
    CBxOwnedPic tiny = Scale(source.Pic(), 0.95);
    ASSERT_EQ(tiny->m_iWidth, 1);
    CBxOwnedPic line = RandomPicture(40, 1);
    EXPECT_EQ(Scale(line.Pic(), 0.95)->m_iHeight, 0);
}
