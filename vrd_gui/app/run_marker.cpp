#include "run_marker.h"

#include <fcntl.h>
#include <unistd.h>

#include "folders.h"

namespace {

// Of the whole file; it belongs to the open descriptor, not to the process.
struct flock WholeFile(short type) {
    struct flock lock = {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    return lock;
}

}  // namespace

CBxRunMarker::~CBxRunMarker() {
    if (m_iDescriptor >= 0) {
        ::close(m_iDescriptor);
    }
}

void CBxRunMarker::Begin(const char* dataFolder) {
    char path[kBxPathBytes];
    char local[kBxPathBytes];
    BX_JoinPath(path, dataFolder, "running.lock");
    if (m_iDescriptor >= 0 || !BX_GetLocalName(local, path)) {
        return;
    }
    m_iDescriptor = ::open(local, O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0600);
    if (m_iDescriptor >= 0) {
        struct flock shared = WholeFile(F_RDLCK);
        ::fcntl(m_iDescriptor, F_OFD_SETLK, &shared);
    }
}

// Only asks who would be in the way of a lock on its own; the shared lock stays.
bool CBxRunMarker::DoOthersRun() const {
    struct flock alone = WholeFile(F_WRLCK);
    return m_iDescriptor >= 0 && ::fcntl(m_iDescriptor, F_OFD_GETLK, &alone) == 0 && alone.l_type != F_UNLCK;
}
