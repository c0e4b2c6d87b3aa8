#include "survival.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <span>

#include "convert_picture.h"
#include "image_changes.h"
#include "large_picture.h"
#include "localization.h"
#include "result.h"
#include "run_files.h"
#include "sign_check.h"
#include "sign_op.h"

namespace {

constexpr double kQualities[] = {95, 90, 85, 80, 75, 70, 65, 60, 55, 50};
constexpr double kScales[] = {110, 100, 90, 80, 70, 60, 50, 45};
constexpr double kCuts[] = {2, 5, 10, 20, 40};
constexpr double kFactors[] = {0.7, 0.8, 0.9, 1.1, 1.2, 1.3};
constexpr double kDegrees[] = {-2.0, -1.0, -0.5, 0.5, 1.0, 2.0};

constexpr double kQuickQualities[] = {90, 70, 50};
constexpr double kQuickScales[] = {100, 70, 50};
constexpr double kQuickCuts[] = {5};
constexpr double kQuickFactors[] = {0.8, 1.2};
constexpr double kQuickDegrees[] = {1.0};

QImage Change(const QImage& picture, const SBxTrial& trial) {
    switch (trial.kind) {
        case EBxTrialKind::Grid:
            return BX_SaveAsJpeg(trial.amount == 100.0 ? picture : BX_ScaleImage(picture, trial.amount / 100.0),
                                 trial.quality);
        case EBxTrialKind::Crop: {
            // Unevenly, as a hand does it.
            const double near = 0.006 * trial.amount;
            const double far = 0.004 * trial.amount;
            return BX_SaveAsJpeg(BX_CropImage(picture, near, near, far, far), trial.quality);
        }
        case EBxTrialKind::Brightness:
            return BX_SaveAsJpeg(BX_ToneImage(picture, trial.amount, 0.0, 1.0), trial.quality);
        case EBxTrialKind::Turn:
            return BX_SaveAsJpeg(BX_TurnImage(picture, trial.amount), trial.quality);
    }
    return QImage();
}

EBxSurvival SurvivalOf(const SBxSearchResult& search, const std::string& sign) {
    if (search.code == kBxOutOfMemory) {
        return EBxSurvival::Failed;
    }
    if (search.code != kBxSuccess) {
        return EBxSurvival::Lost;
    }
    if (search.sign != sign) {
        return EBxSurvival::OtherText;
    }
    return BX_IsUncertain(search) ? EBxSurvival::Uncertain : search.isDeep ? EBxSurvival::Deep : EBxSurvival::Ordinary;
}

void Try(SBxTrialOutcome& outcome, const QImage& picture, const std::string& sign, const SBxRunContext& context,
         unsigned int threads) {
    SBxSignRun run;
    const CBxPictureInWork inWork(context.progress, run, BX_DescribeTrial(outcome.trial));
    QImage changed = Change(picture, outcome.trial);
    const CBxPicBufHolder searched(changed.isNull() ? nullptr : CBxConvertPicture::GetPicBufFromQImage(&changed));
    if (searched == nullptr) {
        return;
    }
    changed = QImage();
    const SBxSearchResult search = BX_SearchPicture(run, *searched, threads, EBxSearchDepth::Deep);
    outcome.isCancelled = search.code == kBxFailure && context.progress.IsCancelled();
    outcome.survival = SurvivalOf(search, sign);
    outcome.text = search.code == kBxSuccess ? search.sign : "";
    outcome.isCertain = search.code == kBxSuccess && !BX_IsUncertain(search);
}

const char* NoMemory() {
    return CBxLocalization::Translate("there is not enough memory");
}

bool Fail(SBxSurvivalOutcome& outcome, const std::string& reason) {
    outcome.reason = reason;
    return false;
}

// Takes the sign that is there, if it is one that may be tried.
bool TakeOldSign(SBxSurvivalOutcome& outcome, const SBxSearchResult& found, const std::string& wanted) {
    outcome.wasSigned = true;
    outcome.sign = found.sign;
    outcome.carriers = {found.rectangle};
    return wanted.empty() || wanted == found.sign || Fail(outcome, "it is signed with " + found.sign + " already");
}

bool Sign(SBxSurvivalOutcome& outcome, SBxPicBuf& picture, const std::string& name, const std::string& wanted,
          const SBxRunContext& context) {
    SBxSignRun run;
    const CBxPictureInWork inWork(context.progress, run, name);
    const SBxSearchResult found = BX_SearchPicture(run, picture, BX_GetThreadsOfRun(context.threads));
    outcome.wasCancelled = context.progress.IsCancelled();
    if (found.code == kBxSuccess) {
        return TakeOldSign(outcome, found, wanted);
    }
    outcome.sign = wanted.empty() ? kTrialSign : wanted;
    if (static_cast<std::int64_t>(picture.m_iWidth) * picture.m_iHeight > kMostPixelsSigned) {
        return Fail(outcome, CBxLocalization::Translate("only pictures of up to 40 megapixels can be signed"));
    }
    char text[kMostSignCharacters + 1] = "";
    outcome.sign.copy(text, kMostSignCharacters);
    const unsigned char result = found.code == kBxOutOfMemory || outcome.wasCancelled
                                     ? found.code
                                     : CBxSignOp::InsertTextIntoPicture(run, &picture, text);
    outcome.wasCancelled = context.progress.IsCancelled();
    if (outcome.wasCancelled) {
        return Fail(outcome, "interrupted");
    }
    if (result != kBxSuccess) {
        return Fail(outcome, result == kBxOutOfMemory ? NoMemory()
                                                      : CBxLocalization::Translate("the sign could not be inserted"));
    }
    outcome.carriers.assign(run.m_siRect, run.m_siRect + run.m_uiRectCount);
    return true;
}

}  // namespace

