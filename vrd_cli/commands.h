// The commands of `vrd`, apart from the command line that they are given on.
#pragma once

#include <string>
#include <vector>

#include "console.h"
#include "image_metadata.h"

// Exit statuses; scripts depend on them.
enum class EBxExit {
    kDone = 0,     // signed; a sign found and no file failed
    kNothing = 1,  // refused because of a sign that is there, or lost in saving; not all signed; nothing found
    kError = 2,
};

struct SBxSignRequest {
    std::string photo;
    std::string sign;
    std::string output;
    int quality = 90;     // of a JPEG; other formats are written without loss
    int chroma = 420;     // of a JPEG: 420 or 444
    std::string flatten;  // colour behind transparent pixels; empty: a transparent photograph is refused
    EBxMetadataRule metadata = EBxMetadataRule::kAny;  // what of the EXIF and IPTC data a JPEG gets
    unsigned int threads = 1;
    bool force = false;
    bool check = true;
};

struct SBxDetectRequest {
    std::vector<std::string> files;
    std::string list;     // file with names of further files, "-" for standard input; empty: none
    std::string shard;    // "3/16"; empty: all files
    std::string results;  // that results are added to; empty: none
    bool resume = false;  // go on with the results that are there
    unsigned int threads = 1;
    bool deep = false;
};

struct SBxInspectRequest {
    std::string photo;
    std::string overlay;  // empty: none is drawn
    double zoom = 1.0;
    bool detection = false;  // as detection sees the picture, not as insertion does
    bool force = false;
};

struct SBxBatchRequest {
    std::string folder;
    std::string sign;  // of a batch that signs
    int quality = 95;  // that JPEG files are tried with first, 0 to 100; as the window without settings
    unsigned int threads = 1;
    bool deep = false;  // of a batch that detects
};

struct SBxPdfRequest {
    std::string document;
    unsigned int threads = 1;
    bool deep = false;
};

struct SBxSurviveRequest {
    std::string photo;
    std::string sign;  // empty: the one that is there, or one for the trial
    std::string page;  // empty: none is written
    unsigned int threads = 1;
    bool quick = false;  // try a dozen changes only
    bool force = false;
};

// Each reports through the console and returns the status. An interruption (stop_request.h) is reported as an error;
// the caller turns it into the status of its signal.
EBxExit BX_SignCommand(const SBxSignRequest& request, CBxConsole& console);
EBxExit BX_DetectCommand(const SBxDetectRequest& request, CBxConsole& console);
EBxExit BX_InspectCommand(const SBxInspectRequest& request, CBxConsole& console);
EBxExit BX_BatchSignCommand(const SBxBatchRequest& request, CBxConsole& console);
EBxExit BX_BatchDetectCommand(const SBxBatchRequest& request, CBxConsole& console);
EBxExit BX_PdfDetectCommand(const SBxPdfRequest& request, CBxConsole& console);
EBxExit BX_SurviveCommand(const SBxSurviveRequest& request, CBxConsole& console);
