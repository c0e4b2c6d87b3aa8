// What a run over many pictures writes into its log.
#pragma once

#include <atomic>
#include <string>
#include <vector>

#include "file_lock.h"
#include "logger.h"

// Lines of one file, kept until its turn in the log comes. Names in them are made printable, so that each line stays
// one.
class CBxLogLines {
public:
    void Info(const std::string& text) { m_Lines.push_back({false, text}); }
    void Error(const std::string& text) { m_Lines.push_back({true, text}); }

private:
    friend class CBxRunLog;

    struct SLine {
        bool isError;
        std::string text;
    };

    std::vector<SLine> m_Lines;
};

// The log of one run: a file of its own, begun anew. Without an open file every line is dropped. Belongs to one thread.
class CBxRunLog {
public:
    // A regular file may be there already and is replaced; a link, a folder or a pipe of that name is left alone, and a
    // log that another run is writing too. False with the reason.
    bool Open(const std::string& path, std::string& reason);

    void Info(const std::string& text);
    void Error(const std::string& text);
    void Write(const CBxLogLines& lines);

    void Close() { m_Logger.CloseLog(); }

    // False once a line could not be written (a full disk). Any thread may ask.
    bool IsWhole() const { return m_bIsWhole; }

    // Empty unless a log was opened.
    const std::string& Path() const { return m_strPath; }

private:
    std::string m_strPath;
    CBxLogger m_Logger;
    CBxFileLock m_Lock;
    std::atomic<bool> m_bIsWhole{true};
};
