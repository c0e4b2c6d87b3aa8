// The maps that cut carriers are found on, and what they are made of.
#include "cell_map.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <utility>
#include <vector>

#include "box_mean.h"
#include "box_sums.h"
#include "result.h"
#include "sign_op.h"
#include "test_pictures.h"

TEST(BoxMean, IsTheMeanOverTheBoxCutAtTheEdges) {
    constexpr int kWidth = 13;
    constexpr int kHeight = 9;
    std::vector<float> in(kWidth * kHeight);
    for (std::size_t i = 0; i < in.size(); ++i) {
        in[i] = static_cast<float>(i * i % 31) - 15.0f;
    }
    for (const auto& [reachX, reachY] : {std::pair{1, 2}, {0, 3}, {5, 1}, {20, 20}}) {
        std::vector<float> out(in.size(), -1.0f);
        ASSERT_TRUE(BX_BoxMean(out.data(), in.data(), kWidth, kHeight, reachX, reachY, 1e3));
        for (int y = 0; y < kHeight; ++y) {
            for (int x = 0; x < kWidth; ++x) {
                double sum = 0.0;
                int count = 0;
                for (int v = std::max(0, y - reachY); v <= std::min(kHeight - 1, y + reachY); ++v) {
                    for (int u = std::max(0, x - reachX); u <= std::min(kWidth - 1, x + reachX); ++u) {
                        sum += in[v * kWidth + u];
                        ++count;
                    }
                }
                EXPECT_NEAR(out[y * kWidth + x], sum / count, 1e-4) << x << ", " << y;
            }
        }
    }
}

// Crosses of boxes of a plane that is read while it is being added, as maps read them.
TEST(BoxSums, ACrossIsDividedByThePixelsThatAreInside) {
    constexpr int kWidth = 21;
    constexpr int kHeight = 17;
    std::vector<float> in(kWidth * kHeight);
    for (std::size_t i = 0; i < in.size(); ++i) {
        in[i] = static_cast<float>(i * i % 37) - 18.0f;
    }
    constexpr SBxReach kWide{4, 2};
    constexpr SBxReach kHigh{1, 30};
    CBxBoxSums sums;
    CBxBoxShares shares;
    ASSERT_TRUE(sums.Prepare(kWidth, kHeight, {6, 30}, 20.0));
    ASSERT_TRUE(shares.Prepare(kWidth, kHeight, sums.Scale(), kWide, kHigh));
    const auto sumAt = [](const SBxBoxes& boxes, int x) {
        return (boxes.lowerRight[x] - boxes.lowerLeft[x]) - (boxes.upperRight[x] - boxes.upperLeft[x]);
    };
    for (int y = 0; y < kHeight; ++y) {
        while (sums.Rows() < sums.RowsFor(y, 30)) {
            sums.AddRow(&in[static_cast<std::size_t>(sums.Rows()) * kWidth]);
        }
        for (int x = 0; x < kWidth; ++x) {
            double sum = 0.0;
            int count = 0;
            for (int v = 0; v < kHeight; ++v) {
                for (int u = 0; u < kWidth; ++u) {
                    const bool isWide = std::abs(u - x) <= kWide.x && std::abs(v - y) <= kWide.y;
                    const bool isHigh = std::abs(u - x) <= kHigh.x && std::abs(v - y) <= kHigh.y;
                    sum += isWide || isHigh ? in[v * kWidth + u] : 0.0;
                    count += isWide || isHigh ? 1 : 0;
                }
            }
            const unsigned int cross = sumAt(sums.Boxes(y, kWide), x) + sumAt(sums.Boxes(y, kHigh), x) -
                                       sumAt(sums.Boxes(y, {kHigh.x, kWide.y}), x);
            EXPECT_NEAR(static_cast<int>(cross) * shares.OfRow(y)[x], sum / count, 1e-3) << x << ", " << y;
        }
    }
}

namespace {

constexpr int kWidth = 480;
constexpr int kHeight = 400;

// A signed picture and a map for the cells of its first carrier.
struct SSignedMap {
    CBxPatternPlane planes;
    CBxCellMap map;
    CBxRect<double> carrier{};

