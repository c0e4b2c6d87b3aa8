#include "corner_search.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>

#include "candidate_list.h"
#include "corner_blocks.h"
#include "corner_selection.h"
#include "float_filters.h"
#include "heap_array.h"
#include "kernels.h"
#include "result.h"
#include "surface_fit.h"

namespace {

constexpr int kRowPitch = kBufferWidth + 16;

// A corner lies at least 10 pixels from every edge, and at most one pixel from the maximum that it was fitted to.
constexpr int kEdge = 9;
// The bounds of a half's tones.
struct STones {
    float low;
    float high;
};
constexpr STones kTonesOfHalf[2] = {{0.0f, 128.0f}, {128.0f, 256.0f}};

// Buffers of one walk. Buffer column 0 is kMargin left of the strip, buffer row 0 kMargin above the band.
struct SBuffers {
    CBxHeapArray<float> plane;     // the rows of the band
    CBxHeapArray<float> smoothed;  // of one run
    CBxHeapArray<float> rows;      // short-lived rows
    CBxHeapArray<unsigned char> flags;

    static constexpr int kRows = 40;

    bool Allocate() {
        return plane.AllocateZeroed(std::size_t{kBufferHeight} * kRowPitch) &&
               smoothed.AllocateZeroed(std::size_t{kBufferHeight} * kRowPitch) &&
               rows.AllocateZeroed(std::size_t{kRows} * kRowPitch) && flags.Allocate(kRowPitch);
    }
    float* PlaneRow(int row) { return plane.Data() + std::ptrdiff_t{row} * kRowPitch; }
    float* SmoothedRow(int row) { return smoothed.Data() + std::ptrdiff_t{row} * kRowPitch; }
    float* ShortRow(int row) { return rows.Data() + std::ptrdiff_t{row} * kRowPitch; }
};

class CCornerWalk {
public:
    CCornerWalk(CBxRowSource& source, int width, int height, double zoom, const CBxStopCheck* stop)
        : m_Source(source), m_iWidth(width), m_iHeight(height), m_pStop(stop), m_Kernels(BX_Kernels()) {
        BX_KernelTaps(m_fSmoothingTaps, kSmoothingKernel, 7, zoom);
        BX_KernelTaps(m_fTensorTaps, kTensorKernel, 5, zoom);
        m_dLargestTap = *std::max_element(m_fSmoothingTaps, m_fSmoothingTaps + 7);
    }

    bool Prepare() {
        const CBxMatrix inverse = BX_BiquadraticDesign().Inv();
        if (!inverse.IsValid() || !m_Buffers.Allocate()) {
            return false;
        }
        std::copy(inverse[0], inverse[0] + 81, m_dInverse);
        return true;
    }

    // Walks the plane for one half or for both (null lists are left out). 0, 1 or 6.
    unsigned char Run(CBxCandidateList* const (&lists)[2]) {
        std::copy(lists, lists + 2, m_pLists);
        for (int left = 0; left < m_iWidth; left += kStripWidth) {
            const unsigned char result = RunStrip(left);
            if (result != kBxSuccess) {
                return result;
            }
        }
        return kBxSuccess;
    }

private:
    unsigned char RunStrip(int left) {
        m_iLeft = left;
        for (m_iTop = 0; m_iTop < m_iHeight; m_iTop += kBandHeight) {
            if (m_pStop != nullptr && m_pStop->Stopped()) {
                return kBxFailure;
            }
            if (!SearchBand()) {
                return kBxOutOfMemory;
            }
        }
        return kBxSuccess;
    }

