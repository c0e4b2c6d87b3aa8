// What the workers do with one picture, as plain functions.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "file_report.h"
#include "owned_pic.h"
#include "picture_extras.h"
#include "sign_op.h"

// The threads of the engine for a number of the settings: 0 and less mean 1, more than 12 means 12.
unsigned int BX_GetEngineThreads(std::int32_t fromSettings);

// ---- signing ----

enum class EBxSignFault {
    kNone,
    kAlreadySigned,
    kTooLarge,
    kNoMemory,
    kNoPlace,     // no part of the picture can carry a sign
    kUnreadable,  // the sign was written, but cannot be read in the signed picture
    kOther,
};

struct SBxSignedPicture {
    EBxSignFault fault = EBxSignFault::kOther;
    CBxOwnedPic picture;                              // after kNone
    std::vector<CBxRect<int>> carriers;               // after kNone; in pixels of the picture
    char foundText[CBxSignOp::kFoundTextBytes] = "";  // after kAlreadySigned
};

// Signs a copy of `picture`. A run that is stopped ends with any fault and without a picture. `text` is a sign of 6 to
// 10 characters.
SBxSignedPicture BX_SignCopy(SBxSignRun& run, const SBxPicBuf& picture, const char* text, unsigned int threads,
                             const std::atomic<bool>& isCancelled);

// ---- saving ----

enum class EBxSaveEnd {
    kSaved,
    kLost,        // the sign did not survive the compression
    kUnreadable,  // the sign cannot be read in the picture as it is either, so that no quality helps
    kCancelled,
    kFailed,  // the report says why
};

struct SBxSaveRequest {
    SBxPicBuf* picture = nullptr;
    std::string path;
    int quality = 90;                          // of a JPEG
    std::string metadataSource;                // the photograph that the picture comes from
    const SBxPictureExtras* extras = nullptr;  // of that photograph
    std::string sign;                          // looked for in a JPEG; empty: the picture was not signed
    unsigned int threads = 1;
};

struct SBxSaveOutcome {
    EBxSaveEnd end = EBxSaveEnd::kFailed;
    SBxFileReport report;
};

// Writes the picture. Unless it ends with kSaved, the file `path` is as it was; a cancel that comes before the file
// takes its name ends with kCancelled, in every format. Metadata that the file cannot take are left out, and the report
// says so.
SBxSaveOutcome BX_SavePicture(SBxSignRun& run, const SBxSaveRequest& request, const std::atomic<bool>& isCancelled);
