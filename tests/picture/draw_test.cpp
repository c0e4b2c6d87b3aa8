#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <set>
#include <utility>

#include "test_pictures.h"

using Api = CBxPicBufAPI;
using Byte = std::uint8_t;
using Point = CBxPoint<int>;
using Rect = CBxRect<int>;
using Pixels = std::set<std::pair<int, int>>;

namespace {

constexpr CBxColor kColour{10, 30, 20};
constexpr CBxColor kOther{1, 2, 3};
constexpr int kMost = std::numeric_limits<int>::max();
constexpr int kLeast = std::numeric_limits<int>::min();

bool HasColour(const SBxPicBuf& pic, int x, int y, const CBxColor& colour) {
    const Byte* pixel = BX_PicRow<Byte>(pic, y) + x * pic.m_iComponents;
    if (pic.m_iComponents == 1) {
        return pixel[0] == std::max({colour.red, colour.green, colour.blue});
    }
    return pixel[0] == colour.blue && pixel[1] == colour.green && pixel[2] == colour.red;
}

// The pixels that have the colour; the others are black or of the second colour.
Pixels Drawn(const SBxPicBuf& pic, const CBxColor& colour = kColour) {
    Pixels pixels;
    for (int y = 0; y < pic.m_iHeight; ++y) {
        for (int x = 0; x < pic.m_iWidth; ++x) {
            if (HasColour(pic, x, y, colour)) {
                pixels.insert({x, y});
            } else {
                EXPECT_TRUE(HasColour(pic, x, y, CBxColor{0, 0, 0}) || HasColour(pic, x, y, kColour) ||
                            HasColour(pic, x, y, kOther))
                    << x << ", " << y;
            }
        }
    }
    return pixels;
}

Pixels Block(const Rect& rect, const SBxPicBuf& pic) {
    Pixels pixels;
    for (int y = std::max(rect.top, 0); y < std::min(rect.bottom, pic.m_iHeight); ++y) {
        for (int x = std::max(rect.left, 0); x < std::min(rect.right, pic.m_iWidth); ++x) {
            pixels.insert({x, y});
        }
    }
    return pixels;
}

int MinorAt(int from, int to, int step, int steps) {
    if (steps == 0) {
        return from;
    }
    const int distance = std::abs(to - from);
    const int offset = (2 * distance * step + steps) / (2 * steps);  // rounded, halves away from the start
    return to < from ? from - offset : from + offset;
}

// All points of a line, the minor coordinate rounded from the ideal line.
std::vector<Point> IdealLine(const Point& from, const Point& to) {
    const int dx = std::abs(to.x - from.x);
    const int dy = std::abs(to.y - from.y);
    const int steps = std::max(dx, dy);
    std::vector<Point> points;
    for (int k = 0; k <= steps; ++k) {
        points.push_back({MinorAt(from.x, to.x, k, steps), MinorAt(from.y, to.y, k, steps)});
    }
    return points;
}

}  // namespace

// All lines between points in and around a small picture.
TEST(DrawLine, ThinLinesAreTheRoundedIdealLineInsideThePicture) {
    CBxOwnedPic pic = MakePic(6, 5, 1, 8);
    for (int code = 0; code < 11 * 11 * 11 * 11; ++code) {
        const Point from{code % 11 - 3, code / 11 % 11 - 3};
        const Point to{code / 121 % 11 - 3, code / 1331 - 3};
        Pixels expected;
        for (const Point& point : IdealLine(from, to)) {
            expected.merge(Block({point.x, point.y, point.x + 1, point.y + 1}, pic.Pic()));
        }
        Api::Zero(pic.Pic());
        Api::DrawLine(pic.Pic(), from.x, from.y, to.x, to.y, kColour);
        ASSERT_EQ(Drawn(pic.Pic()), expected) << from.x << ',' << from.y << " to " << to.x << ',' << to.y;
    }
}

