#include "corner_planes.h"

#include <algorithm>

#include "corner_detector.h"
#include "float_filters.h"

CBxCornerPlanes::CBxCornerPlanes(double zoom, const SBxTones& tones) : m_Kernels(BX_Kernels()), m_Tones(tones) {
    static_assert(static_cast<int>(SBxKernels::kGroup) == kBlock);
    BX_KernelTaps(m_fSmoothingTaps, kSmoothingKernel, 7, zoom);
    BX_KernelTaps(m_fTensorTaps, kTensorKernel, 5, zoom);
    m_fLargestTap = *std::max_element(m_fSmoothingTaps, m_fSmoothingTaps + 7);
}

bool CBxCornerPlanes::Prepare() {
    return m_Rows.AllocateZeroed(kLead + std::size_t{kAllRows} * kRowPitch);
}

void CBxCornerPlanes::Smooth(const float* const* plane, int blockRow, const SBxMarks& marks) {
    if (!marks.Any()) {
        return;
    }
    const std::uint64_t both = marks.before | marks.here;
    for (int i = 0; i < kBlock; ++i) {
        const int row = kBlock * blockRow + i;
        float* along = AlongRow(row);
        const std::uint64_t needed = i < kReachBehind            ? both
                                     : i < kBlock - kReachBefore ? marks.here
                                                                 : marks.here | marks.behind;
        BX_ForEachRun(BX_SpansOf(needed), [&](int first, int end) {
            m_Kernels.SmoothAlong(along + kBlock * first, plane[i] + kBlock * first - 3,
                                  static_cast<std::size_t>(end - first), m_fSmoothingTaps, m_Tones.low, m_Tones.high);
        });
        float* smoothed = SmoothedRow(row - kSmoothedBefore);
        BX_ForEachRun(BX_SpansOf(i < kReachBehind ? both : marks.here), [&](int first, int end) {
            const float* rows[7];
            for (int tap = 0; tap < 7; ++tap) {
                rows[tap] = AlongRow(row - 6 + tap) + kBlock * first;
            }
            m_Kernels.FilterAcross(smoothed + kBlock * first, rows, static_cast<std::size_t>(kBlock * (end - first)),
                                   m_fSmoothingTaps, 7);
        });
    }
}

void CBxCornerPlanes::BoundRows(SGradientRows& bounds, int firstRow, int rowCount, std::uint64_t blocks) {
    BX_ForEachRun(BX_SpansOf(blocks), [&](int first, int end) {
        const float* rows[kBlock + 1];
        const int column = kBlock * first;
        for (int i = 0; i <= rowCount; ++i) {
            rows[i] = SmoothedRow(firstRow + i) + column;
        }
        m_Kernels.LargestGradients({bounds.xx + column, bounds.yy + column, bounds.trace + column}, rows, rowCount,
                                   static_cast<std::size_t>(end - first));
    });
}

// A row of blocks depends on 22 rows of gradients from 3 above it on: it shares the first 6 with the row of blocks
// above and the last 6 with the one below.
void CBxCornerPlanes::BoundGradients(SBxGradients& bounds, int smoothedBlockRow, const SBxMarks& marks) {
    const int seam = kBlock * smoothedBlockRow - kSmoothedBefore;
    constexpr int kSharedRows = 2 * kSmoothedBefore;
    BoundRows(m_Own, seam - kBlock + kSharedRows, kBlock - kSharedRows, marks.before);
    BoundRows(m_Shared[smoothedBlockRow & 1], seam, kSharedRows, marks.before | marks.here);
    BX_ForEachRun(marks.before, [&](int first, int end) {
        const int column = kMargin - kSmoothedBefore + kBlock * first;
        const auto largest = [&](float* out, float(SGradientRows::*part)[kRowPitch]) {
            const float* rows[3] = {m_Shared[0].*part + column, m_Own.*part + column, m_Shared[1].*part + column};
            m_Kernels.LargestOfBlocks(out + first, rows, 3, static_cast<std::size_t>(end - first));
        };
        largest(bounds.xx, &SGradientRows::xx);
        largest(bounds.yy, &SGradientRows::yy);
        largest(bounds.trace, &SGradientRows::trace);
    });
}

void CBxCornerPlanes::MakeTensorRow(int row, std::uint64_t blocks) {
    BX_ForEachRun(BX_SpansOf(blocks), [&](int first, int end) {
        const int column = kBlock * first;
        float* const parts[3] = {TensorRow(0, row) + column, TensorRow(1, row) + column, TensorRow(2, row) + column};
        m_Kernels.TensorAlong(parts, SmoothedRow(row) + column - 2, SmoothedRow(row + 1) + column - 2,
                              static_cast<std::size_t>(end - first), m_fTensorTaps);
    });
}

void CBxCornerPlanes::MakeResponseRow(int row, std::uint64_t blocks) {
    BX_ForEachRun(BX_SpansOf(blocks), [&](int first, int end) {
        const int column = kBlock * first;
        const float* rows[3][5];
        for (int part = 0; part < 3; ++part) {
            for (int tap = 0; tap < 5; ++tap) {
                rows[part][tap] = TensorRow(part, row - 2 + tap) + column;
            }
        }
        m_Kernels.ResponseAcross(ResponseRow(row) + column, rows[0], rows[1], rows[2],
                                 static_cast<std::size_t>(end - first), m_fTensorTaps);
    });
}
