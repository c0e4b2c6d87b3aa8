// What may happen to a program while it writes a file.
#pragma once

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

// Runs `work` in a child that may write at most `mostBytes` into a file, as on a full disk; true when it gives 0.
template <typename Work>
bool SucceedsWithDiskOf(rlim_t mostBytes, Work work) {
    const pid_t child = fork();
    if (child == 0) {
        signal(SIGXFSZ, SIG_IGN);
        const struct rlimit limit = {mostBytes, mostBytes};
        _exit(setrlimit(RLIMIT_FSIZE, &limit) == 0 && work() == 0 ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status));
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

// Runs `work` in a child as a user without rights; true when it gives 0. For the superuser only.
template <typename Work>
bool SucceedsAsNobody(Work work) {
    const pid_t child = fork();
    if (child == 0) {
        constexpr uid_t kNobody = 65534;
        _exit(setegid(kNobody) == 0 && seteuid(kNobody) == 0 && work() == 0 ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

// Runs `work` in a child and kills it at its system call number `stop`, before or after the kernel does it: every call
// counts twice. True when it was killed, false when it came to its end before.
template <typename Work>
bool IsKilledAtSystemCall(int stop, Work work) {
    const pid_t child = fork();
    if (child == 0) {
        ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
        raise(SIGSTOP);
        work();
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    for (int count = 0; count < stop && WIFSTOPPED(status); ++count) {
        ptrace(PTRACE_SYSCALL, child, nullptr, nullptr);
        waitpid(child, &status, 0);
    }
    if (!WIFSTOPPED(status)) {
        return false;
    }
    kill(child, SIGKILL);
    waitpid(child, &status, 0);
    return true;
}

// Some machines do not let a process trace its child.
inline bool CanTraceChildren() {
    const pid_t child = fork();
    if (child == 0) {
        _exit(ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) == 0 ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}
