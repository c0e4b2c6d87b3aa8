#include "logger.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "class_log.h"
#include "temporary_folder.h"

namespace {

constexpr char kTime[] = "^[0-9]{4}/[0-9]{2}/[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}";

// The lines behind their timestamps; a line that has none gives the test away.
std::vector<std::string> LinesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        EXPECT_THAT(line.substr(0, 19), testing::ContainsRegex(kTime)) << line;
        lines.push_back(line.size() > 19 ? line.substr(19) : line);
    }
    return lines;
}

constexpr char kStarted[] = "|INFO | *** LOG SESSION STARTED  ***";
constexpr char kFinished[] = "|INFO | *** LOG SESSION FINISHED ***";

class CFirst : public CBxClassLog<CFirst> {};
class CSecond : public CBxClassLog<CSecond> {};

class Logger : public testing::Test {
protected:
    std::vector<std::string> Lines() const { return LinesOf(ReadBytes(m_Path)); }

    CTemporaryFolder m_Folder;
    const std::string m_Path = m_Folder / "run.log";
};

}  // namespace

TEST_F(Logger, WritesASessionLineByLine) {
    CBxLogger logger;
    ASSERT_EQ(logger.OpenNewLog(m_Path.c_str(), false, true), 0);
    EXPECT_EQ(logger.LogError("%d of %s", 3, "four"), 0);
    // Flushed at once: it is there before the session ends.
    EXPECT_THAT(Lines(), testing::ElementsAre(kStarted, "|ERROR| 3 of four"));
    EXPECT_EQ(logger.LogInfo("done"), 0);
    EXPECT_EQ(logger.CloseLog(), 0);
    EXPECT_THAT(Lines(), testing::ElementsAre(kStarted, "|ERROR| 3 of four", "|INFO | done", kFinished));
    EXPECT_EQ(logger.LogError("late"), 1);
}

TEST_F(Logger, AppendsOrBeginsAnew) {
    WriteBytes(m_Path, "2000/01/01 00:00:00 old\n");
    {
        CBxLogger logger;
        ASSERT_EQ(logger.OpenLog(m_Path.c_str(), false, true), 0);
    }
    EXPECT_THAT(Lines(), testing::ElementsAre(" old", kStarted, kFinished));
    {
        CBxLogger logger;
        ASSERT_EQ(logger.OpenNewLog(m_Path.c_str(), false, true), 0);
    }
    EXPECT_THAT(Lines(), testing::ElementsAre(kStarted, kFinished));
}

TEST_F(Logger, ObeysItsFlagsExceptForTheSessionLines) {
    CBxLogger logger;
    ASSERT_EQ(logger.OpenNewLog(m_Path.c_str(), false, false), 0);
    EXPECT_EQ(logger.LogError("disabled"), 0);
    logger.EnableLogging(true, false, false, false);
    EXPECT_EQ(logger.LogInfoDetail("no detail"), 0);
    EXPECT_EQ(logger.LogErrorDetail("no detail"), 0);
    logger.EnableLogging(true, true, true, false);
    EXPECT_EQ(logger.LogInfo("only errors"), 0);
    EXPECT_EQ(logger.LogInfoDetail("only errors"), 0);
    EXPECT_EQ(logger.LogErrorDetail("kept detail"), 0);
    logger.EnableLogging(false, true, true, false);
    logger.CloseLog();
    EXPECT_THAT(Lines(), testing::ElementsAre(kStarted, "|ERROR| kept detail", kFinished));
}

TEST_F(Logger, KeepsTheFirstSessionWhenASecondIsOpened) {
    CBxLogger logger;
    EXPECT_EQ(logger.OpenNewLog((m_Folder / "no/such/folder.log").c_str(), false, true), 1);
    EXPECT_FALSE(logger.IsLogOpened());
    ASSERT_EQ(logger.OpenNewLog(m_Path.c_str(), false, true), 0);
    EXPECT_EQ(logger.OpenNewLog((m_Folder / "other.log").c_str(), false, true), 1);
    EXPECT_EQ(logger.OpenStdErrLog(true), 1);
    EXPECT_EQ(m_Folder.Count(), 1);
    EXPECT_EQ(logger.LogInfo("still here"), 0);
    EXPECT_THAT(Lines(), testing::ElementsAre(kStarted, "|INFO | still here"));
}

TEST_F(Logger, WritesToStandardErrorWithoutAFile) {
    testing::internal::CaptureStderr();
    {
        CBxLogger logger;
        EXPECT_EQ(logger.OpenStdErrLog(true), 0);
        EXPECT_TRUE(logger.IsLoggingEnabled());
        EXPECT_EQ(logger.LogInfo("seen"), 0);
    }
    EXPECT_THAT(LinesOf(testing::internal::GetCapturedStderr()),
                testing::ElementsAre(kStarted, "|INFO | seen", kFinished));
    CBxLogger nowhere;
    EXPECT_EQ(nowhere.OpenStdErrLog(false), 0);
    EXPECT_FALSE(nowhere.IsLogOpened());
    EXPECT_EQ(nowhere.LogError("lost"), 1);
}

