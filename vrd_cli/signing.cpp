#include "signing.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <optional>

#include "console.h"
#include "convert_picture.h"
#include "large_picture.h"
#include "output_target.h"
#include "picture_transparency.h"
#include "result.h"
#include "run_watcher.h"
#include "sign_check.h"
#include "sign_op.h"
#include "stop_request.h"

namespace {

constexpr char kInterrupted[] = "interrupted";
constexpr char kNoMemory[] = "there is not enough memory";

std::string DescribeTooLarge(int width, int height) {
    const CBxSize<int> fitting = BX_GetFittingSize(width, height, kMostPixelsSigned);
    char text[300];
    std::snprintf(text, sizeof(text),
                  "its %d x %d pixels are %.1f megapixels, and only pictures of up to 40 megapixels can be signed; "
                  "shrunk to %d x %d pixels or less it can be",
                  width, height, static_cast<double>(width) * height / 1e6, fitting.width, fitting.height);
    return text;
}

// The steps of one signing; each returns false after it has noted in the outcome why the signing ends.
class CBxSigning {
public:
    CBxSigning(const SBxSignRequest& request, SBxSigningOutcome& outcome) : m_Request(request), m_Outcome(outcome) {}

    bool CheckRequest() {
        const std::string signFault = BX_GetSignFault(m_Request.sign);
        if (!signFault.empty()) {
            return Fail("", signFault);
        }
        QRgb background = 0;
        if (!m_Request.flatten.empty()) {
            if (!BX_ParseColour(m_Request.flatten.c_str(), background)) {
                return Fail("", "\"" + m_Request.flatten + "\" is no colour: give #rrggbb or a name such as white");
            }
            m_Background = background;
        }
        const std::string outputFault = BX_GetOutputFault(m_Request.output, m_Request.photo, m_Request.force);
        return outputFault.empty() || Fail(m_Request.output, outputFault);
    }

    bool ReadPhoto() {
        SBxFileReport report;
        SBxPicBuf* picture = nullptr;
        const int result =
            CBxConvertPicture::ReadInputFile(picture, m_Request.photo.c_str(), {m_Background}, m_Extras, report);
        m_Photo.reset(picture);
        if (result != kBxSuccess) {
            return Fail(m_Request.photo, report.m_szReason);
        }
        if (report.HasWarning()) {
            m_Outcome.notes.push_back({m_Request.photo, report.m_szWarning});
        }
        if (m_Extras.isTransparent && !m_Background) {
            return Fail(m_Request.photo,
                        "it is transparent in places, and a signed picture cannot be; --flatten COLOUR puts a colour "
                        "behind it");
        }
        if (static_cast<std::int64_t>(m_Photo->m_iWidth) * m_Photo->m_iHeight > kMostPixelsSigned) {
            return Fail(m_Request.photo, DescribeTooLarge(m_Photo->m_iWidth, m_Photo->m_iHeight));
        }
        return true;
    }

    void SignAndWrite(bool showProgress) {
        const CBxRunWatcher watcher(m_Run, showProgress, BX_PrintableName(m_Request.photo));
        if (SearchLargePhoto() && Insert() && Write()) {
            m_Outcome.end = EBxSigningEnd::kSigned;
            m_Outcome.carriers.assign(m_Run.m_siRect, m_Run.m_siRect + m_Run.m_uiRectCount);
        }
    }

private:
    bool Fail(const std::string& file, const std::string& reason) {
        m_Outcome.fault = {file, reason};
        return false;
    }

    bool RefuseSigned(const std::string& found) {
        m_Outcome.end = EBxSigningEnd::kAlreadySigned;
        m_Outcome.foundSign = found;
        return false;
    }

    // The engine looks for an older sign itself, except in photographs that it cannot search.
    bool SearchLargePhoto() {
        if (!BX_IsTooLargeToSearch(m_Photo->m_iWidth, m_Photo->m_iHeight)) {
            return true;
        }
        const SBxSearchResult found = BX_SearchPicture(m_Run, *m_Photo, m_Request.threads);
        m_Outcome.notes.push_back({m_Request.photo, BX_DescribeShrinking(found)});
        if (found.code == kBxOutOfMemory) {
            return Fail(m_Request.photo, kNoMemory);
        }
        return found.code != kBxSuccess || RefuseSigned(found.sign);
    }

    bool Insert() {
        if (BX_IsStopRequested()) {
            return Fail(m_Request.photo, kInterrupted);
        }
        char text[kMostSignCharacters + 1] = "";
        std::memcpy(text, m_Request.sign.data(), std::min(m_Request.sign.size(), kMostSignCharacters));
        char foundText[CBxSignOp::kFoundTextBytes] = "";
        bool alreadySigned = false;
        const unsigned char result =
            CBxSignOp::SignImage(m_Run, m_Photo.get(), text, &alreadySigned, foundText, m_Request.threads);
        if (BX_IsStopRequested()) {
            return Fail(m_Request.photo, kInterrupted);
        }
        if (result == kBxOutOfMemory) {
            return Fail(m_Request.photo, kNoMemory);
        }
        if (alreadySigned) {
            return RefuseSigned(foundText);
        }
        return result == kBxSuccess || Fail(m_Request.photo, "the sign could not be inserted");
    }

