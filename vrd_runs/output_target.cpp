#include "output_target.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <cstring>

namespace {

std::string LowerCaseEnding(const std::string& name) {
    const std::size_t slash = name.rfind('/');
    const std::size_t dot = name.rfind('.');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) {
        return std::string();
    }
    std::string ending = name.substr(dot + 1);
    for (char& character : ending) {
        character = static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
    }
    return ending;
}

std::string FaultOfFolder(const std::string& output) {
    const std::size_t slash = output.rfind('/');
    const std::string folder = slash == std::string::npos ? "." : slash == 0 ? "/" : output.substr(0, slash);
    struct stat facts = {};
    if (::stat(folder.c_str(), &facts) != 0) {
        return std::string("its folder cannot be used: ") + std::strerror(errno);
    }
    if (!S_ISDIR(facts.st_mode)) {
        return "its folder is no folder";
    }
    if (::access(folder.c_str(), W_OK | X_OK) != 0) {
        return std::string("its folder cannot be written to: ") + std::strerror(errno);
    }
    return std::string();
}

// Of any kind.
std::string FaultOfTarget(const std::string& output, const std::string& source, bool force) {
    struct stat target = {};
    struct stat original = {};
    // Looked at without following, so that a link to nothing counts as something that is there.
    struct stat link = {};
    const bool isThere = ::lstat(output.c_str(), &link) == 0;
    const bool leadsSomewhere = ::stat(output.c_str(), &target) == 0;
    if (leadsSomewhere && S_ISDIR(target.st_mode)) {
        return "it is a folder";
    }
    if (leadsSomewhere && !S_ISREG(target.st_mode)) {
        return "it is not a regular file";
    }
    if (!force && leadsSomewhere && ::stat(source.c_str(), &original) == 0 && target.st_dev == original.st_dev &&
        target.st_ino == original.st_ino) {
        return "it is the photograph itself; --force replaces it";
    }
    if (!force && isThere) {
        return "it exists already; --force replaces it";
    }
    return FaultOfFolder(output);
}

}  // namespace

EBxPictureFormat BX_GetPictureFormat(const std::string& name) {
    const std::string ending = LowerCaseEnding(name);
    if (ending == "jpg" || ending == "jpeg") {
        return EBxPictureFormat::kJpeg;
    }
    if (ending == "tif" || ending == "tiff") {
        return EBxPictureFormat::kTiff;
    }
    return ending == "png"   ? EBxPictureFormat::kPng
           : ending == "bmp" ? EBxPictureFormat::kBmp
                             : EBxPictureFormat::kUnknown;
}

std::string BX_GetOutputFault(const std::string& output, const std::string& source, bool force) {
    if (BX_GetPictureFormat(output) == EBxPictureFormat::kUnknown) {
        return "its name must end with .jpg, .jpeg, .png, .tif, .tiff or .bmp";
    }
    return FaultOfTarget(output, source, force);
}

std::string BX_GetPageFault(const std::string& page, const std::string& source, bool force) {
    const std::string ending = LowerCaseEnding(page);
    if (ending != "html" && ending != "htm") {
        return "its name must end with .html or .htm";
    }
    return FaultOfTarget(page, source, force);
}
