#include <functional>

#include "base_files.h"
#include "batch_detect.h"
#include "batch_sign.h"
#include "bundle_folder.h"
#include "commands.h"
#include "pdf_detect.h"
#include "picture_reader.h"
#include "qt_files.h"
#include "result.h"
#include "search_report.h"
#include "sign_check.h"
#include "stop_request.h"
#include "stopwatch.h"

namespace {

// What is written while a run goes on: a line or an object for each file, with a count under it.
class CReports {
public:
    explicit CReports(CBxConsole& console) : m_Console(console), m_bCounts(console.ShowsProgress()) {}
    ~CReports() { Wipe(); }
    CReports(const CReports&) = delete;
    CReports& operator=(const CReports&) = delete;

    void Report(const SBxProgressView& view, const std::function<void()>& report) {
        Wipe();
        report();
        if (m_bCounts && view.processed + 1 < view.total) {
            m_Console.ShowCount(view.processed + 1, view.total);
        }
    }

    void Wipe() {
        if (m_bCounts) {
            m_Console.WipeCount();
        }
    }

private:
    CBxConsole& m_Console;
    const bool m_bCounts;
};

std::string TemporaryFolder() {
    char folder[kBxPathBytes] = "";
    return BX_GetTmpDirectory(folder, sizeof(folder)) == 0 ? folder + std::string("/Veridane_Temp/") : std::string();
}

void ReportFailure(const SBxFileOutcome& file, const CBxJson& record, CBxConsole& console) {
    console.Error(file.file, file.isCancelled ? "interrupted" : file.reason, record);
}

void ReportSigned(const SBxSignedFile& file, const std::string& sign, CBxConsole& console) {
    CBxJson record = {{"file", BX_ValidUtf8(file.file)},
                      {"output", nullptr},
                      {"sign", BX_ValidUtf8(sign)},
                      {"quality", nullptr},
                      {"seconds", file.seconds}};
    if (!file.warning.empty()) {
        console.Note(file.file, file.warning);
    }
    if (file.end == EBxSignedEnd::kAlreadySigned) {
        record["already_signed"] = BX_ValidUtf8(file.foundSign);
        console.Refusal(file.file, "already signed with " + file.foundSign, record);
        return;
    }
    if (file.end != EBxSignedEnd::kSigned) {
        ReportFailure(file, record, console);
        return;
    }
    record["output"] = BX_ValidUtf8(file.output);
    if (file.quality >= 0) {
        record["quality"] = file.quality;
    }
    console.Result(record);
    console.Result(BX_PrintableName(file.file) + ": signed as " + BX_PrintableName(file.output) +
                   (file.quality < 0 ? "" : ", quality " + std::to_string(file.quality)));
}

EBxSearchDepth DepthOf(bool deep) {
    return deep ? EBxSearchDepth::Deep : EBxSearchDepth::Ordinary;
}

void ReportSearched(const SBxDetectedFile& file, const std::string& name, CBxJson record, bool deep,
                    CBxConsole& console) {
    if (!file.warning.empty()) {
        console.Note(name, file.warning);
    }
    if (file.isCancelled || !file.reason.empty()) {
        console.Error(name, file.isCancelled ? "interrupted" : file.reason, record);
        return;
    }
    if (file.search.shrunkTo.width > 0) {
        console.Note(name, BX_DescribeShrinking(file.search));
    }
    BX_DescribeSearch(record, file.search, file.seconds);
    if (deep) {
        BX_DescribeDepth(record, file.search);
    }
    console.Result(record);
    console.Result(BX_PrintableName(name) + ": " + BX_TellSign(file.search));
}

// The last line or object. `place` is the folder or document, `counts` goes into the object, `line` follows the
// message.
void ReportEnd(const SBxRunOutcome& outcome, const std::string& place, const std::string& message, CBxJson record,
               const std::string& line, CBxConsole& console) {
    record["files"] = outcome.total;
    record["processed"] = outcome.processed;
    record["unreadable"] = outcome.unreadable;
    record["failed"] = outcome.failed;
    record["cancelled"] = outcome.wasCancelled;
    record["log"] = outcome.logPath.empty() ? CBxJson(nullptr) : CBxJson(BX_ValidUtf8(outcome.logPath));
    if (!outcome.logFault.empty()) {
        console.Note(place, outcome.logFault);
    }
    if (outcome.hasFailed) {
        console.Error(place, (console.IsJson() ? "" : message + " ") + outcome.reason, record);
        return;
    }
    if (outcome.wasCancelled) {
        console.Error(place, console.IsJson() ? "interrupted" : "interrupted; " + line, record);
        return;
    }
    console.Result(record);
    std::string text = message + (line.empty() ? "" : " " + line);
    if (outcome.unreadable > 0) {
        text += ", " + std::to_string(outcome.unreadable) + " could not be read";
    }
    if (outcome.failed > 0) {
        text += ", " + std::to_string(outcome.failed) + " failed";
    }
    if (!outcome.logPath.empty()) {
        text += "; log: " + BX_PrintableName(outcome.logPath);
    }
    console.Result(text);
}

std::string OfFiles(std::size_t count, const SBxRunOutcome& outcome, const char* what) {
    return std::to_string(count) + " of " + std::to_string(outcome.total) + " " + what;
}

// As for a search of single files: a file that could not be searched is an error, whatever was found in others.
EBxExit SearchStatus(const SBxRunOutcome& outcome, bool isFound) {
    if (outcome.hasFailed || outcome.wasCancelled || outcome.unreadable > 0 || outcome.failed > 0) {
        return EBxExit::kError;
    }
    return isFound ? EBxExit::kDone : EBxExit::kNothing;
}

}  // namespace

