// The log of one program run.
#pragma once

#include <pthread.h>

#include <atomic>
#include <cstdarg>
#include <cstdio>

#include "base_files.h"

// Writes a line per message, to a file, to the standard error stream, or to both:
//
//   2024/05/31 17:04:59|ERROR| message
//   2024/05/31 17:04:59|INFO | message
//
// A session begins and ends with a line of its own, whatever the flags say. Every line is flushed, so that the log
// survives a crash. Operations return 0 for success and 1 for failure; none of them tells the user.
//
// Any thread may log; lines of different threads never mix. Opening and closing is for one thread. The flags may change
// at any time: a line written meanwhile meets the old ones or the new ones.
//
// Messages are printf formats with arguments; a message of 2000 bytes or more is cut. Control characters in it are
// written as \n, \t or \xNN, so that each message is one line and none steers a terminal.
class CBxLogger {
public:
    CBxLogger();
    // Closes the session.
    ~CBxLogger();
    CBxLogger(const CBxLogger&) = delete;
    CBxLogger& operator=(const CBxLogger&) = delete;

    // Opens a session with an emptied file, or at the end of the file. 1 when a session is open already, which goes on
    // undisturbed, or when the file cannot be opened. `enable` says whether lines after the first go to the file. A
    // null path means no file; with neither a file nor standard error nothing is opened and 0 returned.
    unsigned char OpenNewLog(const char* path, bool toStdErr, bool enable);
    unsigned char OpenLog(const char* path, bool toStdErr, bool enable);
    // A session without a file.
    unsigned char OpenStdErrLog(bool toStdErr);
    // Ends the session. Always 0.
    unsigned char CloseLog();

    // Sets the four flags of an open session: lines go to the file, detail calls write, INFO calls are silent, lines go
    // to standard error. Without a session nothing happens.
    void EnableLogging(bool enable, bool detail, bool errorOnly, bool toStdErr);

    bool IsLogOpened() const;
    // Lines go somewhere: to the file or to standard error.
    bool IsLoggingEnabled() const;
    bool IsDetailedLoggingEnabled() const;
    bool IsErrorOnlyLoggingEnabled() const;

    // 1 without a session, for a null format and when a line could not be written; 0 when it was written and when the
    // flags keep it silent.
    unsigned char LogInfo(const char* format, ...) __attribute__((format(printf, 2, 3)));
    unsigned char LogError(const char* format, ...) __attribute__((format(printf, 2, 3)));
    unsigned char LogInfoDetail(const char* format, ...) __attribute__((format(printf, 2, 3)));
    unsigned char LogErrorDetail(const char* format, ...) __attribute__((format(printf, 2, 3)));
    unsigned char LogInfoArgList(const char* format, va_list arguments) __attribute__((format(printf, 2, 0)));
    unsigned char LogErrorArgList(const char* format, va_list arguments) __attribute__((format(printf, 2, 0)));
    unsigned char LogInfoDetailArgList(const char* format, va_list arguments) __attribute__((format(printf, 2, 0)));
    unsigned char LogErrorDetailArgList(const char* format, va_list arguments) __attribute__((format(printf, 2, 0)));

    // Writes the local time as "%Y/%m/%d %H:%M:%S"; an empty text when it does not fit. Null is left alone.
    static void GetTimestamp(char* buffer, unsigned int size);

private:
    unsigned char OpenSession(const char* path, const char* mode, bool toStdErr, bool enable);
    unsigned char WriteMessage(const char* level, const char* format, va_list arguments)
        __attribute__((format(printf, 3, 0)));
    unsigned char WriteLine(const char* line);

    std::atomic<bool> m_bStdErr{false};
    std::FILE* m_pFile = nullptr;  // guarded by the mutex
    std::atomic<bool> m_bEnabled{false};
    std::atomic<bool> m_bDetailed{false};
    std::atomic<bool> m_bErrorOnly{false};
    pthread_mutex_t m_Mutex;
    std::atomic<bool> m_bOpened{false};
    char m_szPath[kBxPathBytes] = {};
};
