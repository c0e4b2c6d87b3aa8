// How long a run will still take.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

// Asked once a second. The estimate is made anew whenever another file is finished, from the mean time of those before,
// and counts down in between.
class CBxRemainingTime {
public:
    void Clear() { *this = CBxRemainingTime(); }

    // The milliseconds that are left, never below 0; -1 while no file is finished.
    std::int64_t Tick(std::size_t processed, std::size_t total, std::int64_t elapsedMilliseconds);

private:
    std::size_t m_SeenProcessed = 0;  // at the last tick
    std::int64_t m_Estimate = 0;      // milliseconds
};

// "hh:mm:ss"; more than two digits of hours from 100 hours on. Negative times count as 0.
std::string BX_FormatClock(std::int64_t milliseconds);
