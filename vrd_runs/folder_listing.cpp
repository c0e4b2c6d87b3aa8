#include "folder_listing.h"

#include <filesystem>

#include "localization.h"
#include "qt_files.h"
#include "run_context.h"

namespace {

bool IsLog(const std::string& name) {
    return name == kBatchSignLog || name == kBatchDetectLog || name == kPdfDetectLog;
}

}  // namespace

bool BX_ListFolder(std::vector<std::string>& files, const std::string& folder) {
    files.clear();
    std::vector<QString> names;
    if (!BX_ExistDirectory(folder.c_str()) || BX_GetFilesInDirectory(names, folder.c_str()) != 0) {
        return false;
    }
    files.reserve(names.size());
    for (const QString& name : names) {
        std::string path = name.toStdString();
        if (!IsLog(BX_GetNameOfFile(path))) {
            files.push_back(std::move(path));
        }
    }
    return true;
}

void BX_TellFolderFault(SBxRunOutcome& outcome, const std::string& path, const char* otherwise) {
    std::error_code error;
    outcome.isNoFolder = std::filesystem::is_regular_file(path, error);
    outcome.reason = outcome.isNoFolder ? CBxLocalization::Translate("it is a file, no folder") : otherwise;
}

std::string BX_GetAbsolutePath(const std::string& path) {
    std::error_code error;
    std::string absolute = std::filesystem::absolute(path, error).string();
    if (error) {
        return std::string();
    }
    while (absolute.size() > 1 && absolute.back() == '/') {
        absolute.pop_back();
    }
    return absolute;
}
