// How carriers are found without corners: on turned maps, by their combs, on the lattice of their cells.
#include "turned_map.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <vector>

#include "cell_lattice.h"
#include "comb_climb.h"
#include "image_changes.h"
#include "image_pictures.h"
#include "result.h"
#include "sign_op.h"
#include "test_pictures.h"

namespace {

constexpr int kWidth = 480;
constexpr int kHeight = 420;
constexpr char kText[] = "Veri-2026x";

// A signed picture, turned about its middle by some degrees.
struct STurnedSign {
    CBxOwnedPic picture;
    SBxGridPose carrier;

    explicit STurnedSign(double degrees) {
        CBxOwnedPic original = MakeTexturedPicture(kWidth, kHeight, 7);
        char text[CBxSignOp::kTextBytes] = "";
        std::strcpy(text, kText);
        SBxSignRun run;
        EXPECT_EQ(CBxSignOp::InsertTextIntoPicture(run, &original.Pic(), text), kBxSuccess);
        const CBxRect<int>& frame = run.m_siRect[0];
        picture = degrees == 0.0 ? std::move(original)
                                 : PictureOfImage(BX_TurnImage(ImageOfPicture(original.Pic()), degrees));
        const double angle = degrees / 180.0 * 3.141592653589793;
        const CBxPoint<double> middle = {kWidth / 2.0, kHeight / 2.0};
        const auto turned = [&](double x, double y) {
            return CBxPoint<double>{std::cos(angle) * x - std::sin(angle) * y,
                                    std::sin(angle) * x + std::cos(angle) * y};
        };
        const CBxPoint<double> corner = turned(frame.left - middle.x, frame.top - middle.y);
        carrier = {{corner.x + middle.x, corner.y + middle.y},
                   turned(frame.Width() / static_cast<double>(kGridSide), 0.0),
                   turned(0.0, frame.Height() / static_cast<double>(kGridSide))};
    }
};

double FarthestCorner(const SBxGridPose& a, const SBxGridPose& b) {
    double farthest = 0.0;
    for (const int corner : {0, 1, 2, 3}) {
        const CBxPoint<double> p = a.PointAt((corner & 1) * kGridSide, (corner >> 1) * kGridSide);
        const CBxPoint<double> q = b.PointAt((corner & 1) * kGridSide, (corner >> 1) * kGridSide);
        farthest = std::max(farthest, std::hypot(p.x - q.x, p.y - q.y));
    }
    return farthest / std::hypot(a.along.x, a.along.y);  // cells
}

// A deep search that has only read the picture.
struct SRun {
    SBxSignRun run;
    CBxCornerArchive archive;
    std::unique_ptr<CBxDeepRun> deep;

    explicit SRun(SBxPicBuf& picture) : deep(std::make_unique<CBxDeepRun>(run, picture, archive, 1U)) {
        EXPECT_EQ(deep->Prepare(), kBxSuccess);
    }
    SBxGridTrial TrialOf(const SBxGridPose& pose) const {
        return {pose, BX_BlurOfScale(1.0), 1.0, 0.0, BX_GridOrientation(0)};
    }
};

}  // namespace

