// Signs one photograph from file to file.
#pragma once

#include <string>
#include <vector>

#include "commands.h"
#include "geometry.h"
#include "picture_search.h"

enum class EBxSigningEnd {
    kSigned,
    kAlreadySigned,  // nothing was written
    kLost,           // the written file did not give the sign back, and was not kept
    kFailed,
};

struct SBxFileNote {
    std::string file;
    std::string text;
};

struct SBxSigningOutcome {
    EBxSigningEnd end = EBxSigningEnd::kFailed;
    std::string foundSign;                // of kAlreadySigned
    SBxFileNote fault;                    // of kLost and kFailed: why, and which file it is about (may be empty)
    std::vector<CBxRect<int>> carriers;   // of kSigned, in pixels of the photograph
    SBxSearchResult check;                // of kSigned with a check
    std::vector<std::string> leftBehind;  // of kSigned: what the photograph has and the output lacks
    std::vector<SBxFileNote> notes;       // worth knowing whatever the end
};

// Does all that is asked for, or nothing: unless it ends with kSigned, the output is as it was before. `showProgress`
// draws a bar on standard error while it works; nothing else is printed.
SBxSigningOutcome BX_SignPhotograph(const SBxSignRequest& request, bool showProgress);
