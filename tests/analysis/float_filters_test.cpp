#include "float_filters.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "corner_detector.h"

namespace {

using testing::Each;
using testing::FloatEq;
using testing::FloatNear;
using testing::Pointwise;

std::vector<float> RandomPlane(unsigned int width, unsigned int height, unsigned int seed) {
    std::mt19937 random(seed);
    std::vector<float> plane(std::size_t{width} * height);
    std::generate(plane.begin(), plane.end(), [&random] { return static_cast<float>(random() % 25600) / 100.0f; });
    return plane;
}

// One line smoothed by the rule, sample by sample, in double.
std::vector<double> SmoothLine(const std::vector<double>& line, const float* taps, int radius) {
    const int n = static_cast<int>(line.size());
    const int last = std::max(n - radius - 2, radius);
    std::vector<double> out(line.size());
    for (int i = 0; i < n; ++i) {
        const int centre = std::clamp(i, radius, last);
        for (int tap = -radius; tap <= radius; ++tap) {
            out[i] += static_cast<double>(taps[tap + radius]) * line[centre + tap];
        }
    }
    return out;
}

std::vector<float> SmoothNaively(const std::vector<float>& plane, int width, int height, const float* taps,
                                 int radius) {
    std::vector<double> wide(plane.begin(), plane.end());
    std::vector<double> line(width);
    for (int y = 0; y < height; ++y) {
        std::copy_n(wide.begin() + y * width, width, line.begin());
        const std::vector<double> smooth = SmoothLine(line, taps, radius);
        std::copy(smooth.begin(), smooth.end(), wide.begin() + y * width);
    }
    line.resize(height);
    for (int x = 0; x < width; ++x) {
        for (int y = 0; y < height; ++y) {
            line[y] = wide[y * width + x];
        }
        const std::vector<double> smooth = SmoothLine(line, taps, radius);
        for (int y = 0; y < height; ++y) {
            wide[y * width + x] = smooth[y];
        }
    }
    return {wide.begin(), wide.end()};
}

struct SSize {
    unsigned int width;
    unsigned int height;
};
constexpr SSize kSizes[] = {{7, 7}, {7, 20}, {8, 7}, {9, 9}, {33, 12}, {64, 31}};

}  // namespace

TEST(KernelTaps, AreMultiplesOfTheFirstWeightUpToZoom101) {
    float taps[7];
    BX_KernelTaps(taps, kSmoothingKernel, 7, 1.01);
    EXPECT_THAT(taps, Pointwise(FloatEq(), {0.05f, 0.1f, 0.2f, 0.3f, 0.2f, 0.1f, 0.05f}));
    BX_KernelTaps(taps, kSmoothingKernel, 7, 1.0100001);
    EXPECT_NEAR(taps[1], 0.125, 0.001) << "the table's own weight, hardly stretched";
}

TEST(KernelTaps, AreReadAtStretchedDistances) {
    float taps[7];
    // At zoom 2 the distances 1, 2, 3 read positions 1, -1 and -3 of the kernel: its second weight, and nothing twice.
    BX_KernelTaps(taps, kSmoothingKernel, 7, 2.0);
    const float sum = 0.3f + 2 * 0.125f;
    EXPECT_THAT(taps, Pointwise(FloatNear(1e-7f), {0.f, 0.f, 0.125f / sum, 0.3f / sum, 0.125f / sum, 0.f, 0.f}));
    // At zoom 1.5 the 5-tap kernel reads position 0.5, halfway between 0.1 and 0.2, and position -1.
    BX_KernelTaps(taps, kTensorKernel, 5, 1.5);
    EXPECT_NEAR(taps[1], 0.15 / 0.7, 1e-6);
    EXPECT_EQ(taps[0], 0.0f);
}

TEST(Smoothing, MatchesTheNaiveFormWithItsBorders) {
    for (const SSize size : kSizes) {
        for (const double zoom : {1.0, 1.3, 2.05}) {
            const std::vector<float> plane = RandomPlane(size.width, size.height, 7 * size.width + size.height);
            std::vector<float> out(plane.size(), -1.0f);
            std::vector<float> scratch(plane.size());
            float taps[7];

            CBxFloatFilter::ConvWithKernel2D_7(out.data(), plane.data(), size.width, size.height, scratch.data(),
                                               kSmoothingKernel, zoom);
            BX_KernelTaps(taps, kSmoothingKernel, 7, zoom);
            EXPECT_THAT(out, Pointwise(FloatNear(1e-3f), SmoothNaively(plane, size.width, size.height, taps, 3)))
                << size.width << " x " << size.height << ", zoom " << zoom;

            CBxFloatFilter::ConvWithKernel2D(out.data(), plane.data(), size.width, size.height, scratch.data(),
                                             kTensorKernel, zoom);
            BX_KernelTaps(taps, kTensorKernel, 5, zoom);
            EXPECT_THAT(out, Pointwise(FloatNear(1e-3f), SmoothNaively(plane, size.width, size.height, taps, 2)))
                << size.width << " x " << size.height << ", zoom " << zoom;
        }
    }
}

