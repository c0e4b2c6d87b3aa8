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

constexpr int kSmoothingRadius = 3;
constexpr int kTaps = 2 * kSmoothingRadius + 1;
constexpr int kGroup = 4;  // rows that are summed at a time

// The left part of the rows of a plane, smoothed; they are asked for in ascending order. A plane that is too small for
// the taps gives zeros.
class CSmoothRows {
public:
    CSmoothRows(CBxRowSource& source, const CBxSize<int>& plane, int columns, double zoom)
        : m_Source(source),
          m_Plane(plane),
          m_iColumns(columns),
          m_bSmooths(plane.width >= kTaps && plane.height >= kTaps),
          m_iEndComputed(std::min(columns, std::max(plane.width - kSmoothingRadius - 1, kSmoothingRadius + 1))) {
        BX_KernelTaps(m_Taps, kSmoothingKernel, kTaps, zoom);
    }

    // False without memory.
    [[nodiscard]] bool Prepare(int firstRow) {
        m_iMade = std::max(0, ComputedRow(firstRow) - kSmoothingRadius);
        m_iPitch = static_cast<std::size_t>(m_iColumns + kSmoothingRadius);
        m_Source.BeginStrip(0, std::min(m_iColumns + kSmoothingRadius, m_Plane.width));
        return m_Rows.AllocateZeroed(m_iPitch * (kRing + 1));
    }

    void Row(float* out, int row) {
        if (!m_bSmooths) {
            std::fill_n(out, m_iColumns, 0.0f);
            return;
        }
        const int centre = ComputedRow(row);
        for (; m_iMade <= centre + kSmoothingRadius; ++m_iMade) {
            MakeRow(m_iMade);
        }
        const float* rows[kTaps];
        for (int tap = 0; tap < kTaps; ++tap) {
            rows[tap] = RingRow(centre - kSmoothingRadius + tap);
        }
        BX_Kernels().FilterAcross(out, rows, static_cast<std::size_t>(m_iColumns), m_Taps, kTaps);
    }

private:
    static constexpr int kRing = 8;

    // Rows and columns at the ends take the value of the next one that is computed.
    int ComputedRow(int row) const {
        return std::clamp(row, kSmoothingRadius, std::max(m_Plane.height - kSmoothingRadius - 2, kSmoothingRadius));
    }
    float* RingRow(int row) { return m_Rows.Data() + m_iPitch * static_cast<std::size_t>(1 + row % kRing); }

    // Smooths a row of the source along into the ring.
    void MakeRow(int row) {
        float* raw = m_Rows.Data();
        float* along = RingRow(row);
        m_Source.Row(raw, row);
        BX_Kernels().FilterAlong(along + kSmoothingRadius, raw,
                                 static_cast<std::size_t>(m_iEndComputed - kSmoothingRadius), m_Taps, kTaps);
        std::fill(along, along + kSmoothingRadius, along[kSmoothingRadius]);
        std::fill(along + m_iEndComputed, along + m_iColumns, along[m_iEndComputed - 1]);
    }

    CBxRowSource& m_Source;
    CBxSize<int> m_Plane;
    int m_iColumns;
    bool m_bSmooths;
    int m_iEndComputed;  // column
    float m_Taps[kTaps];
    int m_iMade = 0;  // rows up to here stand in the ring
    std::size_t m_iPitch = 0;
    CBxHeapArray<float> m_Rows;  // one of the source, and the ring
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
            area.right = std::max(area.right, std::min(frame.right, m_iWidth));
            area.bottom = std::max(area.bottom, std::min(frame.bottom, m_iHeight));
        }
    }
    return area;
}

unsigned char CBxCellReader::Read(CBxRowSource& blue, double zoom, const CBxStopCheck* stop) {
    const CBxRect<int> area = ReadArea();
    if (area.right <= 0) {
        return kBxSuccess;
    }
    // Room for the smallest computed part, too.
    const int columns = std::max(area.right, std::min(m_iWidth, kTaps));
    const std::size_t sumsPitch = static_cast<std::size_t>(columns) + 8;
    CSmoothRows rows(blue, {m_iWidth, m_iHeight}, columns, zoom);
    CBxHeapArray<float> smooth;
    CBxHeapArray<double> sums;
    if (!rows.Prepare(area.top) || !smooth.AllocateZeroed(sumsPitch * kGroup) ||
        !sums.AllocateZeroed(sumsPitch * kGroup)) {
        return kBxOutOfMemory;
    }
    float* smoothRow[kGroup];
    double* sumsOfRow[kGroup];
    for (std::size_t i = 0; i < kGroup; ++i) {
        smoothRow[i] = smooth.Data() + sumsPitch * i;
        sumsOfRow[i] = sums.Data() + sumsPitch * i;
    }
    for (int top = area.top; top < area.bottom; top += kGroup) {
        if (stop != nullptr && stop->Stopped()) {
            return kBxFailure;
        }
        for (int i = 0; i < kGroup; ++i) {
            rows.Row(smoothRow[i], top + i);
        }
        BX_Kernels().PrefixSums4(sumsOfRow, smoothRow, static_cast<std::size_t>(columns));
        AddRows(sumsOfRow, top, std::min(top + kGroup, area.bottom));
    }
    return kBxSuccess;
}

void CBxCellReader::AddRows(const double* const* sums, int top, int bottom) {
    for (unsigned int i = 0; i < m_uiCount; ++i) {
        SBxCandidateCells& candidate = m_Candidates[i];
        const int end = std::min(bottom, candidate.frame.bottom);
        for (int row = std::max(top, candidate.frame.top); row < end; ++row) {
            candidate.AddRow(sums[row - top] + candidate.frame.left, row);
        }
    }
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
