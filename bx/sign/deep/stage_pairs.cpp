// Stage: every grid between two corners, as it stands. Those whose means lie best on the comb come first.
#include <algorithm>

#include "deep_run.h"
#include "heap_array.h"
#include "result.h"
#include "slices.h"

namespace {

constexpr std::size_t kSlice = 32;

struct SScoredGrid {
    float score;
    std::uint32_t index;
};

}  // namespace

unsigned char BX_SearchPairs(CBxDeepRun& run) {
    for (const double scale : {1.0, 0.7, 2.0}) {
        const SBxGridTrial whole{BX_PoseOfRectangle({0.0, 0.0, static_cast<double>(run.m_Sums.Width()),
                                                     static_cast<double>(run.m_Sums.Height())}),
                                 BX_BlurOfScale(scale), scale, 0.0, BX_GridOrientation(0)};
        float means[kCellCount];
        run.m_Sums.Means(means, whole.pose, whole.blur);
        run.Try(whole, SBxTone(), means, EBxDeepStage::Pairs);
    }
    const std::size_t count = run.m_Pool.Count();
    CBxHeapArray<SScoredGrid> grids;
    if (!grids.Allocate(count)) {
        return kBxOutOfMemory;
    }
    const auto readMeans = [&run](float* means, std::size_t index) {
        const SBxGridTrial trial = BX_TrialOfPair(run.m_Pool[index]);
        run.m_Sums.Means(means, trial.pose, trial.blur);
    };
    auto scoreSlice = [&](std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end; ++i) {
            float means[kCellCount];
            readMeans(means, i);
            grids[i] = {BX_CombScore(means, kCellCount), static_cast<std::uint32_t>(i)};
        }
        run.m_ulGrids.fetch_add(end - begin, std::memory_order_relaxed);
        return !run.Ended();
    };
    BX_RunSlices(count, kSlice, run.m_uiThreads, scoreSlice);
    if (run.Ended()) {
        return kBxSuccess;
    }
    std::sort(grids.Data(), grids.Data() + count, [](const SScoredGrid& a, const SScoredGrid& b) {
        return a.score != b.score ? a.score > b.score : a.index < b.index;
    });
    auto decodeSlice = [&](std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end; ++i) {
            float means[kCellCount];
            readMeans(means, grids[i].index);
            run.Try(BX_TrialOfPair(run.m_Pool[grids[i].index]), SBxTone(), means, EBxDeepStage::Pairs);
        }
        return !run.Ended();
    };
    BX_RunSlices(count, kSlice, run.m_uiThreads, decodeSlice);
    return kBxSuccess;
}