TEST(TurnedMap, ASweepFindsTheCarrierAndFollowingTheMapComesNearer) {
    for (const double degrees : {0.0, -4.0}) {
        const STurnedSign sign(degrees);
        CBxPatternPlane planes;
        CBxPatternPlane columns;
        CBxTurnedMap map;
        const double width = 0.9 * std::hypot(sign.carrier.along.x, sign.carrier.along.y);
        const double height = 0.9 * std::hypot(sign.carrier.down.x, sign.carrier.down.y);
        ASSERT_TRUE(planes.Prepare(const_cast<CBxOwnedPic&>(sign.picture).Pic()));
        ASSERT_TRUE(columns.PrepareColumns(planes, CBxTurnedMap::ScaleOf(width) / planes.Scale()));
        ASSERT_TRUE(map.Make(columns, width, height));
        CBxTurnedSweep sweep;
        CBxBestGrids best;
        ASSERT_TRUE(sweep.Prepare(map, degrees) && best.Prepare(8, 0.0f));
        unsigned long grids = 0;
        for (int i = 0; i < CBxTurnedSweep::kHeights; ++i) {
            grids += sweep.SweepHeight(best, i);
        }
        best.Settle();
        EXPECT_NEAR(static_cast<double>(grids) / CBxTurnedSweep::GridsSwept(kWidth, kHeight, width, height, degrees),
                    1.0, 0.03);
        ASSERT_GE(best.Count(), 2U);
        EXPECT_GE(best[0].worth, best[1].worth);
        EXPECT_LT(FarthestCorner(best[0].pose, sign.carrier), 0.4) << degrees;
        // What the fours of cells add up to is nearly what the cells are worth one by one.
        EXPECT_NEAR(best[0].worth, map.Worth(best[0].pose), 0.2f * best[0].worth);
        SBxGridPose followed = best[0].pose;
        EXPECT_GE(map.Follow(followed), map.Worth(best[0].pose));
        EXPECT_LT(FarthestCorner(followed, sign.carrier), 0.25) << degrees;
    }
}

// Turned back it lies across a frame that is several times as large.
TEST(TurnedMap, AVeryLongPictureIsNotSearchedForMoreGridsThanOthers) {
    constexpr double kMostGrids = 3.5e8 + 2.5e8;
    constexpr int kNarrow = 400;
    constexpr int kLong = 4000;
    CBxOwnedPic picture = MakeTexturedPicture(kNarrow, kLong, 11);
    SRun run(picture.Pic());
    ASSERT_EQ(BX_SearchAnywhere(*run.deep), kBxSuccess);
    const auto grids = static_cast<double>(run.deep->m_ulGrids.load());
    EXPECT_LT(grids, kMostGrids);
    EXPECT_GT(grids, 0.7 * kMostGrids);  // small turns are looked at all the same
}

TEST(TurnedMap, KeepsTheBestOfGridsThatNearlyCoincide) {
    const auto grid = [](float worth, double x) {
        return SBxTurnedGrid{worth, 0.0f, {{x, 0.0}, {20.0, 0.0}, {0.0, 20.0}}};
    };
    CBxBestGrids best;
    ASSERT_TRUE(best.Prepare(3, 1.0f));
    for (const auto& offered : {grid(5.0f, 0.0), grid(7.0f, 5.0), grid(0.5f, 90.0), grid(3.0f, 50.0), grid(4.0f, 70.0),
                                grid(6.0f, 200.0), grid(2.0f, 300.0)}) {
        best.Offer(offered);
    }
    best.Settle();
    ASSERT_EQ(best.Count(), 3U);
    EXPECT_EQ(best[0].worth, 7.0f);  // and not 5, a quarter of a cell beside it
    EXPECT_EQ(best[1].worth, 6.0f);
    EXPECT_EQ(best[2].worth, 4.0f);
    EXPECT_EQ(best.Bar(), 4.0f);
}

