// Stage: the picture was mirrored or turned by quarters. The grids between corners are read along their sides in all
// orientations. Along a reversed axis a corner stands elsewhere: it was found by forward differences.
#include <algorithm>
#include <cmath>

#include "deep_run.h"
#include "heap_array.h"
#include "result.h"
#include "slices.h"

namespace {

constexpr std::size_t kSlice = 64;
constexpr double kFarthestZoom = 1.12;
constexpr std::size_t kMostDecoded = 500;
constexpr int kReversals = 4;  // of neither, one or both axes

struct SReversedGrid {
    float score;
    std::uint32_t pair;  // the pool's count stands for the whole picture
    unsigned char reversal;
};

// A corner lies half a pixel of its zoom in front of where a reader of the reversed picture would have put it, and the
// frame of the carrier was cut to whole pixels: together one pixel of each.
SBxGridTrial TrialOf(const CBxDeepRun& run, const SReversedGrid& grid) {
    SBxGridTrial trial =
        grid.pair < run.m_Pool.Count() ? BX_TrialOfPair(run.m_Pool[grid.pair]) : run.TrialOfWholePicture(1.0);
    if (grid.pair < run.m_Pool.Count()) {
        const double shift = 1.0 + 1.0 / static_cast<double>(run.m_Pool[grid.pair].zoom);
        trial.pose.origin.x += (grid.reversal & 1) != 0 ? shift : 0.0;
        trial.pose.origin.y += (grid.reversal & 2) != 0 ? shift : 0.0;
    }
    return trial;
}

SBxGridTrial Reoriented(SBxGridTrial trial, int orientation) {
    trial.orientation = BX_GridOrientation(orientation);
    trial.pose = BX_Reorient(trial.pose, trial.orientation);
    return trial;
}

}  // namespace

unsigned char BX_SearchOrientations(CBxDeepRun& run) {
    const std::size_t pairs = run.m_Pool.Count();
    CBxHeapArray<SReversedGrid> grids;
    if (!grids.Allocate((pairs + 1) * kReversals)) {
        return kBxOutOfMemory;
    }
    std::size_t count = 0;
    for (std::size_t i = 0; i <= pairs; ++i) {
        const double zoom = i < pairs ? static_cast<double>(run.m_Pool[i].zoom) : 1.0;
        if (zoom < kFarthestZoom && zoom > 1.0 / kFarthestZoom) {
            for (unsigned char reversal = 0; reversal < kReversals; ++reversal) {
                grids[count++] = {0.0f, static_cast<std::uint32_t>(i), reversal};
            }
        }
    }
    auto score = [&](std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end && !run.Ended(); ++i) {
            float means[kCellCount];
            run.ReadMeans(means, TrialOf(run, grids[i]));
            // The whole picture is always among those that are decoded.
            grids[i].score = grids[i].pair == pairs ? 2.0f : BX_CombScore(means, kCellCount);
        }
        return !run.Ended();
    };
    BX_RunSlices(count, kSlice, run.m_uiThreads, score);
    const std::size_t decoded = std::min(count, kMostDecoded);
    std::partial_sort(grids.Data(), grids.Data() + decoded, grids.Data() + count,
                      [](const SReversedGrid& a, const SReversedGrid& b) { return a.score > b.score; });
    auto decode = [&](std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end && !run.Ended(); ++i) {
            const SBxGridTrial upright = TrialOf(run, grids[i]);
            for (const int transposing : {0, 4}) {
                const int orientation = grids[i].reversal | transposing;
                if (orientation == 0) {
                    continue;
                }
                const SBxGridTrial trial = Reoriented(upright, orientation);
                float means[kCellCount];
                run.ReadMeans(means, trial);
                run.Try(trial, BX_ToneOfMeans(means), means, EBxDeepStage::Orientations);
            }
        }
        return !run.Ended();
    };
    BX_RunSlices(decoded, 4, run.m_uiThreads, decode);
    return kBxSuccess;
}
