#include "corner_search.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>

#include "bit_runs.h"
#include "candidate_list.h"
#include "corner_blocks.h"
#include "corner_planes.h"
#include "corner_selection.h"
#include "heap_array.h"
#include "result.h"
#include "surface_fit.h"

namespace {

// A corner lies at least 10 pixels from every edge, and at most one pixel from the maximum that it was fitted to.
constexpr int kEdge = 9;
constexpr int kPlaneWidth = kStripWidth + kBlock;
constexpr SBxTones kTonesOfHalf[2] = {{0.0f, 128.0f}, {128.0f, 256.0f}};

class CCornerWalk {
public:
    CCornerWalk(CBxRowSource& source, int width, int height, double zoom, const CBxStopCheck* stop)
        : m_Source(source),
          m_iWidth(width),
          m_iHeight(height),
          m_pStop(stop),
          m_Halves{{zoom, kTonesOfHalf[0]}, {zoom, kTonesOfHalf[1]}} {}

    bool Prepare() {
        const CBxMatrix inverse = BX_BiquadraticDesign().Inv();
        if (!inverse.IsValid() || !m_Plane.AllocateZeroed(CBxCornerPlanes::kLead + kBlock * kPitch) ||
            !m_Halves[0].m_Planes.Prepare() || !m_Halves[1].m_Planes.Prepare()) {
            return false;
        }
        std::copy(inverse[0], inverse[0] + 81, m_dInverse);
        for (int i = 0; i < kBlock; ++i) {
            m_pPlaneRows[i] = m_Plane.Data() + CBxCornerPlanes::kLead + i * std::ptrdiff_t{kPitch};
        }
        return true;
    }

    // Walks the plane for one half or for both (null lists are left out). 0, 1 or 6.
    unsigned char Run(CBxCandidateList* const (&lists)[2]) {
        for (int half = 0; half < 2; ++half) {
            m_Halves[half].m_pList = lists[half];
        }
        for (int left = 0; left < m_iWidth; left += kStripWidth) {
            const unsigned char result = RunStrip(left);
            if (result != kBxSuccess) {
                return result;
            }
        }
        return kBxSuccess;
    }

private:
    static constexpr int kPitch = CBxCornerPlanes::kRowPitch;
    static constexpr int kBarRows = 4;  // rows of blocks after which the bars are raised

    struct SHalf {
        SHalf(double zoom, const SBxTones& tones) : m_Tones(tones), m_Planes(zoom, tones) {}

        SBxTones m_Tones;
        CBxCandidateList* m_pList = nullptr;
        CBxCornerPlanes m_Planes;
        SBxMarks m_Marks;                 // what the range of the pixels leaves
        SBxSearchedBlocks m_Searched[2];  // what the gradients leave, of even and of odd rows of blocks
        SBxGradients m_Gradients{};
    };

    // Rows of blocks pass three stations, one after the other: marked by the range of their pixels, smoothed, searched.
    unsigned char RunStrip(int left) {
        m_iLeft = left;
        const int blockRows = (m_iHeight + kBlock - 1) / kBlock;
        for (SHalf& half : m_Halves) {
            half.m_Marks = {};
            half.m_Searched[0].blocks = 0;
            half.m_Searched[1].blocks = 0;
        }
        m_Source.BeginStrip(m_iLeft - kMargin, kPlaneWidth);
        for (int row = -1; row <= blockRows + 1; ++row) {
            if (m_pStop != nullptr && m_pStop->Stopped()) {
                return kBxFailure;
            }
            MarkBlocks(row + 1);
            FillPlane(row);
            for (SHalf& half : m_Halves) {
                half.m_Planes.Smooth(m_pPlaneRows, row, half.m_Marks);
                if (!SearchBlocks(row - 1, half)) {
                    return kBxOutOfMemory;
                }
                if (half.m_pList != nullptr && row % kBarRows == 0) {
                    half.m_pList->RaiseBar();
                }
            }
        }
        return kBxSuccess;
    }

    // Moves the marks on, to those of a row of blocks: where the range of the pixels lets a corner be.
    void MarkBlocks(int blockRow) {
        const CBxRect<int> area{std::max(m_iLeft - kReachBefore, kEdge - kReachBefore),
                                std::max(kBlock * blockRow, kEdge) - kReachBefore,
                                std::min(m_iLeft + kStripWidth, m_iWidth - kEdge + 1) + kReachBehind,
                                std::min(kBlock * (blockRow + 1), m_iHeight - kEdge + 1) + kReachBehind};
        const bool mayHoldMaxima =
            area.Width() > kReachBefore + kReachBehind && area.Height() > kReachBefore + kReachBehind;
        if (mayHoldMaxima) {
            m_Source.Ranges(m_Ranges, area, m_iLeft - kReachBefore, kReachBefore + kBlock + kReachBehind, kStripBlocks);
        }
        for (SHalf& half : m_Halves) {
            half.m_Marks.Advance(mayHoldMaxima && half.m_pList != nullptr ? MarksOf(half) : 0);
        }
    }

