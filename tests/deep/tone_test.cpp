#include "tone.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <utility>

#include "sign_block.h"

namespace {

// The means of a text's cells over the whole range of tones, after a change of tones and some noise.
void MakeMeans(float* means, const char* text, double gain, double offset, double exponent) {
    int cells[kCellCount];
    BX_EncodeSign(cells, text);
    std::mt19937 random(11);
    std::normal_distribution<double> noise(0.0, 0.15);
    for (int cell = 0; cell < kCellCount; ++cell) {
        const double written = 12.0 + 6.0 * (random() % 30) + (cells[cell] == 0 ? 1.5 : 4.5);
        const double toned = gain * 255.0 * std::pow(written / 255.0, exponent) + offset;
        means[cell] = static_cast<float>(toned + noise(random));
    }
}

}  // namespace

TEST(Tones, TheCombOfTheMeansTellsGainAndOffset) {
    for (const double gain : {0.8, 0.93, 1.1, 1.25}) {
        for (const double offset : {0.0, 10.0, -7.5}) {
            float means[kCellCount];
            MakeMeans(means, "abc-Z9", gain, offset, 1.0);
            SBxTone tone;
            EXPECT_GT(BX_FindComb(tone, means), 0.7f);
            EXPECT_NEAR(tone.gain, gain, 0.004);
            const double line = 3.0 * gain;
            EXPECT_NEAR(std::remainder(tone.offset - offset, line), 0.0, 0.8);
        }
    }
}

TEST(Tones, AnExponentHidesTheCombUntilItIsUndone) {
    float means[kCellCount];
    MakeMeans(means, "abc-Z9", 1.0, 0.0, 0.8);
    SBxTone tone;
    EXPECT_LT(BX_FindComb(tone, means), 0.5f);
    // Put back by hand.
    for (float& mean : means) {
        mean = static_cast<float>(255.0 * std::pow(mean / 255.0, 1.0 / 0.8));
    }
    EXPECT_GT(BX_FindComb(tone, means), 0.7f);
    EXPECT_NEAR(tone.gain, 1.0, 0.01);
}

TEST(Tones, PicturesDarkenedByAFractionOfAToneAreReadByTheirOwnOffset) {
    float means[kCellCount];
    MakeMeans(means, "abc-Z9", 1.0, -0.9, 1.0);
    const SBxTone tone = BX_ToneOfMeans(means);
    EXPECT_NEAR(tone.offset, -0.9, 0.05);
    float soft[kCellCount];
    BX_SoftValues(soft, means, tone);
    int cells[kCellCount];
    BX_EncodeSign(cells, "abc-Z9");
    for (int cell = 0; cell < kCellCount; ++cell) {
        EXPECT_EQ(soft[cell] < 0.0f, cells[cell] == 1) << cell;
    }
}

// Half the distance of the lines is as far as an offset can be told.
TEST(Tones, AnOffsetIsTheNearestOfThoseThatTheCombAllows) {
    for (const auto& [offset, seen] : {std::pair{-1.4, -1.4}, {1.4, 1.4}, {-1.6, 1.4}, {2.0, -1.0}}) {
        float means[kCellCount];
        MakeMeans(means, "abc-Z9", 1.0, offset, 1.0);
        EXPECT_NEAR(BX_ToneOfMeans(means).offset, seen, 0.05) << offset;
    }
}

TEST(Tones, CalmGroundHasNoComb) {
    float means[kCellCount];
    std::fill(means, means + kCellCount, 100.0f);
    SBxTone tone;
    EXPECT_EQ(BX_FindComb(tone, means), 0.0f);
    EXPECT_TRUE(tone.IsUnchanged());
}

TEST(Tones, SoftValuesAreSinesOverTheWholeRangeAndZeroWhereThereIsNoMean) {
    for (const double gain : {0.7, 1.0, 1.4}) {
        for (const double offset : {-60.0, 0.0, 1.3}) {
            const SBxTone tone{gain, offset, 1.0};
            float means[kCellCount];
            for (int cell = 0; cell < kCellCount; ++cell) {
                means[cell] = static_cast<float>(cell) * 0.9973f;
            }
            means[7] = NAN;
            float soft[kCellCount];
            BX_SoftValues(soft, means, tone);
            EXPECT_EQ(soft[7], 0.0f);
            for (int cell = 0; cell < kCellCount; ++cell) {
                const double expected = std::sin(3.141592653589793 * (means[cell] - offset) / (3.0 * gain));
                EXPECT_NEAR(soft[cell], cell == 7 ? 0.0 : expected, 1e-4) << gain << ' ' << offset << ' ' << cell;
            }
        }
    }
}