// The message is no format of its own, and no longer than its buffer.
TEST_F(Logger, PrintsMessagesVerbatimAndCutsLongOnes) {
    CBxLogger logger;
    ASSERT_EQ(logger.OpenNewLog(m_Path.c_str(), false, true), 0);
    EXPECT_EQ(logger.LogError("%s", "100%s%n.jpg"), 0);
    EXPECT_EQ(logger.LogError("%s", std::string(5000, 'x').c_str()), 0);
    EXPECT_THAT(Lines(), testing::ElementsAre(kStarted, "|ERROR| 100%s%n.jpg", "|ERROR| " + std::string(1999, 'x')));
}

// A name of a file can hold any byte but two.
TEST_F(Logger, LetsNoMessageSteerATerminalOrForgeALine) {
    CBxLogger logger;
    ASSERT_EQ(logger.OpenNewLog(m_Path.c_str(), false, true), 0);
    EXPECT_EQ(logger.LogInfo("Cannot read %s", "a\n2026/01/01 00:00:00|ERROR| b\033[2J\r\x7f\xC2\x9Bm\t\xC3\xA4.jpg"),
              0);
    EXPECT_EQ(logger.LogInfo("%s", std::string(1999, '\a').c_str()), 0);
    std::string bells;
    for (int i = 0; i < 1999; ++i) {
        bells += "\\x07";
    }
    EXPECT_THAT(Lines(), testing::ElementsAre(kStarted,
                                              "|INFO | Cannot read a\\n2026/01/01 00:00:00|ERROR| b\\x1b[2J\\x0d\\x7f"
                                              "\\xc2\\x9bm\\t\xC3\xA4.jpg",
                                              "|INFO | " + bells));
}

TEST_F(Logger, NoticesALineThatCannotBeWritten) {
    CBxLogger logger;
    ASSERT_EQ(logger.OpenLog("/dev/full", false, true), 0);
    EXPECT_EQ(logger.LogError("lost"), 1);
}

TEST_F(Logger, KeepsLinesOfEightThreadsApart) {
    constexpr int kThreads = 8;
    constexpr int kLinesEach = 200;
    CBxLogger logger;
    ASSERT_EQ(logger.OpenNewLog(m_Path.c_str(), false, true), 0);
    std::vector<std::thread> threads;
    for (int number = 0; number < kThreads; ++number) {
        threads.emplace_back([&logger, number] {
            const std::string filler(static_cast<std::size_t>(100 + 150 * number), static_cast<char>('a' + number));
            for (int line = 0; line < kLinesEach; ++line) {
                logger.LogInfo("%d %d %s", number, line, filler.c_str());
            }
        });
    }
    // A change of the flags must not tear a line or race with the writers.
    for (int turn = 0; turn < 100; ++turn) {
        logger.EnableLogging(true, turn % 2 == 0, false, false);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    logger.CloseLog();

    std::multiset<std::string> expected{kStarted, kFinished};
    for (int number = 0; number < kThreads; ++number) {
        for (int line = 0; line < kLinesEach; ++line) {
            expected.insert("|INFO | " + std::to_string(number) + " " + std::to_string(line) + " " +
                            std::string(static_cast<std::size_t>(100 + 150 * number), static_cast<char>('a' + number)));
        }
    }
    const std::vector<std::string> lines = Lines();
    EXPECT_EQ(std::multiset<std::string>(lines.begin(), lines.end()), expected);
}

TEST_F(Logger, IsForwardedToByEachClassOnItsOwn) {
    CBxLogger logger;
    CBxLogger other;
    ASSERT_EQ(logger.OpenNewLog(m_Path.c_str(), false, true), 0);
    EXPECT_EQ(CFirst::LogError("no logger yet"), 1);
    EXPECT_EQ(CFirst::SetLogger(&logger), 0);
    EXPECT_EQ(CFirst::SetLogger(&other), 1);
    EXPECT_EQ(CFirst::GetLogger(), &logger);
    EXPECT_EQ(CSecond::LogError("no logger here"), 1);
    EXPECT_EQ(CFirst::LogInfo("CFirst: %d", 1), 0);
    EXPECT_EQ(CFirst::LogErrorDetail("CFirst: silent"), 0);
    logger.EnableLogging(true, true, false, false);
    EXPECT_EQ(CFirst::LogInfoDetail("CFirst: %s", "detail"), 0);
    CFirst::UnsetLogger();
    EXPECT_EQ(CFirst::LogError("no logger any more"), 1);
    EXPECT_THAT(Lines(), testing::ElementsAre(kStarted, "|INFO | CFirst: 1", "|INFO | CFirst: detail"));
}

TEST_F(Logger, GivesTimestampsThatFit) {
    char buffer[20] = {};
    CBxLogger::GetTimestamp(buffer, sizeof(buffer));
    EXPECT_THAT(std::string(buffer), testing::ContainsRegex(std::string(kTime) + "$"));
    char small[19] = "unchanged";
    CBxLogger::GetTimestamp(small, sizeof(small));
    EXPECT_STREQ(small, "");
    CBxLogger::GetTimestamp(nullptr, 20);
}
