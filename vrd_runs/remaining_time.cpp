#include "remaining_time.h"

#include <algorithm>
#include <cstdio>

namespace {

constexpr std::int64_t kTickMilliseconds = 1000;

}  // namespace

std::int64_t CBxRemainingTime::Tick(std::size_t processed, std::size_t total, std::int64_t elapsedMilliseconds) {
    if (processed == 0) {
        return -1;
    }
    if (processed != m_SeenProcessed) {
        const auto finished = static_cast<std::int64_t>(processed);
        const std::int64_t left = std::max<std::int64_t>(0, static_cast<std::int64_t>(total) - finished);
        m_Estimate = left * (elapsedMilliseconds / finished) + 1;
        m_SeenProcessed = processed;
    }
    m_Estimate = std::max<std::int64_t>(0, m_Estimate - kTickMilliseconds);
    return m_Estimate;
}

std::string BX_FormatClock(std::int64_t milliseconds) {
    const long long seconds = std::max<std::int64_t>(0, milliseconds) / 1000;
    char text[40];
    std::snprintf(text, sizeof(text), "%02lld:%02lld:%02lld", seconds / 3600, seconds / 60 % 60, seconds % 60);
    return text;
}