    bool IsJpeg() const { return BX_GetPictureFormat(m_Request.output) == EBxPictureFormat::kJpeg; }

    bool Write() {
        SBxWriteOptions options;
        options.quality = IsJpeg() ? m_Request.quality : -1;
        options.chroma = m_Request.chroma == 444 ? EBxChroma::k444 : EBxChroma::k420;
        options.extras = &m_Extras;
        options.metadataSource = m_Request.photo.c_str();  // other formats than JPEG are told what they lack
        options.metadataRule = m_Request.metadata;
        options.replaceExisting = m_Request.force;
        options.accept = [this](SBxPicBuf& asWritten, SBxFileReport& report) { return Accept(asWritten, report); };
        SBxFileReport report;
        const int result = CBxConvertPicture::WriteOutputFile(m_Photo.get(), m_Request.output.c_str(), options, report);
        if (result != kBxSuccess) {
            const bool isAboutMetadata = report.m_bLacksExif || report.m_bLacksIptc;
            return Fail(m_Request.output,
                        std::string(report.m_szReason) + (isAboutMetadata ? "; --metadata none leaves them out" : ""));
        }
        TellWhatIsMissing(report);
        return true;
    }

    void TellWhatIsMissing(const SBxFileReport& report) {
        const bool isUnasked = m_Request.metadata != EBxMetadataRule::kNone;
        const char* const why =
            IsJpeg() ? "--metadata both carries both kinds or nothing" : "only a JPEG can have them";
        if (report.m_bLacksExif) {
            LeaveBehind("exif", isUnasked ? std::string("the photograph's EXIF data were left out: ") + why : "");
        }
        if (report.m_bLacksIptc) {
            LeaveBehind("iptc", isUnasked ? std::string("the photograph's IPTC data were left out: ") + why : "");
        }
        if (m_Extras.hasUnusedProfile) {
            LeaveBehind("profile", "the photograph's colour profile was left out: it is damaged or not one for RGB");
        } else if (report.m_bLacksProfile) {
            LeaveBehind("profile", "the photograph's colour profile was left out: it cannot be written in this format");
        }
    }

    void LeaveBehind(const char* what, const std::string& note) {
        m_Outcome.leftBehind.emplace_back(what);
        if (!note.empty()) {
            m_Outcome.notes.push_back({m_Request.output, note});
        }
    }

    // The last look at the written file, before it takes its name.
    bool Accept(SBxPicBuf& asWritten, SBxFileReport& report) {
        if (m_Request.check && !BX_IsStopRequested()) {
            m_Run.m_ProgressData.SetText("Checking the signed picture");
            m_Outcome.check = BX_CheckPicture(m_Run, asWritten, m_Request.threads);
        }
        if (BX_IsStopRequested()) {
            report.SetReason("%s", kInterrupted);
        } else if (!m_Request.check) {
            return true;
        } else if (m_Outcome.check.code == kBxOutOfMemory) {
            report.SetReason("%s", kNoMemory);
        } else if (m_Outcome.check.code == kBxSuccess && m_Outcome.check.sign == m_Request.sign) {
            return true;
        } else {
            m_Outcome.end = EBxSigningEnd::kLost;
            report.SetReason("the sign was lost in saving, so the file was not kept; %s", Advice().c_str());
        }
        return false;
    }

    std::string Advice() const {
        const CBxSize<int> fitting = BX_GetFittingSize(m_Photo->m_iWidth, m_Photo->m_iHeight, kMostPixelsOfZoom);
        if (fitting.width < m_Photo->m_iWidth) {
            return "photographs above 20 megapixels are searched at a smaller size only: shrink it to " +
                   std::to_string(fitting.width) + " x " + std::to_string(fitting.height) + " pixels before signing";
        }
        if (IsJpeg() && m_Request.quality < 100) {
            return "try a higher quality than " + std::to_string(m_Request.quality) + " (-q)" +
                   (m_Request.chroma == 444 ? "" : ", --chroma 444") + ", or PNG";
        }
        return "this photograph does not carry a sign well; another size of it may";
    }

    const SBxSignRequest& m_Request;
    SBxSigningOutcome& m_Outcome;
    std::optional<QRgb> m_Background;
    CBxPicBufHolder m_Photo;
    SBxPictureExtras m_Extras;
    SBxSignRun m_Run;
};

}  // namespace

SBxSigningOutcome BX_SignPhotograph(const SBxSignRequest& request, bool showProgress) {
    SBxSigningOutcome outcome;
    CBxSigning signing(request, outcome);
    if (signing.CheckRequest() && signing.ReadPhoto()) {
        signing.SignAndWrite(showProgress);
    }
    return outcome;
}
