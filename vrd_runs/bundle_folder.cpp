#include "bundle_folder.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "base_files.h"

namespace {

constexpr char kBundle[] = "Veridane.app/";

// With "/" at its end; empty when the system does not tell.
std::string FolderOfProgram() {
    char path[kBxPathBytes];
    const ssize_t length = ::readlink("/proc/self/exe", path, sizeof(path));
    if (length <= 0 || static_cast<std::size_t>(length) >= sizeof(path)) {
        return std::string();
    }
    const std::string program(path, static_cast<std::size_t>(length));
    return program[0] == '/' ? program.substr(0, program.rfind('/') + 1) : std::string();
}

// With "/" at its end and without links; empty when the system does not tell.
std::string WorkingFolder() {
    char path[kBxPathBytes];
    if (::getcwd(path, sizeof(path)) == nullptr || path[0] != '/') {
        return std::string();
    }
    const std::string folder(path);
    return folder == "/" ? folder : folder + "/";
}

bool IsFolder(const std::string& path) {
    struct stat facts = {};
    return ::stat(path.c_str(), &facts) == 0 && S_ISDIR(facts.st_mode);
}

// `program` is the folder of the program, and so below.
std::string FindInstalledBundle(const std::string& program) {
    if (program.empty()) {
        return std::string();
    }
    for (const std::string& candidate : {program + kBundle, program + "../share/veridane/" + kBundle}) {
        if (IsFolder(candidate)) {
            return candidate;
        }
    }
    return std::string();
}

std::string FindBundle(const std::string& program) {
    std::string installed = FindInstalledBundle(program);
    if (program.empty() || !installed.empty()) {
        return installed;
    }
    const std::string working = WorkingFolder();
    const bool isOurs = !working.empty() && program.compare(0, working.size(), working) == 0;
    return isOurs && IsFolder(working + kBundle) ? working + kBundle : std::string();
}

}  // namespace

bool BX_GetBundleFolder(char* dst, unsigned int size) {
    if (dst == nullptr || size == 0) {
        return false;
    }
    const std::string folder = FindBundle(FolderOfProgram());
    const bool fits = !folder.empty() && folder.size() < size;
    std::snprintf(dst, size, "%s", fits ? folder.c_str() : "");
    return fits;
}

std::string BX_GetToolFolder() {
    return FindInstalledBundle(FolderOfProgram());
}
