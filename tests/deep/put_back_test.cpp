#include "put_back.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "clipped_pixels.h"
#include "result.h"

namespace {

// A row of all tones, changed.
CBxOwnedPic ChangedTones(const SBxTone& change) {
    CBxOwnedPic picture;
    EXPECT_EQ(picture.Allocate(256, 1, 3, 8), kBxSuccess);
    auto* row = BX_PicRow<unsigned char>(picture.Pic(), 0);
    for (int x = 0; x < 3 * 256; ++x) {
        const double bent = 255.0 * std::pow(x / 3 / 255.0, change.exponent);
        row[x] = static_cast<unsigned char>(std::clamp(std::lround(change.gain * bent + change.offset), 0L, 255L));
    }
    return picture;
}

CBxOwnedPic PutBack(const SBxTone& change) {
    unsigned char table[256];
    BX_MakePutBackTable(table, change);
    CBxOwnedPic back;
    EXPECT_EQ(BX_PutBack(back, ChangedTones(change).Pic(), table), kBxSuccess);
    return back;
}

}  // namespace

TEST(PutBack, GivesEveryToneThatWasNotLostAndPutsTheOthersAmongTheLost) {
    for (const SBxTone& change : {SBxTone{1.25, -32.0, 1.0}, SBxTone{1.25, 0.0, 1.0}, SBxTone{1.1, 9.0, 1.0}}) {
        SCOPED_TRACE(change.offset);
        const SBxLostTones lost(change);
        const CBxOwnedPic back = PutBack(change);
        const auto* row = BX_PicRow<unsigned char>(back.Pic(), 0);
        for (int tone = 0; tone < 256; ++tone) {
            if (tone < lost.dark - 1.0) {
                EXPECT_NEAR(row[3 * tone], lost.dark * 2 / 3, 1.0) << tone;
            } else if (tone > 255.0 - lost.bright + 1.0) {
                EXPECT_NEAR(row[3 * tone], 255.0 - lost.bright * 2 / 3, 1.0) << tone;
            } else if (tone > lost.dark + 1.0 && tone < 254.0 - lost.bright) {
                EXPECT_EQ(row[3 * tone], tone);
            }
        }
    }
}

// Where an exponent has pressed tones together they are known to within one.
TEST(PutBack, UndoesExponents) {
    for (const double exponent : {0.8, 1.25}) {
        const CBxOwnedPic back = PutBack({1.0, 0.0, exponent});
        const auto* row = BX_PicRow<unsigned char>(back.Pic(), 0);
        for (int tone = 24; tone < 256; ++tone) {
            EXPECT_NEAR(row[3 * tone], tone, 1.0) << exponent;
        }
    }
}

TEST(PutBack, CellsAreLeftOutByWhatTheirEndHasLost) {
    constexpr int kSide = 400;
    CBxOwnedPic picture;
    ASSERT_EQ(picture.Allocate(kSide, kSide, 3, 8), kBxSuccess);
    for (int y = 0; y < kSide; ++y) {
        auto* row = BX_PicRow<unsigned char>(picture.Pic(), y);
        for (int x = 0; x < 3 * kSide; ++x) {
            row[x] = static_cast<unsigned char>((x / 3 + y) % 4 == 0 ? 255 : 100);  // a quarter of every cell
        }
    }
    const auto leftOut = [&picture](const SBxTone& change) {
        CBxClippedPixels clipped;
        EXPECT_TRUE(clipped.Prepare(picture.Pic(), SBxLostTones(change)));
        float means[kCellCount] = {};
        clipped.LeaveOut(means, BX_PoseOfRectangle({0.0, 0.0, kSide, kSide}));
        return std::count_if(means, means + kCellCount, [](float mean) { return mean != mean; });
    };
    EXPECT_EQ(leftOut({1.25, -32.0, 1.0}), 0);         // 25 tones
    EXPECT_EQ(leftOut({1.25, 0.0, 1.0}), kCellCount);  // 51
    EXPECT_EQ(leftOut({1.25, -63.75, 1.0}), 0);        // of the other end
}