    // Looks at the blocks of one band of the strip.
    bool SearchBand() {
        CBxBlockMap maps[2];
        CBxBlockMap either;
        for (int row = 0; row < kBlockRows; ++row) {
            for (int column = 0; column < kBlockColumns; ++column) {
                const CBxRect<int> area = PlaneAreaOfBlock(row, column);
                if (area.IsEmpty()) {
                    continue;
                }
                const CBxRowSource::SRange range = m_Source.RangeOf(area);
                for (int half = 0; half < 2; ++half) {
                    if (m_pLists[half] != nullptr && RangeMayHoldCorner(range, half, m_pLists[half]->Bar())) {
                        maps[half].Mark(row, column);
                        either.Mark(row, column);
                    }
                }
            }
        }
        bool memory = true;
        either.ForEachRun(0, kBlockColumns, [&](const SBxBlocks& run) {
            FillRun(run);
            for (int half = 0; half < 2; ++half) {
                maps[half].ForEachRun(run.left, run.right, [&](const SBxBlocks& part) {
                    memory = memory && SearchRun(part, maps[half], half, *m_pLists[half]);
                });
            }
        });
        for (CBxCandidateList* list : m_pLists) {
            if (list != nullptr) {
                list->RaiseBar();
            }
        }
        return memory;
    }

    // The pixels that the corners of a block depend on; empty for a block outside the area of maxima.
    CBxRect<int> PlaneAreaOfBlock(int row, int column) const {
        const CBxRect<int> area = BufferArea({column, column + 1, row, row + 1});
        if (area.IsEmpty()) {
            return area;
        }
        const int x = m_iLeft - kMargin;
        const int y = m_iTop - kMargin;
        return {x + area.left - kReachBefore, y + area.top - kReachBefore, x + area.right + kReachBehind,
                y + area.bottom + kReachBehind};
    }

    // Brings the pixels that a run depends on into the buffer.
    void FillRun(const SBxBlocks& run) {
        const CBxRect<int> area = BufferArea(run);
        const int first = area.left - kReachBefore;
        m_Source.BeginStrip(m_iLeft - kMargin + first, area.Width() + kReachBefore + kReachBehind);
        for (int row = area.top - kReachBefore; row < area.bottom + kReachBehind; ++row) {
            m_Source.Row(m_Buffers.PlaneRow(row) + first, m_iTop - kMargin + row);
        }
    }

    bool RangeMayHoldCorner(const CBxRowSource::SRange& bounds, int half, float bar) const {
        const STones tones = kTonesOfHalf[half];
        const double range = static_cast<double>(std::clamp(bounds.high, tones.low, tones.high)) -
                             static_cast<double>(std::clamp(bounds.low, tones.low, tones.high));
        if (!(range > 0.0)) {
            return false;
        }
        // A difference of neighbours in the smoothed plane is a sum of differences of the taps, times pixels; and it is
        // a mean of the differences of neighbours in the plane.
        const double gradient = m_dLargestTap * range;
        const double dx = std::min<double>(gradient, bounds.alongRows);
        const double dy = std::min<double>(gradient, bounds.alongColumns);
        return Matters(dx * dx, dy * dy, dx * dx + dy * dy, bar);
    }

    static bool Matters(double xx, double yy, double trace, float bar) {
        const double strength = BX_GreatestStrength(xx, yy, trace);
        return strength > kCornerThreshold && strength >= bar;
    }

    // The buffer rows and columns of a run, cut to where a maximum may lie.
    CBxRect<int> BufferArea(const SBxBlocks& run) const {
        const auto cut = [](int first, int end, int origin, int length) {
            return CBxPoint<int>{std::max(first, kEdge - origin), std::min(end, length - kEdge + 1 - origin)};
        };
        const CBxPoint<int> columns =
            cut(kMargin + run.left * kBlock, kMargin + run.right * kBlock, m_iLeft - kMargin, m_iWidth);
        const CBxPoint<int> rows =
            cut(kMargin + run.top * kBlock, kMargin + run.bottom * kBlock, m_iTop - kMargin, m_iHeight);
        return {columns.x, rows.x, columns.y, rows.y};
    }

