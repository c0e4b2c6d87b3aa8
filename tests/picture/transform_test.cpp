#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>

#include "test_pictures.h"

using testing::Each;
using testing::ElementsAre;

using Api = CBxPicBufAPI;
using Byte = std::uint8_t;
using Kind = EBxInterpolation;
using Rect = CBxRect<int>;

namespace {

constexpr Kind kKinds[] = {Kind::kConstant, Kind::kBilinear, Kind::kBicubic};
constexpr Byte kUntouched = 77;

// Weight of a pixel whose centre is `distance` away from the position, along one axis.
double Weight(Kind kind, double distance) {
    const double x = std::abs(distance);
    if (kind == Kind::kBilinear) {
        return std::max(0.0, 1.0 - x);
    }
    if (x < 1.0) {
        return (1.5 * x - 2.5) * x * x + 1.0;
    }
    return x < 2.0 ? ((-0.5 * x + 2.5) * x - 4.0) * x + 2.0 : 0.0;
}

// What a position reads, as a sum over all pixels near it.
template <typename T>
double Expected(const SBxPicBuf& src, Kind kind, double u, double v, int component) {
    if (kind == Kind::kConstant) {
        const int column = static_cast<int>(std::floor(u));
        return BX_PicRow<T>(src, static_cast<int>(std::floor(v)))[column * src.m_iComponents + component];
    }
    double sum = 0.0;
    for (int y = std::max(0, static_cast<int>(v) - 3); y < std::min(src.m_iHeight, static_cast<int>(v) + 4); ++y) {
        for (int x = std::max(0, static_cast<int>(u) - 3); x < std::min(src.m_iWidth, static_cast<int>(u) + 4); ++x) {
            sum += BX_PicRow<T>(src, y)[x * src.m_iComponents + component] * Weight(kind, u - x - 0.5) *
                   Weight(kind, v - y - 0.5);
        }
    }
    return sum;
}

double EdgeOf(Kind kind) {
    return kind == Kind::kConstant ? 0.01 : kind == Kind::kBilinear ? 0.51 : 1.51;
}

// How far a position lies inside the valid region; negative outside.
double DepthInside(const SBxPicBuf& src, Kind kind, double u, double v) {
    const double edge = EdgeOf(kind);
    return std::min({u - edge, v - edge, src.m_iWidth - edge - u, src.m_iHeight - edge - v});
}

double DistanceToInteger(double value) {
    return std::abs(value - std::round(value));
}

// Maps that turn about the middles by quarter turns and by anything else, with the source partly out of the target.
CBxPicMap MapNumber(int number, const SBxPicBuf& dst, const SBxPicBuf& src) {
    std::mt19937 random(static_cast<unsigned int>(number));
    std::uniform_real_distribution<double> angle(-400.0, 400.0);
    std::uniform_real_distribution<double> position(0.2, 0.8);
    std::uniform_real_distribution<double> logScale(-1.0, 1.5);
    const double degrees = number % 2 == 0 ? 90.0 * (number / 2 % 5) : angle(random);
    CBxPicMap map;
    map.Compute(dst.m_iWidth * position(random), dst.m_iHeight * position(random), src.m_iWidth * position(random),
                src.m_iHeight * position(random), degrees, number % 3 == 0 ? 1.0 : std::exp2(logScale(random)));
    return map;
}

// Compares a result with the naive sum, pixel by pixel. Where rounding decides (on the rim of the valid region, and for
// the nearest sample on a cell border) a pixel is left out. Returns the number of pixels that were compared and filled.
template <typename T>
int CompareWithNaive(const SBxPicBuf& dst, const SBxPicBuf& src, const CBxPicMap& map, Kind kind, double tolerance) {
    const T untouched = BX_PicRow<T>(MakePic(1, 1, 1, sizeof(T) * 8, kUntouched).Pic(), 0)[0];
    int filled = 0;
    for (int y = 0; y < dst.m_iHeight; ++y) {
        for (int x = 0; x < dst.m_iWidth; ++x) {
            double u = 0.0;
            double v = 0.0;
            map.MapPointDstToSrc(&u, &v, x, y);
            const double depth = DepthInside(src, kind, u, v);
            if (std::abs(depth) < 1e-3 ||
                (kind == Kind::kConstant && std::min(DistanceToInteger(u), DistanceToInteger(v)) < 1e-3)) {
                continue;
            }
            filled += depth > 0.0 ? 1 : 0;
            for (int c = 0; c < dst.m_iComponents; ++c) {
                const double stored = BX_PicRow<T>(dst, y)[x * dst.m_iComponents + c];
                if (depth < 0.0) {
                    EXPECT_EQ(stored, untouched) << x << ", " << y;
                    continue;
                }
                double expected = Expected<T>(src, kind, u, v, c);
                if (sizeof(T) == 1) {
                    expected = std::clamp(expected, 0.0, 255.0);
                } else if (kind == Kind::kBilinear) {
                    expected += 0.5;
                }
                EXPECT_NEAR(stored, expected, tolerance) << x << ", " << y;
            }
            if (testing::Test::HasFailure()) {
                return filled;
            }
        }
    }
    return filled;
}

// A picture of gentle waves.
CBxOwnedPic MakeSmoothPic(int width, int height, int components) {
    CBxOwnedPic pic = MakePic(width, height, components, 8);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            for (int c = 0; c < components; ++c) {
                const double value = 128.0 + 90.0 * std::sin(x / 19.0 + c) * std::cos(y / 23.0);
                BX_PicRow<Byte>(pic.Pic(), y)[x * components + c] = static_cast<Byte>(value);
            }
        }
    }
    return pic;
}

