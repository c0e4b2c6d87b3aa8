#include "file_search.h"

#include "convert_picture.h"
#include "result.h"

void BX_SearchFile(SBxDetectedFile& file, CBxRunProgress& progress, const std::string& title, unsigned int threads,
                   EBxSearchDepth depth) {
    SBxSignRun run;
    const CBxPictureInWork inWork(progress, run, title);
    SBxFileReport report;
    SBxPicBuf* picture = nullptr;
    file.isUnreadable = CBxConvertPicture::ReadInputFile(picture, file.file.c_str(), report) != kBxSuccess;
    const CBxPicBufHolder holder(picture);
    if (file.isUnreadable) {
        file.reason = report.m_szReason;
        return;
    }
    file.warning = report.m_szWarning;
    file.search = BX_SearchPicture(run, *picture, threads, depth);
    file.isFound = file.search.code == kBxSuccess;
    if (file.search.code == kBxOutOfMemory) {
        file.reason = "there is not enough memory to search it";
    } else {
        file.isCancelled = !file.isFound && progress.IsCancelled();
    }
}
