// The one way in which a file of the user is written.
#pragma once

#include <sys/stat.h>

#include <cstddef>
#include <cstdio>

#include "base_files.h"
#include "temporary_places.h"

// Writes a new version of a file beside it and puts it in place in one step.
//
//   CBxFileReplacement replacement;
//   if (replacement.Begin(path) != 0 || replacement.Write(bytes, count) != 0 || replacement.Commit() != 0) {
//       report(replacement.Reason());          // the old file is as it was
//   }
//
// Until Commit has succeeded the target keeps its old contents, or its absence. A process that is killed leaves the old
// file or the new one, both whole, and at most one temporary file named .veridane-<16 hex digits><ending of the target>
// in the folder of the target. An object that goes away uncommitted removes its temporary file.
//
// The new file has the permissions of the one it replaces, and its owner and group as far as the process may give them;
// where the group cannot be given, the group gets no more than everybody. A file without a predecessor gets what the
// file mask allows. Other names of the old file (hard links) keep the old contents.
//
// Operations return 0 for success and 1 for failure; Reason then tells why. One object belongs to one thread; it can be
// used again after Commit or Discard.
class CBxFileReplacement {
public:
    CBxFileReplacement() = default;
    ~CBxFileReplacement();
    CBxFileReplacement(const CBxFileReplacement&) = delete;
    CBxFileReplacement& operator=(const CBxFileReplacement&) = delete;

    // Creates the temporary file, open for reading and writing. Links are followed to the file they name, which need
    // not exist. Refused are a target that exists and is no regular file or may not be written, and a second Begin
    // before the end of the first.
    unsigned char Begin(const char* targetPath);

    // The file that is going to be replaced, links followed, and the temporary file. Empty when nothing was begun.
    const char* TargetPath() const { return m_szTarget; }
    const char* TemporaryPath() const { return m_szTemporary; }

    // The open temporary file; -1 or null when it is closed or was never opened. Both belong to this object. Once
    // Stream was asked for, writing past it through the descriptor is for those who flush.
    int Descriptor() const { return m_iDescriptor; }
    std::FILE* Stream();

    // Appends bytes through the stream.
    unsigned char Write(const void* bytes, std::size_t count);

    // Takes permissions away from a file without a predecessor, beginning with the temporary one: it gets those of
    // `mode` that the file mask allows. Only while the file is open.
    unsigned char LimitPermissions(mode_t mode);

    // Ends the writing here: others may now rewrite the temporary file by its name, until Commit.
    unsigned char Close();

    // Closes, gives the file its permissions, waits until it is on the disk, renames it over the target. When only the
    // very last step fails, the wait for the folder, the new file is in place all the same.
    unsigned char Commit();

    // The same, but refuses when the target exists at the moment of renaming.
    unsigned char CommitNew();

    // Removes the temporary file; the target stays as it is.
    void Discard();

    // Why the last operation failed, in words for a log or a message. Never null.
    const char* Reason() const { return m_szReason; }

private:
    unsigned char Fail(const char* what, int errorNumber);
    bool FollowLinks(const char* targetPath);
    bool ExamineTarget(const char* what);
    unsigned char CreateTemporary();
    unsigned char FinishTemporary();
    bool TakeOverPermissions(int descriptor) const;
    unsigned char CommitWith(bool mayReplace);
    bool Rename(bool mayReplace);
    bool SyncFolder();
    void Forget();

    int m_iDescriptor = -1;
    std::FILE* m_pStream = nullptr;  // owns the descriptor once it exists
    bool m_bTargetExists = false;    // when last looked at
    bool m_bHasPredecessor = false;  // it was seen at least once, with the status below
    struct stat m_TargetStatus = {};
    mode_t m_FreshMode = 0;  // what the file mask allows a file without a predecessor
    char m_szTarget[kBxPathBytes] = {};
    char m_szTemporary[kBxPathBytes] = {};
    char m_szReason[512] = {};
    const CBxTemporaryPlace m_Place{m_szTemporary, CBxTemporaryPlace::EKind::File};
};
