#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <numeric>
#include <set>
#include <string>
#include <vector>

#include "bch157.h"
#include "interleaving.h"
#include "rand_mt.h"
#include "sign_block.h"
#include "sign_op.h"

namespace {

CBxBCH157 MakeCoder() {
    CBxBCH157 coder;
    coder.read_p();
    coder.generate_gf();
    coder.gen_poly();
    return coder;
}

void EncodeWord(CBxBCH157& coder, int word) {
    for (int bit = 0; bit < 7; ++bit) {
        coder.data[bit] = (word >> bit) & 1;
    }
    coder.GetBCHCodeFromData();
}

int DataOf(const CBxBCH157& coder) {
    int word = 0;
    for (int bit = 0; bit < 7; ++bit) {
        word |= coder.data[bit] << bit;
    }
    return word;
}

std::string RoundTrip(const char* text) {
    int cells[256];
    BX_EncodeSign(cells, text);
    return BX_DecodeSign(cells).m_szCharacters + 8;
}

bool Accepted(const char* text) {
    int cells[256];
    BX_EncodeSign(cells, text);
    return BX_DecodeSign(cells).m_bAccepted;
}

}  // namespace

TEST(CharacterCode, MapsTheThreeRangesAndTurnsTheRestIntoADash) {
    std::set<int> codes;
    for (int c = 1; c < 256; ++c) {
        char character = static_cast<char>(c);
        char code = CBxSignOp::MapCharTo6Bit(character);
        const bool carried =
            std::strchr("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789", c) != nullptr;
        EXPECT_EQ(CBxSignOp::Map6BitToChar(code), carried ? static_cast<char>(c) : '-') << c;
        codes.insert(code);
    }
    EXPECT_EQ(codes.size(), 63u);
    EXPECT_EQ(*codes.begin(), 1);
    EXPECT_EQ(*codes.rbegin(), 63);
    char outside = 64;
    EXPECT_EQ(CBxSignOp::Map6BitToChar(outside), 0);
    outside = -1;
    EXPECT_EQ(CBxSignOp::Map6BitToChar(outside), 0);
}

TEST(CheckTriples, FollowTheRuleFromWhichEveryReaderBuildsThem) {
    CBxSignOp::GenerateHashPole();
    const auto triple = [](int n) { return std::vector<int>(CBxSignOp::hashpole[n], CBxSignOp::hashpole[n] + 3); };
    EXPECT_THAT(triple(0), testing::ElementsAre(0, 1, 2));
    EXPECT_THAT(triple(45), testing::ElementsAre(0, 1, 47));
    EXPECT_THAT(triple(46), testing::ElementsAre(0, 1, 0));
    EXPECT_THAT(triple(47), testing::ElementsAre(0, 2, 3));
    EXPECT_THAT(triple(70), testing::ElementsAre(0, 2, 26));
}

TEST(Interleaving, IsAPermutationAndItsInverse) {
    std::vector<int> seen(243, 0);
    for (int i = 0; i < 243; ++i) {
        ++seen.at(puiBitChange[i]);
        EXPECT_EQ(puiBitChangeInv[puiBitChange[i]], i);
    }
    EXPECT_THAT(seen, testing::Each(1));
}

TEST(BchCode, GeneratorIsTheProductOfTheMinimalPolynomials) {
    const CBxBCH157 coder = MakeCoder();
    EXPECT_THAT(coder.g, testing::ElementsAre(1, 0, 0, 0, 1, 0, 1, 1, 1));
    EXPECT_EQ(coder.index_of[0], -1);
}

TEST(BchCode, CorrectsEveryPatternOfUpToTwoFlippedBitsInEveryWord) {
    CBxBCH157 coder = MakeCoder();
    for (int word = 0; word < 128; ++word) {
        for (int first = 0; first < 15; ++first) {
            for (int second = first; second < 15; ++second) {
                EncodeWord(coder, word);
                const std::vector<int> sent(coder.recd, coder.recd + 15);
                coder.recd[first] ^= 1;
                coder.recd[second] ^= 1;  // first == second: no error at all
                EXPECT_EQ(coder.GetDataFromBCHCode(), first == second ? 0 : 2);
                ASSERT_EQ(DataOf(coder), word) << first << ", " << second;
                ASSERT_TRUE(std::equal(sent.begin(), sent.end(), coder.recd));
            }
            EncodeWord(coder, word);
            coder.recd[first] ^= 1;
            EXPECT_EQ(coder.GetDataFromBCHCode(), 1);
            ASSERT_EQ(DataOf(coder), word) << first;
        }
    }
}

TEST(BchCode, FlipsAtMostTwoBitsOfAnyReceivedWord) {
    CBxBCH157 coder = MakeCoder();
    for (int received = 0; received < 1 << 15; ++received) {
        for (int bit = 0; bit < 15; ++bit) {
            coder.recd[bit] = (received >> bit) & 1;
        }
        const int corrected = coder.GetDataFromBCHCode();
        int changed = 0;
        for (int bit = 0; bit < 15; ++bit) {
            changed += coder.recd[bit] != ((received >> bit) & 1);
        }
        ASSERT_EQ(changed, corrected) << received;
        ASSERT_LE(corrected, 2) << received;
    }
}

