// The first look at a carrier against the decoder that it saves work.
#include "sign_probe.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "interleaving.h"
#include "sign_block.h"
#include "sign_op.h"
#include "test_pictures.h"
#include "zoom_search.h"

namespace {

constexpr int kCells = 256;
constexpr int kWordBits = 15;

std::vector<int> CellsOfRandomText(std::mt19937& random, int length) {
    int codes[10] = {};
    std::generate(codes, codes + length, [&random] { return 1 + static_cast<int>(random() % 63); });
    std::vector<int> cells(kCells);
    BX_EncodeTextCodes(cells.data(), codes);
    return cells;
}

void FlipInWord(std::vector<int>& cells, std::mt19937& random, int word, int flips) {
    for (int i = 0; i < flips; ++i) {
        cells[puiBitChangeInv[static_cast<unsigned int>(word * kWordBits) + random() % kWordBits]] ^= 1;
    }
}

constexpr EBxProbe kProbes[] = {EBxProbe::Narrow, EBxProbe::Wide};

std::vector<bool> ProbedCells(EBxProbe probe) {
    const SBxCellChoice& choice = BX_ProbeCells(probe);
    std::vector<bool> probed(kCells);
    for (int row = 0; row < 16; ++row) {
        for (int i = 0; i < choice.counts[row]; ++i) {
            probed[static_cast<std::size_t>(row * 16 + choice.columns[row][i])] = true;
        }
    }
    return probed;
}

}  // namespace

TEST(SignProbe, NeverRefusesWhatTheDecoderAccepts) {
    std::mt19937 random(7);
    int accepted = 0;
    int refused = 0;
    for (int round = 0; round < 20000; ++round) {
        const int length = 3 + static_cast<int>(random() % 8);
        std::vector<int> cells = CellsOfRandomText(random, length);
        for (int word = 0; word < 16; ++word) {
            // Up to two are corrected, more in some words of some rounds are not, or to other words.
            FlipInWord(cells, random, word, static_cast<int>(random() % (random() % 24 == 0 ? 7 : 3)));
        }
        const bool isAccepted = BX_DecodeSign(cells.data()).m_bAccepted;
        accepted += isAccepted ? 1 : 0;
        for (const EBxProbe probe : kProbes) {
            const bool isRefused = BX_ProbeRefuses(cells.data(), probe);
            ASSERT_FALSE(isAccepted && isRefused) << round;
            refused += isRefused ? 1 : 0;
        }
    }
    EXPECT_GT(accepted, 5000);
    EXPECT_GT(refused, 2000);
}

TEST(SignProbe, PassesFewCellsByChance) {
    std::mt19937 random(8);
    int passed[2] = {};
    for (int round = 0; round < 40000; ++round) {
        std::vector<int> cells(kCells);
        std::generate(cells.begin(), cells.end(), [&random] { return static_cast<int>(random() % 2); });
        passed[0] += BX_ProbeRefuses(cells.data(), EBxProbe::Narrow) ? 0 : 1;
        passed[1] += BX_ProbeRefuses(cells.data(), EBxProbe::Wide) ? 0 : 1;
    }
    EXPECT_NEAR(passed[0], 40000 / 2048, 18);
    EXPECT_NEAR(passed[1], 40000 / 512, 36);
    for (const EBxProbe probe : kProbes) {
        EXPECT_TRUE(BX_ProbeRefuses(std::vector<int>(kCells, 0).data(), probe));
    }
    EXPECT_TRUE(BX_ProbeRefuses(std::vector<int>(kCells, 1).data(), EBxProbe::Wide));
}

TEST(SignProbe, LooksAtItsOwnCellsOnly) {
    for (const EBxProbe probe : kProbes) {
        const std::vector<bool> probed = ProbedCells(probe);
        EXPECT_EQ(std::count(probed.begin(), probed.end(), true), probe == EBxProbe::Narrow ? 60 : 75);
        std::mt19937 random(9);
        for (int round = 0; round < 200; ++round) {
            std::vector<int> cells = CellsOfRandomText(random, 10);
            FlipInWord(cells, random, static_cast<int>(random() % 16), 2);
            for (std::size_t cell = 0; cell < cells.size(); ++cell) {
                cells[cell] = probed[cell] ? cells[cell] : static_cast<int>(random() % 2);
            }
            EXPECT_FALSE(BX_ProbeRefuses(cells.data(), probe)) << round;
        }
    }
}

TEST(SignProbe, LetsASignThroughHoweverCloselyItLooks) {
    char text[] = "Probe-7x";
    SBxSignRun run;
    CBxOwnedPic picture = MakeTexturedPicture(520, 420, 7);
    ASSERT_EQ(CBxSignOp::InsertTextIntoPicture(run, &picture.Pic(), text), 0);
    CBxSearchPicture shared;
    ASSERT_TRUE(shared.Prepare(picture.Pic()));
    for (const EBxProbe probe : kProbes) {
        SBxSignRun search;
        CBxStrengthMemory memory;
        memory.RememberPassed(probe == EBxProbe::Narrow ? 1 : 2);
        ASSERT_EQ(memory.Probe(), probe);
        char block[CBxSignOp::kTextBytes] = {};
        SBxFinding finding;
        ASSERT_EQ(BX_SearchZoom(search, shared, block, finding, 1.0, memory), 0);
        EXPECT_STREQ(block + 8, text);
    }
}
