#include "corner_detector.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <memory>
#include <random>
#include <vector>

#include "owned_pic.h"

namespace {

struct SCorner {
    double x;
    double y;
    float strength;
};

CBxOwnedPic MakePlane(int width, int height, const std::function<float(int, int)>& value) {
    CBxOwnedPic plane;
    EXPECT_EQ(plane.Allocate(width, height, 1, 32), 0);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            BX_PicRow<float>(plane.Pic(), y)[x] = value(x, y);
        }
    }
    return plane;
}

std::vector<SCorner> FindCorners(CBxOwnedPic& plane, double zoom) {
    CBxPoint<double>* points = nullptr;
    unsigned int count = 0;
    unsigned int ignored = 0;
    float strengths[CBxCornerDetector::kMostCorners];
    EXPECT_EQ(CBxCornerDetector::FindCornersHarrisInsert_Tailed(points, count, &plane.Pic(), ignored, strengths, zoom),
              0);
    std::vector<SCorner> corners;
    for (unsigned int i = 0; i < count; ++i) {
        corners.push_back({points[i].x, points[i].y, strengths[i]});
    }
    std::free(points);
    return corners;
}

// Bright squares of 12 pixels on a dark ground, their top left corners at the given places.
CBxOwnedPic MakeSquares(int width, int height, const std::vector<CBxPoint<int>>& places) {
    return MakePlane(width, height, [&places](int x, int y) {
        const bool inside = std::any_of(places.begin(), places.end(), [x, y](const CBxPoint<int>& place) {
            return x >= place.x && x < place.x + 12 && y >= place.y && y < place.y + 12;
        });
        return inside ? 120.0f : 20.0f;
    });
}

bool AnyWithin(const std::vector<SCorner>& corners, double x, double y, double distance) {
    return std::any_of(corners.begin(), corners.end(),
                       [=](const SCorner& corner) { return std::hypot(corner.x - x, corner.y - y) <= distance; });
}

}  // namespace

TEST(CornerDetector, FindsTheCornersOfASquare) {
    CBxOwnedPic plane = MakeSquares(80, 60, {{30, 20}});
    const std::vector<SCorner> corners = FindCorners(plane, 1.0);
    ASSERT_EQ(corners.size(), 4u);
    for (const CBxPoint<double> place : {CBxPoint<double>{30, 20}, {41, 20}, {30, 31}, {41, 31}}) {
        EXPECT_TRUE(AnyWithin(corners, place.x, place.y, 2.5)) << place.x << ", " << place.y;
    }
    for (const SCorner& corner : corners) {
        EXPECT_EQ(corner.x * 8, std::floor(corner.x * 8)) << "positions are eighths of a pixel";
    }
}

TEST(CornerDetector, ReturnsTheStrongestFiftyApartAndAwayFromTheEdges) {
    std::mt19937 random(5);
    CBxOwnedPic plane = MakePlane(640, 560, [&random](int, int) { return static_cast<float>(random() % 256); });
    const std::vector<SCorner> corners = FindCorners(plane, 1.0);
    ASSERT_EQ(corners.size(), 50u);
    for (std::size_t i = 0; i < corners.size(); ++i) {
        EXPECT_GE(std::min({corners[i].x, corners[i].y, 640 - corners[i].x, 560 - corners[i].y}), 10.0);
        for (std::size_t j = 0; j < i; ++j) {
            EXPECT_GE(corners[j].strength, corners[i].strength);
            EXPECT_GE(std::hypot(corners[i].x - corners[j].x, corners[i].y - corners[j].y), std::sqrt(10.0));
        }
    }
}

TEST(CornerDetector, TilesDoNotChangeTheCornersInsideThem) {
    // 1001 columns make three tiles of 334; the squares sit in, across and beside their seams.
    const std::vector<CBxPoint<int>> places = {{100, 40}, {328, 40}, {336, 70}, {500, 40}, {662, 40}, {900, 40}};
    CBxOwnedPic wide = MakeSquares(1001, 120, places);
    const std::vector<SCorner> inTiles = FindCorners(wide, 1.0);
    EXPECT_EQ(inTiles.size(), 4 * places.size());
    for (const CBxPoint<int>& place : places) {
        // Each square once more in a small picture of one tile.
        CBxOwnedPic small = MakeSquares(60, 60, {{24, 24}});
        for (const SCorner& corner : FindCorners(small, 1.0)) {
            EXPECT_TRUE(AnyWithin(inTiles, corner.x - 24 + place.x, corner.y - 24 + place.y, 1e-9))
                << place.x << ", " << place.y;
        }
    }
}

