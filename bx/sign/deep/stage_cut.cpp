// Stage: the whole picture was the carrier, and the picture was turned or cut since. The grid then reaches beyond the
// edges. It is looked for on a map of cells first, then read.
#include <algorithm>
#include <atomic>
#include <cmath>

#include "deep_run.h"
#include "heap_array.h"
#include "map_grids.h"
#include "result.h"
#include "slices.h"

namespace {

constexpr double kLargestAngle = 12.0;
constexpr double kAngleStep = 0.25;
constexpr double kPi = 3.141592653589793;

constexpr double kLargestCut = 0.14;  // of a side, against what is left of it
constexpr std::size_t kCutSteps = 45;
constexpr std::size_t kCuts = kCutSteps * kCutSteps;  // on one axis
constexpr std::size_t kSlice = CBxCellChoices::kTogether;
constexpr std::size_t kMostRead = 24;

// The whole picture turned about its middle, in a frame of the old size (cut) or of the size that holds all of it.
SBxGridTrial TurnedTrial(const CBxDeepRun& run, double degrees, bool holdsAll) {
    const double width = run.m_Sums.Width();
    const double height = run.m_Sums.Height();
    const double angle = degrees / 180.0 * kPi;
    const double cosine = std::cos(angle);
    const double sine = std::sin(angle);
    double oldWidth = width;
    double oldHeight = height;
    if (holdsAll) {
        const double spread = std::fabs(sine);
        const double determinant = cosine * cosine - spread * spread;
        oldWidth = (width * cosine - height * spread) / determinant;
        oldHeight = (height * cosine - width * spread) / determinant;
    }
    const CBxPoint<double> origin{width / 2 - (oldWidth * cosine - oldHeight * sine) / 2,
                                  height / 2 - (oldWidth * sine + oldHeight * cosine) / 2};
    return {{origin,
             {oldWidth * cosine / kGridSide, oldWidth * sine / kGridSide},
             {-oldHeight * sine / kGridSide, oldHeight * cosine / kGridSide}},
            BX_BlurOfScale(1.0),
            1.0,
            degrees,
            BX_GridOrientation(0)};
}

void SearchTurnedWhole(CBxDeepRun& run) {
    constexpr auto kSteps = static_cast<std::size_t>(2.0 * kLargestAngle / kAngleStep);
    auto slice = [&run](std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end && !run.Ended(); ++i) {
            const double degrees = -kLargestAngle + static_cast<double>(i / 2) * kAngleStep;
            if (degrees != 0.0) {
                const SBxGridTrial trial = TurnedTrial(run, degrees, i % 2 == 1);
                float means[kCellCount];
                run.ReadMeans(means, trial);
                run.TryWithComb(trial, means, EBxDeepStage::Cut);
            }
        }
        return !run.Ended();
    };
    BX_RunSlices(2 * (kSteps + 1), 4, run.m_uiThreads, slice);
}

// The two edges of a grid on one axis of `size` pixels, if the picture was cut in this way.
struct SCut {
    double first;
    double last;

    SCut(std::size_t index, double size) {
        constexpr double kStep = kLargestCut / (kCutSteps - 1);
        first = -size * kStep * static_cast<double>(index % kCutSteps);
        last = size * (1.0 + kStep * static_cast<double>(index / kCutSteps));
    }
};

// Of the choices [begin, end) of upper and lower edge; there are at most kSlice. False without memory.
bool TryRows(SBxMapGrid* grids, CBxDeepRun& run, const CBxCellMap& map, const SBxCellPlaces* columns, std::size_t begin,
             std::size_t end) {
    CBxCellChoices choices;
    if (!choices.Prepare(map.Width())) {
        return false;
    }
    SBxCellPlaces rows[kSlice];
    for (std::size_t i = begin; i < end; ++i) {
        const SCut cut(i, map.Height());
        rows[i - begin] = SBxCellPlaces(cut.first, cut.last, map.Height());
    }
    choices.SumRows(map, rows, static_cast<int>(end - begin), 0, map.Width());
    CBxCellChoices::SBest best;
    choices.FindBest(best, columns, kCuts);
    for (std::size_t i = begin; i < end; ++i) {
        const SCut x(static_cast<std::size_t>(best.choices[i - begin]), run.m_Sums.Width());
        const SCut y(i, run.m_Sums.Height());
        grids[i] = {best.worths[i - begin], {x.first, y.first, x.last, y.last}};
    }
    return true;
}

