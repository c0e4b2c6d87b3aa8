// What every run over many pictures is given and gives back.
#pragma once

#include <cstddef>
#include <string>

#include "logger.h"
#include "picture_search.h"
#include "run_log.h"
#include "run_progress.h"

// The run reads it; it belongs to the caller and lives longer than the run.
struct SBxRunContext {
    CBxRunProgress& progress;
    int threads = 1;         // as the settings have it: 0 counts as 1, more than 12 as 12
    int quality = 90;        // of JPEG files, 0 to 100
    std::string toolFolder;  // of BX_GetToolFolder; these two end with "/"
    std::string temporaryFolder;
    CBxLogger* applicationLog = nullptr;              // null: none
    EBxSearchDepth depth = EBxSearchDepth::Ordinary;  // of runs that detect
};

// What became of one file, whatever the run. Names are bytes as the system takes them.
struct SBxFileOutcome {
    std::string file;  // the whole path
    bool isUnreadable = false;
    bool isCancelled = false;  // the work on it was not finished
    std::string reason;        // why it is unreadable, or could not be worked on; empty otherwise
    std::string warning;       // what is odd about a file that was read all the same
    double seconds = 0.0;
    CBxLogLines log;
};

// What became of a run. It is new for each run, so that nothing of an earlier one is ever shown.
struct SBxRunOutcome {
    bool hasFailed = true;  // it could not be begun, or not go on; what follows tells how far it came
    bool wasCancelled = false;
    bool isNoFolder = false;  // it has failed as its folder is a file
    std::string reason;       // of the failure
    std::string logPath;      // of the log that this run wrote; empty: none
    std::string logFault;     // why there is no log, or no whole one; empty otherwise
    std::size_t total = 0;    // files found
    std::size_t processed = 0;
    std::size_t unreadable = 0;
    std::size_t failed = 0;     // files that could be read and not worked on
    std::size_t uncertain = 0;  // signs found of which single letters may be wrong
};

// "2 files could not be read." and what else a user should know besides the message, in his language; may be empty.
std::string BX_GetDetail(const SBxRunOutcome& outcome);

// The number of threads that a run shares out.
unsigned int BX_GetThreadsOfRun(int threads);

// The last part of a path.
std::string BX_GetNameOfFile(const std::string& path);