std::vector<SBxTrial> BX_GetTrials(bool quick) {
    using CAmounts = std::span<const double>;
    std::vector<SBxTrial> trials;
    for (const double quality : quick ? CAmounts(kQuickQualities) : CAmounts(kQualities)) {
        for (const double scale : quick ? CAmounts(kQuickScales) : CAmounts(kScales)) {
            trials.push_back({EBxTrialKind::Grid, static_cast<int>(quality), scale});
        }
    }
    const auto add = [&trials](EBxTrialKind kind, CAmounts amounts) {
        for (const double amount : amounts) {
            trials.push_back({kind, kQualityOfOthers, amount});
        }
    };
    add(EBxTrialKind::Crop, quick ? CAmounts(kQuickCuts) : CAmounts(kCuts));
    add(EBxTrialKind::Brightness, quick ? CAmounts(kQuickFactors) : CAmounts(kFactors));
    add(EBxTrialKind::Turn, quick ? CAmounts(kQuickDegrees) : CAmounts(kDegrees));
    return trials;
}

std::string BX_DescribeTrial(const SBxTrial& trial) {
    char amount[40] = "";
    switch (trial.kind) {
        case EBxTrialKind::Grid:
            std::snprintf(amount, sizeof(amount), " %.0f %%", trial.amount);
            return "JPEG " + std::to_string(trial.quality) + ", " + CBxLocalization::Translate("scale") + amount;
        case EBxTrialKind::Crop:
            std::snprintf(amount, sizeof(amount), " %.0f %%", trial.amount);
            return CBxLocalization::Translate("cut by") + std::string(amount);
        case EBxTrialKind::Brightness:
            std::snprintf(amount, sizeof(amount), " %.1f", trial.amount);
            return CBxLocalization::Translate("brightness x") + std::string(amount);
        case EBxTrialKind::Turn:
            std::snprintf(amount, sizeof(amount), " %.1f\u00b0", trial.amount);
            return CBxLocalization::Translate("turned by") + std::string(amount);
    }
    return std::string();
}

std::size_t SBxSurvivalOutcome::Count(EBxSurvival survival) const {
    return static_cast<std::size_t>(std::count_if(
        trials.begin(), trials.end(), [survival](const SBxTrialOutcome& trial) { return trial.survival == survival; }));
}

SBxSurvivalOutcome BX_RunSurvival(const SBxRunContext& context, SBxPicBuf& picture, const std::string& name,
                                  const std::string& sign, const CBxTrialReport& report,
                                  const std::vector<SBxTrial>& trials) {
    const CBxStopwatch stopwatch;
    SBxSurvivalOutcome outcome;
    const CBxRunWatch watch(context.progress);
    context.progress.SetTotal(trials.size());
    if (!Sign(outcome, picture, name, sign, context)) {
        return outcome;
    }
    const std::unique_ptr<QImage> image(CBxConvertPicture::GetQImageFromPicBuf(&picture));
    if (image == nullptr) {
        Fail(outcome, NoMemory());
        return outcome;
    }
    BX_RunFiles<SBxTrialOutcome>(
        context, trials.size(),
        [&](SBxTrialOutcome& trial, std::size_t index, unsigned int threads) {
            trial.trial = trials[index];
            Try(trial, *image, outcome.sign, context, threads);
        },
        [&](const SBxTrialOutcome& trial) {
            outcome.trials.push_back(trial);
            if (report) {
                report(trial);
            }
        });
    outcome.wasCancelled = context.progress.IsCancelled();
    outcome.hasFailed = outcome.wasCancelled;
    outcome.reason = outcome.wasCancelled ? "interrupted" : "";
    outcome.seconds = stopwatch.Seconds();
    return outcome;
}
