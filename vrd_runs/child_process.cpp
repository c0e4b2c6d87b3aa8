#include "child_process.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>

namespace {

constexpr int kPollMilliseconds = 20;

// A pipe whose ends are closed with it, and in programs that are started.
struct SPipe {
    int ends[2] = {-1, -1};

    SPipe() = default;
    ~SPipe() {
        CloseEnd(0);
        CloseEnd(1);
    }
    SPipe(const SPipe&) = delete;
    SPipe& operator=(const SPipe&) = delete;

    bool Open() { return ::pipe2(ends, O_CLOEXEC) == 0; }
    void CloseEnd(int index) {
        if (ends[index] >= 0) {
            ::close(ends[index]);
            ends[index] = -1;
        }
    }
};

// In the child, between fork and exec, where only plain system calls are allowed. Comes back only when it fails.
void BecomeProgram(char* const* words, pid_t parent, int output) {
    ::setpgid(0, 0);
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != parent) {
        ::_exit(127);  // the parent ended before it could be told to take this along
    }
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    const int input = ::open("/dev/null", O_RDONLY);
    if (input < 0 || ::dup2(input, STDIN_FILENO) < 0 || ::dup2(output, STDOUT_FILENO) < 0 ||
        ::dup2(output, STDERR_FILENO) < 0) {
        return;
    }
    // Whatever other parts of the process have opened without a thought for programs that are started.
    ::close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC);
    ::execv(words[0], words);
}

// One child, from its start to its end.
class CChild {
public:
    explicit CChild(SBxChildResult& result) : m_Result(result) {}
    ~CChild() { End(); }
    CChild(const CChild&) = delete;
    CChild& operator=(const CChild&) = delete;

    bool Start(const std::string& program, const std::vector<std::string>& arguments) {
        std::vector<char*> words = {const_cast<char*>(program.c_str())};
        for (const std::string& argument : arguments) {
            words.push_back(const_cast<char*>(argument.c_str()));
        }
        words.push_back(nullptr);
        SPipe fault;
        if (!m_Output.Open() || !fault.Open()) {
            return Fail(errno);
        }
        const pid_t parent = ::getpid();
        m_Pid = ::fork();
        if (m_Pid == 0) {
            BecomeProgram(words.data(), parent, m_Output.ends[1]);
            const int number = errno;
            ::write(fault.ends[1], &number, sizeof(number));
            ::_exit(127);
        }
        if (m_Pid < 0) {
            return Fail(errno);
        }
        ::setpgid(m_Pid, m_Pid);  // in the child too: whoever comes first
        m_Output.CloseEnd(1);
        fault.CloseEnd(1);
        ::fcntl(m_Output.ends[0], F_SETFL, O_NONBLOCK);
        return HasBecomeProgram(fault.ends[0]);
    }

    void Wait(const std::function<bool()>& cancelled, int milliseconds) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
        while (!HasEnded()) {
            if (cancelled()) {
                m_Result.end = EBxChildEnd::kCancelled;
                return;
            }
            if (std::chrono::steady_clock::now() >= deadline) {
                m_Result.end = EBxChildEnd::kTooSlow;
                return;
            }
            pollfd waited = {m_Output.ends[0], POLLIN, 0};
            ::poll(&waited, 1, kPollMilliseconds);
            Drain();
        }
        Drain();
    }

private:
    bool Fail(int errorNumber) {
        m_Result.reason = std::strerror(errorNumber);
        return false;
    }

    // The pipe is closed unread when the program has taken over.
    bool HasBecomeProgram(int fault) {
        pollfd waited = {fault, POLLIN, 0};
        int ready = 0;
        do {
            ready = ::poll(&waited, 1, kChildStartMilliseconds);
        } while (ready < 0 && errno == EINTR);
        int number = ETIMEDOUT;
        return (ready > 0 && ::read(fault, &number, sizeof(number)) == 0) || Fail(number);
    }

    bool HasEnded() {
        siginfo_t facts = {};
        // It stays a zombie, so that its number and that of its group are not given to others before End.
        if (::waitid(P_PID, static_cast<id_t>(m_Pid), &facts, WEXITED | WNOHANG | WNOWAIT) != 0) {
            m_Result.end = EBxChildEnd::kCrashed;
            return true;
        }
        if (facts.si_pid == 0) {
            return false;
        }
        m_Result.end = facts.si_code == CLD_EXITED ? EBxChildEnd::kExited : EBxChildEnd::kCrashed;
        m_Result.exitStatus = facts.si_status;
        return true;
    }

    // Takes what is there, at most so much that a flood does not keep the caller from looking at the clock.
    void Drain() {
        char buffer[65536];
        for (int step = 0; step < 16 && m_Output.ends[0] >= 0; ++step) {
            const ssize_t count = ::read(m_Output.ends[0], buffer, sizeof(buffer));
            if (count < 0) {
                return;
            }
            if (count == 0) {
                m_Output.CloseEnd(0);
                return;
            }
            const std::size_t room = kMostChildOutput - m_Result.output.size();
            m_Result.output.append(buffer, std::min(room, static_cast<std::size_t>(count)));
        }
    }

    void End() {
        if (m_Pid > 0) {
            ::kill(-m_Pid, SIGKILL);
            ::kill(m_Pid, SIGKILL);
            while (::waitpid(m_Pid, nullptr, 0) < 0 && errno == EINTR) {
            }
        }
    }

    SBxChildResult& m_Result;
    SPipe m_Output;
    pid_t m_Pid = -1;
};

}  // namespace

SBxChildResult BX_RunChild(const std::string& program, const std::vector<std::string>& arguments,
                           const std::function<bool()>& cancelled, int milliseconds) {
    SBxChildResult result;
    if (program.empty() || program[0] != '/') {
        result.reason = "its place is not known";
        return result;
    }
    CChild child(result);
    if (child.Start(program, arguments)) {
        child.Wait(cancelled, milliseconds);
    }
    return result;
}
