#include "temporary_places.h"

#include <dirent.h>
#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>

#include "base_files.h"

namespace {

constexpr int kSlots = 64;

struct SSlot {
    std::atomic<const char*> path{nullptr};
    std::atomic<bool> taken{false};
    std::atomic<bool> isFolder{false};
};
SSlot g_slots[kSlots];

bool IsReplacementName(const char* name) {
    constexpr char kPrefix[] = ".veridane-";
    constexpr std::size_t kDigits = 16;
    const std::size_t prefix = sizeof(kPrefix) - 1;
    return strncmp(name, kPrefix, prefix) == 0 && strspn(name + prefix, "0123456789abcdef") == kDigits &&
           (name[prefix + kDigits] == '\0' || name[prefix + kDigits] == '.');
}

}  // namespace

CBxTemporaryPlace::CBxTemporaryPlace(const char* path, EKind kind) {
    for (int slot = 0; slot < kSlots && m_iSlot < 0; ++slot) {
        if (!g_slots[slot].taken.exchange(true)) {
            g_slots[slot].isFolder = kind == EKind::FolderWithFiles;
            g_slots[slot].path = path;
            m_iSlot = slot;
        }
    }
}

CBxTemporaryPlace::~CBxTemporaryPlace() {
    if (m_iSlot >= 0) {
        g_slots[m_iSlot].path = nullptr;
        g_slots[m_iSlot].taken = false;
    }
}

// readdir would take memory. Each round removes what one reading from the start gives.
void BX_RemoveFolderWithFiles(const char* path) {
    const int folder = ::open(path, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (folder < 0) {
        return;
    }
    alignas(dirent64) char entries[4096];
    for (bool hasRemoved = true; hasRemoved && ::rmdir(path) != 0;) {
        hasRemoved = false;
        ::lseek(folder, 0, SEEK_SET);
        const long bytes = ::syscall(SYS_getdents64, folder, entries, sizeof(entries));
        for (long at = 0; at < bytes;) {
            const auto* const entry = reinterpret_cast<const dirent64*>(entries + at);
            hasRemoved |= ::unlinkat(folder, entry->d_name, 0) == 0;
            at += entry->d_reclen;
        }
    }
    ::close(folder);
}

void BX_RemoveLeftoverFiles(const char* folder) {
    char local[kBxPathBytes];
    DIR* const entries = BX_GetLocalName(local, folder) ? ::opendir(local) : nullptr;
    if (entries == nullptr) {
        return;
    }
    while (const dirent* const entry = ::readdir(entries)) {
        struct stat facts = {};
        if (IsReplacementName(entry->d_name) &&
            ::fstatat(::dirfd(entries), entry->d_name, &facts, AT_SYMLINK_NOFOLLOW) == 0 && S_ISREG(facts.st_mode) &&
            facts.st_uid == ::geteuid()) {
            ::unlinkat(::dirfd(entries), entry->d_name, 0);
        }
    }
    ::closedir(entries);
}

void BX_RemoveTemporaryPlaces() {
    for (SSlot& slot : g_slots) {
        const char* const path = slot.path.exchange(nullptr);
        if (path == nullptr || path[0] == '\0') {
            continue;
        }
        if (slot.isFolder) {
            BX_RemoveFolderWithFiles(path);
        } else {
            ::unlink(path);
        }
    }
}
