// Stage: every grid between two corners, and the whole picture, as they stand.
#include "deep_run.h"
#include "result.h"
#include "slices.h"

namespace {

constexpr std::size_t kSlice = 16;

}  // namespace

unsigned char BX_SearchPairs(CBxDeepRun& run) {
    // The whole picture tells nothing of its scale; only how soft the edges of its cells are depends on it.
    for (const double scale : {1.0, 0.7, 2.0}) {
        SBxGridTrial whole = run.TrialOfWholePicture(1.0);
        whole.blur = BX_BlurOfScale(scale);
        run.TryAsRead(whole, EBxDeepStage::Pairs);
    }
    auto slice = [&run](std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end && !run.Ended(); ++i) {
            const SBxGridTrial trial = BX_TrialOfPair(run.m_Pool[i]);
            float means[kCellCount];
            run.ReadMeans(means, trial);
            const SBxTone tone = BX_ToneOfMeans(means);
            float soft[kCellCount];
            BX_SoftValues(soft, means, tone);
            run.m_Softs.Set(i, soft);
            run.TrySoft(trial, tone, soft, EBxDeepStage::Pairs, true);
            if (run.m_bKnowsTone) {
                run.Try(trial, {tone.gain, tone.offset + kPeriod / 2, tone.exponent}, means, EBxDeepStage::Pairs);
            }
        }
        return !run.Ended();
    };
    BX_RunSlices(run.m_Pool.Count(), kSlice, run.m_uiThreads, slice);
    return kBxSuccess;
}
