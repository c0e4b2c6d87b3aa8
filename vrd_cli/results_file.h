// The results of searches as lines of JSON, in a file that outlives the run that wrote them.
//
// A line is an object that begins with "file", as on standard output, and has besides:
//
//   file_hex   the name's bytes in hexadecimal; only where the name is not UTF-8
//   bytes      size of the file, and
//   modified   time of its last change, as they were before it was searched; null when it is not there
//   deep       whether the deep search was asked for
//
// A file can have several lines; the last one holds.
#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <unordered_map>

#include "console.h"
#include "file_lock.h"

// What tells that a file is still the one that was searched.
struct SBxFileIdentity {
    std::int64_t bytes = -1;  // -1: there is no such file
    std::string modified;     // "2026-11-21T08:17:14.123456789Z"

    bool operator==(const SBxFileIdentity&) const = default;
};
SBxFileIdentity BX_IdentifyFile(const std::string& name);

class CBxResultsFile {
public:
    CBxResultsFile() = default;
    ~CBxResultsFile();
    CBxResultsFile(const CBxResultsFile&) = delete;
    CBxResultsFile& operator=(const CBxResultsFile&) = delete;

    // Begins a new file or, with `resume`, goes on with one that may be there: its lines are read, and a torn last one,
    // left by a run that was killed, is cut off. Returns an empty text, or why not; then the file is as it was. Refused
    // are without `resume` a file that is there, and with it one that holds anything else than results or that another
    // run writes.
    [[nodiscard]] std::string Open(const std::string& path, bool resume);
    bool IsOpen() const { return m_iDescriptor >= 0; }

    enum class EState { NotSearched, NothingFound, Found };
    // Whether a line tells of a search of this file, as it is now, that did not fail and was no less deep than `deep`.
    EState StateOf(const std::string& name, bool deep) const;
    // Frees what StateOf needs.
    void ForgetStates() { m_States.clear(); }

    // Appends a record as one line; it begins with "file". Called from any thread. After a failure (a full disk) the
    // file ends with the line before, and nothing more is written.
    void Append(const std::string& name, const SBxFileIdentity& identity, bool deep, const CBxJson& record);
    bool HasFailed() const;

    // Waits until everything is on the disk. Empty, or why not all of it was written.
    [[nodiscard]] std::string Finish();

private:
    struct SState {
        SBxFileIdentity identity;
        bool deep;
        bool isFound;
    };

    std::string ReadLines();
    bool TakeLine(const std::string& line);
    std::string CutOff(const std::string& torn, std::int64_t line);

    int m_iDescriptor = -1;  // belongs to the lock
    CBxFileLock m_Lock;
    std::unordered_map<std::string, SState> m_States;
    mutable std::mutex m_Mutex;  // guards what follows
    std::int64_t m_iWholeBytes = 0;
    std::string m_strFault;
};
