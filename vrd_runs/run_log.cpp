#include "run_log.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "printable_text.h"

bool CBxRunLog::Open(const std::string& path, std::string& reason) {
    const std::string failure = "the log " + path + " cannot be written: ";
    const int descriptor =
        ::open(path.c_str(), O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC | O_NOCTTY, 0666);
    if (descriptor < 0) {
        reason = failure + (errno == ELOOP ? "it is a link" : std::strerror(errno));
        return false;
    }
    struct stat facts = {};
    if (::fstat(descriptor, &facts) != 0 || !S_ISREG(facts.st_mode)) {
        ::close(descriptor);
        reason = failure + "it is not a regular file";
        return false;
    }
    if (!m_Lock.TakeDescriptor(descriptor)) {
        reason = failure + "another run is writing it";
        return false;
    }
    if (m_Logger.OpenNewLog(path.c_str(), false, true) != 0) {
        reason = failure + std::strerror(errno);
        return false;
    }
    if (::fstat(descriptor, &facts) != 0 || facts.st_size == 0) {
        reason = failure + "the disk is full";
        return false;
    }
    m_strPath = path;
    return true;
}

void CBxRunLog::Info(const std::string& text) {
    if (!m_strPath.empty() && m_Logger.LogInfo("%s", BX_PrintableName(text).c_str()) != 0) {
        m_bIsWhole = false;
    }
}

void CBxRunLog::Error(const std::string& text) {
    if (!m_strPath.empty() && m_Logger.LogError("%s", BX_PrintableName(text).c_str()) != 0) {
        m_bIsWhole = false;
    }
}

void CBxRunLog::Write(const CBxLogLines& lines) {
    for (const CBxLogLines::SLine& line : lines.m_Lines) {
        if (line.isError) {
            Error(line.text);
        } else {
            Info(line.text);
        }
    }
}