    // Smooths a run of blocks, bounds its gradients, and searches what may still hold a corner.
    bool SearchRun(const SBxBlocks& run, const CBxBlockMap& map, int half, CBxCandidateList& list) {
        const CBxRect<int> area = BufferArea(run);
        if (area.IsEmpty()) {
            return true;
        }
        SmoothArea(area, kTonesOfHalf[half]);
        CBxBlockMap gradientMap;
        BoundGradients(area, run, map, gradientMap, list.Bar());
        bool memory = true;
        gradientMap.ForEachRun(run.left, run.right, [&](const SBxBlocks& inner) {
            const CBxRect<int> innerArea = BufferArea(inner);
            memory = memory && (innerArea.IsEmpty() || SearchArea(innerArea, list));
        });
        return memory;
    }

    // Smooths the rows top - 3 .. bottom + 3 and columns left - 3 .. right + 3 (inclusive ends) of an area.
    void SmoothArea(const CBxRect<int>& area, const STones& tones) {
        const int first = area.left - 3;
        const auto count = static_cast<std::size_t>(area.Width() + 7);
        float* clamped = m_Buffers.ShortRow(0);
        const auto along = [this](int row) { return m_Buffers.ShortRow(1 + row % 8); };
        for (int row = area.top - 6; row < area.bottom + 7; ++row) {
            m_Kernels.Clamp(clamped, m_Buffers.PlaneRow(row) + first - 3, count + 6, tones.low, tones.high);
            m_Kernels.FilterAlong(along(row), clamped, count, m_fSmoothingTaps, 7);
            const int centre = row - 3;
            if (centre >= area.top - 3) {
                const float* rows[7];
                for (int tap = 0; tap < 7; ++tap) {
                    rows[tap] = along(centre - 3 + tap);
                }
                m_Kernels.FilterAcross(m_Buffers.SmoothedRow(centre) + first, rows, count, m_fSmoothingTaps, 7);
            }
        }
    }

    void BoundGradients(const CBxRect<int>& area, const SBxBlocks& run, const CBxBlockMap& map,
                        CBxBlockMap& gradientMap, float bar) {
        float* xx = m_Buffers.ShortRow(0);
        float* yy = m_Buffers.ShortRow(1);
        float* trace = m_Buffers.ShortRow(2);
        const int firstCell = (area.left - 3) / kBoundsCell;
        const int endCell = (area.right + 2) / kBoundsCell + 1;
        for (int cellRow = (area.top - 3) / kBoundsCell; cellRow <= (area.bottom + 2) / kBoundsCell; ++cellRow) {
            // Whole cells and the one behind them.
            for (float* bounds : {xx, yy, trace}) {
                std::fill(bounds + firstCell * kBoundsCell, bounds + (endCell + 1) * kBoundsCell, 0.0f);
            }
            const int first = area.left - 3;
            const auto count = static_cast<std::size_t>(area.Width() + 6);
            for (int row = std::max(cellRow * kBoundsCell, area.top - 3);
                 row < std::min((cellRow + 1) * kBoundsCell, area.bottom + 3); ++row) {
                m_Kernels.GradientBounds(xx + first, yy + first, trace + first, m_Buffers.SmoothedRow(row) + first,
                                         m_Buffers.SmoothedRow(row + 1) + first, count);
            }
            SGradientRow& cells = m_Gradients[cellRow];
            const auto cellCount = static_cast<std::size_t>(endCell - firstCell);
            m_Kernels.LargestOfEight(cells.xx + firstCell, xx + firstCell * kBoundsCell, cellCount);
            m_Kernels.LargestOfEight(cells.yy + firstCell, yy + firstCell * kBoundsCell, cellCount);
            m_Kernels.LargestOfEight(cells.trace + firstCell, trace + firstCell * kBoundsCell, cellCount);
        }
        for (int row = run.top; row < run.bottom; ++row) {
            for (int column = run.left; column < run.right; ++column) {
                if (map.IsMarked(row, column) && GradientsMayHoldCorner(row, column, area, bar)) {
                    gradientMap.Mark(row, column);
                }
            }
        }
    }

    // The largest dx^2, dy^2 and dx^2 + dy^2 in each cell of a row of cells.
    struct SGradientRow {
        float xx[kCellColumns];
        float yy[kCellColumns];
        float trace[kCellColumns];
    };

