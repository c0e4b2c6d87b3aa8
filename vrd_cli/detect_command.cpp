#include "commands.h"
#include "convert_picture.h"
#include "picture_search.h"
#include "result.h"
#include "run_watcher.h"
#include "stop_request.h"
#include "stopwatch.h"

namespace {

void ReportSearch(const std::string& file, const SBxSearchResult& result, double seconds, CBxConsole& console) {
    const bool isFound = result.code == kBxSuccess;
    CBxJson record = {{"file", BX_ValidUtf8(file)}, {"sign", nullptr},           {"zoom", nullptr},
                      {"rectangle", nullptr},       {"corrected_bits", nullptr}, {"seconds", seconds}};
    if (isFound) {
        const CBxRect<int>& rectangle = result.rectangle;
        record["sign"] = BX_ValidUtf8(result.sign);
        record["zoom"] = result.zoom;
        record["rectangle"] = {rectangle.left, rectangle.top, rectangle.right, rectangle.bottom};
        record["corrected_bits"] = result.correctedBits;
    }
    if (result.shrunkTo.width > 0) {
        record["shrunk_to"] = {result.shrunkTo.width, result.shrunkTo.height};
        console.Note(file, BX_DescribeShrinking(result));
    }
    console.Result(record);
    console.Result(BX_PrintableName(file) + ": " + (isFound ? BX_PrintableName(result.sign) : "no sign found"));
}

EBxExit Fail(const std::string& file, const std::string& reason, CBxConsole& console) {
    console.Error(file, reason, {{"file", BX_ValidUtf8(file)}});
    return EBxExit::kError;
}

EBxExit DetectInFile(const std::string& file, unsigned int threads, CBxConsole& console) {
    const CBxStopwatch stopwatch;
    SBxFileReport report;
    SBxPicBuf* picture = nullptr;
    const int readResult = CBxConvertPicture::ReadInputFile(picture, file.c_str(), report);
    const CBxPicBufHolder holder(picture);
    if (readResult != kBxSuccess) {
        return Fail(file, report.m_szReason, console);
    }
    if (report.HasWarning()) {
        console.Note(file, report.m_szWarning);
    }
    SBxSignRun run;
    SBxSearchResult result;
    {
        const CBxRunWatcher watcher(run, console.ShowsProgress(), BX_PrintableName(file));
        result = BX_SearchPicture(run, *picture, threads);
    }
    if (result.code == kBxOutOfMemory) {
        return Fail(file, "there is not enough memory", console);
    }
    if (result.code != kBxSuccess && BX_IsStopRequested()) {
        return Fail(file, "interrupted", console);
    }
    ReportSearch(file, result, stopwatch.Seconds(), console);
    return result.code == kBxSuccess ? EBxExit::kDone : EBxExit::kNothing;
}

}  // namespace

EBxExit BX_DetectCommand(const SBxDetectRequest& request, CBxConsole& console) {
    bool hasFailed = false;
    bool hasFound = false;
    for (const std::string& file : request.files) {
        if (BX_IsStopRequested()) {
            return EBxExit::kError;
        }
        const EBxExit status = DetectInFile(file, request.threads, console);
        hasFailed |= status == EBxExit::kError;
        hasFound |= status == EBxExit::kDone;
    }
    if (hasFailed) {
        return EBxExit::kError;
    }
    return hasFound ? EBxExit::kDone : EBxExit::kNothing;
}
