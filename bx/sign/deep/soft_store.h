// The soft values of many grids, a byte each.
#pragma once

#include <cmath>
#include <cstdint>

#include "heap_array.h"
#include "sign_format.h"

// Different grids may be set by different threads at a time.
class CBxSoftStore {
public:
    // Room for `count` grids, none of which says anything. False without memory.
    [[nodiscard]] bool Prepare(std::size_t count) {
        m_uiCount = count;
        return m_Values.AllocateZeroed(count * kCellCount) && m_Lengths.AllocateZeroed(count);
    }
    std::size_t Count() const { return m_uiCount; }

    void Set(std::size_t grid, const float* soft) {
        std::int8_t* values = m_Values.Data() + grid * kCellCount;
        int squares = 0;
        for (int cell = 0; cell < kCellCount; ++cell) {
            values[cell] = static_cast<std::int8_t>(kSteps * soft[cell]);
            squares += values[cell] * values[cell];
        }
        m_Lengths[grid] = std::sqrt(static_cast<float>(squares));
    }
    void Get(float* soft, std::size_t grid) const {
        const std::int8_t* values = m_Values.Data() + grid * kCellCount;
        for (int cell = 0; cell < kCellCount; ++cell) {
            soft[cell] = static_cast<float>(values[cell]) / kSteps;
        }
    }
    // As BX_AgreementOfCells, for `signs` that are 1 for a cell of 0 and -1 for a cell of 1.
    double Agreement(std::size_t grid, const std::int16_t* signs) const {
        if (m_Lengths[grid] == 0.0f) {
            return 0.0;
        }
        const std::int8_t* values = m_Values.Data() + grid * kCellCount;
        int agreement = 0;
        for (int cell = 0; cell < kCellCount; ++cell) {
            agreement += static_cast<std::int16_t>(values[cell]) * signs[cell];
        }
        return agreement / static_cast<double>(m_Lengths[grid]);
    }

private:
    static constexpr int kSteps = 127;
    std::size_t m_uiCount = 0;
    CBxHeapArray<std::int8_t> m_Values;
    CBxHeapArray<float> m_Lengths;  // 0 of grids that were not set
};