    bool GradientsMayHoldCorner(int blockRow, int blockColumn, const CBxRect<int>& area, float bar) const {
        float xx = 0.0f;
        float yy = 0.0f;
        float trace = 0.0f;
        const int firstRow = std::max(blockRow * kBlockCells, (area.top - 3) / kBoundsCell);
        const int endRow = std::min((blockRow + 1) * kBlockCells + 2, (area.bottom + 2) / kBoundsCell + 1);
        const int firstColumn = std::max(blockColumn * kBlockCells, (area.left - 3) / kBoundsCell);
        const int endColumn = std::min((blockColumn + 1) * kBlockCells + 2, (area.right + 2) / kBoundsCell + 1);
        for (int row = firstRow; row < endRow; ++row) {
            for (int column = firstColumn; column < endColumn; ++column) {
                xx = std::max(xx, m_Gradients[row].xx[column]);
                yy = std::max(yy, m_Gradients[row].yy[column]);
                trace = std::max(trace, m_Gradients[row].trace[column]);
            }
        }
        return Matters(xx, yy, trace, bar);
    }

    // Computes the response over an area and one pixel around it, and takes the maxima inside.
    bool SearchArea(const CBxRect<int>& area, CBxCandidateList& list) {
        const int first = area.left - 1;  // of the response
        const auto count = static_cast<std::size_t>(area.Width() + 2);
        float* products[3] = {m_Buffers.ShortRow(0), m_Buffers.ShortRow(1), m_Buffers.ShortRow(2)};
        const auto along = [this](int product, int row) { return m_Buffers.ShortRow(3 + 8 * product + row % 8); };
        float* tensor[3] = {m_Buffers.ShortRow(27), m_Buffers.ShortRow(28), m_Buffers.ShortRow(29)};
        const auto response = [this](int row) { return m_Buffers.ShortRow(30 + row % 4); };
        for (int row = area.top - 3; row < area.bottom + 3; ++row) {
            m_Kernels.GradientProducts(products[0], products[1], products[2], m_Buffers.SmoothedRow(row) + first - 2,
                                       m_Buffers.SmoothedRow(row + 1) + first - 2, count + 4);
            for (int product = 0; product < 3; ++product) {
                m_Kernels.FilterAlong(along(product, row), products[product], count, m_fTensorTaps, 5);
            }
            const int centre = row - 2;
            if (centre < area.top - 1) {
                continue;
            }
            for (int product = 0; product < 3; ++product) {
                const float* rows[5];
                for (int tap = 0; tap < 5; ++tap) {
                    rows[tap] = along(product, centre - 2 + tap);
                }
                m_Kernels.FilterAcross(tensor[product], rows, count, m_fTensorTaps, 5);
            }
            m_Kernels.Harris(response(centre), tensor[0], tensor[2], tensor[1], count);
            const int middle = centre - 1;
            if (middle >= area.top &&
                !TakeMaxima(area, middle, response(middle - 1), response(middle), response(middle + 1), list)) {
                return false;
            }
        }
        return true;
    }

    // Fits and keeps the maxima of one row of the response; the rows start one pixel left of the area.
    bool TakeMaxima(const CBxRect<int>& area, int row, const float* upper, const float* middle, const float* lower,
                    CBxCandidateList& list) {
        unsigned char* flags = m_Buffers.flags.Data();
        if (!m_Kernels.StrictMaxima(flags, upper, middle, lower, static_cast<std::size_t>(area.Width()),
                                    kCornerThreshold)) {
            return true;
        }
        const unsigned char* end = flags + area.Width();
        for (const unsigned char* flag = flags;; ++flag) {
            flag = static_cast<const unsigned char*>(std::memchr(flag, 1, static_cast<std::size_t>(end - flag)));
            if (flag == nullptr) {
                return true;
            }
            const std::ptrdiff_t i = flag - flags;
            if (!FitMaximum(area.left + static_cast<int>(i), row, upper + i, middle + i, lower + i, list)) {
                return false;
            }
        }
    }

