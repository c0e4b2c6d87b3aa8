// Starts a program as a user does and collects what it prints.
#pragma once

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

struct SProgramRun {
    int status = -1;  // exit status; minus the signal's number when a signal ended it
    std::string out;
    std::string err;
};

namespace program_run {

inline std::string ReadAll(std::FILE* file) {
    std::string text;
    std::rewind(file);
    char buffer[4096];
    for (std::size_t count = 0; (count = std::fread(buffer, 1, sizeof(buffer), file)) > 0;) {
        text.append(buffer, count);
    }
    std::fclose(file);
    return text;
}

inline int WaitFor(pid_t child) {
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

[[noreturn]] inline void Execute(const std::vector<std::string>& words, const std::string& folder) {
    std::vector<char*> arguments;
    for (const std::string& word : words) {
        arguments.push_back(const_cast<char*>(word.c_str()));
    }
    arguments.push_back(nullptr);
    if (!folder.empty() && ::chdir(folder.c_str()) != 0) {
        ::_exit(126);
    }
    // The tests may have been started in the background, where shells let signals be ignored.
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        ::signal(number, SIG_DFL);
    }
    ::execv(arguments[0], arguments.data());
    ::_exit(127);
}

}  // namespace program_run

// Runs words[0], a path, in `folder` (empty: where the test runs), without a terminal. Standard output can be sent to a
// file instead of being collected.
inline SProgramRun RunProgram(const std::vector<std::string>& words, const std::string& folder = "",
                              const std::string& outputFile = "") {
    SProgramRun run;
    std::FILE* out = std::tmpfile();
    std::FILE* err = std::tmpfile();
    const pid_t child = ::fork();
    if (child == 0) {
        const int descriptor = outputFile.empty() ? ::fileno(out) : ::open(outputFile.c_str(), O_WRONLY);
        ::dup2(descriptor, STDOUT_FILENO);
        ::dup2(::fileno(err), STDERR_FILENO);
        program_run::Execute(words, folder);
    }
    run.status = program_run::WaitFor(child);
    run.out = program_run::ReadAll(out);
    run.err = program_run::ReadAll(err);
    return run;
}

// Starts words[0], a path, and goes on; what it prints goes to `output`. For program_run::WaitFor.
inline pid_t StartProgram(const std::vector<std::string>& words, int output) {
    const pid_t child = ::fork();
    if (child == 0) {
        ::dup2(output, STDOUT_FILENO);
        ::dup2(output, STDERR_FILENO);
        program_run::Execute(words, "");
    }
    return child;
}

// Whether `descriptor` can be read from, after a wait of two minutes at most; of a process, whether it has ended.
inline bool BecomesReadable(int descriptor) {
    pollfd waited = {descriptor, POLLIN, 0};
    return ::poll(&waited, 1, 120000) == 1 && (waited.revents & POLLIN) != 0;
}

// Runs the program with a terminal as its standard streams and sends it `signal` as soon as `awaited` was printed.
// Everything that it printed stands in `out`.
inline SProgramRun InterruptProgram(const std::vector<std::string>& words, const std::string& awaited, int signal) {
    SProgramRun run;
    int terminal = -1;
    const pid_t child = ::forkpty(&terminal, nullptr, nullptr, nullptr);
    if (child == 0) {
        program_run::Execute(words, "");
    }
    if (child < 0) {
        run.out = "there is no terminal to be had; is /dev/pts mounted?";
        return run;
    }
    bool sent = false;
    char buffer[4096];
    for (ssize_t count = 0; (count = ::read(terminal, buffer, sizeof(buffer))) > 0;) {
        run.out.append(buffer, static_cast<std::size_t>(count));
        if (!sent && run.out.find(awaited) != std::string::npos) {
            ::kill(child, signal);
            sent = true;
        }
    }
    run.status = program_run::WaitFor(child);
    ::close(terminal);
    return run;
}
