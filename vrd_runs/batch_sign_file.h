// Signs one file of a batch.
#pragma once

#include <set>
#include <string>

#include "batch_sign.h"

// What all files of a batch have in common. Folders end with "/".
struct SBxBatchSigning {
    CBxRunProgress& progress;
    std::string sign;
    int quality;
    std::string outputFolder;
    std::string workFolder;                 // of this run alone, on the same file system as the output
    const std::set<std::string>& allFiles;  // names in the listing; none is used for what another file becomes
};

// Fills all of the outcome but the time; `file.file` is set. `index` is another one for each file. Callable from
// several threads.
void BX_SignFileOfBatch(SBxSignedFile& file, const SBxBatchSigning& batch, std::size_t index, unsigned int threads);