TEST(CornerDetector, FindsNothingInFlatTinyOrUndefinedPictures) {
    CBxOwnedPic flat = MakePlane(100, 100, [](int, int) { return 93.0f; });
    EXPECT_TRUE(FindCorners(flat, 1.0).empty());
    CBxOwnedPic undefined = MakePlane(100, 100, [](int, int) { return std::nanf(""); });
    EXPECT_TRUE(FindCorners(undefined, 1.5).empty());
    std::mt19937 random(1);
    for (const CBxSize<int> size :
         {CBxSize<int>{1, 1}, {2, 2}, {3, 3}, {6, 50}, {50, 6}, {7, 7}, {19, 200}, {200, 19}}) {
        CBxOwnedPic tiny =
            MakePlane(size.width, size.height, [&random](int, int) { return static_cast<float>(random() % 256); });
        EXPECT_TRUE(FindCorners(tiny, 1.0).empty()) << size.width << " x " << size.height;
        EXPECT_TRUE(FindCorners(tiny, 2.0).empty()) << size.width << " x " << size.height;
    }
}

TEST(CornerDetector, LeavesTheWholePictureUnchanged) {
    CBxOwnedPic plane = MakeSquares(80, 60, {{30, 20}});
    const std::vector<unsigned char> before(plane->m_pData, plane->m_pData + plane->m_uiByteSize);
    FindCorners(plane, 1.0);
    EXPECT_TRUE(std::equal(before.begin(), before.end(), plane->m_pData));
}

TEST(CornerDetector, AcceptanceRectangleIncludesItsBounds) {
    CBxOwnedPic plane = MakeSquares(80, 60, {{30, 20}});
    const std::vector<SCorner> corners = FindCorners(plane, 1.0);
    CBxPoint<double>* points = nullptr;
    unsigned int count = 0;
    unsigned int ignored = 0;
    float strengths[50];
    const CBxRect<int> accept{0, 0, static_cast<int>(std::ceil(corners[0].x)),
                              static_cast<int>(std::ceil(corners[0].y))};
    const auto expected = std::count_if(corners.begin(), corners.end(), [&accept](const SCorner& corner) {
        return corner.x <= accept.right && corner.y <= accept.bottom;
    });
    ASSERT_EQ(CBxCornerDetector::FindCornersHarrisInsert(points, count, &plane.Pic(), ignored, strengths, 1.0, accept),
              0);
    EXPECT_EQ(static_cast<long>(count), expected);
    std::free(points);
}

TEST(LocalMaxima, NeedAStrictMaximumAboveTheThreshold) {
    std::vector<float> response(7 * 5, 0.0f);
    response[2 * 7 + 2] = 50.0f;  // alone
    response[2 * 7 + 4] = 12.0f;  // with an equal neighbour: a plateau
    response[2 * 7 + 5] = 12.0f;
    response[0] = 90.0f;  // on the edge
    SBxPointANMS* candidates = nullptr;
    unsigned int count = 0;
    unsigned int capacity = 0;
    ASSERT_EQ(CBxCornerDetector::FindLocalMaxima3x3WithThreshold(candidates, count, capacity, response.data(), 7, 5,
                                                                 10.0f, 0),
              0);
    const std::unique_ptr<SBxPointANMS, decltype(&std::free)> owner(candidates, &std::free);
    ASSERT_EQ(count, 1u);
    EXPECT_EQ(capacity, 50u);
    EXPECT_EQ(candidates[0].x, 2.0);
    EXPECT_EQ(candidates[0].y, 2.0);
    EXPECT_FLOAT_EQ(candidates[0].R, 50.0f);

    response[2 * 7 + 2] = 10.0f;
    count = 0;
    ASSERT_EQ(CBxCornerDetector::FindLocalMaxima3x3WithThreshold(candidates, count, capacity, response.data(), 7, 5,
                                                                 10.0f, 0),
              0);
    EXPECT_EQ(count, 0u) << "the threshold itself is not above the threshold";
}

TEST(LocalMaxima, ComparatorPutsTheStrongerFirstAndNeverTies) {
    const SBxPointANMS weak{0, 0, 1.0f, 0};
    const SBxPointANMS strong{0, 0, 2.0f, 0};
    EXPECT_EQ(CBxCornerDetector::compareR(&weak, &strong), 1);
    EXPECT_EQ(CBxCornerDetector::compareR(&strong, &weak), -1);
    EXPECT_EQ(CBxCornerDetector::compareR(&weak, &weak), -1);
}
