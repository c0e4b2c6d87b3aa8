#include <cstdio>
#include <string>
#include <vector>

#include "commands.h"
#include "convert_picture.h"
#include "file_replacement.h"
#include "output_target.h"
#include "picture_orientation.h"
#include "picture_reader.h"
#include "result.h"
#include "sign_check.h"
#include "stop_request.h"
#include "survival.h"
#include "survival_page.h"

namespace {

// The count of copies tried, under what is printed, for the time of a scope.
class CTrialCount {
public:
    CTrialCount(CBxConsole& console, std::size_t all)
        : m_Console(console), m_bShown(console.ShowsProgress()), m_uiAll(all) {
        if (m_bShown) {
            console.ShowCount(0, all, "copies tried");
        }
    }
    ~CTrialCount() {
        if (m_bShown) {
            m_Console.WipeCount();
        }
    }
    CTrialCount(const CTrialCount&) = delete;
    CTrialCount& operator=(const CTrialCount&) = delete;

    void Add() {
        if (m_bShown) {
            m_Console.ShowCount(++m_uiDone, m_uiAll, "copies tried");
        }
    }

private:
    CBxConsole& m_Console;
    const bool m_bShown;
    const std::size_t m_uiAll;
    std::size_t m_uiDone = 0;
};

const char* NameOf(EBxSurvival survival) {
    switch (survival) {
        case EBxSurvival::Ordinary:
            return "ordinary";
        case EBxSurvival::Deep:
            return "deep";
        case EBxSurvival::Uncertain:
            return "uncertain";
        case EBxSurvival::Lost:
            return "lost";
        case EBxSurvival::OtherText:
            return "other";
        case EBxSurvival::Failed:
            break;
    }
    return "failed";
}

std::size_t ReadCount(const SBxSurvivalOutcome& outcome) {
    return outcome.Count(EBxSurvival::Ordinary) + outcome.Count(EBxSurvival::Deep) +
           outcome.Count(EBxSurvival::Uncertain);
}

CBxJson DescribeTrials(const SBxSurvivalOutcome& outcome) {
    constexpr const char* kKinds[] = {"grid", "cut", "brightness", "turned"};
    CBxJson trials = CBxJson::array();
    for (const SBxTrialOutcome& trial : outcome.trials) {
        trials.push_back({{"change", BX_DescribeTrial(trial.trial)},
                          {"kind", kKinds[static_cast<int>(trial.trial.kind)]},
                          {"quality", trial.trial.quality},
                          {"amount", trial.trial.amount},
                          {"read", NameOf(trial.survival)},
                          {"confidence", trial.text.empty() ? CBxJson(nullptr)
                                         : trial.isCertain  ? CBxJson("certain")
                                                            : CBxJson("uncertain")},
                          {"sign", trial.text.empty() ? CBxJson(nullptr) : CBxJson(BX_ValidUtf8(trial.text))},
                          {"seconds", trial.seconds}});
    }
    return trials;
}

CBxJson DescribeOutcome(const SBxSurvivalOutcome& outcome, const SBxSurviveRequest& request) {
    CBxJson carriers = CBxJson::array();
    for (const CBxRect<int>& carrier : outcome.carriers) {
        carriers.push_back({carrier.left, carrier.top, carrier.right, carrier.bottom});
    }
    return {{"file", BX_ValidUtf8(request.photo)},
            {"sign", BX_ValidUtf8(outcome.sign)},
            {"signed_before", outcome.wasSigned},
            {"carriers", carriers},
            {"page", request.page.empty() ? CBxJson(nullptr) : CBxJson(BX_ValidUtf8(request.page))},
            {"tried", outcome.trials.size()},
            {"read", ReadCount(outcome)},
            {"read_ordinary", outcome.Count(EBxSurvival::Ordinary)},
            {"trials", DescribeTrials(outcome)},
            {"seconds", outcome.seconds}};
}

// A table with the scales along the top and a line for each quality.
void PrintGrid(const SBxSurvivalOutcome& outcome, CBxConsole& console) {
    std::string header = "        ";
    std::vector<std::string> lines;
    int quality = -1;
    for (const SBxTrialOutcome& trial : outcome.trials) {
        if (trial.trial.kind != EBxTrialKind::Grid) {
            continue;
        }
        if (trial.trial.quality != quality) {
            quality = trial.trial.quality;
            lines.push_back("JPEG " + std::to_string(quality) + " ");
        }
        if (lines.size() == 1) {
            char cell[16];
            std::snprintf(cell, sizeof(cell), "%5.0f %%", trial.trial.amount);
            header += cell;
        }
        lines.back() += std::string("      ") + BX_GetMark(trial.survival);
    }
    console.Result(header);
    for (const std::string& line : lines) {
        console.Result(line);
    }
}

// What was read wrongly.
void PrintOtherTexts(const SBxSurvivalOutcome& outcome, CBxConsole& console) {
    for (const SBxTrialOutcome& trial : outcome.trials) {
        if (trial.survival == EBxSurvival::OtherText) {
            console.Result(BX_DescribeTrial(trial.trial) + ": " + BX_PrintableName(trial.text) +
                           " was read, which is wrong");
        }
    }
}

void PrintTables(const SBxSurvivalOutcome& outcome, CBxConsole& console) {
    PrintGrid(outcome, console);
    for (const SBxTrialOutcome& trial : outcome.trials) {
        if (trial.trial.kind != EBxTrialKind::Grid) {
            console.Result(std::string(1, BX_GetMark(trial.survival)) + "  " + BX_DescribeTrial(trial.trial) +
                           ", JPEG " + std::to_string(trial.trial.quality));
        }
    }
    console.Result("# read, + read only by searching harder, ? the same and not for certain, . lost" +
                   std::string(outcome.Count(EBxSurvival::OtherText) > 0 ? ", x another text" : "") +
                   (outcome.Count(EBxSurvival::Failed) > 0 ? ", ! not tried for want of memory" : ""));
    PrintOtherTexts(outcome, console);
}

void Report(const SBxSurvivalOutcome& outcome, const SBxSurviveRequest& request, CBxConsole& console) {
    console.Result(DescribeOutcome(outcome, request));
    const std::size_t places = outcome.carriers.size();
    const std::string where = outcome.wasSigned
                                  ? std::string(", which it was signed with before")
                                  : " in " + std::to_string(places) + (places == 1 ? " place" : " places");
    console.Result(BX_PrintableName(request.photo) + ": tried with " + BX_PrintableName(outcome.sign) + where);
    PrintTables(outcome, console);
    console.Result(std::to_string(outcome.Count(EBxSurvival::Ordinary)) + " of " +
                   std::to_string(outcome.trials.size()) + " copies read by the ordinary search, " +
                   std::to_string(ReadCount(outcome)) + " with the deep one");
    if (!request.page.empty()) {
        console.Result(BX_PrintableName(request.page) + ": written");
    }
}

std::string WritePage(const SBxSurvivalOutcome& outcome, const SBxPicBuf& picture, const SBxSurviveRequest& request) {
    const std::string page = BX_MakeSurvivalPage(outcome, picture, BX_ReadOrientation(request.photo.c_str()),
                                                 request.photo.substr(request.photo.rfind('/') + 1));
    if (page.empty()) {
        return "there is not enough memory";
    }
    CBxFileReplacement file;
    const bool isWritten = file.Begin(request.page.c_str()) == kBxSuccess &&
                           file.Write(page.data(), page.size()) == kBxSuccess &&
                           (request.force ? file.Commit() : file.CommitNew()) == kBxSuccess;
    return isWritten ? std::string() : file.Reason();
}

EBxExit Fail(const std::string& file, const std::string& reason, const SBxSurviveRequest& request,
             CBxConsole& console) {
    console.Error(file, reason, {{"file", BX_ValidUtf8(request.photo)}});
    return EBxExit::kError;
}

}  // namespace

