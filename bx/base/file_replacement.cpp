#include "file_replacement.h"

#include <errno.h>
#include <fcntl.h>
#include <linux/fs.h>
#include <string.h>
#include <sys/random.h>
#include <unistd.h>

#include <cstdint>

namespace {

constexpr int kMostLinks = 40;
constexpr int kMostNames = 100;
constexpr std::size_t kMostEndingBytes = 32;
constexpr mode_t kPermissionBits = 0777;

// Length of the folder part of a path, the last "/" included; 0 without one.
std::size_t FolderLength(const char* path) {
    const char* const slash = strrchr(path, '/');
    return slash == nullptr ? 0 : static_cast<std::size_t>(slash - path) + 1;
}

// The last "." of the file name and what follows; empty without one, and when it is too long to be an ending.
const char* EndingOf(const char* path) {
    const char* const name = path + FolderLength(path);
    const char* const dot = strrchr(name, '.');
    return dot == nullptr || dot == name || strlen(dot) > kMostEndingBytes ? "" : dot;
}

// Puts the target of the link at `path` in its place. False with errno set.
bool FollowLink(char (&path)[kBxPathBytes]) {
    char link[kBxPathBytes];
    const ssize_t count = readlink(path, link, sizeof(link));
    if (count < 0) {
        return false;
    }
    const std::size_t linkLength = static_cast<std::size_t>(count);
    const std::size_t folderLength = linkLength > 0 && link[0] == '/' ? 0 : FolderLength(path);
    if (folderLength + linkLength >= sizeof(path)) {
        errno = ENAMETOOLONG;
        return false;
    }
    memcpy(path + folderLength, link, linkLength);
    path[folderLength + linkLength] = '\0';
    return true;
}

bool SyncDescriptor(int descriptor) {
    int result = 0;
    do {
        result = fsync(descriptor);
    } while (result != 0 && errno == EINTR);
    return result == 0;
}

}  // namespace

CBxFileReplacement::~CBxFileReplacement() {
    Discard();
}

unsigned char CBxFileReplacement::Fail(const char* what, int errorNumber) {
    char buffer[128];
    // The GNU form of strerror_r, which may answer from elsewhere than the buffer.
    std::snprintf(m_szReason, sizeof(m_szReason), "%s: %s", what, strerror_r(errorNumber, buffer, sizeof(buffer)));
    return 1;
}

unsigned char CBxFileReplacement::Begin(const char* targetPath) {
    if (m_szTemporary[0] != '\0') {
        return Fail("Another file is still being written", EBUSY);
    }
    if (!FollowLinks(targetPath) || !ExamineTarget("The file cannot be replaced") || CreateTemporary() != 0) {
        m_szTarget[0] = '\0';
        return 1;
    }
    return 0;
}

bool CBxFileReplacement::FollowLinks(const char* targetPath) {
    if (!BX_GetLocalName(m_szTarget, targetPath)) {
        Fail("The name of the file cannot be used", errno);
        return false;
    }
    for (int depth = 0; depth < kMostLinks; ++depth) {
        struct stat status = {};
        if (lstat(m_szTarget, &status) != 0 || !S_ISLNK(status.st_mode)) {
            return true;
        }
        if (!FollowLink(m_szTarget)) {
            Fail("The link cannot be followed", errno);
            return false;
        }
    }
    Fail("The link cannot be followed", ELOOP);
    return false;
}

// Looks at the target again. False when it exists and must not be replaced.
bool CBxFileReplacement::ExamineTarget(const char* what) {
    struct stat status = {};
    if (lstat(m_szTarget, &status) != 0) {
        m_bTargetExists = false;
        if (errno != ENOENT) {
            Fail(what, errno);
        }
        return errno == ENOENT;
    }
    m_bTargetExists = true;
    m_bHasPredecessor = true;
    m_TargetStatus = status;
    if (!S_ISREG(status.st_mode)) {
        Fail(what, S_ISDIR(status.st_mode) ? EISDIR : EINVAL);
        return false;
    }
    if (faccessat(AT_FDCWD, m_szTarget, W_OK, AT_EACCESS) != 0) {
        Fail(what, errno);
        return false;
    }
    return true;
}

