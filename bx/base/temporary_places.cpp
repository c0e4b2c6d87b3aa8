#include "temporary_places.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>

namespace {

constexpr int kSlots = 64;

struct SSlot {
    std::atomic<bool> taken{false};
    std::atomic<const char*> path{nullptr};
    std::atomic<bool> isFolder{false};
};
SSlot g_slots[kSlots];

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
