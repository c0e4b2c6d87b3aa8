#include "remaining_time.h"

#include <gtest/gtest.h>

TEST(RemainingTime, IsNotKnownBeforeAFileIsFinished) {
    CBxRemainingTime time;
    EXPECT_EQ(time.Tick(0, 10, 1000), -1);
    EXPECT_EQ(time.Tick(0, 0, 500000), -1);
}

TEST(RemainingTime, IsEstimatedAnewForEachFinishedFileAndCountsDownBetween) {
    CBxRemainingTime time;
    // 8 files are left at 3500 ms each, and the first second of that has passed.
    EXPECT_EQ(time.Tick(2, 10, 7000), 8 * 3500 + 1 - 1000);
    EXPECT_EQ(time.Tick(2, 10, 8000), 8 * 3500 + 1 - 2000);
    EXPECT_EQ(time.Tick(3, 10, 10000), 7 * 3333 + 1 - 1000);
    EXPECT_EQ(time.Tick(9, 10, 10800), 1 * 1200 + 1 - 1000);
    EXPECT_EQ(time.Tick(9, 10, 11800), 0) << "never below nothing";
    EXPECT_EQ(time.Tick(10, 10, 13000), 0);
    time.Clear();
    EXPECT_EQ(time.Tick(0, 10, 1000), -1) << "nothing is kept for the next run";
}

TEST(RemainingTime, HoldsForRunsOfDays) {
    CBxRemainingTime time;
    constexpr std::int64_t kDay = 86'400'000;
    EXPECT_EQ(time.Tick(1, 101, kDay), 100 * kDay + 1 - 1000);
}

TEST(RemainingTime, IsShownAsAClock) {
    EXPECT_EQ(BX_FormatClock(0), "00:00:00");
    EXPECT_EQ(BX_FormatClock(999), "00:00:00");
    EXPECT_EQ(BX_FormatClock(3'723'000), "01:02:03");
    EXPECT_EQ(BX_FormatClock(359'999'000), "99:59:59");
    EXPECT_EQ(BX_FormatClock(360'000'000), "100:00:00");
    EXPECT_EQ(BX_FormatClock(-5000), "00:00:00");
}
