#include "file_report.h"

#include <cstdarg>
#include <cstdio>

namespace {

void SetFirst(char* text, const char* format, va_list arguments) {
    if (text[0] == '\0') {
        std::vsnprintf(text, SBxFileReport::kTextBytes, format, arguments);
    }
}

}  // namespace

void SBxFileReport::SetReason(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    SetFirst(m_szReason, format, arguments);
    va_end(arguments);
}

void SBxFileReport::SetWarning(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    SetFirst(m_szWarning, format, arguments);
    va_end(arguments);
}
