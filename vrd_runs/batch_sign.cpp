#include "batch_sign.h"

#include "batch_sign_file.h"
#include "file_lock.h"
#include "folder_listing.h"
#include "localization.h"
#include "qt_files.h"
#include "run_files.h"
#include "run_folder.h"

namespace {

constexpr char kOutputName[] = "signed";

void Count(SBxBatchSignOutcome& outcome, const SBxSignedFile& file) {
    const bool isSigned = file.end == EBxSignedEnd::kSigned;
    const bool isRefused = file.end == EBxSignedEnd::kAlreadySigned;
    ++outcome.processed;
    outcome.signedFiles += isSigned ? 1 : 0;
    outcome.alreadySigned += isRefused ? 1 : 0;
    outcome.unreadable += file.isUnreadable ? 1 : 0;
    outcome.failed += !isSigned && !isRefused && !file.isUnreadable && !file.isCancelled ? 1 : 0;
    outcome.notAllSigned |= file.hadWriteFault || (!isSigned && !file.isUnreadable);
    outcome.wasCancelled |= file.isCancelled;
}

// The places of one batch, made and locked; they go with the object.
struct SPlaces {
    std::string input;
    std::string output;  // with "/" at its end
    CBxFileLock lock;
    CBxRunFolder work;
    CBxRunLog log;
};

bool Prepare(SPlaces& places, const std::string& folder, SBxBatchSignOutcome& outcome) {
    places.input = BX_GetAbsolutePath(folder);
    places.output = places.input + "/" + kOutputName + "/";
    if (!places.lock.Take(places.input)) {
        outcome.reason = CBxLocalization::Translate("another run works in this folder");
        return false;
    }
    if (!BX_ExistDirectory(places.input.c_str())) {
        BX_TellFolderFault(outcome, places.input, CBxLocalization::Translate("there is no such folder"));
        return false;
    }
    if (BX_CreateDirectory(places.output.c_str()) != 0) {
        outcome.reason = "the folder " + places.output + " cannot be made";
        return false;
    }
    CBxRunFolder::RemoveLeftovers(places.output);
    if (!places.work.Create(places.output, outcome.reason)) {
        return false;
    }
    if (!places.log.Open(places.output + kBatchSignLog, outcome.logFault)) {
        outcome.reason = outcome.logFault;
        outcome.logFault.clear();
        return false;
    }
    outcome.logPath = places.log.Path();
    return true;
}

void SignAll(const SBxRunContext& context, SPlaces& places, const std::vector<std::string>& files,
             const std::string& sign, SBxBatchSignOutcome& outcome, const CBxSignedFileReport& report) {
    std::set<std::string> names;
    for (const std::string& file : files) {
        names.insert(BX_GetNameOfFile(file));
    }
    const SBxBatchSigning batch = {context.progress, sign, context.quality, places.output, places.work.Path(), names};
    BX_RunFiles<SBxSignedFile>(
        context, files.size(),
        [&](SBxSignedFile& file, std::size_t index, unsigned int threads) {
            file.file = files[index];
            BX_SignFileOfBatch(file, batch, index, threads);
        },
        [&](const SBxSignedFile& file) {
            places.log.Write(file.log);
            Count(outcome, file);
            if (report) {
                report(file);
            }
        },
        [&] { return !places.log.IsWhole(); });
    outcome.wasCancelled |= places.log.IsWhole() && outcome.processed < outcome.total;
}

}  // namespace

SBxBatchSignOutcome BX_RunBatchSign(const SBxRunContext& context, const std::string& folder, const std::string& sign,
                                    const CBxSignedFileReport& report) {
    SBxBatchSignOutcome outcome;
    const CBxRunWatch watch(context.progress);
    SPlaces places;
    if (!Prepare(places, folder, outcome)) {
        return outcome;
    }
    std::vector<std::string> files;
    if (!BX_ListFolder(files, places.input)) {
        places.log.Error("Cannot read intput files.");
        outcome.reason = CBxLocalization::Translate("the folder cannot be read");
        return outcome;
    }
    outcome.total = files.size();
    context.progress.SetTotal(files.size());
    SignAll(context, places, files, sign, outcome, report);
    if (outcome.wasCancelled) {
        places.log.Info("Batch sign was cancelled.");
    }
    places.log.Close();
    outcome.hasFailed = !places.log.IsWhole();
    if (outcome.hasFailed) {
        outcome.reason = CBxLocalization::Translate("the log could not be written to the end");
    }
    return outcome;
}

const char* BX_GetMessage(const SBxBatchSignOutcome& outcome) {
    if (outcome.hasFailed) {
        return CBxLocalization::Translate("Batch sign failed.");
    }
    return outcome.notAllSigned ? CBxLocalization::Translate("Not all the images were signed.")
                                : CBxLocalization::Translate("Batch sign finished.");
}