    // The neighbourhood starts at upper[0], middle[0], lower[0].
    bool FitMaximum(int bufferColumn, int bufferRow, const float* upper, const float* middle, const float* lower,
                    CBxCandidateList& list) {
        const float* rows[3] = {upper, middle, lower};
        double neighbourhood[9];
        double lowest = middle[1];
        for (int x = 0; x < 3; ++x) {
            for (int y = 0; y < 3; ++y) {
                neighbourhood[3 * x + y] = rows[y][x];
                lowest = std::min(lowest, neighbourhood[3 * x + y]);
            }
        }
        const double highest = middle[1] + kFitOvershoot * (middle[1] - lowest);
        if (highest * kRoundingSlack < list.Bar()) {
            return true;
        }
        double coefficients[9];
        BX_FitSurface(coefficients, m_dInverse, neighbourhood);
        CBxPoint<double> position;
        const auto strength = static_cast<float>(BX_SurfaceMaximum(position, coefficients));
        const int column = m_iLeft - kMargin + bufferColumn;
        const int row = m_iTop - kMargin + bufferRow;
        return list.Add({column + position.x - 1.0, row + position.y - 1.0, strength, row, column});
    }

    CBxRowSource& m_Source;
    int m_iWidth;
    int m_iHeight;
    const CBxStopCheck* m_pStop;
    const SBxKernels& m_Kernels;
    float m_fSmoothingTaps[7];
    float m_fTensorTaps[5];
    double m_dLargestTap;
    double m_dInverse[81];
    CBxCandidateList* m_pLists[2] = {nullptr, nullptr};

    SBuffers m_Buffers;
    SGradientRow m_Gradients[kCellRows];
    int m_iLeft = 0;  // of the strip, in the plane
    int m_iTop = 0;   // of the band
};

float WeakestOfFullList(const SBxCornerList& list) {
    return list.m_uiCount == CBxCornerDetector::kMostCorners ? list.m_fStrengths[list.m_uiCount - 1] : 0.0f;
}

}  // namespace

unsigned char BX_FindCornersOfHalves(SBxCornerList& dark, SBxCornerList& bright, CBxRowSource& source, int width,
                                     int height, double zoom, SBxCornerBars& bars, const CBxStopCheck* stop) {
    dark.m_uiCount = 0;
    bright.m_uiCount = 0;
    const SBxCornerBars guesses = bars;
    bars = {};
    if (width <= 2 * kEdge || height <= 2 * kEdge) {
        return kBxSuccess;
    }
    const std::unique_ptr<CCornerWalk> walk(new (std::nothrow) CCornerWalk(source, width, height, zoom, stop));
    CBxCandidateList candidates[2] = {{width, height, guesses.m_fDark}, {width, height, guesses.m_fBright}};
    if (walk == nullptr || !walk->Prepare() || !candidates[0].Prepare() || !candidates[1].Prepare()) {
        return kBxOutOfMemory;
    }
    SBxCornerList* corners[2] = {&dark, &bright};
    CBxCandidateList* pending[2] = {&candidates[0], &candidates[1]};
    while (pending[0] != nullptr || pending[1] != nullptr) {
        unsigned char result = walk->Run(pending);
        for (int half = 0; half < 2 && result == kBxSuccess; ++half) {
            if (pending[half] == nullptr) {
                continue;
            }
            bool complete = false;
            result = candidates[half].Select(*corners[half], complete) ? kBxSuccess : kBxOutOfMemory;
            // A bar that was too high has hidden corners that belong to the list: once more with a lower one.
            candidates[half].Restart();
            pending[half] = complete ? nullptr : &candidates[half];
        }
        if (result != kBxSuccess) {
            dark.m_uiCount = 0;
            bright.m_uiCount = 0;
            return result;
        }
    }
    bars = {WeakestOfFullList(dark), WeakestOfFullList(bright)};
    return kBxSuccess;
}
