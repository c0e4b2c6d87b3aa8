// Looks for signs in the pictures of a PDF document.
#pragma once

#include <functional>

#include "file_search.h"

struct SBxPdfPicture : SBxDetectedFile {
    std::size_t number = 0;  // from 1, in the order of the document
};

// `total` and `processed` count pictures, and `unreadable` those that could not be read.
struct SBxPdfDetectOutcome : SBxRunOutcome {
    bool signFound = false;
    std::string firstSign;          // of the first picture that has one, a certain one if any
    bool isFirstUncertain = false;  // single letters of it may be wrong
    std::size_t passedOver = 0;     // pictures of two colours
    bool isNoDocument = false;      // it has failed on a file of another kind, perhaps a picture
};

using CBxPdfPictureReport = std::function<void(const SBxPdfPicture& picture)>;

// Takes the pictures out of `document` into a folder of its own below the temporary folder, searches each, and writes
// Veridane_PDF.log beside the document. `report` is called for each picture, in the order of the document, on the
// calling thread; it may be empty. What was taken out is removed at the end.
//
// Fails when the document cannot be read or its pictures cannot be taken out; then there is no log. A log that cannot
// be written does not stop the search.
//
// BX_LoadPictureDecoders was called before, on the main thread.
SBxPdfDetectOutcome BX_RunPdfDetect(const SBxRunContext& context, const std::string& document,
                                    const CBxPdfPictureReport& report);

// What a user is told at the end, in his language: "Sign found: abc-Z9".
std::string BX_GetMessage(const SBxPdfDetectOutcome& outcome);