    // A difference of neighbours in the smoothed plane is a sum of differences of the taps, times pixels; and it is a
    // mean of the differences of neighbours in the plane.
    std::uint64_t MarksOf(SHalf& half) const {
        const SBxTones& tones = half.m_Tones;
        SBxGradients& gradients = half.m_Gradients;
        for (int block = 0; block < kStripBlocks; ++block) {
            const CBxRowSource::SRange& bounds = m_Ranges[block];
            const float high = std::min(std::max(bounds.high, tones.low), tones.high);
            const float low = std::min(std::max(bounds.low, tones.low), tones.high);
            const float gradient = half.m_Planes.LargestTap() * (high - low);
            const float dx = std::min(gradient, bounds.alongRows);
            const float dy = std::min(gradient, bounds.alongColumns);
            gradients.xx[block] = dx * dx;
            gradients.yy[block] = dy * dy;
            gradients.trace[block] = dx * dx + dy * dy;
        }
        return BX_BlocksThatMatter(gradients, half.m_pList->Bar());
    }

    // Brings the pixels of a row of blocks into the buffer that marked blocks depend on. Outside the plane, where no
    // maximum reaches, its edges go on.
    void FillPlane(int blockRow) {
        const auto either = [this](std::uint64_t SBxMarks::*part) {
            return m_Halves[0].m_Marks.*part | m_Halves[1].m_Marks.*part;
        };
        const SBxMarks marks{either(&SBxMarks::before), either(&SBxMarks::here), either(&SBxMarks::behind)};
        if (!marks.Any()) {
            return;
        }
        const int firstColumn = std::max(0, kMargin - m_iLeft);
        const int endColumn = m_iWidth - m_iLeft + kMargin;
        for (int i = 0; i < kBlock; ++i) {
            const std::uint64_t needed = i < kReachBehind            ? marks.before | marks.here
                                         : i < kBlock - kReachBefore ? marks.here
                                                                     : marks.here | marks.behind;
            float* row = m_pPlaneRows[i];
            m_Source.Spans(row, std::clamp(kBlock * blockRow + i, 0, m_iHeight - 1), BX_SpansOf(needed));
            std::fill(row, row + firstColumn, row[firstColumn]);
            if (endColumn < kPlaneWidth) {
                std::fill(row + endColumn, row + std::min(endColumn + kBlock, kPlaneWidth), row[endColumn - 1]);
            }
        }
    }

    // Searches a row of blocks, once the one below it is smoothed, where its gradients let a corner be.
    bool SearchBlocks(int blockRow, SHalf& half) {
        SBxSearchedBlocks& searched = half.m_Searched[blockRow & 1];
        searched.blocks = 0;
        if ((half.m_Marks.before | half.m_Marks.here) != 0) {
            half.m_Planes.BoundGradients(half.m_Gradients, blockRow + 1, half.m_Marks);
            ChooseBlocks(searched, half);
        }
        return half.m_Planes.ForEachMaximum(
            blockRow, half.m_Searched[~blockRow & 1], searched,
            [&](int column, int row, const float* upper, const float* middle, const float* lower) {
                return FitMaximum(m_iLeft - kMargin + column, row, upper, middle, lower, *half.m_pList);
            });
    }

    static void ChooseBlocks(SBxSearchedBlocks& searched, const SHalf& half) {
        const SBxGradients& gradients = half.m_Gradients;
        const float bar = half.m_pList->Bar();
        searched.blocks = half.m_Marks.before & BX_BlocksThatMatter(gradients, bar);
        BX_ForEachRun(searched.blocks, [&](int first, int end) {
            searched.least[first] =
                BX_LeastMaximum(*std::max_element(gradients.trace + first, gradients.trace + end), bar);
        });
    }

    // The neighbourhood starts at upper[0], middle[0], lower[0].
    bool FitMaximum(int column, int row, const float* upper, const float* middle, const float* lower,
                    CBxCandidateList& list) {
        if (column < kEdge || column > m_iWidth - kEdge || row < kEdge || row > m_iHeight - kEdge) {
            return true;
        }
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
        return list.Add({column + position.x - 1.0, row + position.y - 1.0, strength, row, column});
    }

    CBxRowSource& m_Source;
    int m_iWidth;
    int m_iHeight;
    const CBxStopCheck* m_pStop;
    double m_dInverse[81];
    SHalf m_Halves[2];
    CBxRowSource::SRange m_Ranges[kStripBlocks];
    CBxHeapArray<float> m_Plane;
    float* m_pPlaneRows[kBlock];
    int m_iLeft = 0;  // of the strip, in the plane
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
