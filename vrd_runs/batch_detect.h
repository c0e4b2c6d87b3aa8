// Looks for signs in every file of a folder.
#pragma once

#include <functional>

#include "file_search.h"

struct SBxBatchDetectOutcome : SBxRunOutcome {
    bool someSignFound = false;
    bool someSignCertain = false;
};

using CBxDetectedFileReport = std::function<void(const SBxDetectedFile& file)>;

// Searches the files of `folder` and writes batch_detect.log into it. `report` is called for each file, in the order of
// the listing, on the calling thread; it may be empty. Fails when the folder cannot be listed or another run works in
// it. A log that cannot be written (a read-only card) does not stop the search.
//
// BX_LoadPictureDecoders was called before, on the main thread.
SBxBatchDetectOutcome BX_RunBatchDetect(const SBxRunContext& context, const std::string& folder,
                                        const CBxDetectedFileReport& report);

// What a user is told at the end, in his language.
const char* BX_GetMessage(const SBxBatchDetectOutcome& outcome);
