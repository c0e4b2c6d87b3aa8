#include "side_by_side.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <numeric>
#include <vector>

TEST(SideBySide, ReportsInOrderWhateverTheOrderOfTheWork) {
    for (const unsigned int workers : {1u, 2u, 7u}) {
        std::vector<int> worked(200, 0);
        std::vector<std::size_t> reported;
        BX_RunSideBySide(
            worked.size(), workers, [&](std::size_t i) { ++worked[i]; },
            [&](std::size_t i) {
                EXPECT_EQ(worked[i], 1);
                reported.push_back(i);
            },
            [] { return false; });
        std::vector<std::size_t> expected(worked.size());
        std::iota(expected.begin(), expected.end(), 0u);
        EXPECT_EQ(reported, expected) << workers;
    }
}

TEST(SideBySide, StartsNothingMoreOnceStopped) {
    for (const unsigned int workers : {1u, 3u}) {
        std::atomic<int> started{0};
        std::atomic<bool> stop{false};
        std::size_t reported = 0;
        BX_RunSideBySide(
            1000, workers,
            [&](std::size_t) {
                if (++started == 10) {
                    stop = true;
                }
            },
            [&](std::size_t) { ++reported; }, [&] { return stop.load(); });
        EXPECT_LE(started, 10 + static_cast<int>(workers));
        EXPECT_EQ(reported, static_cast<std::size_t>(started)) << "what was started is reported";
    }
}

TEST(SideBySide, SharesThreadsOut) {
    EXPECT_EQ(BX_ShareWork(1, 8).workers, 1u);
    EXPECT_EQ(BX_ShareWork(1, 8).threadsPerFile, 8u);
    EXPECT_EQ(BX_ShareWork(200, 2).workers, 2u);
    EXPECT_EQ(BX_ShareWork(200, 2).threadsPerFile, 1u);
    EXPECT_EQ(BX_ShareWork(200, 16).workers, 4u);
    EXPECT_EQ(BX_ShareWork(200, 16).threadsPerFile, 4u);
    EXPECT_EQ(BX_ShareWork(0, 0).workers, 1u);
}