TEST(SignBlock, CarriesTextsAsTheyAreOrWithDashes) {
    EXPECT_EQ(RoundTrip("abc-Z9"), "abc-Z9");
    EXPECT_EQ(RoundTrip("ab c#d!"), "ab-c-d-");
    EXPECT_EQ(RoundTrip("0123456789"), "0123456789");
    EXPECT_EQ(RoundTrip("Photographer"), "Photograph");
    EXPECT_EQ(RoundTrip(std::string(3000, 'x').c_str()), "xxxxxxxxxx");
    EXPECT_EQ(RoundTrip(""), "");
}

TEST(SignBlock, AcceptsFromSixCharactersOn) {
    EXPECT_FALSE(Accepted(""));
    EXPECT_FALSE(Accepted("abcde"));
    EXPECT_TRUE(Accepted("abcdef"));
    EXPECT_TRUE(Accepted("abcdefghij"));
}

TEST(SignBlock, CellsAreThoseOfEverySignWrittenSoFar) {
    // Figures of an independent implementation.
    const std::string expected =
        "10111101100001000101000000111100001010100100100000010100001000000100100100100011100010100000000001101100000110"
        "00"
        "10111010010001100100001000100010110000000010010000101000000100001111101010000100101011111000001001001000101100"
        "10"
        "00101000010011000010000000000000";
    int cells[256];
    BX_EncodeSign(cells, "abc-Z9");
    std::string written;
    std::transform(cells, cells + 256, std::back_inserter(written), [](int bit) { return bit != 0 ? '1' : '0'; });
    EXPECT_EQ(written, expected);
}

TEST(SignBlock, SurvivesTwoWrongCellsOfEveryWordAndCountsThem) {
    int cells[256];
    BX_EncodeSign(cells, "Veri-2026x");
    for (int word = 0; word < 16; ++word) {
        cells[puiBitChangeInv[15 * word + word % 15]] ^= 1;
        cells[puiBitChangeInv[15 * word + (word + 4) % 15]] ^= 1;
    }
    const SBxReadBlock read = BX_DecodeSign(cells);
    EXPECT_TRUE(read.m_bAccepted);
    EXPECT_STREQ(read.m_szCharacters + 8, "Veri-2026x");
    EXPECT_EQ(read.m_uiCorrectedBits, 32u);
}

TEST(SignBlock, IsRefusedWhenACheckCodeDoesNotMatch) {
    int cells[256];
    BX_EncodeSign(cells, "Veri-2026x");
    // Three errors in one word are beyond the correction. The last word holds padding, which nobody checks.
    for (int word = 0; word < 15; ++word) {
        std::vector<int> damaged(cells, cells + 256);
        for (const int bit : {0, 5, 11}) {
            damaged[puiBitChangeInv[15 * word + bit]] ^= 1;
        }
        EXPECT_FALSE(BX_DecodeSign(damaged.data()).m_bAccepted) << word;
    }
}

TEST(GridTransform, CopiesOrMirrorsInPlace) {
    std::vector<int> source(256);
    std::iota(source.begin(), source.end(), 1000);
    for (const unsigned int mode : {0u, 4u, 7u}) {
        std::vector<int> target(256, 0);
        CBxSignOp::TransformCurrentBytecode(target.data(), source.data(), mode);
        EXPECT_EQ(target, source) << mode;
    }
    std::vector<int> numbers(256);
    std::iota(numbers.begin(), numbers.end(), 0);
    for (unsigned int mode = 1; mode <= 3; ++mode) {
        std::vector<int> target = numbers;
        CBxSignOp::TransformCurrentBytecode(target.data(), source.data(), mode);
        // The half that is written last keeps its values; the other half mirrors it.
        for (int cell = 0; cell < 256; ++cell) {
            const int row = cell / 16;
            const int column = cell % 16;
            const int mirrored = mode == 1 ? 16 * row + 15 - column : mode == 2 ? 16 * (15 - row) + column : 255 - cell;
            const bool keeps = mode == 1 ? column >= 8 : row >= 8;
            EXPECT_EQ(target[cell], keeps ? cell : mirrored) << mode << ": " << cell;
        }
    }
}

TEST(RandMT, GivesTheSequenceOfItsSeed) {
    // Figures of an independent implementation, on both sides of the first reload.
    RandMT random(4357);
    std::vector<std::uint32_t> sequence(1300);
    std::generate(sequence.begin(), sequence.end(), [&random] { return random.randomMT(); });
    EXPECT_EQ(sequence[0], 3510405877u);
    EXPECT_EQ(sequence[1], 4290933890u);
    RandMT even(4356);
    EXPECT_TRUE(std::all_of(sequence.begin(), sequence.end(), [&even](std::uint32_t number) {
        return number == even.randomMT();
    })) << "seeds that differ in the lowest bit are the same";
    RandMT byDefault;
    EXPECT_EQ(byDefault.randomMT(), 3796174982u);
    random.seedMT(4357);
    EXPECT_EQ(random.randomMT(), sequence[0]);
}