CBxPicMap ShiftTo(double x0, double y0) {
    return {x0, y0, 1.0, 0.0};
}

Rect Whole(const SBxPicBuf& pic) {
    return {0, 0, pic.m_iWidth, pic.m_iHeight};
}

std::vector<Byte> Drawn(const SBxPicBuf& src, int width, int height, const CBxPicMap& map, Kind kind, bool fast) {
    CBxOwnedPic dst = MakePic(width, height, src.m_iComponents, src.m_iBitsPerComponent, kUntouched);
    Api::Transform(dst.Pic(), Whole(dst.Pic()), src, map, kind, fast);
    return {dst->m_pData, dst->m_pData + dst->m_uiByteSize};
}

}  // namespace

TEST(PicMap, TheFixedPointOfAMapIsExact) {
    CBxPicMap map;
    map.Compute(3, 4, 10, 20, 0, 1);
    EXPECT_THAT((std::vector<double>{map.m_dX0, map.m_dY0, map.m_dA, map.m_dB}), ElementsAre(7, 16, 1, 0));
    map.Compute(3, 4, 10, 20, 0, 2);
    EXPECT_EQ(map.m_dA, 0.5);
    // A quarter turn: one step right in the destination is one step down in the source.
    map.Compute(0, 0, 5, 5, 90, 1);
    double u = 0;
    double v = 0;
    map.MapPointDstToSrc(&u, nullptr, 1, 0);
    map.MapPointDstToSrc(nullptr, &v, 1, 0);
    EXPECT_NEAR(u, 5, 1e-12);
    EXPECT_NEAR(v, 6, 1e-12);
}

TEST(PicMap, TheWayBackFindsThePixel) {
    const CBxOwnedPic pic = MakePic(50, 40, 1, 8);
    for (int number = 0; number < 40; ++number) {
        const CBxPicMap map = MapNumber(number, pic.Pic(), pic.Pic());
        for (int pixel = 0; pixel < 500; pixel += 7) {
            double u = 0;
            double v = 0;
            int x = -1;
            int y = -1;
            map.MapPointDstToSrc(&u, &v, pixel % 25, pixel / 25);
            map.MapPointSrcToDst(&x, nullptr, u, v);
            map.MapPointSrcToDst(nullptr, &y, u, v);
            ASSERT_EQ(x, pixel % 25);
            ASSERT_EQ(y, pixel / 25);
        }
    }
}

