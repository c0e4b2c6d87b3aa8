// Which pairs of corners are looked at, and where their corners are taken to lie.
#include "grid_pool.h"

#include <gtest/gtest.h>

#include <memory>
#include <utility>
#include <vector>

namespace {

using CPlaces = std::vector<CBxPoint<double>>;

// An archive of dark corners, which are given in pixels of the picture.
std::unique_ptr<CBxCornerArchive> ArchiveOf(const std::vector<std::pair<double, CPlaces>>& zooms) {
    auto archive = std::make_unique<CBxCornerArchive>();
    for (const auto& [zoom, places] : zooms) {
        auto dark = std::make_unique<SBxCornerList>();
        auto bright = std::make_unique<SBxCornerList>();
        dark->m_uiCount = bright->m_uiCount = 0;
        for (const CBxPoint<double>& place : places) {
            dark->m_Points[dark->m_uiCount++] = {place.x * zoom, place.y * zoom};
        }
        archive->Add(zoom, *dark, *bright);
    }
    return archive;
}

void ExpectPlaces(const SBxCornerPair& pair, const CBxPoint<double>& p, const CBxPoint<double>& q) {
    EXPECT_NEAR(pair.p.x, p.x, 1e-3);
    EXPECT_NEAR(pair.p.y, p.y, 1e-3);
    EXPECT_NEAR(pair.q.x, q.x, 1e-3);
    EXPECT_NEAR(pair.q.y, q.y, 1e-3);
}

}  // namespace

TEST(GridPool, ACornerNearZoomOneStaysWhereItWasSeenFirst) {
    const auto archive = ArchiveOf({{1.05, {{100.4, 100.3}, {500.0, 600.0}}},
                                    {1.0, {{100.0, 100.0}, {500.0, 600.0}}},
                                    {1.3, {{100.5, 100.0}, {499.6, 600.0}}}});
    CBxGridPool pool;
    ASSERT_TRUE(pool.Collect(*archive));
    ASSERT_EQ(pool.Count(), 1U);
    EXPECT_EQ(pool[0].zoom, 1.0f);
    ExpectPlaces(pool[0], {100.0, 100.0}, {500.0, 600.0});
}

// The place of a zoom below that of the pair, and of one far beyond it, would draw the corner away.
TEST(GridPool, ACornerSeenEnlargedLiesWhereItWasSeenOnAverage) {
    const auto archive = ArchiveOf({{1.0, {{99.6, 100.0}}},
                                    {1.5, {{100.0, 100.0}, {400.0, 500.0}}},
                                    {1.8, {{100.2, 99.8}, {400.4, 500.2}}},
                                    {2.0, {{100.1, 99.9}}},
                                    {2.4, {{99.5, 100.5}, {399.5, 499.5}}}});
    CBxGridPool pool;
    ASSERT_TRUE(pool.Collect(*archive));
    ASSERT_EQ(pool.Count(), 1U);
    EXPECT_EQ(pool[0].zoom, 1.5f);
    ExpectPlaces(pool[0], {100.1, 99.9}, {400.2, 500.1});
}

// The corner at 100 belongs to pairs that two zooms have seen first.
TEST(GridPool, ACornerLiesElsewhereInPairsOfOtherZooms) {
    const auto archive =
        ArchiveOf({{1.2, {{100.0, 100.0}, {600.0, 600.0}}}, {1.6, {{100.4, 100.0}, {600.4, 600.0}, {500.0, 400.0}}}});
    CBxGridPool pool;
    ASSERT_TRUE(pool.Collect(*archive));
    ASSERT_EQ(pool.Count(), 2U);
    ExpectPlaces(pool[0], {100.2, 100.0}, {600.2, 600.0});
    ExpectPlaces(pool[1], {100.4, 100.0}, {500.0, 400.0});
}

TEST(GridPool, CornersTooCloseForACarrierOfTheirZoomAreNoPair) {
    const CPlaces places{{100.0, 100.0}, {300.0, 300.0}};
    CBxGridPool pool;
    ASSERT_TRUE(pool.Collect(*ArchiveOf({{1.0, places}, {1.3, places}})));
    EXPECT_EQ(pool.Count(), 0U);
    ASSERT_TRUE(pool.Collect(*ArchiveOf({{1.0, places}, {1.5, places}})));
    EXPECT_EQ(pool.Count(), 1U);
}
