#include "base_files.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "encodings.h"

namespace {

constexpr std::size_t kReadStepBytes = 64 * 1024;

template <typename Char>
Char* ReplaceAll(Char* str, unsigned int length, Char from, Char to) {
    if (str == nullptr || length == 0) {
        return nullptr;
    }
    for (Char* position = str; *position != 0; ++position) {
        if (*position == from) {
            *position = to;
        }
    }
    return str;
}

int OpenForReading(const char* name) {
    char local[kBxPathBytes];
    if (!BX_GetLocalFilePath(local, name)) {
        return -1;
    }
    // O_NONBLOCK: a pipe without a writer must not stop the program. It changes nothing for regular files.
    return open(local, O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
}

// Appends what `descriptor` still gives. `size` is the number of bytes in use.
bool ReadToEnd(int descriptor, std::size_t mostBytes, CBxHeapArray<char>& contents, std::size_t& size) {
    for (;;) {
        if (size == contents.Size() &&
            !contents.GrowTo(size + (size / 2 > kReadStepBytes ? size / 2 : kReadStepBytes))) {
            errno = ENOMEM;
            return false;
        }
        const ssize_t count = read(descriptor, contents.Data() + size, contents.Size() - size);
        if (count == 0) {
            return true;
        }
        if (count < 0 && errno != EINTR) {
            return false;
        }
        size += count > 0 ? static_cast<std::size_t>(count) : 0;
        if (size > mostBytes) {
            errno = EFBIG;
            return false;
        }
    }
}

bool ReadRegular(int descriptor, std::size_t mostBytes, CBxHeapArray<char>& contents) {
    struct stat status = {};
    if (fstat(descriptor, &status) != 0) {
        return false;
    }
    if (!S_ISREG(status.st_mode)) {
        errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
        return false;
    }
    CBxHeapArray<char> read;
    std::size_t size = 0;
    if (!ReadToEnd(descriptor, mostBytes, read, size)) {
        return false;
    }
    if (!contents.Allocate(size)) {
        errno = ENOMEM;
        return false;
    }
    if (size != 0) {
        memcpy(contents.Data(), read.Data(), size);
    }
    return true;
}

}  // namespace

char* BX_Replace(char* str, unsigned int length, char from, char to) {
    return ReplaceAll(str, length, from, to);
}

wchar_t* BX_Replace(wchar_t* str, unsigned int length, wchar_t from, wchar_t to) {
    return ReplaceAll(str, length, from, to);
}

char* BX_GetOSFilePath(char* path) {
    if (path == nullptr || path[0] == '\0') {
        return nullptr;
    }
    return BX_Replace(path, kBxPathBytes, '\\', '/');
}

bool BX_GetLocalName(char (&local)[kBxPathBytes], const char* name) {
    if (name == nullptr || name[0] == '\0') {
        errno = ENOENT;
        return false;
    }
    if (strnlen(name, kBxPathBytes) == kBxPathBytes) {
        errno = ENAMETOOLONG;
        return false;
    }
    memset(local, 0, sizeof(local));
    BX_ConvertUTF8ToLocalStr(local, sizeof(local), name);
    if (local[0] == '\0') {
        errno = EILSEQ;
        return false;
    }
    return true;
}

bool BX_GetLocalFilePath(char (&local)[kBxPathBytes], const char* name) {
    return BX_GetLocalName(local, name) && BX_GetOSFilePath(local) != nullptr;
}

std::FILE* BX_fopen(const char* name, const char* mode) {
    constexpr std::size_t kModeBytes = 8;
    if (mode == nullptr || mode[0] == '\0' || strnlen(mode, kModeBytes - 1) == kModeBytes - 1) {
        errno = EINVAL;
        return nullptr;
    }
    char local[kBxPathBytes];
    if (!BX_GetLocalFilePath(local, name)) {
        return nullptr;
    }
    char closedOnExec[kModeBytes];
    std::snprintf(closedOnExec, sizeof(closedOnExec), "%se", mode);
    return std::fopen(local, closedOnExec);
}

int BX_fclose(std::FILE* file) {
    return file == nullptr ? 0 : std::fclose(file);
}

bool BX_ExistsFile(const char* name) {
    const int descriptor = OpenForReading(name);
    if (descriptor < 0) {
        return false;
    }
    close(descriptor);
    return true;
}

unsigned char BX_ReadWholeFile(const char* name, std::size_t mostBytes, CBxHeapArray<char>& contents) {
    contents.Free();
    const int descriptor = OpenForReading(name);
    if (descriptor < 0) {
        return 1;
    }
    const bool done = ReadRegular(descriptor, mostBytes, contents);
    const int reason = errno;
    close(descriptor);
    errno = reason;
    return done ? 0 : 1;
}