EBxExit BX_SurviveCommand(const SBxSurviveRequest& request, CBxConsole& console) {
    const std::string signFault = request.sign.empty() ? std::string() : BX_GetSignFault(request.sign);
    if (!signFault.empty()) {
        return Fail("", signFault, request, console);
    }
    const std::string pageFault =
        request.page.empty() ? std::string() : BX_GetPageFault(request.page, request.photo, request.force);
    if (!pageFault.empty()) {
        return Fail(request.page, pageFault, request, console);
    }
    SBxFileReport report;
    SBxPicBuf* read = nullptr;
    const int result = CBxConvertPicture::ReadInputFile(read, request.photo.c_str(), report);
    const CBxPicBufHolder picture(read);
    if (result != kBxSuccess) {
        return Fail(request.photo, report.m_szReason, request, console);
    }
    if (report.HasWarning()) {
        console.Note(request.photo, report.m_szWarning);
    }
    BX_LoadPictureDecoders();
    CBxRunProgress progress(BX_IsStopRequested);
    const SBxRunContext context = {progress, static_cast<int>(request.threads), kQualityOfOthers, "", "", nullptr};
    const std::vector<SBxTrial> trials = BX_GetTrials(request.quick);
    SBxSurvivalOutcome outcome;
    {
        CTrialCount count(console, trials.size());
        outcome = BX_RunSurvival(
            context, *picture, BX_PrintableName(request.photo), request.sign,
            [&count](const SBxTrialOutcome&) { count.Add(); }, trials);
    }
    if (outcome.hasFailed) {
        Fail(request.photo, outcome.reason, request, console);
        return outcome.wasSigned && !outcome.wasCancelled ? EBxExit::kNothing : EBxExit::kError;
    }
    const std::string writingFault = request.page.empty() ? std::string() : WritePage(outcome, *picture, request);
    if (!writingFault.empty()) {
        return Fail(request.page, writingFault, request, console);
    }
    Report(outcome, request, console);
    return ReadCount(outcome) > 0 ? EBxExit::kDone : EBxExit::kNothing;
}
