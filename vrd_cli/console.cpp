#include "console.h"

#include <unistd.h>

#include <cstdio>

namespace {

void PrintLine(std::FILE* stream, const std::string& line) {
    std::fwrite(line.data(), 1, line.size(), stream);
    std::fputc('\n', stream);
    std::fflush(stream);
}

// On standard error; the name may be empty.
void PrintMessage(const std::string& file, const std::string& text) {
    const std::string name = file.empty() ? std::string() : BX_PrintableName(file) + ": ";
    PrintLine(stderr, "vrd: " + name + BX_PrintableName(text));
}

}  // namespace

bool CBxConsole::ShowsProgress() const {
    return !m_bQuiet && ::isatty(STDERR_FILENO) == 1;
}

void CBxConsole::Result(const std::string& line) {
    if (!m_bJson) {
        PrintLine(stdout, line);
    }
}

void CBxConsole::Result(const CBxJson& object) {
    if (m_bJson) {
        PrintLine(stdout, object.dump(-1, ' ', false, CBxJson::error_handler_t::replace));
    }
}

void CBxConsole::Error(const std::string& file, const std::string& reason, CBxJson record) {
    if (m_bJson) {
        record["error"] = BX_ValidUtf8(reason);
        Result(record);
        return;
    }
    PrintMessage(file, reason);
}

void CBxConsole::Refusal(const std::string& file, const std::string& reason, const CBxJson& record) {
    Result(record);
    if (!m_bJson) {
        PrintMessage(file, reason);
    }
}

void CBxConsole::Note(const std::string& file, const std::string& text) {
    if (!m_bQuiet) {
        PrintMessage(file, text);
    }
}

void CBxConsole::ShowCount(std::size_t done, std::size_t all, const char* what) {
    std::fprintf(stderr, "\r\33[K%zu of %zu %s", done, all, what);
    std::fflush(stderr);
}

void CBxConsole::WipeCount() {
    std::fputs("\r\33[K", stderr);
    std::fflush(stderr);
}

bool CBxConsole::Finish() {
    return std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
}