unsigned char CBxFileReplacement::CreateTemporary() {
    const char* const what = "No temporary file can be made in the folder";
    const int folderLength = static_cast<int>(FolderLength(m_szTarget));
    // What is being written must not be read by more people than the file it replaces; the rest is given at the end.
    const mode_t mode = m_bTargetExists ? 0600 : 0666;
    for (int attempt = 0; attempt < kMostNames; ++attempt) {
        std::uint64_t number = 0;
        if (getentropy(&number, sizeof(number)) != 0) {
            return Fail(what, errno);
        }
        char path[kBxPathBytes];
        const int length = std::snprintf(path, sizeof(path), "%.*s.veridane-%016llx%s", folderLength, m_szTarget,
                                         static_cast<unsigned long long>(number), EndingOf(m_szTarget));
        if (length < 0 || static_cast<std::size_t>(length) >= sizeof(path)) {
            return Fail(what, ENAMETOOLONG);
        }
        m_iDescriptor = open(path, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, mode);
        if (m_iDescriptor >= 0) {
            memcpy(m_szTemporary, path, sizeof(path));
            struct stat status = {};
            if (fstat(m_iDescriptor, &status) != 0) {
                const int reason = errno;
                Discard();
                return Fail(what, reason);
            }
            m_FreshMode = status.st_mode & kPermissionBits;
            return 0;
        }
        if (errno != EEXIST && errno != EINTR) {
            return Fail(what, errno);
        }
    }
    return Fail(what, EEXIST);
}

unsigned char CBxFileReplacement::LimitPermissions(mode_t mode) {
    m_FreshMode &= mode;
    if (m_iDescriptor < 0 || (!m_bHasPredecessor && fchmod(m_iDescriptor, m_FreshMode) != 0)) {
        return Fail("The permissions of the temporary file cannot be set", m_iDescriptor < 0 ? EBADF : errno);
    }
    return 0;
}

std::FILE* CBxFileReplacement::Stream() {
    if (m_pStream == nullptr && m_iDescriptor >= 0) {
        m_pStream = fdopen(m_iDescriptor, "r+b");
        if (m_pStream == nullptr) {
            Fail("The temporary file cannot be written", errno);
        }
    }
    return m_pStream;
}

unsigned char CBxFileReplacement::Write(const void* bytes, std::size_t count) {
    if (m_iDescriptor < 0) {
        return Fail("The temporary file cannot be written", EBADF);
    }
    if (Stream() == nullptr) {
        return 1;
    }
    if (count != 0 && std::fwrite(bytes, 1, count, m_pStream) != count) {
        return Fail("The temporary file cannot be written", errno);
    }
    return 0;
}

unsigned char CBxFileReplacement::Close() {
    const char* const what = "The temporary file cannot be written";
    if (m_iDescriptor < 0) {
        return m_szTemporary[0] == '\0' ? Fail("No file was begun", EBADF) : 0;
    }
    int reason = 0;
    if (m_pStream != nullptr) {
        // An error of a write whose result nobody looked at is still marked in the stream; its number is lost.
        if (std::fflush(m_pStream) != 0) {
            reason = errno;
        } else if (std::ferror(m_pStream) != 0) {
            reason = EIO;
        }
        if (std::fclose(m_pStream) != 0 && reason == 0) {
            reason = errno;
        }
    } else if (close(m_iDescriptor) != 0 && errno != EINTR) {
        reason = errno;
    }
    m_pStream = nullptr;
    m_iDescriptor = -1;
    if (reason == 0) {
        return 0;
    }
    // A later Commit must not take the damaged file for a good one.
    Discard();
    return Fail(what, reason);
}

unsigned char CBxFileReplacement::Commit() {
    return CommitWith(true);
}

unsigned char CBxFileReplacement::CommitNew() {
    return CommitWith(false);
}

unsigned char CBxFileReplacement::CommitWith(bool mayReplace) {
    if (Close() != 0) {
        return 1;
    }
    if (!ExamineTarget("The file cannot be replaced")) {
        return 1;
    }
    if (m_bTargetExists && !mayReplace) {
        return Fail("The file is there already", EEXIST);
    }
    if (FinishTemporary() != 0) {
        return 1;
    }
    if (!Rename(mayReplace)) {
        return Fail(errno == EEXIST ? "The file is there already" : "The file cannot be put in place", errno);
    }
    const bool synced = SyncFolder();
    const int reason = errno;
    Forget();
    return synced ? 0 : Fail("The file is in place, but its folder may not be on the disk yet", reason);
}

