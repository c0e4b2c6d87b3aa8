// Signs every file of a folder.
#pragma once

#include <functional>

#include "run_context.h"

enum class EBxSignedEnd {
    kNotSigned,  // unreadable, too large, cancelled, the sign was lost, not written: the reason tells
    kSigned,
    kAlreadySigned,
};

struct SBxSignedFile : SBxFileOutcome {
    EBxSignedEnd end = EBxSignedEnd::kNotSigned;
    std::string output;          // the written file; of kSigned
    int quality = -1;            // of a verified JPEG
    std::string foundSign;       // of kAlreadySigned
    bool hadWriteFault = false;  // no JPEG could be written at all, whatever came of the bitmap instead
};

struct SBxBatchSignOutcome : SBxRunOutcome {
    bool notAllSigned = false;
    std::size_t signedFiles = 0;
    std::size_t alreadySigned = 0;
};

using CBxSignedFileReport = std::function<void(const SBxSignedFile& file)>;

// Signs the files of `folder` into <folder>/signed/ under their names, and writes batch_sign.log there. A JPEG whose
// sign does not survive is written with rising quality, beginning with that of the context, and at last as NAME.bmp.
// What earlier runs have written is replaced file by file, each in one step; where this run writes NAME and an earlier
// one wrote NAME.bmp, or the other way round, the older file goes once the new one is there, if it carries a sign.
// Every written file was read back and gave the sign; a picture that cannot carry it is not written.
//
// `report` is called for each file, in the order of the listing, on the calling thread; it may be empty. Fails when the
// folder cannot be listed, when another run works in it, and when signed/ or the log cannot be written, be it only in
// the middle of the run.
//
// `sign` is a good one (BX_GetSignFault). BX_LoadPictureDecoders was called before, on the main thread.
SBxBatchSignOutcome BX_RunBatchSign(const SBxRunContext& context, const std::string& folder, const std::string& sign,
                                    const CBxSignedFileReport& report);

// What a user is told at the end, in his language.
const char* BX_GetMessage(const SBxBatchSignOutcome& outcome);
