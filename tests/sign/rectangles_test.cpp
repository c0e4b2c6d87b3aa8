#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "owned_pic.h"
#include "sign_op.h"

namespace {

using TRect = CBxRect<double>;

std::vector<TRect> Reduced(std::vector<TRect> rects, void (*reduce)(TRect*, unsigned int&)) {
    auto count = static_cast<unsigned int>(rects.size());
    reduce(rects.data(), count);
    rects.resize(count);
    return rects;
}

struct SRectangles {
    unsigned char result;
    std::vector<TRect> rects;
    std::vector<CBxPoint<double>> anchors;
};

// A 1_F picture of `ground` with squares of 12 pixels in the given tone.
SRectangles FindRectangles(int width, int height, float ground, float tone, const std::vector<CBxPoint<int>>& places,
                           bool detection = false, SBxSignRun* run = nullptr) {
    CBxOwnedPic plane;
    EXPECT_EQ(plane.Allocate(width, height, 1, 32), 0);
    for (int y = 0; y < height; ++y) {
        std::fill_n(BX_PicRow<float>(plane.Pic(), y), width, ground);
    }
    for (const CBxPoint<int>& place : places) {
        for (int y = place.y; y < place.y + 12; ++y) {
            std::fill_n(BX_PicRow<float>(plane.Pic(), y) + place.x, 12, tone);
        }
    }
    TRect rects[200];
    CBxPoint<double> anchors[50];
    unsigned int count = 0;
    unsigned int anchorCount = 0;
    SBxSignRun own;
    const unsigned char result = CBxSignOp::GetAllImportantRectangles(
        run != nullptr ? *run : own, rects, count, &plane.Pic(), anchors, anchorCount, detection, 1.0);
    return {result, {rects, rects + count}, {anchors, anchors + anchorCount}};
}

constexpr CBxPoint<double> kNone{-100.0, -100.0};

}  // namespace

TEST(RectangleReduction, InsertionKeepsTheInnermost) {
    EXPECT_THAT(Reduced({{0, 0, 900, 900}, {10, 10, 500, 500}, {20, 20, 400, 400}, {450, 10, 890, 500}},
                        CBxSignOp::ReduceNumbersOfRectangles),
                testing::ElementsAre(TRect{20, 20, 400, 400}, TRect{450, 10, 890, 500}));
    EXPECT_THAT(Reduced({{1, 1, 9, 9}, {1, 1, 9, 9}, {1, 1, 9, 9}}, CBxSignOp::ReduceNumbersOfRectangles),
                testing::ElementsAre(TRect{1, 1, 9, 9}));
}

TEST(RectangleReduction, DetectionRemovesRepetitionsOnly) {
    EXPECT_THAT(Reduced({{0, 0, 9, 9}, {1, 1, 5, 5}, {1, 1 + 5e-6, 5, 5}, {1, 1, 5, 5.00002}},
                        CBxSignOp::ReduceNumbersOfRectanglesX),
                testing::ElementsAre(TRect{0, 0, 9, 9}, TRect{1, 1, 5, 5}, TRect{1, 1, 5, 5.00002}));
}

TEST(ImportantRectangles, SpanCornersFartherApartThan320InBothDirections) {
    const SRectangles far = FindRectangles(500, 500, 20, 120, {{40, 40}, {440, 440}});
    ASSERT_EQ(far.result, 0);
    ASSERT_FALSE(far.rects.empty());
    for (const TRect& rect : far.rects) {
        EXPECT_GT(rect.Width(), 320);
        EXPECT_GT(rect.Height(), 320);
    }
    // 300 pixels apart in y only: corners, but no rectangle.
    const SRectangles near = FindRectangles(500, 500, 20, 120, {{40, 40}, {440, 340}});
    EXPECT_EQ(near.result, 0);
    EXPECT_THAT(near.rects, testing::ElementsAre(TRect{0, 0, 500, 500}));
}

TEST(ImportantRectangles, FallBackToTheWholePicture) {
    const SRectangles flat = FindRectangles(300, 200, 60, 60, {});
    EXPECT_EQ(flat.result, 0);
    EXPECT_THAT(flat.rects, testing::ElementsAre(TRect{0, 0, 300, 200}));
    EXPECT_TRUE(flat.anchors.empty());
}

TEST(ImportantRectangles, KeepTheWholePictureInFrontWhenOnlyTheBrightHalfHasCorners) {
    const SRectangles bright = FindRectangles(500, 500, 140, 240, {{40, 40}, {440, 440}});
    EXPECT_EQ(bright.result, 0);
    ASSERT_GT(bright.rects.size(), 1u);
    EXPECT_EQ(bright.rects[0], (TRect{0, 0, 500, 500}));
    EXPECT_EQ(bright.anchors, std::vector<CBxPoint<double>>(10, CBxPoint<double>{0, 0}));
}

TEST(ImportantRectangles, MarkTheHalvesThatHaveCorners) {
    const SRectangles dark = FindRectangles(500, 500, 20, 120, {{40, 40}, {440, 440}});
    EXPECT_EQ(dark.anchors, std::vector<CBxPoint<double>>(10, CBxPoint<double>{0, 0}));
    const SRectangles both = FindRectangles(500, 500, 20, 240, {{40, 40}, {440, 440}});
    EXPECT_EQ(both.anchors.size(), 20u);
    EXPECT_THAT(both.anchors, testing::Not(testing::Contains(kNone)));
}

TEST(ImportantRectangles, DetectionOffersMoreThanInsertion) {
    std::vector<CBxPoint<int>> places;
    for (int i = 0; i < 9; ++i) {
        places.push_back({40 + 80 * i, 40 + 80 * ((i * 5) % 9)});
    }
    const SRectangles insertion = FindRectangles(800, 800, 20, 120, places, false);
    const SRectangles detection = FindRectangles(800, 800, 20, 120, places, true);
    EXPECT_GT(detection.rects.size(), insertion.rects.size());
    EXPECT_LE(detection.rects.size(), 96u);
    EXPECT_LE(insertion.rects.size(), 40u);
}

TEST(ImportantRectangles, StopBetweenTheHalvesWhenAborted) {
    SBxSignRun run;
    run.AbortDetecting();
    EXPECT_EQ(FindRectangles(500, 500, 20, 240, {{40, 40}, {440, 440}}, true, &run).result, 1);
}