TEST(DrawLine, ThickLinesAreStripsAcrossTheThinLine) {
    CBxOwnedPic pic = MakePic(6, 5, 3, 8);
    for (int code = 0; code < 9 * 9 * 9 * 9; ++code) {
        const Point from{code % 9 - 2, code / 9 % 9 - 2};
        const Point to{code / 81 % 9 - 2, code / 729 - 2};
        const int width = 2 + code % 2;
        const bool isVertical = std::abs(to.x - from.x) < std::abs(to.y - from.y);
        Pixels expected;
        for (const Point& p : IdealLine(from, to)) {
            expected.merge(Block(isVertical ? Rect{p.x - width + 1, p.y, p.x + width, p.y + 1}
                                            : Rect{p.x, p.y - width + 1, p.x + 1, p.y + width},
                                 pic.Pic()));
        }
        Api::Zero(pic.Pic());
        Api::DrawLine(pic.Pic(), from.x, from.y, to.x, to.y, width, kColour);
        ASSERT_EQ(Drawn(pic.Pic()), expected) << from.x << ',' << from.y << " to " << to.x << ',' << to.y;
    }
}

// Lines across the whole range of int: what lies outside is skipped, not walked, and nothing overflows.
TEST(DrawLine, EndlessLinesShowTheirPartInThePicture) {
    CBxOwnedPic grey = MakePic(40, 30, 1, 8);
    Api::DrawLine(grey.Pic(), kLeast, 7, kMost, 7, kColour);
    EXPECT_EQ(Drawn(grey.Pic()), Block({0, 7, 40, 8}, grey.Pic()));
    Api::Zero(grey.Pic());
    Api::DrawLine(grey.Pic(), kMost, kMost, kLeast, kLeast, kColour);
    Pixels diagonal;
    for (int i = 0; i < 30; ++i) {
        diagonal.insert({i, i});
    }
    EXPECT_EQ(Drawn(grey.Pic()), diagonal);
    Api::Zero(grey.Pic());
    // Half as steep: through (0, 0), since it starts at twice as far to the left as up.
    Api::DrawLine(grey.Pic(), -2000000000, -1000000000, 2000000000, 1000000000, kColour);
    for (int x = 0; x < 40; ++x) {
        EXPECT_TRUE(HasColour(grey.Pic(), x, (x + 1) / 2, kColour)) << x;
    }
    CBxOwnedPic colour = MakePic(40, 30, 3, 8);
    Api::DrawLine(colour.Pic(), kLeast, kLeast, kMost, kMost, kMost, kColour);
    EXPECT_EQ(Drawn(colour.Pic()), Block({0, 0, 40, 30}, colour.Pic()));
}

TEST(DrawRect, FillsAreClippedToThePicture) {
    for (const Rect& rect : {Rect{2, 1, 5, 4}, Rect{-3, -3, 2, 2}, Rect{5, 5, 90, 90}, Rect{kLeast, 2, kMost, 4},
                             Rect{3, 3, 3, 5}, Rect{5, 5, 2, 2}, Rect{8, 0, 12, 8}, Rect{-5, -5, 0, 20}}) {
        CBxOwnedPic pic = MakePic(8, 8, 3, 8);
        Api::FillRect(pic.Pic(), rect, kColour);
        EXPECT_EQ(Drawn(pic.Pic()), Block(rect, pic.Pic())) << rect.left << ' ' << rect.top;
    }
}

TEST(DrawRect, BordersSurroundTheRectangle) {
    for (const Rect& rect : {Rect{10, 10, 20, 20}, Rect{-1, 5, 4, 29}, Rect{12, -9, 50, 60}}) {
        CBxOwnedPic pic = MakePic(30, 30, 3, 8);
        Api::DrawRectBorder(pic.Pic(), rect, 2, kColour);
        Pixels expected = Block({rect.left - 2, rect.top - 2, rect.right + 2, rect.bottom + 2}, pic.Pic());
        for (const auto& pixel : Block(rect, pic.Pic())) {
            expected.erase(pixel);
        }
        EXPECT_EQ(Drawn(pic.Pic()), expected);
        Api::Zero(pic.Pic());
        Api::DrawRectBorder(pic.Pic(), {20, 20, 20, 25}, 2, kColour);
        Api::DrawRectBorder(pic.Pic(), rect, 0, kColour);
        Api::DrawRectBorder(pic.Pic(), rect, kLeast, kColour);
        EXPECT_TRUE(Drawn(pic.Pic()).empty());
    }
}