TEST(PicMap, TheWayBackTruncatesTowardZeroAndEndsAtTheLimits) {
    int x = 0;
    int y = 0;
    ShiftTo(0, 0).MapPointSrcToDst(&x, &y, -0.9, -2.2);
    EXPECT_EQ(x, 0);
    EXPECT_EQ(y, -1);
    ShiftTo(0, 0).MapPointSrcToDst(&x, &y, 1e300, -1e300);
    EXPECT_EQ(x, std::numeric_limits<int>::max());
    EXPECT_EQ(y, std::numeric_limits<int>::min());
    CBxPicMap{0, 0, 0, 0}.MapPointSrcToDst(&x, &y, 0, 0);
    EXPECT_EQ(x, 0);
}

TEST(PicTransform, ExactFormsGiveWhatTheNaiveSumGives) {
    const CBxOwnedPic grey = MakeRandomPic<Byte>(23, 19, 1, 1);
    const CBxOwnedPic colour = MakeRandomPic<Byte>(17, 31, 3, 2);
    const CBxOwnedPic doubles = MakeRandomPic<double>(21, 20, 1, 3);
    for (const Kind kind : kKinds) {
        int filled = 0;
        for (int number = 0; number < 60; ++number) {
            CBxOwnedPic dst = MakePic(40, 30, 1, 8, kUntouched);
            CBxPicMap map = MapNumber(number, dst.Pic(), grey.Pic());
            Api::Transform(dst.Pic(), Whole(dst.Pic()), grey.Pic(), map, kind, false);
            filled += CompareWithNaive<Byte>(dst.Pic(), grey.Pic(), map, kind, 0.5 + 1e-6);

            CBxOwnedPic dst3 = MakePic(29, 33, 3, 8, kUntouched);
            map = MapNumber(number, dst3.Pic(), colour.Pic());
            Api::Transform(dst3.Pic(), Whole(dst3.Pic()), colour.Pic(), map, kind, false);
            filled += CompareWithNaive<Byte>(dst3.Pic(), colour.Pic(), map, kind, 0.5 + 1e-6);

            CBxOwnedPic dstD = MakePic(31, 29, 1, 64, kUntouched);
            map = MapNumber(number, dstD.Pic(), doubles.Pic());
            Api::Transform(dstD.Pic(), Whole(dstD.Pic()), doubles.Pic(), map, kind, true);
            filled += CompareWithNaive<double>(dstD.Pic(), doubles.Pic(), map, kind, 1e-6);
            ASSERT_FALSE(HasFailure()) << "kind " << static_cast<int>(kind) << ", map " << number;
        }
        EXPECT_GT(filled, 20000);
    }
}

TEST(PicTransform, FastFormsStayWithinOneGreyLevelOfTheSum) {
    const CBxOwnedPic sources[] = {MakeRandomPic<Byte>(23, 19, 1, 1), MakeRandomPic<Byte>(17, 31, 3, 2)};
    for (const CBxOwnedPic& source : sources) {
        for (const Kind kind : kKinds) {
            int filled = 0;
            for (int number = 0; number < 60; ++number) {
                CBxOwnedPic dst = MakePic(40, 30, source->m_iComponents, 8, kUntouched);
                const CBxPicMap map = MapNumber(number, dst.Pic(), source.Pic());
                Api::Transform(dst.Pic(), Whole(dst.Pic()), source.Pic(), map, kind, true);
                filled += CompareWithNaive<Byte>(dst.Pic(), source.Pic(), map, kind, 1.5);
                ASSERT_FALSE(HasFailure()) << "kind " << static_cast<int>(kind) << ", map " << number;
            }
            EXPECT_GT(filled, 8000);
        }
    }
}

