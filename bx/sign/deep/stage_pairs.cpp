// Stage: every grid between two corners, and the whole picture, as they stand.
//
// Where there are very many grids, only those of zooms near 1 are all read (signed pictures are rarely scaled and
// damaged), and of the others those whose means lie best on a comb, judged by a quarter of their cells. In pictures of
// 2 to 16 megapixels with 6,000 to 11,000 grids every carrier that could be read at all had a grid among those. The
// foremost are read exactly, the others roughly first.
#include <algorithm>

#include "deep_run.h"
#include "heap_array.h"
#include "result.h"
#include "slices.h"

namespace {

constexpr std::size_t kSlice = 16;
constexpr std::size_t kSampledSlice = 256;
constexpr std::size_t kReadExactly = 500;  // grids in front of the pool; damaged carriers are rarely scaled, too
constexpr std::size_t kAlwaysRead = 1500;  // grids in front of the pool, where zooms near 1 stand
constexpr std::size_t kMostRead = 4500;
constexpr std::size_t kMostReadOfSmall = 9000;  // copies saved as JPEG hide their combs, and cost little
constexpr double kSmallPicture = 2e6;           // pixels
constexpr std::size_t kMostReadTwice = 3000;    // where each may be read in two ways

struct SPairGrid {
    float score;
    std::uint32_t pair;
};

// Moves the grids that are worth most to the front, in the order of the pool. Returns how many they are.
std::size_t KeepPromising(CBxDeepRun& run, SPairGrid* grids, std::size_t count) {
    const bool isSmall = static_cast<double>(run.Picture().m_iWidth) * run.Picture().m_iHeight < kSmallPicture;
    const std::size_t most = run.m_bKnowsTone ? kMostReadTwice : isSmall ? kMostReadOfSmall : kMostRead;
    if (count <= most) {
        return count;
    }
    auto sample = [&](std::size_t begin, std::size_t end) {
        for (std::size_t i = kAlwaysRead + begin; i < kAlwaysRead + end; ++i) {
            float means[CBxBlueSums::kSampledCells];
            const int seen = run.m_Sums.SampledMeans(means, BX_TrialOfPair(run.m_Pool[grids[i].pair]).pose);
            grids[i].score =
                seen * 2 > CBxBlueSums::kSampledCells ? BX_CombScore(means, CBxBlueSums::kSampledCells) : -1.0f;
        }
        return !run.Ended();
    };
    BX_RunSlices(count - kAlwaysRead, kSampledSlice, run.m_uiThreads, sample);
    std::nth_element(grids + kAlwaysRead, grids + most, grids + count, [](const SPairGrid& a, const SPairGrid& b) {
        return a.score != b.score ? a.score > b.score : a.pair < b.pair;
    });
    std::sort(grids + kAlwaysRead, grids + most,
              [](const SPairGrid& a, const SPairGrid& b) { return a.pair < b.pair; });
    return most;
}

}  // namespace

unsigned char BX_SearchPairs(CBxDeepRun& run) {
    // The whole picture tells nothing of its scale; only how soft the edges of its cells are depends on it.
    for (const double scale : {1.0, 0.7, 2.0}) {
        SBxGridTrial whole = run.TrialOfWholePicture(1.0);
        whole.blur = BX_BlurOfScale(scale);
        run.TryAsRead(whole, EBxDeepStage::Pairs);
    }
    CBxHeapArray<SPairGrid> grids;
    if (!grids.Allocate(run.m_Pool.Count())) {
        return kBxOutOfMemory;
    }
    for (std::size_t i = 0; i < run.m_Pool.Count(); ++i) {
        grids[i] = {0.0f, static_cast<std::uint32_t>(i)};
    }
    const std::size_t count = KeepPromising(run, grids.Data(), grids.Size());
    auto slice = [&run, &grids](std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end && !run.Ended(); ++i) {
            float soft[kCellCount];
            const SBxGridTrial trial = BX_TrialOfPair(run.m_Pool[grids[i].pair]);
            if (grids[i].pair < kReadExactly) {
                run.TryExactly(soft, trial, EBxDeepStage::Pairs);
            } else {
                run.TryRoughly(soft, trial, EBxDeepStage::Pairs);
            }
            run.m_Softs.Set(grids[i].pair, soft);
        }
        return !run.Ended();
    };
    BX_RunSlices(count, kSlice, run.m_uiThreads, slice);
    return kBxSuccess;
}
