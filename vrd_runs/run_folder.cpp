#include "run_folder.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

namespace {

constexpr char kPrefix[] = ".veridane-run-";
constexpr std::size_t kDigits = 16;
constexpr int kMostNames = 100;
constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

struct SFolderCloser {
    void operator()(DIR* folder) const { ::closedir(folder); }
};

bool IsRunFolderName(const std::string& name) {
    const std::size_t prefix = std::strlen(kPrefix);
    return name.size() == prefix + kDigits && name.compare(0, prefix, kPrefix) == 0 &&
           name.find_first_not_of("0123456789abcdef", prefix) == std::string::npos;
}

bool DrawName(std::string& name) {
    std::uint64_t number = 0;
    if (::getentropy(&number, sizeof(number)) != 0) {
        return false;
    }
    char digits[kDigits + 1];
    std::snprintf(digits, sizeof(digits), "%016llx", static_cast<unsigned long long>(number));
    name = kPrefix + std::string(digits);
    return true;
}

// Names in an open folder, except "." and "..". The descriptor stays open.
std::vector<std::string> NamesIn(int descriptor) {
    std::vector<std::string> names;
    const int copy = ::openat(descriptor, ".", kFolderFlags);
    const std::unique_ptr<DIR, SFolderCloser> folder(copy < 0 ? nullptr : ::fdopendir(copy));
    if (folder == nullptr) {
        if (copy >= 0) {
            ::close(copy);
        }
        return names;
    }
    while (const dirent* entry = ::readdir(folder.get())) {
        const std::string name = entry->d_name;
        if (name != "." && name != "..") {
            names.push_back(name);
        }
    }
    return names;
}

// Never removes a folder in it.
void RemoveFilesIn(int descriptor) {
    for (const std::string& name : NamesIn(descriptor)) {
        ::unlinkat(descriptor, name.c_str(), 0);
    }
}

// A descriptor of the folder, locked; -1 when it is not a folder of this user or a living run holds it.
int LockFolder(int parent, const std::string& name) {
    const int descriptor = ::openat(parent, name.c_str(), kFolderFlags);
    struct stat facts = {};
    if (descriptor >= 0 && (::fstat(descriptor, &facts) != 0 || facts.st_uid != ::geteuid() ||
                            ::flock(descriptor, LOCK_EX | LOCK_NB) != 0)) {
        ::close(descriptor);
        return -1;
    }
    return descriptor;
}

// Whether `name`, made now or earlier, is a folder of this user into which nobody else sees.
bool MakePrivate(const std::string& name, int& errorNumber) {
    if (::mkdir(name.c_str(), S_IRWXU) != 0 && errno != EEXIST) {
        errorNumber = errno;
        return false;
    }
    const int descriptor = ::open(name.c_str(), kFolderFlags);
    if (descriptor < 0) {
        errorNumber = errno;
        return false;
    }
    struct stat facts = {};
    bool isPrivate = ::fstat(descriptor, &facts) == 0 && facts.st_uid == ::geteuid();
    if (isPrivate && (facts.st_mode & 07777) != S_IRWXU) {
        isPrivate = ::fchmod(descriptor, S_IRWXU) == 0;
    }
    ::close(descriptor);
    errorNumber = EPERM;
    return isPrivate;
}

}  // namespace

CBxRunFolder::~CBxRunFolder() {
    if (m_iDescriptor >= 0) {
        BX_RemoveFolderWithFiles(m_strPath.c_str());  // even without memory
        ::close(m_iDescriptor);
    }
}

bool CBxRunFolder::Create(const std::string& parent, std::string& reason) {
    int errorNumber = EEXIST;
    for (int attempt = 0; attempt < kMostNames; ++attempt) {
        std::string name;
        if (!DrawName(name)) {
            break;
        }
        const std::string path = parent + name;
        std::string withSlash = path + "/";  // now: without memory there must be no folder that nobody removes
        if (::mkdir(path.c_str(), S_IRWXU) != 0) {
            errorNumber = errno;
            if (errno == EEXIST) {
                continue;
            }
            break;
        }
        const int descriptor = ::open(path.c_str(), kFolderFlags);
        // Somebody who removes leftovers may have been faster than the lock.
        struct stat facts = {};
        const bool isHeld = descriptor >= 0 && (::flock(descriptor, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK) &&
                            ::stat(path.c_str(), &facts) == 0;
        if (isHeld) {
            m_iDescriptor = descriptor;
            m_strPath = std::move(withSlash);
            m_Place.emplace(m_strPath.c_str(), CBxTemporaryPlace::EKind::FolderWithFiles);
            return true;
        }
        if (descriptor >= 0) {
            ::close(descriptor);
        }
    }
    reason = "no folder for temporary files can be made in " + parent + ": " + std::strerror(errorNumber);
    return false;
}

void CBxRunFolder::RemoveLeftovers(const std::string& parent) {
    const int folder = ::open(parent.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0) {
        return;
    }
    for (const std::string& name : NamesIn(folder)) {
        const int leftover = IsRunFolderName(name) ? LockFolder(folder, name) : -1;
        if (leftover < 0) {
            continue;
        }
        RemoveFilesIn(leftover);
        ::unlinkat(folder, name.c_str(), AT_REMOVEDIR);
        ::close(leftover);
    }
    ::close(folder);
}

CBxPrivateFolder::~CBxPrivateFolder() {
    if (m_bIsForOnce) {
        ::rmdir(m_strPath.substr(0, m_strPath.size() - 1).c_str());
    }
}

bool CBxPrivateFolder::Open(const std::string& wanted, std::string& reason) {
    const std::string name = wanted.substr(0, wanted.find_last_not_of('/') + 1);
    int errorNumber = 0;
    for (const std::string& candidate : {name, name + "-" + std::to_string(::geteuid())}) {
        if (MakePrivate(candidate, errorNumber)) {
            m_strPath = candidate + "/";
            return true;
        }
    }
    std::string pattern = name + "-XXXXXX";
    if (::mkdtemp(pattern.data()) == nullptr) {
        reason = "the folder for temporary files, " + wanted + ", cannot be made: " + std::strerror(errno);
        return false;
    }
    m_strPath = pattern + "/";
    m_bIsForOnce = true;
    return true;
}