// Gives the temporary file its permissions and waits until it is on the disk. It is opened anew because others may have
// put another file under its name since it was closed.
unsigned char CBxFileReplacement::FinishTemporary() {
    const char* const what = "The temporary file cannot be finished";
    // Non-blocking for the case that it is no longer a regular file.
    int descriptor = open(m_szTemporary, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0) {
        return Fail(what, errno);
    }
    struct stat status = {};
    const bool isKnown = fstat(descriptor, &status) == 0;
    int reason = 0;
    if (isKnown && !S_ISREG(status.st_mode)) {
        reason = EINVAL;
    } else if (!isKnown || !TakeOverPermissions(descriptor) || !SyncDescriptor(descriptor)) {
        reason = errno;
    }
    if (close(descriptor) != 0 && errno != EINTR && reason == 0) {
        reason = errno;
    }
    return reason == 0 ? 0 : Fail(what, reason);
}

bool CBxFileReplacement::TakeOverPermissions(int descriptor) const {
    if (!m_bHasPredecessor) {
        return fchmod(descriptor, m_FreshMode) == 0;
    }
    mode_t mode = m_TargetStatus.st_mode & kPermissionBits;
    // First both, then at least the group: an ordinary user may give a file to a group of his own only.
    if (fchown(descriptor, m_TargetStatus.st_uid, m_TargetStatus.st_gid) != 0 &&
        fchown(descriptor, static_cast<uid_t>(-1), m_TargetStatus.st_gid) != 0) {
        mode = (mode & ~static_cast<mode_t>(070)) | ((mode & 07) << 3 & mode);
    }
    if (fchmod(descriptor, mode) == 0) {
        return true;
    }
    // Some mounted file systems have no permissions of their own; there every file has the same.
    struct stat status = {};
    const int reason = errno;
    if (fstat(descriptor, &status) == 0 && (status.st_mode & kPermissionBits & ~mode) == 0) {
        return true;
    }
    errno = reason;
    return reason == ENOTSUP || reason == ENOSYS;
}

bool CBxFileReplacement::Rename(bool mayReplace) {
    if (mayReplace) {
        return rename(m_szTemporary, m_szTarget) == 0;
    }
    if (renameat2(AT_FDCWD, m_szTemporary, AT_FDCWD, m_szTarget, RENAME_NOREPLACE) == 0) {
        return true;
    }
    if (errno != EINVAL && errno != ENOSYS && errno != ENOTSUP) {
        return false;
    }
    // File systems without the flag: a hard link is never made over a file either.
    if (link(m_szTemporary, m_szTarget) != 0) {
        return false;
    }
    unlink(m_szTemporary);
    return true;
}

bool CBxFileReplacement::SyncFolder() {
    char folder[kBxPathBytes] = ".";
    const std::size_t length = FolderLength(m_szTarget);
    if (length != 0) {
        memcpy(folder, m_szTarget, length);
        folder[length] = '\0';
    }
    const int descriptor = open(folder, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0) {
        // A folder that may be written and not read cannot be waited for.
        return errno == EACCES;
    }
    const bool synced = SyncDescriptor(descriptor) || errno == EINVAL || errno == ENOTSUP;
    const int reason = errno;
    close(descriptor);
    errno = reason;
    return synced;
}

void CBxFileReplacement::Discard() {
    if (m_pStream != nullptr) {
        std::fclose(m_pStream);
    } else if (m_iDescriptor >= 0) {
        close(m_iDescriptor);
    }
    m_pStream = nullptr;
    m_iDescriptor = -1;
    if (m_szTemporary[0] != '\0') {
        unlink(m_szTemporary);
    }
    Forget();
}

void CBxFileReplacement::Forget() {
    m_szTemporary[0] = '\0';
    m_szTarget[0] = '\0';
    m_bTargetExists = false;
    m_bHasPredecessor = false;
    m_TargetStatus = {};
}
