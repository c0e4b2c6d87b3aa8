#include "cell_reader.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

#include "cell_grid.h"
#include "corner_detector.h"
#include "corner_search.h"
#include "float_filters.h"
#include "kernels.h"
#include "result.h"

namespace {

constexpr int kTaps = SBxKernels::kSummedTaps;
constexpr int kSmoothingRadius = kTaps / 2;
constexpr int kGroup = SBxKernels::kSummedRows;

// The sums along the smoothed rows of the left part of a plane, a few rows at a time. Rows at the top and the bottom
// are those of the nearest one that is computed. A plane that is too small for the taps gives zeros.
class CRowSums {
public:
    CRowSums(CBxRowSource& source, const CBxSize<int>& plane, int columns, double zoom)
        : m_Source(source),
          m_Plane(plane),
          m_iColumns(columns),
          m_bSmooths(plane.width >= kTaps && plane.height >= kTaps),
          m_iLastRow(m_bSmooths ? std::max(plane.height - kSmoothingRadius - 2, kSmoothingRadius) : kSmoothingRadius),
          m_iEndColumn(std::min(columns, std::max(plane.width - kSmoothingRadius - 1, kSmoothingRadius + 1))) {
        BX_KernelTaps(m_fTaps, kSmoothingKernel, kTaps, zoom);
    }

    // Makes ready for groups from that of `row` on. False without memory.
    [[nodiscard]] bool Prepare(int row) {
        const std::size_t room = (static_cast<std::size_t>(m_iColumns) / SBxKernels::kGroup + 2) * SBxKernels::kGroup;
        if (!m_Rows.AllocateZeroed(room * (kRing + 1)) || !m_Sums.AllocateZeroed(room * kGroup)) {
            return false;
        }
        m_iPitch = room;
        m_iGroup = Computed(row);
        m_iMade = m_iGroup - kSmoothingRadius;
        m_Source.BeginStrip(0, std::min(m_iColumns + kSmoothingRadius, m_Plane.width));
        return true;
    }

    // The row in front of which the present group ends.
    int EndOfGroup() const { return m_iGroup + kGroup > m_iLastRow ? m_Plane.height : m_iGroup + kGroup; }

    // Of a row of the present group: one more than columns, and some worthless ones behind them.
    const double* Row(int row) { return Sums(Computed(row) - m_iGroup); }

    void MakeGroup() {
        if (!m_bSmooths) {
            return;
        }
        double* sums[kGroup];
        for (int i = 0; i < kGroup; ++i) {
            sums[i] = Sums(i);
        }
        const float* rows[kGroup + kTaps - 1];
        for (int i = 0; i < kGroup + kTaps - 1; ++i) {
            // Behind the last one that is needed, anything will do.
            const int row = std::min(m_iGroup - kSmoothingRadius + i, m_iLastRow + kSmoothingRadius);
            for (; m_iMade <= row; ++m_iMade) {
                MakeRow(m_iMade);
            }
            rows[i] = RingRow(row);
        }
        BX_Kernels().SmoothedSums4(sums, rows, static_cast<std::size_t>(m_iColumns), m_fTaps);
    }

    void NextGroup() { m_iGroup += kGroup; }

private:
    static constexpr int kRing = 16;

    int Computed(int row) const { return std::clamp(row, kSmoothingRadius, m_iLastRow); }
    double* Sums(int i) { return m_Sums.Data() + m_iPitch * static_cast<std::size_t>(i); }
    float* RingRow(int row) { return m_Rows.Data() + m_iPitch * static_cast<std::size_t>(1 + row % kRing); }

    // Smooths a row of the source along into the ring.
    void MakeRow(int row) {
        float* raw = m_Rows.Data();
        float* along = RingRow(row);
        m_Source.Row(raw, row);
        BX_Kernels().FilterAlong(along + kSmoothingRadius, raw,
                                 static_cast<std::size_t>(m_iEndColumn - kSmoothingRadius), m_fTaps, kTaps);
        std::fill(along, along + kSmoothingRadius, along[kSmoothingRadius]);
        std::fill(along + m_iEndColumn, along + m_iColumns, along[m_iEndColumn - 1]);
    }

    CBxRowSource& m_Source;
    CBxSize<int> m_Plane;
    int m_iColumns;
    bool m_bSmooths;
    int m_iLastRow;    // that is computed
    int m_iEndColumn;  // of those that are computed
    float m_fTaps[kTaps];
    int m_iGroup = 0;  // its first row
    int m_iMade = 0;   // rows up to here stand in the ring
    std::size_t m_iPitch = 0;
    CBxHeapArray<float> m_Rows;  // one of the source, and the ring
    CBxHeapArray<double> m_Sums;
};

}  // namespace

bool CBxCellReader::Prepare(const CBxRect<double>* candidates, unsigned int count, int width, int height,
                            const SBxCellChoice& choice) {
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
        m_Candidates[m_uiCount++].Place(candidates[i], stamp, nextRow, {width, height}, choice);
        for (int y = 0; y < stamp.height; ++y) {
            *nextRow++ = BX_StampRow(grid.m_dCellWidth, grid.m_dCellHeight, y);
        }
    }
    return true;
}

CBxRect<int> CBxCellReader::ReadArea() const {
    CBxRect<int> area{0, m_iHeight, 0, 0};
    for (unsigned int i = 0; i < m_uiCount; ++i) {
        const CBxRect<int>& frame = m_Candidates[i].frame;
        if (frame.bottom > frame.top) {
            area.top = std::min(area.top, frame.top);
            area.right = std::max(area.right, frame.right);
            area.bottom = std::max(area.bottom, frame.bottom);
        }
    }
    return area;
}

unsigned char CBxCellReader::Read(CBxRowSource& blue, double zoom, const CBxStopCheck* stop) {
    const CBxRect<int> area = ReadArea();
    if (area.right <= 0) {
        return kBxSuccess;
    }
    // Room for the smallest part that can be smoothed, too.
    CRowSums sums(blue, {m_iWidth, m_iHeight}, std::max(area.right, std::min(m_iWidth, kTaps)), zoom);
    if (!sums.Prepare(area.top)) {
        return kBxOutOfMemory;
    }
    for (int top = area.top; top < area.bottom; sums.NextGroup()) {
        if (stop != nullptr && stop->Stopped()) {
            return kBxFailure;
        }
        sums.MakeGroup();
        const int bottom = std::min(sums.EndOfGroup(), area.bottom);
        for (unsigned int i = 0; i < m_uiCount; ++i) {
            SBxCandidateCells& candidate = m_Candidates[i];
            const int end = std::min(bottom, candidate.frame.bottom);
            for (int row = std::max(top, candidate.frame.top); row < end; ++row) {
                candidate.AddRow(sums.Row(row) + candidate.frame.left, row);
            }
        }
        top = bottom;
    }
    return kBxSuccess;
}

void CBxCellReader::Means(double* means, unsigned int candidate) const {
    const SBxCandidateCells& read = m_Candidates[candidate];
    std::fill_n(means, kCellCount, std::numeric_limits<double>::quiet_NaN());
    for (int row = 0; row < kGridSide; ++row) {
        for (int place = 0; place < read.choice->counts[row]; ++place) {
            const int from = row * kGridSide + place;
            means[row * kGridSide + read.choice->columns[row][place]] = read.sums[from] / read.weights[from];
        }
    }
}
