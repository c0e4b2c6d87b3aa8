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
        return m_Values.AllocateZeroed(count * kCellCount);
    }
    std::size_t Count() const { return m_uiCount; }

    void Set(std::size_t grid, const float* soft) {
        std::int8_t* values = m_Values.Data() + grid * kCellCount;
        for (int cell = 0; cell < kCellCount; ++cell) {
            values[cell] = static_cast<std::int8_t>(kSteps * soft[cell]);
        }
    }
    void Get(float* soft, std::size_t grid) const {
        const std::int8_t* values = m_Values.Data() + grid * kCellCount;
        for (int cell = 0; cell < kCellCount; ++cell) {
            soft[cell] = static_cast<float>(values[cell]) / kSteps;
        }
    }
    // As BX_AgreementOfCells.
    double Agreement(std::size_t grid, const int* cells) const {
        const std::int8_t* values = m_Values.Data() + grid * kCellCount;
        int agreement = 0;
        int squares = 0;
        for (int cell = 0; cell < kCellCount; ++cell) {
            const int value = values[cell];
            agreement += value * (1 - 2 * cells[cell]);
            squares += value * value;
        }
        return squares > 0 ? agreement / std::sqrt(static_cast<double>(squares)) : 0.0;
    }

private:
    static constexpr int kSteps = 127;
    std::size_t m_uiCount = 0;
    CBxHeapArray<std::int8_t> m_Values;
};
