#include "cell_reader.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "cell_grid.h"
#include "corner_detector.h"
#include "corner_search.h"
#include "float_filters.h"
#include "kernels.h"
#include "result.h"

namespace {

constexpr int kSmoothingRadius = 3;
constexpr int kGroup = 4;  // rows that are summed at a time
}  // namespace

bool CBxCellReader::Prepare(const CBxRect<double>* candidates, unsigned int count, int width, int height) {
    m_iWidth = width;
    m_iHeight = height;
    m_uiCount = 0;
    if (!m_Candidates.Allocate(count)) {
        return false;
    }
    std::size_t rows = 0;
    for (unsigned int i = 0; i < count; ++i) {
        rows += static_cast<std::size_t>(std::ceil(SBxCellGrid(candidates[i]).m_dCellHeight));
    }
    if (!m_StampRows.Allocate(rows)) {
        return false;
    }
    SBxStampRow* nextRow = m_StampRows.Data();
    for (unsigned int i = 0; i < count; ++i) {
        const SBxCellGrid grid(candidates[i]);
        const CBxSize<int> stamp{static_cast<int>(std::ceil(grid.m_dCellWidth)),
                                 static_cast<int>(std::ceil(grid.m_dCellHeight))};
        m_Candidates[m_uiCount++].Place(candidates[i], stamp, nextRow, {width, height});
        for (int y = 0; y < stamp.height; ++y) {
            *nextRow++ = BX_StampRow(grid.m_dCellWidth, grid.m_dCellHeight, y);
        }
    }
    return true;
}

unsigned char CBxCellReader::Read(CBxRowSource& blue, double zoom, const CBxStopCheck* stop) {
    constexpr int kTaps = 2 * kSmoothingRadius + 1;
    constexpr int kRing = 16;
    const auto width = static_cast<std::size_t>(m_iWidth);
    const SBxKernels& kernels = BX_Kernels();
    float taps[kTaps];
    BX_KernelTaps(taps, kSmoothingKernel, kTaps, zoom);

    CBxHeapArray<float> floats;
    CBxHeapArray<double> doubles;
    const std::size_t prefixPitch = width + 8;
    if (!floats.AllocateZeroed(width * (kRing + 1 + kGroup)) || !doubles.AllocateZeroed(prefixPitch * kGroup)) {
        return kBxOutOfMemory;
    }
    float* raw = floats.Data();
    const auto ringRow = [&](int row) { return raw + width * static_cast<std::size_t>(1 + row % kRing); };
    const auto smoothRow = [&](int i) { return raw + width * static_cast<std::size_t>(1 + kRing + i); };

    const bool smooths = m_iWidth >= kTaps && m_iHeight >= kTaps;
    const int lastColumn = std::max(m_iWidth - kSmoothingRadius - 2, kSmoothingRadius);
    const int lastRow = std::max(m_iHeight - kSmoothingRadius - 2, kSmoothingRadius);
    int made = 0;  // rows that stand smoothed along in the ring
    blue.BeginStrip(0, m_iWidth);
    for (int top = 0; top < m_iHeight; top += kGroup) {
        if (stop != nullptr && stop->Stopped()) {
            return kBxFailure;
        }
        const float* smooth[kGroup];
        double* prefix[kGroup];
        for (int i = 0; i < kGroup; ++i) {
            prefix[i] = doubles.Data() + prefixPitch * static_cast<std::size_t>(i);
            smooth[i] = smoothRow(i);
            if (!smooths) {
                continue;
            }
            const int centre = std::clamp(std::min(top + i, m_iHeight - 1), kSmoothingRadius, lastRow);
            for (; made <= centre + kSmoothingRadius; ++made) {
                blue.Row(raw, made);
                float* along = ringRow(made);
                kernels.FilterAlong(along + kSmoothingRadius, raw,
                                    static_cast<std::size_t>(lastColumn - kSmoothingRadius + 1), taps, kTaps);
                std::fill(along, along + kSmoothingRadius, along[kSmoothingRadius]);
                std::fill(along + lastColumn + 1, along + width, along[lastColumn]);
            }
            const float* rows[kTaps];
            for (int tap = 0; tap < kTaps; ++tap) {
                rows[tap] = ringRow(centre - kSmoothingRadius + tap);
            }
            kernels.FilterAcross(smoothRow(i), rows, width, taps, kTaps);
        }
        kernels.PrefixSums4(prefix, smooth, width);
        for (unsigned int i = 0; i < m_uiCount; ++i) {
            SBxCandidateCells& candidate = m_Candidates[i];
            const int end = std::min({top + kGroup, m_iHeight, candidate.frame.bottom});
            for (int row = std::max(top, candidate.frame.top); row < end; ++row) {
                candidate.AddRow(prefix[row - top] + candidate.frame.left, row);
            }
        }
    }
    return kBxSuccess;
}

void CBxCellReader::Means(double* means, unsigned int candidate) const {
    const SBxCandidateCells& read = m_Candidates[candidate];
    for (int cell = 0; cell < kCellCount; ++cell) {
        means[cell] = read.sums[cell] / read.weights[cell];
    }
}
