#include "child_process.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

#include "temporary_folder.h"

namespace {

class ChildProcess : public testing::Test {
protected:
    std::string WriteScript(const std::string& commands) {
        const std::string path = m_Folder / "tool";
        WriteBytes(path, "#!/bin/sh\n" + commands + "\n");
        ::chmod(path.c_str(), 0700);
        return path;
    }

    SBxChildResult Run(const std::string& commands, int milliseconds = kChildMilliseconds) {
        return BX_RunChild(
            WriteScript(commands), {"first", "a \"b\" $HOME;%s"}, [] { return false; }, milliseconds);
    }

    // Waits until the process whose number a script has written into `file` has ended; false when it does not.
    bool IsGone(const std::string& file) {
        const auto pid = static_cast<pid_t>(std::strtol(ReadBytes(m_Folder / file).c_str(), nullptr, 10));
        EXPECT_GT(pid, 1);
        const int descriptor = static_cast<int>(::syscall(SYS_pidfd_open, pid, 0));
        pollfd end = {descriptor, POLLIN, 0};
        const bool isGone = descriptor < 0 || ::poll(&end, 1, 60000) == 1;
        ::close(descriptor);
        return isGone;
    }

    CTemporaryFolder m_Folder;
};

}  // namespace

TEST_F(ChildProcess, GetsItsArgumentsAsTheyAreAndNothingToRead) {
    const SBxChildResult result = Run("printf '<%s>' \"$@\"; cat; echo to-the-other >&2; exit 7");
    EXPECT_EQ(result.end, EBxChildEnd::kExited);
    EXPECT_EQ(result.exitStatus, 7);
    EXPECT_EQ(result.output, "<first><a \"b\" $HOME;%s>to-the-other\n");
}

TEST_F(ChildProcess, InheritsNoFile) {
    WriteBytes(m_Folder / "open", "secret");
    std::FILE* open = std::fopen((m_Folder / "open").c_str(), "r");
    ASSERT_NE(open, nullptr);
    const SBxChildResult result = Run("ls -l /proc/$$/fd");
    EXPECT_THAT(result.output, testing::Not(testing::HasSubstr("/open")));
    EXPECT_THAT(result.output, testing::HasSubstr("/dev/null"));
    std::fclose(open);
}

TEST_F(ChildProcess, AFloodIsDrainedAndCut) {
    const SBxChildResult result =
        Run("head -c 30000000 /dev/zero | tr '\\0' x; head -c 30000000 /dev/zero | tr '\\0' y >&2; exit 3");
    EXPECT_EQ(result.end, EBxChildEnd::kExited);
    EXPECT_EQ(result.exitStatus, 3);
    EXPECT_EQ(result.output, std::string(kMostChildOutput, 'x'));
}

TEST_F(ChildProcess, SaysWhyItCannotStart) {
    const auto never = [] { return false; };
    const SBxChildResult missing = BX_RunChild(m_Folder / "missing", {}, never);
    EXPECT_EQ(missing.end, EBxChildEnd::kNotStarted);
    EXPECT_THAT(missing.reason, testing::HasSubstr("No such file"));
    WriteBytes(m_Folder / "plain", "#!/bin/sh\n");
    EXPECT_THAT(BX_RunChild(m_Folder / "plain", {}, never).reason, testing::HasSubstr("Permission denied"));
    // Only an absolute path is a place that is known: nothing is looked for anywhere.
    EXPECT_EQ(BX_RunChild("true", {}, never).end, EBxChildEnd::kNotStarted);
    EXPECT_EQ(BX_RunChild("", {}, never).end, EBxChildEnd::kNotStarted);
}

TEST_F(ChildProcess, IsEndedAfterTheLimitWithAllThatItStarted) {
    const std::string remember = "echo $$ > " + m_Folder / "parent; sleep 1000 & echo $! > " + m_Folder / "child; wait";
    // On a busy machine it may not come to its last command within a short limit.
    for (int limit = 100; ReadBytes(m_Folder / "child").find('\n') == std::string::npos; limit *= 4) {
        ASSERT_LT(limit, 100000);
        EXPECT_EQ(Run(remember, limit).end, EBxChildEnd::kTooSlow);
    }
    EXPECT_TRUE(IsGone("parent"));
    EXPECT_TRUE(IsGone("child"));
}

TEST_F(ChildProcess, WhatItLeavesRunningEndsWithIt) {
    const SBxChildResult result = Run("sleep 1000 & echo $! > " + m_Folder / "child; echo done");
    EXPECT_EQ(result.end, EBxChildEnd::kExited);
    EXPECT_EQ(result.output, "done\n");
    EXPECT_TRUE(IsGone("child"));
}

TEST_F(ChildProcess, ACancelEndsIt) {
    const std::string script = WriteScript("echo $$ > " + m_Folder / "parent; exec sleep 1000");
    // Cancels as soon as the program is seen at work.
    const SBxChildResult result = BX_RunChild(script, {}, [this] { return !ReadBytes(m_Folder / "parent").empty(); });
    EXPECT_EQ(result.end, EBxChildEnd::kCancelled);
    EXPECT_TRUE(IsGone("parent"));
}

// Orphans come to this process, which can then wait for their end.
TEST_F(ChildProcess, EndsWithAParentThatIsKilled) {
    ASSERT_EQ(::prctl(PR_SET_CHILD_SUBREAPER, 1), 0);
    const std::string script = WriteScript("echo $$ > " + m_Folder / "pid; exec sleep 1000");
    const pid_t parent = ::fork();
    if (parent == 0) {
        BX_RunChild(script, {}, [this] {
            const bool isAtWork = ReadBytes(m_Folder / "pid").find('\n') != std::string::npos;
            return isAtWork && ::raise(SIGKILL) == 0;
        });
        ::_exit(1);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(parent, &status, 0), parent);
    ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);
    const pid_t orphan = std::stoi(ReadBytes(m_Folder / "pid"));
    ASSERT_EQ(::waitpid(orphan, &status, 0), orphan);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);
    ::prctl(PR_SET_CHILD_SUBREAPER, 0);
}

TEST_F(ChildProcess, ACrashIsToldFromAnExit) {
    const SBxChildResult result = Run("kill -SEGV $$");
    EXPECT_EQ(result.end, EBxChildEnd::kCrashed);
    EXPECT_EQ(result.exitStatus, SIGSEGV);
}
