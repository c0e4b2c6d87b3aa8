#include "batch_detect.h"

#include "file_lock.h"
#include "folder_listing.h"
#include "localization.h"
#include "printable_text.h"
#include "run_files.h"

namespace {

void SearchFile(SBxDetectedFile& file, const SBxRunContext& context, unsigned int threads) {
    const std::string name = BX_GetNameOfFile(file.file);
    BX_SearchFile(file, context.progress, BX_PrintableName(name), threads, context.depth);
    if (file.search.shrunkTo.width > 0) {
        file.log.Info("The file " + name + ": " + BX_DescribeShrinking(file.search));
    }
    if (file.isUnreadable) {
        file.log.Error("Cannot read the " + name + " !!");
        file.log.Error("Reason: " + file.reason);
    } else if (file.isFound) {
        file.log.Info("SIGN FOUND: " + file.search.sign + ". File: " + name + BX_DescribeDepth(file.search));
    } else if (!file.reason.empty()) {
        file.log.Error("Not searched: " + file.reason + ". File: " + name);
    } else if (file.isCancelled) {
        file.log.Info("Not searched to the end. File: " + name);
    } else {
        file.log.Info("Not signed. File: " + name);
    }
}

void Count(SBxBatchDetectOutcome& outcome, const SBxDetectedFile& file) {
    ++outcome.processed;
    outcome.unreadable += file.isUnreadable ? 1 : 0;
    outcome.failed += !file.isUnreadable && !file.reason.empty() ? 1 : 0;
    outcome.someSignFound |= file.isFound;
    outcome.uncertain += file.isFound && BX_IsUncertain(file.search) ? 1 : 0;
    outcome.someSignCertain |= file.isFound && !BX_IsUncertain(file.search);
    outcome.wasCancelled |= file.isCancelled;
}

}  // namespace

SBxBatchDetectOutcome BX_RunBatchDetect(const SBxRunContext& context, const std::string& folder,
                                        const CBxDetectedFileReport& report) {
    SBxBatchDetectOutcome outcome;
    const CBxRunWatch watch(context.progress);
    const std::string input = BX_GetAbsolutePath(folder);
    CBxFileLock lock;
    if (!lock.Take(input)) {
        outcome.reason = CBxLocalization::Translate("another run works in this folder");
        return outcome;
    }
    CBxRunLog log;
    std::vector<std::string> files;
    log.Open(input + "/" + kBatchDetectLog, outcome.logFault);
    outcome.logPath = log.Path();
    if (!BX_ListFolder(files, input)) {
        log.Error("Cannot read input files.");
        BX_TellFolderFault(outcome, input, CBxLocalization::Translate("the folder cannot be read"));
        outcome.logFault.clear();  // has the same cause
        return outcome;
    }
    outcome.total = files.size();
    context.progress.SetTotal(files.size());
    BX_RunFiles<SBxDetectedFile>(
        context, files.size(),
        [&](SBxDetectedFile& file, std::size_t index, unsigned int threads) {
            file.file = files[index];
            SearchFile(file, context, threads);
        },
        [&](const SBxDetectedFile& file) {
            log.Write(file.log);
            Count(outcome, file);
            if (report) {
                report(file);
            }
        });
    outcome.wasCancelled |= outcome.processed < outcome.total;
    if (outcome.wasCancelled) {
        log.Info("Batch detect was cancelled.");
    }
    log.Close();
    if (!log.IsWhole()) {
        outcome.logFault = CBxLocalization::Translate("the log could not be written to the end");
    }
    outcome.hasFailed = false;
    return outcome;
}

const char* BX_GetMessage(const SBxBatchDetectOutcome& outcome) {
    if (outcome.hasFailed) {
        return CBxLocalization::Translate("Batch detect failed.");
    }
    if (!outcome.someSignFound) {
        return CBxLocalization::Translate("No image was signed.");
    }
    return outcome.someSignCertain ? CBxLocalization::Translate("Some images were signed.")
                                   : CBxLocalization::Translate("Some images were possibly signed.");
}