// The fixed-point steps of such rows drift, but by less than one can see in a smooth picture.
TEST(PicTransform, FastFormsFollowLongRowsOfSmoothPictures) {
    const CBxOwnedPic source = MakeSmoothPic(900, 700, 3);
    for (const double angle : {0.0, 30.0, 90.0, 217.0}) {
        CBxPicMap map;
        map.Compute(960, 100, 450, 350, angle, 2.3);
        for (const Kind kind : {Kind::kBilinear, Kind::kBicubic}) {
            const std::vector<Byte> exact = Drawn(source.Pic(), 1920, 200, map, kind, false);
            const std::vector<Byte> fast = Drawn(source.Pic(), 1920, 200, map, kind, true);
            for (std::size_t i = 0; i < exact.size(); i += 3) {
                // On the rim of the source, drift decides whether a pixel is drawn at all.
                if (exact[i] != kUntouched && fast[i] != kUntouched) {
                    ASSERT_NEAR(exact[i], fast[i], 1) << i << " at " << angle << " degrees";
                }
            }
        }
    }
}

TEST(PicTransform, TheValidRegionBeginsInsideAndEndsBeforeItsBounds) {
    const CBxOwnedPic source = MakePic(8, 8, 1, 8, 5);
    for (const bool fast : {false, true}) {
        for (const Kind kind : kKinds) {
            const double edge = EdgeOf(kind);
            const auto isDrawn = [&](double u, double v) {
                return Drawn(source.Pic(), 1, 1, ShiftTo(u, v), kind, fast)[0] == 5;
            };
            EXPECT_TRUE(isDrawn(edge, edge));
            EXPECT_FALSE(isDrawn(edge - 0.005, 4));
            EXPECT_FALSE(isDrawn(4, edge - 0.005));
            EXPECT_TRUE(isDrawn(8 - edge - 0.001, 8 - edge - 0.001));
            EXPECT_FALSE(isDrawn(8 - edge, 4));
            EXPECT_FALSE(isDrawn(4, 8 - edge));
            // A row whose fifth position is the right bound to the last bit.
            const std::vector<Byte> row = Drawn(source.Pic(), 10, 1, ShiftTo(8 - edge - 4, 4), kind, fast);
            EXPECT_EQ(std::count(row.begin(), row.end(), 5), 4);
        }
    }
}

TEST(PicTransform, SmallSourcesAreSampledBySimplerKinds) {
    std::ptrdiff_t drawn = 0;
    for (const bool fast : {false, true}) {
        for (int number = 0; number < 12; ++number) {
            const CBxOwnedPic line = MakeRandomPic<Byte>(1, 40, 3, 9);
            const CBxOwnedPic strip = MakeRandomPic<Byte>(3, 100, 1, 9);
            const CBxPicMap onLine = MapNumber(number, MakePic(30, 30, 1, 8).Pic(), line.Pic());
            const CBxPicMap onStrip = MapNumber(number, MakePic(30, 30, 1, 8).Pic(), strip.Pic());
            const std::vector<Byte> nearest = Drawn(line.Pic(), 30, 30, onLine, Kind::kConstant, fast);
            drawn += std::ssize(nearest) - std::count(nearest.begin(), nearest.end(), kUntouched);
            EXPECT_EQ(Drawn(line.Pic(), 30, 30, onLine, Kind::kBilinear, fast), nearest);
            EXPECT_EQ(Drawn(line.Pic(), 30, 30, onLine, Kind::kBicubic, fast), nearest);
            EXPECT_EQ(Drawn(strip.Pic(), 30, 30, onStrip, Kind::kBicubic, fast),
                      Drawn(strip.Pic(), 30, 30, onStrip, Kind::kBilinear, fast));
        }
    }
    EXPECT_GT(drawn, 1000);
    const CBxOwnedPic none = MakePic(0, 5, 1, 8);
    EXPECT_THAT(Drawn(none.Pic(), 3, 3, ShiftTo(0, 0), Kind::kBicubic, false), Each(kUntouched));
    CBxOwnedPic noTarget = MakePic(0, 5, 1, 8);
    Api::TransformBicubicFast(noTarget.Pic(), MakePic(5, 5, 1, 8).Pic(), ShiftTo(2, 2));
}

