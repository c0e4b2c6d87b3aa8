#include "logger.h"

#include <string.h>
#include <time.h>

#include "heap_array.h"

namespace {

constexpr char kInfo[] = "INFO ";
constexpr char kError[] = "ERROR";
constexpr std::size_t kMessageBytes = 2000;
constexpr std::size_t kTimestampBytes = 50;
constexpr std::size_t kLineExtraBytes = 10;  // separators, newline, zero
constexpr std::size_t kEscapeBytes = 4;

// Appends a message in which nothing steers a terminal or begins a line: names of files may hold any bytes. Control
// characters become \n, \t or \xNN, those of two bytes included.
void AppendPrintable(char*& out, const char* message) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(message);
    for (; *bytes != 0; ++bytes) {
        const bool isOfTwo = bytes[0] == 0xC2 && bytes[1] >= 0x80 && bytes[1] < 0xA0;
        const bool isSecond = bytes[0] >= 0x80 && bytes[0] < 0xA0 &&
                              bytes != reinterpret_cast<const unsigned char*>(message) && bytes[-1] == 0xC2;
        if (*bytes == '\n' || *bytes == '\t') {
            *out++ = '\\';
            *out++ = *bytes == '\n' ? 'n' : 't';
        } else if (*bytes < 0x20 || *bytes == 0x7F || isOfTwo || isSecond) {
            out += std::snprintf(out, kEscapeBytes + 1, "\\x%02x", static_cast<unsigned>(*bytes));
        } else {
            *out++ = static_cast<char>(*bytes);
        }
    }
}

}  // namespace

CBxLogger::CBxLogger() {
    pthread_mutex_init(&m_Mutex, nullptr);
}

CBxLogger::~CBxLogger() {
    CloseLog();
    pthread_mutex_destroy(&m_Mutex);
}

unsigned char CBxLogger::OpenNewLog(const char* path, bool toStdErr, bool enable) {
    return OpenSession(path, "w", toStdErr, enable);
}

unsigned char CBxLogger::OpenLog(const char* path, bool toStdErr, bool enable) {
    return OpenSession(path, "a", toStdErr, enable);
}

unsigned char CBxLogger::OpenStdErrLog(bool toStdErr) {
    return OpenSession(nullptr, nullptr, toStdErr, false);
}

unsigned char CBxLogger::OpenSession(const char* path, const char* mode, bool toStdErr, bool enable) {
    if (m_bOpened) {
        return 1;
    }
    std::FILE* file = nullptr;
    if (path != nullptr && mode != nullptr) {
        file = BX_fopen(path, mode);
        if (file == nullptr) {
            return 1;
        }
        std::snprintf(m_szPath, sizeof(m_szPath), "%s", path);
    }
    pthread_mutex_lock(&m_Mutex);
    m_pFile = file;
    pthread_mutex_unlock(&m_Mutex);
    m_bStdErr = toStdErr;
    m_bEnabled = true;
    m_bDetailed = false;
    m_bErrorOnly = false;
    m_bOpened = file != nullptr || toStdErr;
    LogInfo("*** LOG SESSION STARTED  ***");
    m_bEnabled = enable;
    return 0;
}

unsigned char CBxLogger::CloseLog() {
    m_bEnabled = true;
    m_bDetailed = false;
    m_bErrorOnly = false;
    LogInfo("*** LOG SESSION FINISHED ***");
    pthread_mutex_lock(&m_Mutex);
    BX_fclose(m_pFile);
    m_pFile = nullptr;
    m_bOpened = false;
    pthread_mutex_unlock(&m_Mutex);
    EnableLogging(false, false, false, false);
    return 0;
}

void CBxLogger::EnableLogging(bool enable, bool detail, bool errorOnly, bool toStdErr) {
    if (!m_bOpened) {
        return;
    }
    m_bEnabled = enable;
    m_bDetailed = detail;
    m_bErrorOnly = errorOnly;
    m_bStdErr = toStdErr;
}

bool CBxLogger::IsLogOpened() const {
    return m_bOpened;
}

bool CBxLogger::IsLoggingEnabled() const {
    return m_bEnabled || m_bStdErr;
}

bool CBxLogger::IsDetailedLoggingEnabled() const {
    return m_bDetailed;
}

bool CBxLogger::IsErrorOnlyLoggingEnabled() const {
    return m_bErrorOnly;
}

unsigned char CBxLogger::LogInfo(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const unsigned char result = LogInfoArgList(format, arguments);
    va_end(arguments);
    return result;
}

unsigned char CBxLogger::LogError(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const unsigned char result = LogErrorArgList(format, arguments);
    va_end(arguments);
    return result;
}

unsigned char CBxLogger::LogInfoDetail(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const unsigned char result = LogInfoDetailArgList(format, arguments);
    va_end(arguments);
    return result;
}

unsigned char CBxLogger::LogErrorDetail(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const unsigned char result = LogErrorDetailArgList(format, arguments);
    va_end(arguments);
    return result;
}

unsigned char CBxLogger::LogInfoArgList(const char* format, va_list arguments) {
    return m_bErrorOnly ? 0 : WriteMessage(kInfo, format, arguments);
}

unsigned char CBxLogger::LogErrorArgList(const char* format, va_list arguments) {
    return WriteMessage(kError, format, arguments);
}

unsigned char CBxLogger::LogInfoDetailArgList(const char* format, va_list arguments) {
    return m_bDetailed ? LogInfoArgList(format, arguments) : 0;
}

unsigned char CBxLogger::LogErrorDetailArgList(const char* format, va_list arguments) {
    return m_bDetailed ? LogErrorArgList(format, arguments) : 0;
}

unsigned char CBxLogger::WriteMessage(const char* level, const char* format, va_list arguments) {
    if (level == nullptr || format == nullptr || !m_bOpened) {
        return 1;
    }
    if (!IsLoggingEnabled()) {
        return 0;
    }
    char timestamp[kTimestampBytes];
    GetTimestamp(timestamp, sizeof(timestamp));
    char message[kMessageBytes] = {};
    std::vsnprintf(message, sizeof(message), format, arguments);

    const std::size_t lineBytes = strlen(level) + kEscapeBytes * strlen(message) + strlen(timestamp) + kLineExtraBytes;
    CBxHeapArray<char> line;
    if (!line.Allocate(lineBytes)) {
        return 1;
    }
    char* end = line.Data() + std::snprintf(line.Data(), lineBytes, "%s|%s| ", timestamp, level);
    AppendPrintable(end, message);
    std::memcpy(end, "\n", 2);
    return WriteLine(line.Data());
}

unsigned char CBxLogger::WriteLine(const char* line) {
    bool written = true;
    pthread_mutex_lock(&m_Mutex);
    if (m_bStdErr) {
        written = std::fputs(line, stderr) >= 0;
    }
    if (m_pFile != nullptr && m_bEnabled) {
        const bool inFile = std::fputs(line, m_pFile) >= 0 && std::fflush(m_pFile) == 0;
        written = written && inFile;
    }
    pthread_mutex_unlock(&m_Mutex);
    return written ? 0 : 1;
}

void CBxLogger::GetTimestamp(char* buffer, unsigned int size) {
    if (buffer == nullptr || size == 0) {
        return;
    }
    const time_t now = time(nullptr);
    struct tm local = {};
    localtime_r(&now, &local);
    if (strftime(buffer, size, "%Y/%m/%d %H:%M:%S", &local) == 0) {
        buffer[0] = '\0';
    }
}
