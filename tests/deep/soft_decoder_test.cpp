#include "soft_decoder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>

#include "sign_block.h"

namespace {

const std::string kAlphabet = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-";

std::string RandomText(std::mt19937& random, std::size_t length) {
    std::string text;
    while (text.size() < length) {
        text += kAlphabet[random() % kAlphabet.size()];
    }
    return text;
}

// The soft values of a text's cells whose means were shifted by noise of this deviation, in tones.
void MakeSoft(float* soft, const std::string& text, double deviation, std::mt19937& random) {
    int cells[kCellCount];
    BX_EncodeSign(cells, text.c_str());
    std::normal_distribution<double> noise(0.0, 1.0);
    for (int cell = 0; cell < kCellCount; ++cell) {
        const double mean = 90.0 + (cells[cell] == 0 ? 1.5 : 4.5) + deviation * noise(random);
        soft[cell] = static_cast<float>(std::sin(mean * 3.14159265358979 / 3.0));
    }
}

int WrongCells(const float* soft, const std::string& text) {
    int cells[kCellCount];
    BX_EncodeSign(cells, text.c_str());
    int wrong = 0;
    for (int cell = 0; cell < kCellCount; ++cell) {
        wrong += (soft[cell] < 0.0f ? 1 : 0) != cells[cell] ? 1 : 0;
    }
    return wrong;
}

}  // namespace

TEST(SoftDecoder, ReadsTextsOfAllLengthsFromCleanCells) {
    std::mt19937 random(1);
    for (std::size_t length = 6; length <= 10; ++length) {
        const std::string text = RandomText(random, length);
        float soft[kCellCount];
        MakeSoft(soft, text, 0.0, random);
        const SBxSoftReading reading = BX_DecodeSoft(soft, 8.0);
        EXPECT_EQ(reading.m_szText, text);
        EXPECT_NEAR(reading.m_dAgreement, 16.0, 0.01);
        EXPECT_GT(reading.m_dGap, 0.8);
    }
}

// The ordinary decoder ends at about 20 wrong cells of 256.
TEST(SoftDecoder, ReadsTextsWithAGrowingNumberOfWrongCells) {
    std::mt19937 random(2);
    const struct {
        double deviation;
        int least;  // of 100
    } kRows[] = {{0.6, 100}, {0.8, 100}, {0.9, 98}, {1.0, 90}};
    for (const auto& row : kRows) {
        int right = 0;
        int wrong = 0;
        for (int i = 0; i < 100; ++i) {
            const std::string text = RandomText(random, 10);
            float soft[kCellCount];
            MakeSoft(soft, text, row.deviation, random);
            right += BX_DecodeSoft(soft, 8.0).m_szText == text ? 1 : 0;
            wrong += WrongCells(soft, text);
        }
        EXPECT_GE(right, row.least) << wrong / 100 << " wrong cells on average";
    }
}

TEST(SoftDecoder, ReadsWhatIsSeenWhereManyCellsSayNothing) {
    std::mt19937 random(3);
    const std::string text = "half-Gone7";
    float soft[kCellCount];
    MakeSoft(soft, text, 0.3, random);
    for (int cell = 0; cell < kCellCount; ++cell) {
        if (cell % kGridSide < 6) {
            soft[cell] = 0.0f;  // the six leftmost columns were cut off
        }
    }
    EXPECT_EQ(BX_DecodeSoft(soft, 8.0).m_szText, text);
    std::fill(soft, soft + kCellCount, 0.0f);
    EXPECT_STREQ(BX_DecodeSoft(soft, 0.0).m_szText, "");
}

// Whoever names a least agreement is told nothing of noise, and soon; what can be reported must not be taken for noise.
// Without one, everything is decoded to the end.
TEST(SoftDecoder, EndsEarlyWhereThereIsNoiseAndNotWhereATextCanBeReported) {
    constexpr double kLeastReported = 10.8;
    constexpr double kHardlyAny = 0.1;  // so that nothing but the early ends leaves a decoding without a text
    std::mt19937 random(6);
    int right = 0;
    int hardlyReported = 0;
    for (int i = 0; i < 400; ++i) {
        const std::string text = RandomText(random, 10);
        float soft[kCellCount];
        MakeSoft(soft, text, 0.7 + 0.1 * (i % 4), random);
        // All cells, or two thirds: without the right columns, the upper rows (there are the cells that are always 0).
        for (int cell = 0; cell < kCellCount; ++cell) {
            const bool isCut = i % 3 == 1 ? cell % kGridSide >= 11 : i % 3 == 2 && cell / kGridSide < 5;
            soft[cell] = isCut ? 0.0f : soft[cell];
        }
        const SBxSoftReading whole = BX_DecodeSoft(soft, 0.0);
        if (whole.m_szText == text && whole.m_dAgreement >= kLeastReported) {
            ++right;
            hardlyReported += whole.m_dAgreement < kLeastReported + 1.0 ? 1 : 0;
            EXPECT_EQ(BX_DecodeSoft(soft, 8.2).m_szText, text) << whole.m_dAgreement;
        }
    }
    EXPECT_GT(right, 200);
    EXPECT_GT(hardlyReported, 60);
    int ended = 0;
    int unendedWithout = 0;
    for (int i = 0; i < 500; ++i) {
        float soft[kCellCount];
        for (float& value : soft) {
            value = static_cast<float>(std::sin(random() * 1e-3));
        }
        ended += BX_DecodeSoft(soft, kHardlyAny).m_szText[0] == 0 ? 1 : 0;
        unendedWithout += BX_DecodeSoft(soft, 0.0).m_szText[0] != 0 ? 1 : 0;
    }
    EXPECT_GT(ended, 400);
    EXPECT_GT(unendedWithout, 450);
}

