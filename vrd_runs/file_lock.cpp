#include "file_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>

CBxFileLock::~CBxFileLock() {
    if (m_iDescriptor >= 0) {
        ::close(m_iDescriptor);
    }
}

bool CBxFileLock::Take(const std::string& path) {
    return TakeDescriptor(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
}

bool CBxFileLock::TakeDescriptor(int descriptor) {
    if (descriptor < 0) {
        return true;
    }
    if (::flock(descriptor, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
        ::close(descriptor);
        return false;
    }
    if (m_iDescriptor >= 0) {
        ::close(m_iDescriptor);
    }
    m_iDescriptor = descriptor;
    return true;
}