TEST(Smoothing, NamedFormsEqualTheZoomThatSelectsThem) {
    const std::vector<float> plane = RandomPlane(20, 15, 3);
    std::vector<float> scratch(plane.size());
    std::vector<float> byZoom(plane.size());
    std::vector<float> byName(plane.size());
    CBxFloatFilter::ConvWithKernel2D_7(byZoom.data(), plane.data(), 20, 15, scratch.data(), kSmoothingKernel, 1.0);
    CBxFloatFilter::ConvWithKernel2D_7_1(byName.data(), plane.data(), 20, 15, scratch.data(), kSmoothingKernel);
    EXPECT_EQ(byZoom, byName);
    float taps[7];
    BX_KernelTaps(taps, kSmoothingKernel, 7, 1.4);
    CBxFloatFilter::ConvWithKernel2D_7(byZoom.data(), plane.data(), 20, 15, scratch.data(), kSmoothingKernel, 1.4);
    CBxFloatFilter::ConvWithKernel2D_7_General(byName.data(), plane.data(), 20, 15, scratch.data(), taps);
    EXPECT_EQ(byZoom, byName);
    CBxFloatFilter::ConvWithKernel2D(byZoom.data(), plane.data(), 20, 15, scratch.data(), kTensorKernel, 1.0);
    CBxFloatFilter::ConvWithKernel2D_1(byName.data(), plane.data(), 20, 15, scratch.data(), kTensorKernel);
    EXPECT_EQ(byZoom, byName);
    CBxFloatFilter::ConvWithKernel2D_General(byName.data(), plane.data(), 20, 15, scratch.data(), kTensorKernel);
    EXPECT_THAT(byName, Pointwise(FloatNear(1e-4f), byZoom)) << "the 5-tap table is made of the same multiples";
}

TEST(Smoothing, KeepsAConstantPlaneConstant) {
    const std::vector<float> plane(30 * 20, 77.0f);
    std::vector<float> scratch(plane.size());
    for (const double zoom : {1.0, 1.2, 1.7, 2.05}) {
        std::vector<float> out(plane.size());
        CBxFloatFilter::ConvWithKernel2D_7(out.data(), plane.data(), 30, 20, scratch.data(), kSmoothingKernel, zoom);
        EXPECT_THAT(out, Each(FloatNear(77.0f, 1e-3f))) << zoom;
    }
}

TEST(Smoothing, LeavesPlanesSmallerThanTheKernelUnwritten) {
    const std::vector<float> plane = RandomPlane(40, 40, 1);
    std::vector<float> scratch(plane.size());
    for (const SSize size : {SSize{6, 40}, SSize{40, 6}, SSize{1, 1}, SSize{0, 0}}) {
        std::vector<float> out(plane.size(), -1.0f);
        CBxFloatFilter::ConvWithKernel2D_7(out.data(), plane.data(), size.width, size.height, scratch.data(),
                                           kSmoothingKernel, 1.0);
        EXPECT_THAT(out, Each(-1.0f));
    }
    std::vector<float> out(plane.size(), -1.0f);
    CBxFloatFilter::ConvWithKernel2D(out.data(), plane.data(), 4, 40, scratch.data(), kTensorKernel, 2.0);
    EXPECT_THAT(out, Each(-1.0f));
}

TEST(Differences, RepeatTheLastColumnAndRow) {
    const std::vector<float> plane = {1, 4, 9, 2, 7, 1};  // 3 x 2
    std::vector<float> out(6);
    CBxFloatFilter::GetDerivationDx(out.data(), plane.data(), 3, 2);
    EXPECT_THAT(out, testing::ElementsAre(3, 5, 5, 5, -6, -6));
    CBxFloatFilter::GetDerivationDy(out.data(), plane.data(), 3, 2);
    EXPECT_THAT(out, testing::ElementsAre(1, 3, -8, 1, 3, -8));
    CBxFloatFilter::GetDerivationDx(out.data(), plane.data(), 1, 6);
    EXPECT_THAT(out, Each(0.0f));
    CBxFloatFilter::GetDerivationDy(out.data(), plane.data(), 6, 1);
    EXPECT_THAT(out, Each(0.0f));
}

TEST(Products, MatchHandComputation) {
    const std::vector<float> sxx = {2, 100};
    const std::vector<float> syy = {3, 50};
    const std::vector<float> sxy = {1, -20};
    std::vector<float> out(2);
    CBxFloatFilter::PointProduct(out.data(), sxx.data(), sxy.data(), 2, 1);
    EXPECT_THAT(out, testing::ElementsAre(2, -2000));
    CBxFloatFilter::HessianProduct(out.data(), sxx.data(), syy.data(), sxy.data(), 2, 1);
    EXPECT_THAT(out, Pointwise(FloatNear(1e-3f), {2 * 3 - 1 - 0.08f * 25, 5000 - 400 - 0.08f * 22500}));
}