// Tries all grids that reach beyond the picture on any side: `grids` (kCuts of them) receives the best choice of left
// and right edge for every choice of upper and lower one. 0 or 6.
unsigned char TryCuts(CBxDeepRun& run, const CBxCellMap& map, SBxMapGrid* grids) {
    CBxHeapArray<SBxCellPlaces> columns;
    if (!columns.Allocate(kCuts)) {
        return kBxOutOfMemory;
    }
    for (std::size_t i = 0; i < kCuts; ++i) {
        const SCut cut(i, map.Width());
        columns[i] = SBxCellPlaces(cut.first, cut.last, map.Width());
    }
    std::atomic<bool> hasMemory{true};
    auto slice = [&](std::size_t begin, std::size_t end) {
        if (hasMemory.load() && !run.Ended() && !TryRows(grids, run, map, columns.Data(), begin, end)) {
            hasMemory.store(false);
        }
        run.m_ulGrids.fetch_add((end - begin) * kCuts, std::memory_order_relaxed);
        return hasMemory.load() && !run.Ended();
    };
    BX_RunSlices(kCuts, kSlice, run.m_uiThreads, slice);
    return hasMemory.load() ? kBxSuccess : kBxOutOfMemory;
}

// The cuts that one map speaks for, best first.
struct SCuts {
    CBxHeapArray<SBxMapGrid> grids;
    std::size_t count = 0;

    unsigned char Collect(CBxDeepRun& run, const CBxPatternPlane& planes, const CBxCellMap& map) {
        if (!grids.Allocate(kCuts) || TryCuts(run, map, grids.Data()) != kBxSuccess) {
            return kBxOutOfMemory;
        }
        if (!run.Ended()) {
            count = BX_KeepDistinct(grids.Data(), kCuts, kMostRead);
            std::for_each(grids.Data(), grids.Data() + count,
                          [&](SBxMapGrid& grid) { BX_FollowMap(grid, map, planes.Scale()); });
        }
        return kBxSuccess;
    }

    void Read(CBxDeepRun& run, const CBxPatternPlane& planes, double gain) const {
        auto read = [&](std::size_t begin, std::size_t end) {
            for (std::size_t i = begin; i < end && !run.Ended(); ++i) {
                BX_ReadMapGrid(run, grids[i], 1.0 / planes.Scale(), gain, EBxDeepStage::Cut);
            }
            return !run.Ended();
        };
        BX_RunSlices(count, 1, run.m_uiThreads, read);
    }
};

unsigned char SearchCuts(CBxDeepRun& run) {
    CBxCellMap map;
    const CBxMapMarks marks(run);
    SCuts cuts[CBxMapMarks::kCount];
    constexpr double kMiddleOfCuts = 1.0 + kLargestCut / 2;
    if (!run.PreparePlanes()) {
        return kBxOutOfMemory;
    }
    const CBxPatternPlane& planes = run.m_Planes;
    if (!map.Make(planes, kMiddleOfCuts * planes.Width() / kGridSide, kMiddleOfCuts * planes.Height() / kGridSide)) {
        return kBxOutOfMemory;
    }
    for (int i = 0; i < CBxMapMarks::kCount && !run.Ended(); ++i) {
        if (!CBxMapMarks::Apply(map, planes, i) || cuts[i].Collect(run, planes, map) != kBxSuccess) {
            return kBxOutOfMemory;
        }
    }
    // What the comb has found is surer.
    for (int i = CBxMapMarks::kCount - 1; i >= 0; --i) {
        cuts[i].Read(run, planes, marks.Gain(i));
    }
    return kBxSuccess;
}

}  // namespace

unsigned char BX_SearchCut(CBxDeepRun& run) {
    SearchTurnedWhole(run);
    return run.Ended() ? static_cast<unsigned char>(kBxSuccess) : SearchCuts(run);
}
