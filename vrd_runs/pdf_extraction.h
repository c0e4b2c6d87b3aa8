// Takes the pictures out of a PDF document.
#pragma once

#include <functional>
#include <string>
#include <vector>

struct SBxPdfPictures {
    bool hasFailed = true;
    bool isCancelled = false;             // no failure
    bool isNoDocument = false;            // the tool failed on a file of another kind
    std::string logLine;                  // of the failure, as it stands in the log
    std::string reason;                   // of the failure, for the user
    std::string messages;                 // what the tool had to say, whether it failed or not
    std::vector<std::string> pictures;    // paths in the order in which they stand in the document
    std::vector<std::string> passedOver;  // paths of pictures of two colours, which cannot carry a sign
};

// Runs the tool `pdfimages` of the tool folder on the document, which has an absolute path. The pictures are written
// into `folder`; both folders end with "/". It fails too when the pictures are not whole because the disk is full,
// which the tool does not tell. Ends soon after `cancelled` is true.
SBxPdfPictures BX_ExtractPdfPictures(const std::string& document, const std::string& toolFolder,
                                     const std::string& folder, const std::function<bool()>& cancelled);
