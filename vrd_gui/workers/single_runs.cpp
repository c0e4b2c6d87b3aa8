#include "single_runs.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "convert_picture.h"
#include "large_picture.h"
#include "output_target.h"
#include "picture_search.h"
#include "result.h"

namespace {

SBxSignedPicture Ended(EBxSignFault fault) {
    SBxSignedPicture result;
    result.fault = fault;
    return result;
}

SBxSignedPicture Refused(const char* found) {
    SBxSignedPicture result = Ended(EBxSignFault::kAlreadySigned);
    std::snprintf(result.foundText, sizeof(result.foundText), "%s", found);
    return result;
}

// Whether the sign can be read where the engine writes it. A picture that is too large to be searched as it is passes:
// it may be read once it is smaller.
bool IsReadable(SBxSignRun& run, SBxPicBuf& picture, const char* text, unsigned int threads) {
    if (BX_GetCheckZoom(picture.m_iWidth, picture.m_iHeight) == 0.0) {
        return true;
    }
    const SBxSearchResult check = BX_CheckPicture(run, picture, threads);
    return check.code == kBxSuccess && check.sign == text;
}

// Has the last word on a file before it takes its name.
class CBxSaveGuard {
public:
    CBxSaveGuard(SBxSignRun& run, const SBxSaveRequest& request, bool isSignWanted,
                 const std::atomic<bool>& isCancelled)
        : m_Run(run), m_Request(request), m_IsSignWanted(isSignWanted), m_IsCancelled(isCancelled) {}

    bool Accept(SBxPicBuf& asWritten, SBxFileReport& report) {
        const unsigned char written = m_IsSignWanted && !m_IsCancelled ? Check(asWritten) : kBxSuccess;
        if (m_IsCancelled) {
            return Refuse(EBxSaveEnd::kCancelled, report);
        }
        if (written == kBxSuccess) {
            return true;
        }
        if (written == kBxOutOfMemory) {
            report.SetReason("there is not enough memory");
            return false;
        }
        const bool isLost = Check(*m_Request.picture) == kBxSuccess;
        return Refuse(m_IsCancelled ? EBxSaveEnd::kCancelled
                      : isLost      ? EBxSaveEnd::kLost
                                    : EBxSaveEnd::kUnreadable,
                      report);
    }

    EBxSaveEnd End() const { return m_End; }

private:
    unsigned char Check(SBxPicBuf& picture) {
        const SBxSearchResult found = BX_CheckPicture(m_Run, picture, m_Request.threads);
        return found.code == kBxSuccess && found.sign != m_Request.sign ? kBxFailure : found.code;
    }

    bool Refuse(EBxSaveEnd end, SBxFileReport& report) {
        m_End = end;
        report.SetReason("the file was not kept");
        return false;
    }

    SBxSignRun& m_Run;
    const SBxSaveRequest& m_Request;
    const bool m_IsSignWanted;
    const std::atomic<bool>& m_IsCancelled;
    EBxSaveEnd m_End = EBxSaveEnd::kFailed;  // when the writing fails
};

}  // namespace

unsigned int BX_GetEngineThreads(std::int32_t fromSettings) {
    return static_cast<unsigned int>(std::clamp<std::int32_t>(fromSettings, 1, CBxSignOp::kMostThreads));
}

SBxSignedPicture BX_SignCopy(SBxSignRun& run, const SBxPicBuf& picture, const char* text, unsigned int threads,
                             const std::atomic<bool>& isCancelled) {
    if (static_cast<std::int64_t>(picture.m_iWidth) * picture.m_iHeight > kMostPixelsSigned) {
        return Ended(EBxSignFault::kTooLarge);
    }
    SBxSignedPicture result;
    if (result.picture.AllocateLike(picture) != kBxSuccess) {
        return Ended(EBxSignFault::kNoMemory);
    }
    SBxPicBuf& copy = result.picture.Pic();
    CBxPicBufAPI::Copy(copy, picture);
    if (BX_IsTooLargeToSearch(copy.m_iWidth, copy.m_iHeight)) {
        const SBxSearchResult found = BX_SearchPicture(run, copy, threads);
        if (found.code == kBxSuccess) {
            return Refused(found.sign.c_str());
        }
        if (found.code == kBxOutOfMemory) {
            return Ended(EBxSignFault::kNoMemory);
        }
    }
    if (isCancelled) {
        return Ended(EBxSignFault::kOther);
    }
    std::string sign(text);
    bool alreadySigned = false;
    const unsigned char code = CBxSignOp::SignImage(run, &copy, sign.data(), &alreadySigned, result.foundText, threads);
    if (code == kBxOutOfMemory) {
        return Ended(EBxSignFault::kNoMemory);
    }
    if (alreadySigned) {
        return Refused(result.foundText);
    }
    if (code != kBxSuccess || isCancelled) {
        return Ended(EBxSignFault::kOther);
    }
    if (run.m_uiRectCount == 0) {
        return Ended(EBxSignFault::kNoPlace);
    }
    result.carriers.assign(run.m_siRect, run.m_siRect + run.m_uiRectCount);
    if (!IsReadable(run, copy, text, threads)) {
        return Ended(EBxSignFault::kUnreadable);
    }
    result.fault = EBxSignFault::kNone;
    return result;
}

SBxSaveOutcome BX_SavePicture(SBxSignRun& run, const SBxSaveRequest& request, const std::atomic<bool>& isCancelled) {
    const bool isJpeg = BX_GetPictureFormat(request.path) == EBxPictureFormat::kJpeg;
    CBxSaveGuard guard(run, request, isJpeg && !request.sign.empty(), isCancelled);
    SBxWriteOptions options;
    options.quality = isJpeg ? request.quality : -1;
    options.extras = request.extras;
    options.metadataSource = request.metadataSource.empty() ? nullptr : request.metadataSource.c_str();
    options.metadataRule = EBxMetadataRule::kAny;
    options.accept = [&guard](SBxPicBuf& asWritten, SBxFileReport& report) { return guard.Accept(asWritten, report); };
    const auto write = [&request, &options](SBxFileReport& report) {
        return CBxConvertPicture::WriteOutputFile(request.picture, request.path.c_str(), options, report) == kBxSuccess;
    };
    SBxSaveOutcome outcome;
    bool isWritten = write(outcome.report);
    const SBxFileReport first = outcome.report;
    if (!isWritten && (first.m_bLacksExif || first.m_bLacksIptc) && guard.End() == EBxSaveEnd::kFailed) {
        options.metadataRule = EBxMetadataRule::kNone;
        outcome.report = SBxFileReport();
        isWritten = write(outcome.report);
        outcome.report.m_bLacksExif |= first.m_bLacksExif;
        outcome.report.m_bLacksIptc |= first.m_bLacksIptc;
    }
    outcome.end = isWritten ? EBxSaveEnd::kSaved : guard.End();
    return outcome;
}