TEST(DrawRect, MarkersAreSquaresWithABorder) {
    CBxOwnedPic pic = MakePic(20, 20, 3, 8);
    Api::DrawRectPoint(pic.Pic(), 9, 8, 3, 2, kColour, kOther);
    EXPECT_EQ(Drawn(pic.Pic()), Block({7, 6, 12, 11}, pic.Pic()));
    EXPECT_EQ(Drawn(pic.Pic(), kOther).size(), 9u * 9u - 5u * 5u);
    EXPECT_TRUE(HasColour(pic.Pic(), 5, 4, kOther));
    EXPECT_TRUE(HasColour(pic.Pic(), 13, 12, kOther));
    Api::Zero(pic.Pic());
    Api::DrawRectPoint(pic.Pic(), 9, 8, 0, 5, kColour, kColour);
    EXPECT_TRUE(Drawn(pic.Pic()).empty());
    Api::DrawRectPoint(pic.Pic(), kLeast, kMost, kMost, kMost, kColour, kColour);
    EXPECT_EQ(Drawn(pic.Pic()), Block({0, 0, 20, 20}, pic.Pic()));  // the border of a square far to the left
}

TEST(DrawSpline, AStraightSegmentSetsEveryPixel) {
    CBxOwnedPic pic = MakePic(40, 10, 1, 8);
    Api::DrawSplineSegment(pic.Pic(), {3, 4}, {3, 4}, {33, 4}, {33, 4}, kColour);
    EXPECT_EQ(Drawn(pic.Pic()), Block({3, 4, 34, 5}, pic.Pic()));
    Api::Zero(pic.Pic());
    Api::DrawSplineSegment(pic.Pic(), {5, 5}, {5, 5}, {5, 5}, {5, 5}, kColour);
    EXPECT_EQ(Drawn(pic.Pic()), Block({5, 5, 6, 6}, pic.Pic()));
}

// The value of the curve by the tangents at its ends, which are half the way between the neighbours.
TEST(DrawSpline, CurvesAreConnectedAndFollowTheirTangents) {
    std::mt19937 random(5);
    for (int number = 0; number < 200; ++number) {
        Point p[4];
        for (Point& point : p) {
            point = {static_cast<int>(random() % 30) + 35, static_cast<int>(random() % 30) + 35};
        }
        CBxOwnedPic pic = MakePic(100, 100, 1, 8);
        Api::DrawSplineSegment(pic.Pic(), p[0], p[1], p[2], p[3], kColour);
        Pixels open = Drawn(pic.Pic());
        std::vector<std::pair<double, double>> ideal;
        for (int k = 0; k <= 2000; ++k) {
            const double t = k / 2000.0;
            const auto hermite = [t](double from, double to, double out, double in) {
                return (1 + 2 * t) * (1 - t) * (1 - t) * from + t * (1 - t) * (1 - t) * out + t * t * (3 - 2 * t) * to +
                       t * t * (t - 1) * in;
            };
            ideal.push_back({hermite(p[1].x, p[2].x, (p[2].x - p[0].x) / 2.0, (p[3].x - p[1].x) / 2.0),
                             hermite(p[1].y, p[2].y, (p[2].y - p[0].y) / 2.0, (p[3].y - p[1].y) / 2.0)});
        }
        for (const auto& [x, y] : open) {
            double nearest = 1e9;
            for (const auto& [idealX, idealY] : ideal) {
                nearest = std::min(nearest, std::max(std::abs(idealX - x), std::abs(idealY - y)));
            }
            ASSERT_LT(nearest, 0.6) << number << ": " << x << ", " << y;
        }
        // Flood the pixels from one end; the other end must be reached.
        std::vector<std::pair<int, int>> reached = {{p[1].x, p[1].y}};
        ASSERT_EQ(open.erase(reached[0]), 1u);
        for (std::size_t i = 0; i < reached.size(); ++i) {
            for (int side = 0; side < 9; ++side) {
                const std::pair<int, int> pixel{reached[i].first + side % 3 - 1, reached[i].second + side / 3 - 1};
                if (open.erase(pixel) == 1) {
                    reached.push_back(pixel);
                }
            }
        }
        EXPECT_TRUE(open.empty()) << number;
        EXPECT_TRUE(HasColour(pic.Pic(), p[2].x, p[2].y, kColour)) << number;
    }
}

