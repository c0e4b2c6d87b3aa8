#include "carrier_choice.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

namespace {

using TRect = CBxRect<double>;
using TTuple = std::vector<unsigned int>;

bool Overlap(const TRect& a, const TRect& b, double growth) {
    return a.left - growth <= b.right + growth && b.left - growth <= a.right + growth &&
           a.top - growth <= b.bottom + growth && b.top - growth <= a.bottom + growth;
}

double AreaOf(const std::vector<TRect>& rects, const TTuple& tuple) {
    double area = 0;
    for (const unsigned int index : tuple) {
        area += rects[index].Width() * rects[index].Height();
    }
    return area;
}

// The choice by its definition: lists of pairs, triples, quadruples, quintuples, each built from the one before.
TTuple ChooseByLists(const std::vector<TRect>& rects) {
    std::vector<std::vector<TTuple>> levels(1);
    for (unsigned int i = 0; i < rects.size(); ++i) {
        for (unsigned int j = i + 1; j < rects.size(); ++j) {
            if (!Overlap(rects[i], rects[j], -0.0001)) {
                levels[0].push_back({i, j});
            }
        }
    }
    for (int size = 3; size <= 5; ++size) {
        levels.emplace_back();
        for (unsigned int r = 0; r < rects.size(); ++r) {
            for (const TTuple& tuple : levels[levels.size() - 2]) {
                if (std::none_of(tuple.begin(), tuple.end(),
                                 [&](unsigned int member) { return Overlap(rects[member], rects[r], 20); })) {
                    levels.back().push_back(tuple);
                    levels.back().back().push_back(r);
                }
            }
        }
    }
    while (!levels.empty() && levels.back().empty()) {
        levels.pop_back();
    }
    if (levels.empty()) {
        TTuple smallest{0};
        for (unsigned int i = 1; i < rects.size(); ++i) {
            smallest = AreaOf(rects, {i}) < AreaOf(rects, smallest) ? TTuple{i} : smallest;
        }
        return smallest;
    }
    TTuple best = levels.back().front();
    for (const TTuple& tuple : levels.back()) {
        best = AreaOf(rects, tuple) < AreaOf(rects, best) ? tuple : best;
    }
    return best;
}

TTuple Choose(const std::vector<TRect>& rects) {
    SBxCarrierChoice choice;
    EXPECT_EQ(BX_ChooseCarriers(choice, rects.data(), static_cast<unsigned int>(rects.size())), 0);
    return {choice.m_uiIndex, choice.m_uiIndex + choice.m_uiCount};
}

}  // namespace

TEST(CarrierChoice, EqualsTheChoiceByLists) {
    std::mt19937 random(11);
    const auto eighths = [&random](int range) { return static_cast<double>(random() % (8 * range)) / 8; };
    int levelSeen[6] = {};
    for (int round = 0; round < 600; ++round) {
        const bool sameSize = round % 3 == 0;  // equal areas: the order of the tuples decides
        const int spread = round % 2 == 0 ? 1500 : 3500;
        std::vector<TRect> rects(2 + random() % 13);
        for (TRect& rect : rects) {
            rect.left = sameSize ? 100.0 * (random() % (spread / 100)) : eighths(spread);
            rect.top = sameSize ? 100.0 * (random() % (spread / 100)) : eighths(spread);
            rect.right = rect.left + (sameSize ? 400 : 321 + eighths(300));
            rect.bottom = rect.top + (sameSize ? 400 : 321 + eighths(300));
        }
        const TTuple expected = ChooseByLists(rects);
        EXPECT_EQ(Choose(rects), expected) << "round " << round;
        ++levelSeen[expected.size()];
    }
    for (int level = 1; level <= 5; ++level) {
        EXPECT_GT(levelSeen[level], 5) << "too few cases of level " << level;
    }
}

TEST(CarrierChoice, TouchingIsApartForThePairOnly) {
    const std::vector<TRect> touching = {{0, 0, 400, 400}, {400, 0, 800, 400}};
    EXPECT_EQ(Choose(touching).size(), 2u);
    std::vector<TRect> three = touching;
    three.push_back({840, 0, 1240, 400});
    EXPECT_EQ(Choose(three).size(), 2u) << "a gap of exactly 40 is not enough for a third";
    three.back().left += 0.125;
    EXPECT_EQ(Choose(three), (TTuple{0, 1, 2}));
}

TEST(CarrierChoice, TakesTheSmallestWhenNoTwoKeepApart) {
    EXPECT_EQ(Choose({{0, 0, 900, 900}, {10, 10, 400, 400}, {20, 20, 410, 410}}), TTuple{1});
    EXPECT_EQ(Choose({{0, 0, 900, 900}}), TTuple{0});
    EXPECT_TRUE(Choose({}).empty());
}

TEST(CarrierChoice, CopesWithCrowdedPictures) {
    // 80 rectangles that all keep apart: lists of quintuples would hold billions of entries.
    std::vector<TRect> equal;
    std::vector<TRect> growing;
    for (int i = 0; i < 80; ++i) {
        const double left = 500.0 * (i % 10);
        const double top = 500.0 * (i / 10);
        equal.push_back({left, top, left + 330, top + 330});
        growing.push_back({left, top, left + 330 + (79 - i), top + 330});
    }
    EXPECT_EQ(Choose(equal), (TTuple{3, 4, 2, 1, 0}));
    EXPECT_EQ(Choose(growing), (TTuple{78, 79, 77, 76, 75}));
}