EBxExit BX_BatchSignCommand(const SBxBatchRequest& request, CBxConsole& console) {
    const std::string fault = BX_GetSignFault(request.sign);
    if (!fault.empty()) {
        console.Error("", fault, {{"would_become", BX_GetCarriedSign(request.sign)}});
        return EBxExit::kError;
    }
    const CBxStopwatch stopwatch;
    BX_LoadPictureDecoders();
    CBxRunProgress progress(BX_IsStopRequested);
    const SBxRunContext context = {progress, static_cast<int>(request.threads), request.quality, "", "", nullptr};
    CReports reports(console);
    SBxBatchSignOutcome outcome =
        BX_RunBatchSign(context, request.folder, request.sign, [&](const SBxSignedFile& file) {
            reports.Report(progress.View(), [&] { ReportSigned(file, request.sign, console); });
        });
    reports.Wipe();
    if (outcome.isNoFolder) {
        outcome.reason += "; vrd sign signs single pictures";
    }
    const CBxJson record = {{"folder", BX_ValidUtf8(request.folder)},
                            {"message", BX_GetMessage(outcome)},
                            {"signed", outcome.signedFiles},
                            {"already_signed", outcome.alreadySigned},
                            {"seconds", stopwatch.Seconds()}};
    ReportEnd(outcome, request.folder, BX_GetMessage(outcome), record,
              OfFiles(outcome.signedFiles, outcome, "files signed") +
                  (outcome.alreadySigned > 0 ? ", " + std::to_string(outcome.alreadySigned) + " signed before" : ""),
              console);
    if (outcome.hasFailed || outcome.wasCancelled) {
        return EBxExit::kError;
    }
    return outcome.notAllSigned || outcome.unreadable > 0 ? EBxExit::kNothing : EBxExit::kDone;
}

EBxExit BX_BatchDetectCommand(const SBxBatchRequest& request, CBxConsole& console) {
    const CBxStopwatch stopwatch;
    BX_LoadPictureDecoders();
    CBxRunProgress progress(BX_IsStopRequested);
    const SBxRunContext context = {
        progress, static_cast<int>(request.threads), request.quality, "", "", nullptr, DepthOf(request.deep)};
    CReports reports(console);
    std::size_t found = 0;
    SBxBatchDetectOutcome outcome = BX_RunBatchDetect(context, request.folder, [&](const SBxDetectedFile& file) {
        found += file.isFound ? 1 : 0;
        reports.Report(progress.View(), [&] {
            ReportSearched(file, file.file, {{"file", BX_ValidUtf8(file.file)}}, request.deep, console);
        });
    });
    reports.Wipe();
    if (outcome.isNoFolder) {
        outcome.reason += "; vrd detect searches single pictures";
    }
    const CBxJson record = {{"folder", BX_ValidUtf8(request.folder)},
                            {"message", BX_GetMessage(outcome)},
                            {"found", found},
                            {"seconds", stopwatch.Seconds()}};
    ReportEnd(outcome, request.folder, BX_GetMessage(outcome), record, OfFiles(found, outcome, "files with a sign"),
              console);
    return SearchStatus(outcome, outcome.someSignFound);
}

EBxExit BX_PdfDetectCommand(const SBxPdfRequest& request, CBxConsole& console) {
    const CBxStopwatch stopwatch;
    BX_LoadPictureDecoders();
    CBxRunProgress progress(BX_IsStopRequested);
    const SBxRunContext context = {progress,
                                   static_cast<int>(request.threads),
                                   90,
                                   BX_GetToolFolder(),
                                   TemporaryFolder(),
                                   nullptr,
                                   DepthOf(request.deep)};
    CReports reports(console);
    std::size_t found = 0;
    SBxPdfDetectOutcome outcome = BX_RunPdfDetect(context, request.document, [&](const SBxPdfPicture& picture) {
        found += picture.isFound ? 1 : 0;
        reports.Report(progress.View(), [&] {
            ReportSearched(picture, request.document + ", picture " + std::to_string(picture.number),
                           {{"file", BX_ValidUtf8(request.document)}, {"picture", picture.number}}, request.deep,
                           console);
        });
    });
    reports.Wipe();
    if (outcome.isNoDocument) {
        outcome.reason += "; vrd detect searches pictures";
    }
    const CBxJson record = {{"document", BX_ValidUtf8(request.document)},
                            {"message", BX_GetMessage(outcome)},
                            {"first_sign", outcome.signFound ? CBxJson(BX_ValidUtf8(outcome.firstSign)) : nullptr},
                            {"found", found},
                            {"passed_over", outcome.passedOver},
                            {"seconds", stopwatch.Seconds()}};
    ReportEnd(outcome, request.document, BX_GetMessage(outcome) + (outcome.signFound || !outcome.hasFailed ? "." : ""),
              record, OfFiles(found, outcome, "pictures with a sign"), console);
    return SearchStatus(outcome, outcome.signFound);
}
