#include "corner_search.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>

#include "candidate_list.h"
#include "corner_blocks.h"
#include "corner_planes.h"
#include "corner_selection.h"
#include "result.h"
#include "surface_fit.h"

namespace {

// A corner lies at least 10 pixels from every edge, and at most one pixel from the maximum that it was fitted to.
constexpr int kEdge = 9;
constexpr SBxTones kTonesOfHalf[2] = {{0.0f, 128.0f}, {128.0f, 256.0f}};

class CCornerWalk {
public:
    CCornerWalk(CBxRowSource& source, int width, int height, double zoom, const CBxStopCheck* stop)
        : m_Source(source), m_iWidth(width), m_iHeight(height), m_pStop(stop), m_Planes(zoom) {}

    bool Prepare() {
        const CBxMatrix inverse = BX_BiquadraticDesign().Inv();
        if (!inverse.IsValid() || !m_Planes.Prepare()) {
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
            const CBxRect<int> rowArea = PlaneAreaOf({0, kBlockColumns, row, row + 1});
            if (rowArea.IsEmpty()) {
                continue;
            }
            m_Source.BeginRanges(rowArea);
            for (int column = 0; column < kBlockColumns; ++column) {
                const CBxRect<int> area = PlaneAreaOf({column, column + 1, row, row + 1});
                if (area.IsEmpty()) {
                    continue;
                }
                const CBxRowSource::SRange range = m_Source.RangeOf(area.left, area.right);
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

    // The pixels that the corners of some blocks depend on; empty for blocks outside the area of maxima.
    CBxRect<int> PlaneAreaOf(const SBxBlocks& blocks) const {
        const CBxRect<int> area = BufferArea(blocks);
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
            m_Source.Row(m_Planes.PlaneRow(row) + first, m_iTop - kMargin + row);
        }
    }

    bool RangeMayHoldCorner(const CBxRowSource::SRange& bounds, int half, float bar) const {
        const SBxTones tones = kTonesOfHalf[half];
        const double range = static_cast<double>(std::clamp(bounds.high, tones.low, tones.high)) -
                             static_cast<double>(std::clamp(bounds.low, tones.low, tones.high));
        if (!(range > 0.0)) {
            return false;
        }
        // A difference of neighbours in the smoothed plane is a sum of differences of the taps, times pixels; and it is
        // a mean of the differences of neighbours in the plane.
        const double gradient = m_Planes.LargestTap() * range;
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
        m_Planes.Smooth(area, kTonesOfHalf[half]);
        m_Planes.BoundGradients();
        CBxBlockMap gradientMap;
        for (int row = run.top; row < run.bottom; ++row) {
            for (int column = run.left; column < run.right; ++column) {
                const SBxGradients gradients = m_Planes.GradientsOfBlock(row, column);
                m_fTrace[row][column] = gradients.trace;
                if (Matters(gradients.xx, gradients.yy, gradients.trace, list.Bar()) && map.IsMarked(row, column)) {
                    gradientMap.Mark(row, column);
                }
            }
        }
        bool memory = true;
        gradientMap.ForEachRun(run.left, run.right, [&](const SBxBlocks& inner) {
            const CBxRect<int> innerArea = BufferArea(inner);
            memory = memory && (innerArea.IsEmpty() || SearchArea(innerArea, inner, list));
        });
        return memory;
    }

    // Fits and keeps the maxima of an area.
    bool SearchArea(const CBxRect<int>& area, const SBxBlocks& blocks, CBxCandidateList& list) {
        float trace = 0.0f;
        for (int row = blocks.top; row < blocks.bottom; ++row) {
            for (int column = blocks.left; column < blocks.right; ++column) {
                trace = std::max(trace, m_fTrace[row][column]);
            }
        }
        return m_Planes.ForEachMaximum(
            area, BX_LeastMaximum(trace, list.Bar()),
            [&](int column, int row, const float* upper, const float* middle, const float* lower) {
                return FitMaximum(column, row, upper, middle, lower, list);
            });
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
    double m_dInverse[81];
    CBxCandidateList* m_pLists[2] = {nullptr, nullptr};

    CBxCornerPlanes m_Planes;
    float m_fTrace[kBlockRows][kBlockColumns];  // bounds of the blocks of the run that was smoothed last
    int m_iLeft = 0;                            // of the strip, in the plane
    int m_iTop = 0;                             // of the band
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
