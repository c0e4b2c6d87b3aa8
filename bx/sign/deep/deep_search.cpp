#include "deep_search.h"

#include <algorithm>
#include <ctime>
#include <memory>
#include <new>

#include "deep_run.h"
#include "localization.h"
#include "result.h"

namespace {

struct SStageOfSearch {
    EBxDeepStage stage;
    unsigned char (*search)(CBxDeepRun& run);
    const char* text;
    double share;  // of the progress, in percent
};

// By what they find for what they cost. Joining comes twice: late stages give hints too.
constexpr SStageOfSearch kStages[] = {
    {EBxDeepStage::Pairs, BX_SearchPairs, BX_MarkText("Reading all places between corners..."), 20.0},
    {EBxDeepStage::Joined, BX_SearchJoined, BX_MarkText("Putting carriers together..."), 5.0},
    {EBxDeepStage::Tones, BX_SearchTones, BX_MarkText("Trying other brightness..."), 5.0},
    {EBxDeepStage::Orientations, BX_SearchOrientations, BX_MarkText("Trying mirrored pictures..."), 7.0},
    {EBxDeepStage::Turned, BX_SearchTurned, BX_MarkText("Trying turned pictures..."), 20.0},
    {EBxDeepStage::Cut, BX_SearchCut, BX_MarkText("Trying cut pictures..."), 8.0},
    {EBxDeepStage::OneCorner, BX_SearchOneCorner, BX_MarkText("Trying cut pictures..."), 7.0},
    {EBxDeepStage::Anywhere, BX_SearchAnywhere, BX_MarkText("Trying turned pictures..."), 8.0},
    {EBxDeepStage::BentTones, BX_SearchBentTones, BX_MarkText("Trying other contrast curves..."), 10.0},
    {EBxDeepStage::Joined, BX_SearchJoined, BX_MarkText("Putting carriers together..."), 2.0},
};

// Pixels; a narrower picture shows too few columns of the smallest cells that are looked for.
constexpr int kNarrowest = 40;

double SecondsOf(clockid_t clock) {
    std::timespec now = {};
    clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

class CLaps {
public:
    // Adds the time since the last call.
    void AddTo(SBxDeepCost& cost) {
        const double processor = SecondsOf(CLOCK_PROCESS_CPUTIME_ID);
        const double wall = SecondsOf(CLOCK_MONOTONIC);
        cost.m_dSeconds += processor - m_dProcessor;
        cost.m_dWallSeconds += wall - m_dWall;
        m_dProcessor = processor;
        m_dWall = wall;
    }

private:
    double m_dProcessor = SecondsOf(CLOCK_PROCESS_CPUTIME_ID);
    double m_dWall = SecondsOf(CLOCK_MONOTONIC);
};

}  // namespace

unsigned char BX_SearchDeep(SBxSignRun& run, const SBxPicBuf& picture, CBxCornerArchive& archive, unsigned int threads,
                            SBxDeepFinding& finding, SBxDeepCosts* costs) {
    if (std::min(picture.m_iWidth, picture.m_iHeight) < kNarrowest) {
        return kBxFailure;
    }
    SBxDeepCosts ownCosts;
    SBxDeepCosts& cost = costs != nullptr ? *costs : ownCosts;
    run.m_ProgressData.SetText(CBxLocalization::Translate("Searching harder..."));
    run.m_ProgressData.SetPercentage(0.0);
    CLaps laps;
    const std::unique_ptr<CBxDeepRun> deep(new (std::nothrow) CBxDeepRun(run, picture, archive, threads));
    unsigned char result = deep != nullptr ? deep->PutBack() : static_cast<unsigned char>(kBxOutOfMemory);
    if (result == kBxSuccess) {
        result = deep->AddFurtherCorners();
    }
    laps.AddTo(cost.m_Corners);
    if (result == kBxSuccess) {
        result = deep->Prepare();
        laps.AddTo(cost.m_Sums);
    }
    for (const SStageOfSearch& stage : kStages) {
        if (result != kBxSuccess || deep->Ended()) {
            break;
        }
        run.m_ProgressData.SetText(CBxLocalization::Translate(stage.text));
        result = stage.search(*deep);
        run.m_ProgressData.AddPercentage(stage.share);
        SBxDeepCost& spent = cost.m_Stages[static_cast<int>(stage.stage)];
        spent.m_ulGrids += deep->m_ulGrids.exchange(0);
        spent.m_ulDecodings += deep->m_ulDecodings.exchange(0);
        laps.AddTo(spent);
    }
    cost.m_dHighestAgreement = deep != nullptr && deep->HintCount() > 0 ? deep->Hint(0).agreement : 0.0;
    if (result != kBxSuccess) {
        return result;
    }
    const bool wasAborted = run.m_iAbortDetecting.load(std::memory_order_relaxed) > 0;
    if (wasAborted || !deep->HasReading()) {
        return kBxFailure;
    }
    finding = deep->Finding();
    return kBxSuccess;
}
