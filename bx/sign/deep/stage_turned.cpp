// Stage: the picture was turned by some degrees. Each pair of corners is tried as the diagonal of carriers turned by
// many angles; those of which a quarter of the cells lies well on a comb are read.
#include <algorithm>
#include <cmath>

#include "deep_run.h"
#include "heap_array.h"
#include "result.h"
#include "slices.h"

namespace {

constexpr std::size_t kSlice = 64;
constexpr double kAngleStep = 0.5;      // degrees
constexpr double kLargestAngle = 12.0;  // for corners of zooms near 1,
constexpr double kLargestAngleElsewhere = 2.0;
constexpr double kFarthestZoom = 1.12;
constexpr int kFewestAnchors = 5;
constexpr int kWeakestAnchor = 24;  // rank
constexpr std::size_t kMostGrids = 30000;
constexpr std::size_t kMostRead = 3200;
constexpr std::size_t kReadSlice = 16;

struct STurnedGrid {
    float score;
    std::uint32_t pair;
    float degrees;
};

SBxGridTrial TrialOf(const CBxDeepRun& run, const STurnedGrid& grid) {
    return BX_TrialOfPair(run.m_Pool[grid.pair], static_cast<double>(grid.degrees));
}

// Moves the `kept` best of the grids to the front, in order.
void KeepBest(STurnedGrid* grids, std::size_t count, std::size_t kept) {
    std::partial_sort(grids, grids + kept, grids + count, [](const STurnedGrid& a, const STurnedGrid& b) {
        return a.score != b.score ? a.score > b.score : a.pair != b.pair ? a.pair < b.pair : a.degrees < b.degrees;
    });
}

// How well a quarter of the cells of each grid lies on a comb.
void ScoreTurns(CBxDeepRun& run, STurnedGrid* grids, std::size_t count) {
    auto sample = [&](std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end && !run.Ended(); ++i) {
            float means[CBxBlueSums::kSampledCells];
            const int seen = run.m_Sums.SampledMeans(means, TrialOf(run, grids[i]).pose);
            grids[i].score =
                seen * 2 > CBxBlueSums::kSampledCells ? BX_CombScore(means, CBxBlueSums::kSampledCells) : -1.0f;
        }
        run.m_ulGrids.fetch_add(end - begin, std::memory_order_relaxed);
        return !run.Ended();
    };
    BX_RunSlices(count, kSlice, run.m_uiThreads, sample);
}

// The largest angle that a pair is tried at.
double LargestAngle(const SBxCornerPair& pair) {
    const double zoom = pair.zoom;
    return zoom < kFarthestZoom && zoom > 1.0 / kFarthestZoom ? kLargestAngle : kLargestAngleElsewhere;
}

// How far down the list of strength the stronger corner of a pair may stand, so that the grids do not become too many.
int WeakestAnchor(const CBxGridPool& pool) {
    std::size_t grids[kWeakestAnchor] = {};
    for (std::size_t i = 0; i < pool.Count(); ++i) {
        if (pool[i].ranks < kWeakestAnchor) {
            grids[pool[i].ranks] += static_cast<std::size_t>(2.0 * LargestAngle(pool[i]) / kAngleStep);
        }
    }
    std::size_t sum = 0;
    for (int rank = 0; rank < kWeakestAnchor; ++rank) {
        sum += grids[rank];
        if (sum > kMostGrids && rank >= kFewestAnchors) {
            return rank;
        }
    }
    return kWeakestAnchor;
}

}  // namespace

unsigned char BX_SearchTurned(CBxDeepRun& run) {
    const std::size_t pairs = run.m_Pool.Count();
    const int weakest = WeakestAnchor(run.m_Pool);
    CBxHeapArray<STurnedGrid> grids;
    if (!grids.Allocate(pairs * static_cast<std::size_t>(2.0 * kLargestAngle / kAngleStep))) {
        return kBxOutOfMemory;
    }
    std::size_t count = 0;
    for (std::size_t i = 0; i < pairs; ++i) {
        const SBxCornerPair& pair = run.m_Pool[i];
        const double largest = LargestAngle(pair);
        for (double degrees = -largest; degrees <= largest && pair.ranks < weakest; degrees += kAngleStep) {
            if (degrees != 0.0) {
                grids[count++] = {0.0f, static_cast<std::uint32_t>(i), static_cast<float>(degrees)};
            }
        }
    }
    ScoreTurns(run, grids.Data(), count);
    if (run.Ended()) {
        return kBxSuccess;
    }
    const std::size_t read = std::min(count, kMostRead);
    KeepBest(grids.Data(), count, read);
    auto decode = [&](std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end && !run.Ended(); ++i) {
            float soft[kCellCount];
            run.TryRoughly(soft, TrialOf(run, grids[i]), EBxDeepStage::Turned);
        }
        return !run.Ended();
    };
    BX_RunSlices(read, kReadSlice, run.m_uiThreads, decode);
    return kBxSuccess;
}
