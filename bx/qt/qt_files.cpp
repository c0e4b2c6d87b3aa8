#include "qt_files.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QDir>
#include <QFile>
#include <QFileInfoList>
#include <QStringList>

#include "base_files.h"
#include "file_replacement.h"
#include "heap_array.h"
#include "qt_text.h"

namespace {

constexpr std::size_t kCopyStepBytes = 256 * 1024;
constexpr mode_t kPermissionBits = 0777;

bool IsEmpty(const char* name) {
    return name == nullptr || name[0] == '\0';
}

// Appends the whole of `descriptor`.
bool CopyBytes(CBxFileReplacement& target, int descriptor) {
    CBxHeapArray<char> buffer;
    if (!buffer.Allocate(kCopyStepBytes)) {
        return false;
    }
    for (;;) {
        const ssize_t count = read(descriptor, buffer.Data(), buffer.Size());
        if (count == 0) {
            return true;
        }
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0 || target.Write(buffer.Data(), static_cast<std::size_t>(count)) != 0) {
            return false;
        }
    }
}

// Copies an open source. 1 for anything but a regular file and for a target that is the source.
unsigned char CopyOpened(int descriptor, const char* to, bool overwrite) {
    struct stat source = {};
    struct stat target = {};
    if (fstat(descriptor, &source) != 0 || !S_ISREG(source.st_mode)) {
        return 1;
    }
    char local[kBxPathBytes];
    if (!BX_GetLocalName(local, to)) {
        return 1;
    }
    const bool exists = stat(local, &target) == 0;
    if (exists && (!overwrite || (target.st_dev == source.st_dev && target.st_ino == source.st_ino))) {
        return 1;
    }
    CBxFileReplacement replacement;
    if (replacement.Begin(to) != 0 || replacement.LimitPermissions(source.st_mode & kPermissionBits) != 0 ||
        !CopyBytes(replacement, descriptor)) {
        return 1;
    }
    return overwrite ? replacement.Commit() : replacement.CommitNew();
}

unsigned char CopyPath(char* dst, unsigned int size, const QString& path) {
    if (BX_QStringToUTF8(dst, size, path) == nullptr) {
        return 1;
    }
    if (dst[size - 1] != '\0') {
        // The beginning of a path is another folder.
        dst[0] = '\0';
        return 1;
    }
    return 0;
}

}  // namespace

unsigned char BX_DeleteFile(const char* name) {
    return !IsEmpty(name) && QFile::remove(BX_UTF8ToQString(name)) ? 0 : 1;
}

unsigned char BX_DeleteFiles(const std::vector<QString>& names) {
    unsigned char result = 0;
    for (const QString& name : names) {
        if (BX_DeleteFile(name.toUtf8().constData()) != 0) {
            result = 1;
        }
    }
    return result;
}

unsigned char BX_CopyFile(const char* from, const char* to, bool overwrite) {
    char local[kBxPathBytes];
    if (from == nullptr || to == nullptr || !BX_GetLocalName(local, from)) {
        return 1;
    }
    const int descriptor = open(local, O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    if (descriptor < 0) {
        return 1;
    }
    const unsigned char result = CopyOpened(descriptor, to, overwrite);
    close(descriptor);
    return result;
}

unsigned char BX_CopyFiles(const std::vector<QString>& from, const std::vector<QString>& to, bool overwrite) {
    unsigned char result = from.size() == to.size() ? 0 : 1;
    for (std::size_t index = 0; index < from.size() && index < to.size(); ++index) {
        if (BX_CopyFile(from[index].toUtf8().constData(), to[index].toUtf8().constData(), overwrite) != 0) {
            result = 1;
        }
    }
    return result;
}

unsigned char BX_CreateDirectory(const char* name) {
    return !IsEmpty(name) && QDir().mkpath(BX_UTF8ToQString(name)) ? 0 : 1;
}

unsigned char BX_RemoveDirectory(const char* name) {
    return !IsEmpty(name) && QDir().rmpath(BX_UTF8ToQString(name)) ? 0 : 1;
}

bool BX_ExistDirectory(const char* name) {
    return !IsEmpty(name) && BX_ExistDirectory(BX_UTF8ToQString(name));
}

bool BX_ExistDirectory(const QString& name) {
    return !name.isEmpty() && QDir(name).exists();
}

unsigned char BX_GetFilesInDirectory(std::vector<QString>& out, const char* folder) {
    if (folder == nullptr) {
        return 1;
    }
    out.clear();
    const QDir directory(BX_UTF8ToQString(folder));
    if (!directory.isReadable()) {
        return 1;
    }
    for (const QFileInfo& file : directory.entryInfoList(QDir::Files, QDir::NoSort)) {
        out.push_back(file.absoluteFilePath());
    }
    return 0;
}

unsigned char BX_GetFilesInDirectory(std::vector<QString>& out, const char* folder, const char* filters) {
    if (folder == nullptr || filters == nullptr) {
        return 1;
    }
    out.clear();
    const QString folderName = BX_UTF8ToQString(folder);
    const QDir directory(folderName);
    if (!directory.isReadable()) {
        return 1;
    }
    const QStringList patterns = BX_UTF8ToQString(filters).split(QLatin1Char(';'), Qt::SkipEmptyParts);
    if (patterns.isEmpty()) {
        // To QDir, no pattern means every file.
        return 0;
    }
    for (const QString& name : directory.entryList(patterns, QDir::Files, QDir::NoSort)) {
        out.push_back(folderName + QLatin1Char('/') + name);
    }
    return 0;
}

unsigned char BX_GetTmpDirectory(char* dst, unsigned int size) {
    return CopyPath(dst, size, QDir::tempPath());
}

unsigned char BX_GetAppDirectory(char* dst, unsigned int size) {
    return CopyPath(dst, size, QDir::currentPath());
}

unsigned char BX_GetUserDirectory(char* dst, unsigned int size) {
    return CopyPath(dst, size, QDir::homePath());
}
