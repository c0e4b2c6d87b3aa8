#include <vector>

#include "commands.h"
#include "convert_picture.h"
#include "picture_reader.h"
#include "picture_search.h"
#include "result.h"
#include "run_watcher.h"
#include "search_report.h"
#include "side_by_side.h"
#include "stop_request.h"
#include "stopwatch.h"

namespace {

void ReportSearch(const std::string& file, const SBxSearchResult& result, EBxSearchDepth depth, double seconds,
                  CBxConsole& console) {
    CBxJson record = {{"file", BX_ValidUtf8(file)}};
    BX_DescribeSearch(record, result, seconds);
    if (depth == EBxSearchDepth::Deep) {
        BX_DescribeDepth(record, result);
    }
    if (result.shrunkTo.width > 0) {
        console.Note(file, BX_DescribeShrinking(result));
    }
    console.Result(record);
    console.Result(BX_PrintableName(file) + ": " + BX_TellSign(result));
}

EBxExit Fail(const std::string& file, const std::string& reason, CBxConsole& console) {
    console.Error(file, reason, {{"file", BX_ValidUtf8(file)}});
    return EBxExit::kError;
}

// What became of one file.
struct SFileSearch {
    bool isRead = false;
    SBxFileReport report;
    SBxSearchResult result;
    double seconds = 0.0;
};

// Reads and searches one file; may run beside others.
void SearchFile(SFileSearch& search, const std::string& file, unsigned int threads, EBxSearchDepth depth,
                bool showProgress) {
    const CBxStopwatch stopwatch;
    SBxPicBuf* picture = nullptr;
    search.isRead = CBxConvertPicture::ReadInputFile(picture, file.c_str(), search.report) == kBxSuccess;
    const CBxPicBufHolder holder(picture);
    if (search.isRead) {
        SBxSignRun run;
        const CBxRunWatcher watcher(run, showProgress, BX_PrintableName(file));
        search.result = BX_SearchPicture(run, *picture, threads, depth);
    }
    search.seconds = stopwatch.Seconds();
}

EBxExit ReportFile(const SFileSearch& search, const std::string& file, EBxSearchDepth depth, CBxConsole& console) {
    if (!search.isRead) {
        return Fail(file, search.report.m_szReason, console);
    }
    if (search.report.HasWarning()) {
        console.Note(file, search.report.m_szWarning);
    }
    if (search.result.code == kBxOutOfMemory) {
        return Fail(file, "there is not enough memory", console);
    }
    if (search.result.code != kBxSuccess && BX_IsStopRequested()) {
        return Fail(file, "interrupted", console);
    }
    ReportSearch(file, search.result, depth, search.seconds, console);
    return search.result.code == kBxSuccess ? EBxExit::kDone : EBxExit::kNothing;
}

}  // namespace

EBxExit BX_DetectCommand(const SBxDetectRequest& request, CBxConsole& console) {
    const std::vector<std::string>& files = request.files;
    const EBxSearchDepth depth = request.deep ? EBxSearchDepth::Deep : EBxSearchDepth::Ordinary;
    const SBxWorkShare share = BX_ShareWork(files.size(), request.threads);
    const bool barOfOne = console.ShowsProgress() && share.workers == 1;
    const bool countOfMany = console.ShowsProgress() && share.workers > 1;
    std::vector<SFileSearch> searches(files.size());
    std::size_t reported = 0;
    BX_LoadPictureDecoders();
    bool hasFailed = false;
    bool hasFound = false;
    BX_RunSideBySide(
        files.size(), share.workers,
        [&](std::size_t i) { SearchFile(searches[i], files[i], share.threadsPerFile, depth, barOfOne); },
        [&](std::size_t i) {
            if (countOfMany) {
                console.WipeCount();
            }
            const EBxExit status = ReportFile(searches[i], files[i], depth, console);
            hasFailed |= status == EBxExit::kError;
            hasFound |= status == EBxExit::kDone;
            searches[i] = {};
            if (countOfMany && ++reported < files.size()) {
                console.ShowCount(reported, files.size());
            }
        },
        [] { return BX_IsStopRequested(); });
    if (countOfMany) {
        console.WipeCount();
    }
    if (hasFailed || BX_IsStopRequested()) {
        return EBxExit::kError;
    }
    return hasFound ? EBxExit::kDone : EBxExit::kNothing;
}
