// Wall time of one task, for people and scripts.
#pragma once

#include <chrono>
#include <cmath>

class CBxStopwatch {
public:
    // Seconds since construction, rounded to thousandths.
    double Seconds() const {
        const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - m_Start;
        return std::round(passed.count() * 1000.0) / 1000.0;
    }

private:
    const std::chrono::steady_clock::time_point m_Start = std::chrono::steady_clock::now();
};