// What lies outside is skipped without changing what is seen: a window shows the same pixels as the whole.
TEST(DrawSpline, AWindowShowsThePartOfTheWhole) {
    std::mt19937 random(6);
    for (int number = 0; number < 200; ++number) {
        Point p[4];
        Point q[4];
        for (int k = 0; k < 4; ++k) {
            p[k] = {static_cast<int>(random() % 300) + 100, static_cast<int>(random() % 300) + 100};
            q[k] = {p[k].x - 200, p[k].y - 200};
        }
        CBxOwnedPic whole = MakePic(500, 500, 1, 8);
        CBxOwnedPic window = MakePic(100, 100, 1, 8);
        Api::DrawSplineSegment(whole.Pic(), p[0], p[1], p[2], p[3], kColour);
        Api::DrawSplineSegment(window.Pic(), q[0], q[1], q[2], q[3], kColour);
        for (int y = 1; y < 100; ++y) {
            for (int x = 1; x < 100; ++x) {
                ASSERT_EQ(BX_PicRow<Byte>(window.Pic(), y)[x], BX_PicRow<Byte>(whole.Pic(), y + 200)[x + 200]);
            }
        }
    }
}

TEST(DrawSpline, EndlessCurvesComeToAnEnd) {
    CBxOwnedPic pic = MakePic(50, 50, 1, 8);
    Api::DrawSplineSegment(pic.Pic(), {kLeast, 9}, {kLeast, 9}, {kMost, 9}, {kMost, 9}, kColour);
    EXPECT_EQ(Drawn(pic.Pic()), Block({0, 9, 50, 10}, pic.Pic()));
    Api::DrawSplineSegment(pic.Pic(), {kMost, kLeast}, {kLeast, kMost}, {kMost, kLeast}, {kLeast, kMost}, kColour);
}

// Rectangles draw into colour pictures, lines of one pixel and splines into grey ones.
TEST(Draw, EachPictureKindHasItsOwnOperations) {
    CBxOwnedPic grey = MakePic(20, 20, 1, 8);
    Api::FillRect(grey.Pic(), {2, 2, 9, 9}, kColour);
    Api::DrawRectBorder(grey.Pic(), {2, 2, 9, 9}, 2, kColour);
    Api::DrawRectPoint(grey.Pic(), 9, 9, 3, 2, kColour, kColour);
    Api::DrawLine(grey.Pic(), 1, 1, 15, 9, 3, kColour);
    EXPECT_TRUE(Drawn(grey.Pic()).empty());
    Api::DrawLine(grey.Pic(), 1, 1, 15, 9, 1, kColour);
    EXPECT_EQ(Drawn(grey.Pic()).size(), 15u);

    CBxOwnedPic colour = MakePic(20, 20, 3, 8);
    Api::DrawLine(colour.Pic(), 1, 1, 15, 9, kColour);
    Api::DrawLine(colour.Pic(), 1, 1, 15, 9, 1, kColour);
    Api::DrawLine(colour.Pic(), 1, 1, 15, 9, 0, kColour);
    Api::DrawSplineSegment(colour.Pic(), {1, 1}, {1, 1}, {9, 9}, {9, 9}, kColour);
    EXPECT_TRUE(Drawn(colour.Pic()).empty());
}
