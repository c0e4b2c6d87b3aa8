// Keeps two runs from working in one place.
#pragma once

#include <string>

// A lock on a folder or file, kept to the end of the object or of the process, however it ends. Nothing is written into
// what is locked, so that read-only places can be locked too. Links are followed, so every name of a place is the same.
class CBxFileLock {
public:
    CBxFileLock() = default;
    ~CBxFileLock();
    CBxFileLock(const CBxFileLock&) = delete;
    CBxFileLock& operator=(const CBxFileLock&) = delete;

    // False only when another process or another lock holds it. True without a lock when there is nothing of that name
    // or the file system has no locks: neither is for a lock to refuse.
    bool Take(const std::string& path);
    // Takes over an open descriptor, and closes it when the lock is refused.
    bool TakeDescriptor(int descriptor);

private:
    int m_iDescriptor = -1;
};
