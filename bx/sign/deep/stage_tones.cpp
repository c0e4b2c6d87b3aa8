// Stage: the grids between corners once more, in case all tones were changed: by a gain and an offset, and behind one
// of several exponents. Each grid's own comb of means says which gain and offset would suit it; the grids with the
// clearest combs are decoded.
#include <algorithm>
#include <cmath>

#include "deep_run.h"
#include "heap_array.h"
#include "result.h"
#include "slices.h"

namespace {

constexpr std::size_t kSlice = 16;
constexpr double kFarthestZoom = 1.12;     // of the corners: more at once was not tried
constexpr std::size_t kMostDecoded = 300;  // grids, for each exponent
constexpr int kWeakestAnchor = 16;         // rank, under an exponent
constexpr double kExponents[] = {0.8, 0.85, 0.9, 0.95, 1.05, 1.1, 1.18, 1.25};

struct SCombGrid {
    float score;
    std::uint32_t pair;  // of the pool; its count stands for the whole picture
    SBxTone tone;
};

bool IsWanted(const SBxCornerPair& pair, bool isBent) {
    const double zoom = pair.zoom;
    return zoom < kFarthestZoom && zoom > 1.0 / kFarthestZoom && (!isBent || pair.ranks < kWeakestAnchor);
}

SBxGridTrial TrialOf(const CBxDeepRun& run, std::size_t pair) {
    return pair < run.m_Pool.Count() ? BX_TrialOfPair(run.m_Pool[pair]) : run.TrialOfWholePicture(1.0);
}

// Finds the combs of the grids [0, count), then decodes the clearest under both readings of their lines.
void SearchCombs(CBxDeepRun& run, SCombGrid* grids, std::size_t count, double exponent, EBxDeepStage stage) {
    auto find = [&](std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end && !run.Ended(); ++i) {
            float means[kCellCount];
            run.ReadMeans(means, TrialOf(run, grids[i].pair));
            if (exponent != 1.0) {
                BX_StraightenMeans(means, kCellCount, exponent);
            }
            grids[i].score = BX_FindComb(grids[i].tone, means);
            grids[i].tone.exponent = exponent;
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
            run.ReadMeans(means, trial);
            SBxTone tone = grids[i].tone;
            run.Try(trial, tone, means, stage);
            tone.offset += kPeriod / 2 * tone.gain;
            run.Try(trial, tone, means, stage);
        }
        return !run.Ended();
    };
    BX_RunSlices(decoded, kSlice, run.m_uiThreads, decode);
}

std::size_t CollectGrids(const CBxDeepRun& run, SCombGrid* grids, bool isBent) {
    std::size_t count = 0;
    for (std::size_t i = 0; i < run.m_Pool.Count(); ++i) {
        if (IsWanted(run.m_Pool[i], isBent)) {
            grids[count++].pair = static_cast<std::uint32_t>(i);
        }
    }
    grids[count++].pair = static_cast<std::uint32_t>(run.m_Pool.Count());
    return count;
}

}  // namespace

unsigned char BX_SearchTones(CBxDeepRun& run) {
    CBxHeapArray<SCombGrid> grids;
    if (!grids.Allocate(run.m_Pool.Count() + 1)) {
        return kBxOutOfMemory;
    }
    SearchCombs(run, grids.Data(), CollectGrids(run, grids.Data(), false), 1.0, EBxDeepStage::Tones);
    return kBxSuccess;
}

unsigned char BX_SearchBentTones(CBxDeepRun& run) {
    CBxHeapArray<SCombGrid> grids;
    if (!grids.Allocate(run.m_Pool.Count() + 1)) {
        return kBxOutOfMemory;
    }
    for (const double exponent : kExponents) {
        if (run.Ended()) {
            break;
        }
        SearchCombs(run, grids.Data(), CollectGrids(run, grids.Data(), true), exponent, EBxDeepStage::BentTones);
    }
    return kBxSuccess;
}
