// Stage: the grids between corners once more, in case all tones were changed by a gain and an offset. Each grid's own
// comb of means says which would suit it; the grids with the clearest combs are decoded.
#include <algorithm>
#include <cmath>

#include "deep_run.h"
#include "heap_array.h"
#include "result.h"
#include "slices.h"

namespace {

constexpr std::size_t kSlice = 16;
constexpr int kWeakestAnchor = 20;  // rank of the stronger corner
constexpr int kFewestAnchors = 8;
constexpr std::size_t kMostGrids = 1200;
constexpr double kFarthestZoom = 1.12;     // of the corners
constexpr std::size_t kMostDecoded = 300;  // grids

struct SCombGrid {
    float score;
    std::uint32_t pair;  // of the pool; its count stands for the whole picture
    SBxTone tone;
};

bool IsWanted(const SBxCornerPair& pair, int weakestAnchor) {
    const double zoom = pair.zoom;
    return zoom < kFarthestZoom && zoom > 1.0 / kFarthestZoom && pair.ranks < weakestAnchor;
}

// How far down the list of strength the stronger corner of a pair may stand, so that the grids do not become too many.
int WeakestAnchor(const CBxGridPool& pool) {
    std::size_t grids = 0;
    for (int rank = 0; rank < kWeakestAnchor; ++rank) {
        for (std::size_t i = 0; i < pool.Count(); ++i) {
            grids += pool[i].ranks == rank && IsWanted(pool[i], kWeakestAnchor) ? 1 : 0;
        }
        if (grids > kMostGrids && rank >= kFewestAnchors) {
            return rank;
        }
    }
    return kWeakestAnchor;
}

SBxGridTrial TrialOf(const CBxDeepRun& run, std::size_t pair) {
    return pair < run.m_Pool.Count() ? BX_TrialOfPair(run.m_Pool[pair]) : run.TrialOfWholePicture(1.0);
}

// Finds the combs of the grids [0, count), then decodes the clearest under both readings of their lines.
void SearchCombs(CBxDeepRun& run, SCombGrid* grids, std::size_t count) {
    auto find = [&](std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end && !run.Ended(); ++i) {
            float means[kCellCount];
            const SBxGridTrial trial = TrialOf(run, grids[i].pair);
            run.ReadRoughMeans(means, trial);
            run.m_Clipped.LeaveOut(means, trial.pose);
            grids[i].score = run.FindComb(grids[i].tone, means);
        }
        return !run.Ended();
    };
    BX_RunSlices(count, kSlice, run.m_uiThreads, find);
    if (run.Ended()) {
        return;
    }
    const std::size_t decoded = std::min(count, kMostDecoded);
    std::partial_sort(grids, grids + decoded, grids + count, [](const SCombGrid& a, const SCombGrid& b) {
        return a.score != b.score ? a.score > b.score : a.pair < b.pair;
    });
    auto decode = [&](std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end && !run.Ended(); ++i) {
            const SBxGridTrial trial = TrialOf(run, grids[i].pair);
            float means[kCellCount];
            run.ReadWholeCells(means, trial);
            SBxTone tone = grids[i].tone;
            run.Try(trial, tone, means, EBxDeepStage::Tones);
            tone.offset += kPeriod / 2 * tone.gain;
            run.Try(trial, tone, means, EBxDeepStage::Tones);
        }
        return !run.Ended();
    };
    BX_RunSlices(decoded, kSlice, run.m_uiThreads, decode);
}

std::size_t CollectGrids(const CBxDeepRun& run, SCombGrid* grids) {
    const int weakest = WeakestAnchor(run.m_Pool);
    std::size_t count = 0;
    for (std::size_t i = 0; i < run.m_Pool.Count(); ++i) {
        if (IsWanted(run.m_Pool[i], weakest)) {
            grids[count++].pair = static_cast<std::uint32_t>(i);
        }
    }
    grids[count++].pair = static_cast<std::uint32_t>(run.m_Pool.Count());
    return count;
}

}  // namespace

unsigned char BX_SearchTones(CBxDeepRun& run) {
    if (run.m_bKnowsTone) {
        return kBxSuccess;  // all pairs were read under both of its combs
    }
    CBxHeapArray<SCombGrid> grids;
    if (!grids.Allocate(run.m_Pool.Count() + 1)) {
        return kBxOutOfMemory;
    }
    SearchCombs(run, grids.Data(), CollectGrids(run, grids.Data()));
    return kBxSuccess;
}
