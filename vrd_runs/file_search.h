// Reads one file of a run and looks for a sign in it.
#pragma once

#include "picture_search.h"
#include "run_context.h"

struct SBxDetectedFile : SBxFileOutcome {
    bool isFound = false;
    SBxSearchResult search;  // of a file that was read
};

// `file.file` is set; fills the rest but the time and the log. `title` is shown while it works. Callable from several
// threads.
void BX_SearchFile(SBxDetectedFile& file, CBxRunProgress& progress, const std::string& title, unsigned int threads,
                   EBxSearchDepth depth);
