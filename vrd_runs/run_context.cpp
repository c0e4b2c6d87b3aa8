#include "run_context.h"

#include <algorithm>

#include "localization.h"
#include "sign_op.h"

namespace {

void Append(std::string& detail, const std::string& text) {
    if (!detail.empty() && !text.empty()) {
        detail += ' ';
    }
    detail += text;
}

void AppendCount(std::string& detail, std::size_t count, const std::string& text) {
    if (count > 0) {
        Append(detail, text + " " + std::to_string(count) + ".");
    }
}

}  // namespace

std::string BX_GetDetail(const SBxRunOutcome& outcome) {
    std::string detail = outcome.reason;
    AppendCount(detail, outcome.unreadable, CBxLocalization::Translate("Files that could not be read:"));
    AppendCount(detail, outcome.failed, CBxLocalization::Translate("Files that could not be worked on:"));
    AppendCount(detail, outcome.uncertain,
                CBxLocalization::Translate("Uncertain readings, in which single letters may be wrong:"));
    if (outcome.wasCancelled) {
        Append(detail, CBxLocalization::Translate("The run was cancelled."));
    }
    Append(detail, outcome.logFault);
    return detail;
}

unsigned int BX_GetThreadsOfRun(int threads) {
    return static_cast<unsigned int>(std::clamp(threads, 1, static_cast<int>(CBxSignOp::kMostThreads)));
}

std::string BX_GetNameOfFile(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}
