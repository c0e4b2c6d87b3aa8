#include "tone_gaps.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "owned_pic.h"
#include "result.h"

namespace {

constexpr int kWidth = 200;
constexpr int kHeight = 150;

// Noise about the middle of the tones, under a gain and an offset, or an exponent.
CBxOwnedPic ChangedNoise(double gain, double offset, double exponent = 1.0) {
    CBxOwnedPic picture;
    EXPECT_EQ(picture.Allocate(kWidth, kHeight, 3, 8), kBxSuccess);
    std::mt19937 random(5);
    std::normal_distribution<double> tones(110.0, 35.0);
    for (int y = 0; y < kHeight; ++y) {
        unsigned char* row = BX_PicRow<unsigned char>(picture.Pic(), y);
        for (int x = 0; x < 3 * kWidth; ++x) {
            const double tone = std::clamp(std::round(tones(random)), 3.0, 252.0);
            const double bent = 255.0 * std::pow(tone / 255.0, exponent);
            row[x] = static_cast<unsigned char>(std::clamp(std::lround(gain * bent + offset), 0L, 255L));
        }
    }
    return picture;
}

}  // namespace

TEST(ToneGaps, TellGainAndOffset) {
    const struct {
        double gain;
        double offset;
        bool isLikely;  // an offset that brightness or contrast makes: told whole
    } kRows[] = {{1.1, 0.0, true},   {1.25, 0.0, true},  {1.25, -32.0, true}, {1.4, -51.0, true},
                 {1.3, -38.4, true}, {1.07, 4.0, false}, {1.4, -20.0, false}};
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.gain);
        CBxOwnedPic picture = ChangedNoise(row.gain, row.offset);
        SBxTone tone;
        ASSERT_TRUE(BX_FindToneGaps(tone, picture.Pic()));
        EXPECT_NEAR(tone.gain, row.gain, 0.004);
        // Up to whole gains.
        const double rest = (row.offset - tone.offset) / row.gain;
        EXPECT_NEAR(rest, std::round(rest), 0.35);
        if (row.isLikely) {
            EXPECT_NEAR(tone.offset, row.offset, 0.5);
        }
    }
}

TEST(ToneGaps, TellAnExponent) {
    for (const double exponent : {0.7, 0.8, 1.25}) {
        CBxOwnedPic picture = ChangedNoise(1.0, 0.0, exponent);
        SBxTone tone;
        ASSERT_TRUE(BX_FindToneGaps(tone, picture.Pic())) << exponent;
        EXPECT_NEAR(tone.exponent, exponent, 0.004);
        EXPECT_EQ(tone.gain, 1.0);
    }
}

// As a sign does that was written when the gaps were there: they say nothing of what became of it.
TEST(ToneGaps, AreNotSeenWhereAPartOfTheBlueWasMovedSince) {
    CBxOwnedPic picture = ChangedNoise(1.1, 0.0);
    for (int y = 60; y < 90; ++y) {
        unsigned char* row = BX_PicRow<unsigned char>(picture.Pic(), y);
        for (int x = 60; x < 100; ++x) {
            row[3 * x] = static_cast<unsigned char>(std::min(255, row[3 * x] + 1 + x % 3));
        }
    }
    SBxTone tone;
    EXPECT_FALSE(BX_FindToneGaps(tone, picture.Pic()));
}

TEST(ToneGaps, AreNotSeenWithoutAGainAboveOne) {
    SBxTone tone;
    for (const double gain : {0.8, 1.0}) {
        CBxOwnedPic picture = ChangedNoise(gain, 9.0);
        EXPECT_FALSE(BX_FindToneGaps(tone, picture.Pic())) << gain;
    }
    // Few colours: hardly any value is held.
    CBxOwnedPic picture = ChangedNoise(1.0, 0.0);
    for (int y = 0; y < kHeight; ++y) {
        unsigned char* row = BX_PicRow<unsigned char>(picture.Pic(), y);
        std::transform(row, row + 3 * kWidth, row,
                       [](unsigned char component) { return static_cast<unsigned char>(component / 32 * 32); });
    }
    EXPECT_FALSE(BX_FindToneGaps(tone, picture.Pic()));
}
