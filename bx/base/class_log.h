// The logging operations that a class carries as static members.
#pragma once

#include <atomic>
#include <cstdarg>

#include "logger.h"

// Gives `class CBxThing : public CBxClassLog<CBxThing>` a logger pointer of its own and calls to log through it from
// anywhere in the class. The log calls return what the logger returns, and 1 without a word while no logger is set.
//
// The logger belongs to whoever sets it and must outlive its being set. Any thread may log.
template <class T>
class CBxClassLog {
public:
    // 1, and the old logger stays, when one is set already.
    static unsigned char SetLogger(CBxLogger* logger) {
        CBxLogger* none = nullptr;
        return m_pLogger.compare_exchange_strong(none, logger) ? 0 : 1;
    }

    static void UnsetLogger() { m_pLogger = nullptr; }

    static CBxLogger* GetLogger() { return m_pLogger; }

    static unsigned char LogInfo(const char* format, ...) __attribute__((format(printf, 1, 2))) {
        va_list arguments;
        va_start(arguments, format);
        const unsigned char result = Forward(&CBxLogger::LogInfoArgList, format, arguments);
        va_end(arguments);
        return result;
    }

    static unsigned char LogError(const char* format, ...) __attribute__((format(printf, 1, 2))) {
        va_list arguments;
        va_start(arguments, format);
        const unsigned char result = Forward(&CBxLogger::LogErrorArgList, format, arguments);
        va_end(arguments);
        return result;
    }

    static unsigned char LogInfoDetail(const char* format, ...) __attribute__((format(printf, 1, 2))) {
        va_list arguments;
        va_start(arguments, format);
        const unsigned char result = Forward(&CBxLogger::LogInfoDetailArgList, format, arguments);
        va_end(arguments);
        return result;
    }

    static unsigned char LogErrorDetail(const char* format, ...) __attribute__((format(printf, 1, 2))) {
        va_list arguments;
        va_start(arguments, format);
        const unsigned char result = Forward(&CBxLogger::LogErrorDetailArgList, format, arguments);
        va_end(arguments);
        return result;
    }

protected:
    // One for each T.
    static inline std::atomic<CBxLogger*> m_pLogger{nullptr};

private:
    static unsigned char Forward(unsigned char (CBxLogger::*operation)(const char*, va_list), const char* format,
                                 va_list arguments) {
        CBxLogger* const logger = m_pLogger;
        return logger == nullptr ? 1 : (logger->*operation)(format, arguments);
    }
};
