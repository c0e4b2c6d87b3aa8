// Signing a picture: look for a sign first, then insert.
#include <algorithm>
#include <cstring>

#include "localization.h"
#include "result.h"
#include "sign_op.h"

namespace {

constexpr double kSigningProgressDelta = 4.0;  // percent for each of 24 zooms and for the insertion

}  // namespace

unsigned char CBxSignOp::SignImage(SBxPicBuf* picture, char* text, bool* alreadySigned, char* foundText,
                                   unsigned int threads) {
    return SignImage(m_DefaultRun, picture, text, alreadySigned, foundText, threads);
}

unsigned char CBxSignOp::SignImage(SBxSignRun& run, SBxPicBuf* picture, char* text, bool* alreadySigned,
                                   char* foundText, unsigned int threads) {
    if (picture == nullptr || text == nullptr) {
        return kBxFailure;
    }
    run.m_dProgressDelta = kSigningProgressDelta;
    run.m_ProgressData.SetPercentage(0.0);

    char found[kFoundTextBytes] = {};
    const unsigned char search = ExtractTextFromPicture(run, picture, found, std::min(threads, kMostThreads));
    const bool refused = search == kBxSuccess || search == kBxOutOfMemory;
    if (alreadySigned != nullptr) {
        *alreadySigned = refused;
    }
    if (refused) {
        if (foundText != nullptr) {
            std::memcpy(foundText, found, std::strlen(found) + 1);
        }
        return search == kBxOutOfMemory ? kBxOutOfMemory : kBxFailure;
    }
    LogInfo("Inserting the signature..");
    run.m_ProgressData.SetText(CBxLocalization::Translate("Inserting the signature"));
    run.m_ProgressData.AddPercentage(run.m_dProgressDelta);
    return InsertTextIntoPicture(run, picture, text);
}
