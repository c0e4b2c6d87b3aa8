#include "large_picture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "test_pictures.h"

namespace {

double Lanczos3(double x) {
    const double pi = 3.14159265358979323846;
    if (x == 0.0 || std::fabs(x) >= 3.0) {
        return x == 0.0 ? 1.0 : 0.0;
    }
    return std::sin(pi * x) / (pi * x) * std::sin(pi * x / 3.0) / (pi * x / 3.0);
}

// One component of one target pixel, from the whole source in double.
double NaiveValue(const SBxPicBuf& source, CBxSize<int> size, int x, int y, int component) {
    const double stepX = static_cast<double>(source.m_iWidth) / size.width;
    const double stepY = static_cast<double>(source.m_iHeight) / size.height;
    double sum = 0.0;
    double weights = 0.0;
    for (int row = 0; row < source.m_iHeight; ++row) {
        const double rowWeight = Lanczos3((row + 0.5 - (y + 0.5) * stepY) / stepY);
        for (int column = 0; column < source.m_iWidth && rowWeight != 0.0; ++column) {
            const double weight = rowWeight * Lanczos3((column + 0.5 - (x + 0.5) * stepX) / stepX);
            sum += weight * BX_PicRow<unsigned char>(source, row)[3 * column + component];
            weights += weight;
        }
    }
    return std::clamp(sum / weights, 0.0, 255.0);
}

}  // namespace

TEST(LargePicture, CheckZoomIsTheLargestThatTheEngineSearches) {
    EXPECT_EQ(BX_GetCheckZoom(5000, 4000), 1.0);
    EXPECT_NEAR(BX_GetCheckZoom(20'000'001, 1), 0.95, 1e-9);
    EXPECT_NEAR(BX_GetCheckZoom(22'160'664, 1), 0.95, 1e-9);
    EXPECT_NEAR(BX_GetCheckZoom(22'160'665, 1), 0.90, 1e-9);
    EXPECT_NEAR(BX_GetCheckZoom(24'691'358, 1), 0.90, 1e-9);
    EXPECT_EQ(BX_GetCheckZoom(24'691'359, 1), 0.0);
    EXPECT_FALSE(BX_IsTooLargeToSearch(24'691'358, 1));
    EXPECT_TRUE(BX_IsTooLargeToSearch(24'691'359, 1));
}

TEST(LargePicture, FittingSizeKeepsShapeAndBound) {
    EXPECT_EQ(BX_GetFittingSize(5000, 4000, kMostPixelsOfZoom), (CBxSize<int>{5000, 4000}));
    for (const CBxSize<int> size : {CBxSize<int>{6000, 5000}, {8256, 5504}, {30'000'000, 1}, {1, 99'999'999}}) {
        const CBxSize<int> fitting = BX_GetFittingSize(size.width, size.height, kMostPixelsOfZoom);
        const double pixels = static_cast<double>(fitting.width) * fitting.height;
        EXPECT_LE(pixels, 2e7);
        EXPECT_GE(pixels, 2e7 * 0.999);
        if (size.height > 1 && size.width > 1) {
            EXPECT_NEAR(static_cast<double>(fitting.width) / fitting.height,
                        static_cast<double>(size.width) / size.height, 0.001);
        }
    }
}

TEST(LargePicture, EachShrunkPixelIsTheFilteredSource) {
    const CBxOwnedPic source = MakeTexturedPicture(61, 41, 5);
    for (const CBxSize<int> size : {CBxSize<int>{61, 41}, {60, 40}, {49, 33}, {30, 41}, {1, 1}, {61, 7}}) {
        CBxOwnedPic shrunk;
        ASSERT_EQ(BX_ShrinkPicture(shrunk, source.Pic(), size), 0);
        ASSERT_EQ(shrunk->m_iWidth, size.width);
        ASSERT_EQ(shrunk->m_iHeight, size.height);
        for (int y = 0; y < size.height; ++y) {
            for (int x = 0; x < size.width; ++x) {
                for (int component = 0; component < 3; ++component) {
                    ASSERT_NEAR(BX_PicRow<unsigned char>(shrunk.Pic(), y)[3 * x + component],
                                NaiveValue(source.Pic(), size, x, y, component), 0.51)
                        << size.width << " x " << size.height << " at " << x << ", " << y;
                }
            }
        }
    }
}

TEST(LargePicture, ShrinkingRefusesWhatItCannotDo) {
    const CBxOwnedPic source = MakeTexturedPicture(20, 20, 1);
    CBxOwnedPic target;
    EXPECT_EQ(BX_ShrinkPicture(target, source.Pic(), {21, 20}), 1);
    EXPECT_EQ(BX_ShrinkPicture(target, source.Pic(), {0, 20}), 1);
    CBxOwnedPic grey;
    ASSERT_EQ(grey.Allocate(20, 20, 1, 8), 0);
    EXPECT_EQ(BX_ShrinkPicture(target, grey.Pic(), {10, 10}), 1);
}

TEST(LargePicture, RectanglesAreMappedBackAndCoverWholePixels) {
    const CBxRect<double> mapped = BX_MapRectangle({10.0, 20.0, 30.5, 40.0}, {100, 200}, {200, 300});
    EXPECT_EQ(mapped, (CBxRect<double>{20.0, 30.0, 61.0, 60.0}));
    EXPECT_EQ(BX_GetCoveringPixels({10.25, 20.0, 30.5, 41.0}, {100, 200}), (CBxRect<int>{10, 20, 31, 41}));
    EXPECT_EQ(BX_GetCoveringPixels({-0.5, 1.5, 100.2, 205.0}, {100, 200}), (CBxRect<int>{0, 1, 100, 200}));
}