TEST(PicTransform, DoublesCarryTheHalfInBilinearOnly) {
    CBxOwnedPic source = MakePic(6, 6, 1, 64);
    std::fill_n(BX_PicRow<double>(source.Pic(), 0), 36, 10.0);
    const double expected[] = {10.0, 10.5, 10.0};
    for (const Kind kind : kKinds) {
        CBxOwnedPic dst = MakePic(1, 1, 1, 64);
        Api::Transform(dst.Pic(), Whole(dst.Pic()), source.Pic(), ShiftTo(3.2, 2.7), kind, false);
        EXPECT_NEAR(BX_PicRow<double>(dst.Pic(), 0)[0], expected[static_cast<int>(kind)], 1e-12);
    }
}

TEST(PicTransform, BicubicOvershootIsCutOff) {
    std::vector<Byte> step(12 * 12, 0);
    for (std::size_t i = 0; i < step.size(); ++i) {
        step[i] = i % 12 < 6 ? 0 : 255;
    }
    const CBxOwnedPic source = PicOf<Byte>(12, 12, 1, step);
    for (const bool fast : {false, true}) {
        // Positions 4.7 and 7.3 undershoot and overshoot by about 7 percent.
        EXPECT_EQ(Drawn(source.Pic(), 1, 1, ShiftTo(4.9, 6), Kind::kBicubic, fast)[0], 0);
        EXPECT_EQ(Drawn(source.Pic(), 1, 1, ShiftTo(7.1, 6), Kind::kBicubic, fast)[0], 255);
        EXPECT_NEAR(Drawn(source.Pic(), 1, 1, ShiftTo(6.0, 6), Kind::kBicubic, fast)[0], 128, 1);
    }
}

TEST(PicTransform, RectanglesAndFramesAreCutFromTheWhole) {
    const CBxOwnedPic source = MakeSmoothPic(40, 40, 3);
    CBxPicMap map;
    map.Compute(15, 15, 20, 20, 33, 1.2);
    const std::vector<Byte> whole = Drawn(source.Pic(), 30, 30, map, Kind::kBilinear, false);
    const auto differences = [&](const Rect& outer, const Rect& inner) {
        CBxOwnedPic dst = MakePic(30, 30, 3, 8, kUntouched);
        Api::Transform(dst.Pic(), outer, inner, source.Pic(), map, Kind::kBilinear, false);
        int wrong = 0;
        for (int y = 0; y < 30; ++y) {
            for (int x = 0; x < 90; ++x) {
                const auto in = [&](const Rect& r) {
                    return x / 3 >= r.left && x / 3 < r.right && y >= r.top && y < r.bottom;
                };
                const Byte expected =
                    in(outer) && !in(inner) ? whole[static_cast<std::size_t>(y) * 90 + x] : kUntouched;
                wrong += std::abs(BX_PicRow<Byte>(dst.Pic(), y)[x] - expected) > 1 ? 1 : 0;
            }
        }
        return wrong;
    };
    EXPECT_EQ(differences({3, 4, 25, 27}, {10, 9, 15, 20}), 0);
    EXPECT_EQ(differences({3, 4, 25, 27}, {3, 4, 25, 27}), 0);
    EXPECT_EQ(differences({3, 4, 25, 27}, {3, 4, 3, 4}), 0);
}

TEST(PicTransform, WhatIsNotServedLeavesTheTargetAlone) {
    const CBxOwnedPic source = MakePic(9, 9, 1, 8, 5);
    EXPECT_THAT(Drawn(source.Pic(), 4, 4, ShiftTo(2, 2), static_cast<Kind>(3), true), Each(kUntouched));
    EXPECT_THAT(Drawn(MakePic(9, 9, 1, 16, 5).Pic(), 4, 4, ShiftTo(2, 2), Kind::kConstant, true), Each(kUntouched));
    CBxOwnedPic dst = MakePic(4, 4, 3, 8, kUntouched);
    Api::Transform(dst.Pic(), Whole(dst.Pic()), source.Pic(), ShiftTo(2, 2), Kind::kBilinear, true);
    Api::TransformBilinear(dst.Pic(), source.Pic(), ShiftTo(2, 2));
    EXPECT_THAT(Values<Byte>(dst.Pic()), Each(kUntouched));
}

