#include "limited_run.h"

#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>

#include "program_run.h"

namespace {

using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// Whether the process ends within so many seconds.
bool EndsWithin(int process, double seconds) {
    const auto whole = static_cast<time_t>(seconds);
    const timespec limit = {whole, std::lround((seconds - static_cast<double>(whole)) * 999999999.0)};
    pollfd waited = {process, POLLIN, 0};
    return ::ppoll(&waited, 1, &limit, nullptr) > 0;
}

}  // namespace

SLimitedRun RunLimited(const std::vector<std::string>& words, const SRunLimits& limits) {
    SLimitedRun run;
    std::FILE* out = std::tmpfile();
    std::FILE* err = std::tmpfile();
    const Clock::time_point start = Clock::now();
    const pid_t child = ::fork();
    if (child == 0) {
        ::dup2(::fileno(out), STDOUT_FILENO);
        ::dup2(::fileno(err), STDERR_FILENO);
        for (const auto& [name, value] : limits.environment) {
            ::setenv(name.c_str(), value.c_str(), 1);
        }
        if (limits.mostFileBytes >= 0) {
            const auto most = static_cast<rlim_t>(limits.mostFileBytes);
            const struct rlimit limit = {most, most};
            ::signal(SIGXFSZ, SIG_IGN);
            ::setrlimit(RLIMIT_FSIZE, &limit);
        }
        program_run::Execute(words, limits.folder);
    }
    const int process = static_cast<int>(::syscall(SYS_pidfd_open, child, 0));
    if (limits.killAfter >= 0.0 && !EndsWithin(process, limits.killAfter)) {
        ::kill(child, SIGKILL);
        run.wasKilled = true;
    } else if (!EndsWithin(process, std::max(0.0, limits.mostSeconds - SecondsSince(start)))) {
        ::kill(child, SIGKILL);
        run.isTooSlow = true;
    }
    run.status = program_run::WaitFor(child);
    run.seconds = SecondsSince(start);
    ::close(process);
    run.out = program_run::ReadAll(out);
    run.err = program_run::ReadAll(err);
    return run;
}