TEST(PatternPlane, ScaledColumnsAndRowsAreMeansOfWhatTheyCover) {
    CBxOwnedPic picture = MakeTexturedPicture(97, 83, 5);
    CBxPatternPlane planes;
    ASSERT_TRUE(planes.Prepare(picture.Pic()));
    for (const double scale : {0.37, 0.81, 1.6}) {
        CBxPatternPlane columns;
        CBxPatternPlane both;
        ASSERT_TRUE(columns.PrepareColumns(planes, scale));
        ASSERT_TRUE(both.PrepareRows(columns, scale));
        ASSERT_EQ(both.Width(), static_cast<int>(97 * scale));
        ASSERT_EQ(both.Height(), static_cast<int>(83 * scale));
        const double side = std::max(1.0, 1.0 / scale);
        for (const auto& [x, y] : {std::pair{3, 4}, {17, 9}, {both.Width() - 3, both.Height() - 3}}) {
            // By points, many for each pixel.
            constexpr int kPoints = 200;
            double sum = 0.0;
            for (int i = 0; i < kPoints; ++i) {
                for (int k = 0; k < kPoints; ++k) {
                    const double u = (x + 0.5) / scale + side * ((i + 0.5) / kPoints - 0.5);
                    const double v = (y + 0.5) / scale + side * ((k + 0.5) / kPoints - 0.5);
                    sum += planes.Blue()[static_cast<int>(v) * 97 + static_cast<int>(u)];
                }
            }
            EXPECT_NEAR(both.Blue()[y * both.Width() + x], sum / (kPoints * kPoints), 1.0) << scale;
        }
    }
}

TEST(CombClimb, ComesFromATenthOfACellToWhereTheTextIsRead) {
    STurnedSign sign(0.0);
    SRun run(sign.picture.Pic());
    SBxGridTrial trial = run.TrialOf(sign.carrier);
    for (const int move : {0, 3, 4}) {
        trial.pose = BX_MovedPose(trial.pose, move, 0.1);
    }
    ASSERT_GT(FarthestCorner(trial.pose, sign.carrier), 0.1);
    EXPECT_GT(BX_ClimbComb(*run.deep, trial, 0.1, 5, false), 12.0);
    EXPECT_LT(FarthestCorner(trial.pose, sign.carrier), 0.05);
    run.deep->TryAsRead(trial, EBxDeepStage::Anywhere);
    EXPECT_STREQ(run.deep->Finding().m_Reading.m_szText, kText);
}

TEST(CombClimb, FindsNoCombThatIsNotThere) {
    CBxOwnedPic picture = PictureOfImage(QImage(VERIDANE_SAMPLES "/coffee.png"));
    SRun run(picture.Pic());
    SBxGridTrial trial = run.TrialOf({{60.0, 20.0}, {21.0, 0.0}, {0.0, 21.0}});
    EXPECT_LT(BX_ClimbComb(*run.deep, trial, 0.1, 5, false), 6.0);
}

TEST(CellLattice, NamesThePlaceThatIsSomeWholeCellsAway) {
    STurnedSign sign(0.0);
    SRun run(sign.picture.Pic());
    SBxGridTrial trial = run.TrialOf(sign.carrier);
    trial.pose.origin = sign.carrier.PointAt(2, -3);
    CBxCellLattice lattice;
    lattice.Read(*run.deep, trial);
    SBxGridTrial places[4];
    ASSERT_EQ(lattice.ClearestPlaces(places, 4), 4);
    EXPECT_LT(FarthestCorner(places[0].pose, sign.carrier), 1e-6);
}

TEST(GridPose, TurningAGridKeepsItsMiddleAndItsSides) {
    const SBxGridPose pose = {{10.0, 20.0}, {30.0, 2.0}, {-1.0, 15.0}};
    const SBxGridPose turned = BX_MovedPose(pose, kGridMoves - 1, 0.32);
    constexpr double kMiddle = kGridSide / 2.0;
    EXPECT_NEAR(turned.PointAt(kMiddle, kMiddle).x, pose.PointAt(kMiddle, kMiddle).x, 1e-9);
    EXPECT_NEAR(turned.PointAt(kMiddle, kMiddle).y, pose.PointAt(kMiddle, kMiddle).y, 1e-9);
    EXPECT_NEAR(turned.along.x * turned.down.x + turned.along.y * turned.down.y, 0.0, 1e-9);
    EXPECT_NEAR(std::atan2(turned.along.y, turned.along.x) - std::atan2(pose.along.y, pose.along.x), 0.02, 1e-4);
    EXPECT_NEAR(std::hypot(turned.along.x, turned.along.y), std::hypot(30.0, 2.0), 0.02);
}