namespace {

// Draws from a black source that lies in a white parent: whatever is read outside the source is seen in the target.
void ExpectNothingReadOutside(int width, int height, const CBxPicMap& map, int columns, int rows) {
    CBxOwnedPic parent = MakePic(width + 16, height + 16, 1, 8, 255);
    SBxPicBuf source;
    Api::SubPic(source, parent.Pic(), Rect{8, 8, 8 + width, 8 + height});
    Api::SetConst(parent.Pic(), Rect{8, 8, 8 + width, 8 + height}, 0);
    for (const Kind kind : kKinds) {
        for (const bool fast : {false, true}) {
            const std::vector<Byte> drawn = Drawn(source, columns, rows, map, kind, fast);
            ASSERT_TRUE(std::all_of(drawn.begin(), drawn.end(), [](Byte b) { return b == 0 || b == kUntouched; }))
                << "kind " << static_cast<int>(kind) << ", fast " << fast;
        }
    }
}

}  // namespace

// Far along a row the rounded fixed-point step has left the source where the exact position is still, or already, in
// it.
TEST(PicTransform, LongRowsNeverReadOutsideTheSource) {
    std::mt19937 random(31);
    std::uniform_real_distribution<double> scale(0.8, 8.0);
    std::uniform_real_distribution<double> position(0.0, 1.0);
    for (int number = 0; number < 40; ++number) {
        CBxPicMap map;
        const double angle = 180.0 * (number % 2) + (number % 3 == 0 ? 0.001 : 0.0);
        map.Compute(39000 + 1000 * position(random), 1, 300 * position(random), 4.5, angle, scale(random));
        ExpectNothingReadOutside(300, 9, map, 41000, 3);
        // Along the columns of the source.
        map.Compute(39000 + 1000 * position(random), 1, 4.5, 300 * position(random), angle + 90.0, scale(random));
        ExpectNothingReadOutside(9, 300, map, 41000, 3);
    }
    CBxPicMap map;
    map.Compute(35000, 3, 70000, 5, 0.003, 0.99);
    ExpectNothingReadOutside(140000, 10, map, 70000, 6);
}

TEST(PicTransform, LongRowsOfWideSourcesAreDrawnToTheirEnd) {
    const CBxOwnedPic source = MakeSmoothPic(70000, 8, 1);
    const std::vector<Byte> exact = Drawn(source.Pic(), 69990, 1, ShiftTo(4.5, 4.25), Kind::kBilinear, false);
    const std::vector<Byte> fast = Drawn(source.Pic(), 69990, 1, ShiftTo(4.5, 4.25), Kind::kBilinear, true);
    int wrong = 0;
    for (std::size_t i = 0; i < exact.size(); ++i) {
        wrong += std::abs(exact[i] - fast[i]) > 1 ? 1 : 0;
    }
    EXPECT_EQ(wrong, 0);
}

TEST(PicTransform, NoMapHoweverAbsurdReadsOutsideTheSource) {
    std::mt19937 random(4711);
    std::uniform_real_distribution<double> logarithm(-60.0, 60.0);
    const auto anyNumber = [&]() {
        const double special[] = {0.0, 1e300, std::nan(""), HUGE_VAL, 0.51, 1e15, 0x1p40, 1e-17};
        const unsigned int draw = random() % 24;
        const double value = draw < 8 ? special[draw] : std::exp2(logarithm(random) * (draw % 3) / 2.0);
        return random() % 2 == 0 ? value : -value;
    };
    for (int number = 0; number < 3000; ++number) {
        CBxPicMap map{anyNumber(), anyNumber(), anyNumber(), anyNumber()};
        if (number % 2 == 0) {
            // Aimed at the source from far away, so that the row does meet it.
            const int column = static_cast<int>(random() % 50);
            map.m_dX0 = 5.0 - map.m_dA * column;
            map.m_dY0 = 5.0 - map.m_dB * column;
        }
        ExpectNothingReadOutside(11, 9, map, 50, 3);
        ASSERT_FALSE(HasFatalFailure()) << number;
    }
}