TEST(SoftDecoder, NoiseNeverAgreesEnoughToBeReported) {
    std::mt19937 random(4);
    double highest = 0.0;
    for (int i = 0; i < 3000; ++i) {
        float soft[kCellCount];
        for (float& value : soft) {
            value = static_cast<float>(std::sin(random() * 1e-3));
        }
        highest = std::max(highest, BX_DecodeSoft(soft, 8.0).m_dAgreement);
    }
    EXPECT_LT(highest, 10.2);
    EXPECT_GT(BX_BitsOfAgreement(12.0), 100.0);
    EXPECT_LT(BX_ChanceOfAgreement(12.0), -40.0);
}

// Also of texts that repeat a letter, whose cells are the most regular ones.
TEST(SoftDecoder, CalmAndRepetitiveGroundIsTooRegularAndSignsAreNot) {
    std::mt19937 random(5);
    float soft[kCellCount];
    for (const std::string text : {"abc-Z9xyzQ", "aaaaaa", "000000", "----------", "AAAAAAAA"}) {
        for (const double deviation : {0.2, 0.8, 1.1}) {
            MakeSoft(soft, text, deviation, random);
            EXPECT_FALSE(BX_IsTooRegular(soft, text.c_str())) << text << ", " << deviation;
        }
    }
    for (int kind = 0; kind < 4; ++kind) {
        for (int cell = 0; cell < kCellCount; ++cell) {
            const int column = cell % kGridSide;
            const int row = cell / kGridSide;
            const bool values[] = {column < 8, (column + row) % 2 == 0, column % 5 < 2, (column + 3 * row) % 7 < 4};
            // A tenth of the cells is anything.
            soft[cell] = values[kind] != (random() % 10 == 0) ? 0.9f : -0.9f;
        }
        EXPECT_TRUE(BX_IsTooRegular(soft, "abc-Z9xyzQ")) << kind;
    }
}

// With and without cells that say nothing.
TEST(SoftDecoder, RegularityIsThatOfTheDisplacementThatTellsMost) {
    std::mt19937 random(8);
    for (int round = 0; round < 20; ++round) {
        float soft[kCellCount];
        for (float& value : soft) {
            const auto drawn = static_cast<int>(random() % 8);
            value = drawn == 0 && round % 2 == 0 ? 0.0f : drawn < 4 ? -0.5f : 0.7f;
        }
        double highest = 0.0;
        for (int displacement = 0; displacement < 25 * 13; ++displacement) {
            // From 12 columns to the left to 12 to the right, in the same row or up to 12 rows below.
            const int down = displacement / 25;
            const int across = displacement % 25 - 12;
            int same = 0;
            int pairs = 0;
            for (int cell = 0; cell < kCellCount && (down > 0 || across > 0); ++cell) {
                const int column = cell % kGridSide + across;
                const int row = cell / kGridSide + down;
                if (column >= 0 && column < kGridSide && row < kGridSide) {
                    const float product = soft[cell] * soft[row * kGridSide + column];
                    same += product > 0.0f ? 1 : 0;
                    pairs += product != 0.0f ? 1 : 0;
                }
            }
            highest = pairs < 48 ? highest : std::max(highest, std::abs(2 * same - pairs) / std::sqrt(1.0 * pairs));
        }
        EXPECT_NEAR(BX_Regularity(soft), highest, 1e-9) << round;
    }
}

TEST(SoftDecoder, TextsOfScreensRepeatACharacter) {
    for (const char* text : {"wF8------M", "WT8-----wJ", "wF8----E9M", "00000", "abcddddd"}) {
        EXPECT_TRUE(BX_RepeatsItself(text)) << text;
    }
    for (const char* text : {"Veri-2026x", "aaaa-aaaa", "10000---a", ""}) {
        EXPECT_FALSE(BX_RepeatsItself(text)) << text;
    }
}