    explicit SSignedMap(bool withComb) {
        CBxOwnedPic picture = MakeTexturedPicture(kWidth, kHeight, 7);
        char text[CBxSignOp::kTextBytes] = "Veri-2026x";
        SBxSignRun run;
        EXPECT_EQ(CBxSignOp::InsertTextIntoPicture(run, &picture.Pic(), text), kBxSuccess);
        EXPECT_GE(run.m_uiRectCount, 1U);
        EXPECT_TRUE(planes.Prepare(picture.Pic()));
        const CBxRect<int>& frame = run.m_siRect[0];
        carrier = {frame.left + 0.5, frame.top + 0.5, frame.right - 0.5, frame.bottom - 0.5};
        EXPECT_TRUE(map.Make(planes, carrier.Width() / kGridSide, carrier.Height() / kGridSide));
        EXPECT_TRUE(!withComb || map.AddComb(planes));
    }
};

}  // namespace

TEST(CellMap, IsWorthMostWhereTheCellsStand) {
    for (const bool withComb : {false, true}) {
        const SSignedMap sign(withComb);
        const float atCarrier = sign.map.Worth(sign.carrier);
        EXPECT_GT(atCarrier, 0.0f);
        const double cellWidth = sign.carrier.Width() / kGridSide;
        const double cellHeight = sign.carrier.Height() / kGridSide;
        for (const double off : {-0.5, -0.25, 0.25, 0.5}) {
            const CBxRect<double>& c = sign.carrier;
            EXPECT_LT(sign.map.Worth({c.left + off * cellWidth, c.top, c.right + off * cellWidth, c.bottom}),
                      atCarrier);
            EXPECT_LT(sign.map.Worth({c.left, c.top, c.right, c.bottom + 8.0 * off * cellHeight}), atCarrier);
        }
    }
}

// Millions of grids are weighed in this way: the best choice of columns for each choice of rows is that of all pairs.
TEST(CellMap, FindsTheBestColumnsForEachChoiceOfRows) {
    const SSignedMap sign(true);
    const int width = sign.map.Width();
    constexpr int kFrom = 21;
    std::vector<CBxRect<double>> columns;
    std::vector<SBxCellPlaces> places;
    for (int i = 0; i < 40; ++i) {
        columns.push_back({kFrom + 0.25, 0.0, 250.0 + 7.0 * i, 0.0});
        places.emplace_back(columns.back().left, columns.back().right, width);
    }
    for (const int count : {1, 5, CBxCellChoices::kTogether}) {
        std::vector<SBxCellPlaces> rows;
        for (int i = 0; i < count; ++i) {
            rows.emplace_back(-70.0 + 10.0 * i, 300.0 + 11.0 * i, sign.map.Height());
        }
        CBxCellChoices choices;
        CBxCellChoices::SBest best;
        ASSERT_TRUE(choices.Prepare(width));
        choices.SumRows(sign.map, rows.data(), count, kFrom, width);
        choices.FindBest(best, places.data(), places.size());
        for (int i = 0; i < count; ++i) {
            const auto worthOf = [&](const CBxRect<double>& sides) {
                return sign.map.Worth({sides.left, -70.0 + 10.0 * i, sides.right, 300.0 + 11.0 * i});
            };
            ASSERT_GE(best.choices[i], 0);
            EXPECT_NEAR(best.worths[i], worthOf(columns[static_cast<std::size_t>(best.choices[i])]), 1e-2);
            for (const CBxRect<double>& sides : columns) {
                EXPECT_LE(worthOf(sides), best.worths[i] + 1e-2f);
            }
        }
        choices.FindBest(best, places.data(), 0);
        EXPECT_EQ(best.choices[0], -1);
    }
}

TEST(PatternPlane, HalvedPlanesAreTheMeansOfTwoByTwoPixels) {
    const CBxOwnedPic picture = MakeTexturedPicture(kWidth, kHeight, 3);
    CBxPatternPlane whole;
    CBxPatternPlane halved;
    ASSERT_TRUE(whole.Prepare(picture.Pic()));
    ASSERT_TRUE(halved.Halve(whole));
    ASSERT_EQ(halved.Width(), whole.Width() / 2);
    EXPECT_DOUBLE_EQ(halved.Scale(), whole.Scale() / 2);
    const auto at = [](const float* plane, int width, int x, int y) { return plane[y * width + x]; };
    for (int y = 0; y < halved.Height(); ++y) {
        for (int x = 0; x < halved.Width(); ++x) {
            double sum = 0.0;
            for (const int part : {0, 1, 2, 3}) {
                sum += at(whole.Pattern(), whole.Width(), 2 * x + part % 2, 2 * y + part / 2);
            }
            ASSERT_NEAR(at(halved.Pattern(), halved.Width(), x, y), sum / 4, 1e-3) << x << ", " << y;
        }
    }
}
