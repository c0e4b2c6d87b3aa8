#include "folder_listing.h"

#include <climits>
#include <filesystem>

#include "qt_files.h"

bool BX_ListFolder(std::vector<std::string>& files, const std::string& folder) {
    files.clear();
    std::vector<QString> names;
    if (BX_GetFilesInDirectory(names, folder.c_str()) != 0) {
        return false;
    }
    files.reserve(names.size());
    for (const QString& name : names) {
        files.push_back(name.toStdString());
    }
    return true;
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
