#include "batch_sign_file.h"

#include <fcntl.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "convert_picture.h"
#include "large_picture.h"
#include "localization.h"
#include "picture_search.h"
#include "printable_text.h"
#include "result.h"
#include "sign_check.h"
#include "sign_op.h"

namespace {

constexpr char kNoMemory[] = "there is not enough memory";
constexpr char kCancelled[] = "the run was cancelled";
constexpr double kLeastQualityStep = 5.0;
constexpr int kFullQuality = 100;

bool EndsWithJpg(const std::string& name) {
    return name.size() >= 4 && ::strcasecmp(name.c_str() + name.size() - 4, ".jpg") == 0;
}

// The steps on one file. Each returns false after it has noted why the file is not signed.
class CBxFileSigning {
public:
    CBxFileSigning(SBxSignedFile& file, const SBxBatchSigning& batch, std::size_t index, unsigned int threads)
        : m_File(file),
          m_Batch(batch),
          m_uiThreads(threads),
          m_strName(BX_GetNameOfFile(file.file)),
          m_strWorkBase(batch.workFolder + std::to_string(index)) {}

    void Run() {
        const CBxPictureInWork inWork(m_Batch.progress, m_Run, BX_PrintableName(m_strName));
        const std::string output = m_Batch.outputFolder + m_strName;
        if (!Read() || !Sign() || !(EndsWithJpg(m_strName) ? WriteJpeg(output) : WriteWhole(output))) {
            TellOfOlderResult(output);
            return;
        }
        m_File.end = EBxSignedEnd::kSigned;
        m_File.reason.clear();
        if (EndsWithJpg(m_strName)) {
            RemoveOlderResult(m_File.quality >= 0 ? FreeBitmapName() : output);
        }
    }

private:
    // What became of one attempt to write.
    enum class EAttempt { kKept, kLost, kBroken, kStopped };

    bool Fail(const std::string& line, const std::string& reason) {
        m_File.log.Error(line);
        m_File.log.Error("Reason: " + reason);
        m_File.reason = reason;
        return false;
    }

    bool FailToSign(const std::string& reason) { return Fail("The file " + m_strName + " was not signed!", reason); }

    bool FailCancelled() {
        m_File.isCancelled = true;
        return FailToSign(kCancelled);
    }

    bool Read() {
        SBxFileReport report;
        SBxPicBuf* picture = nullptr;
        const int result = CBxConvertPicture::ReadInputFile(picture, m_File.file.c_str(), {}, m_Extras, report);
        m_Picture.reset(picture);
        if (result != kBxSuccess) {
            m_File.isUnreadable = true;
            return Fail("Cannot read the " + m_strName + " !!", report.m_szReason);
        }
        m_File.warning = report.m_szWarning;
        if (report.HasWarning()) {
            m_File.log.Info("The file " + m_strName + ": " + m_File.warning);
        }
        return true;
    }

    bool Refuse(const std::string& found) {
        m_File.log.Error("OTHER SIGN FOUND! The file " + m_strName + " is already signed. The sign found: " + found);
        m_File.end = EBxSignedEnd::kAlreadySigned;
        m_File.foundSign = found;
        return false;
    }

    bool Sign() {
        if (static_cast<std::int64_t>(m_Picture->m_iWidth) * m_Picture->m_iHeight > kMostPixelsSigned) {
            return FailToSign("it has more than 40 megapixels");
        }
        // The engine looks for an older sign itself, except in photographs that it cannot search.
        if (BX_IsTooLargeToSearch(m_Picture->m_iWidth, m_Picture->m_iHeight)) {
            const SBxSearchResult found = BX_SearchPicture(m_Run, *m_Picture, m_uiThreads);
            if (found.code == kBxSuccess) {
                return Refuse(found.sign);
            }
            m_File.log.Info(m_strName + ": " + BX_DescribeShrinking(found));
            if (found.code == kBxOutOfMemory) {
                return FailToSign(kNoMemory);
            }
        }
        if (m_Batch.progress.IsCancelled()) {
            return FailCancelled();
        }
        char text[kMostSignCharacters + 1] = "";
        std::memcpy(text, m_Batch.sign.data(), std::min(m_Batch.sign.size(), kMostSignCharacters));
        char found[CBxSignOp::kFoundTextBytes] = "";
        bool isSigned = false;
        const unsigned char result = CBxSignOp::SignImage(m_Run, m_Picture.get(), text, &isSigned, found, m_uiThreads);
        if (result == kBxOutOfMemory) {
            return FailToSign(kNoMemory);
        }
        if (isSigned) {
            return Refuse(found);
        }
        if (m_Batch.progress.IsCancelled()) {
            return FailCancelled();
        }
        return result == kBxSuccess || FailToSign("the sign could not be inserted");
    }

    // With rising quality until the sign survives, and without loss when it survives none.
    bool WriteJpeg(const std::string& output) {
        const std::string temporary = m_strWorkBase + "_tmp.jpg";
        const double step = std::max((kFullQuality - m_Batch.quality) * 0.25, kLeastQualityStep);
        EAttempt attempt = EAttempt::kLost;
        for (double wanted = m_Batch.quality; wanted <= kFullQuality && attempt == EAttempt::kLost; wanted += step) {
            const int quality = std::min(kFullQuality, static_cast<int>(std::ceil(wanted)));
            m_File.log.Info("Saving the " + output + " with JPEG quality=" + std::to_string(quality));
            attempt = WriteVerified(temporary, output, quality, ".");
            if (attempt == EAttempt::kKept) {
                m_File.quality = quality;
                return true;
            }
            if (attempt == EAttempt::kStopped) {
                return FailCancelled();
            }
            m_File.hadWriteFault |= attempt == EAttempt::kBroken;
            if (attempt == EAttempt::kLost) {
                m_File.log.Error("Sign is corrupted because of the JPEG comression.");
            }
        }
        m_File.log.Info("JPEG image was not written. Changing to BMP format.");
        return WriteWhole(FreeBitmapName());
    }

    // Another file of the folder may have this very name.
    std::string FreeBitmapName() const {
        std::string name = m_strName + ".bmp";
        while (m_Batch.allFiles.contains(name)) {
            name += ".bmp";
        }
        return m_Batch.outputFolder + name;
    }

    bool WriteWhole(const std::string& output) {
        const std::string name = BX_GetNameOfFile(output);
        const std::size_t dot = name.rfind('.');
        const std::string ending = dot == std::string::npos ? "" : name.substr(dot);
        switch (WriteVerified(m_strWorkBase + "_tmp" + ending, output, kFullQuality, "")) {
            case EAttempt::kKept:
                return true;
            case EAttempt::kStopped:
                return FailCancelled();
            case EAttempt::kLost:
                return FailToSign("it does not carry the sign: in the written file it was not found again");
            case EAttempt::kBroken:
                break;
        }
        return false;
    }

    // Writes beside, reads that back, looks for the sign in it, and gives it the name `output`.
    EAttempt WriteVerified(const std::string& temporary, const std::string& output, int quality, const char* fullStop) {
        const EAttempt attempt = TryToWrite(temporary, output, quality, fullStop);
        if (attempt != EAttempt::kKept) {
            ::unlink(temporary.c_str());
            return attempt;
        }
        m_File.log.Info("The " + output + " was successfully written.");
        m_File.output = output;
        return attempt;
    }

    EAttempt TryToWrite(const std::string& temporary, const std::string& output, int quality, const char* fullStop) {
        SBxWriteOptions options;
        options.quality = quality;
        options.extras = &m_Extras;
        options.metadataSource = m_File.file.c_str();
        options.metadataRule = EBxMetadataRule::kAny;
        SBxFileReport report;
        if (CBxConvertPicture::WriteOutputFile(m_Picture.get(), temporary.c_str(), options, report) != kBxSuccess) {
            const std::string& told = fullStop[0] != '\0' ? temporary : output;
            Fail("Cannot write the " + told + fullStop, report.m_szReason);
            return EAttempt::kBroken;
        }
        SBxFileReport readReport;
        SBxPicBuf* picture = nullptr;
        const int result = CBxConvertPicture::ReadInputFile(picture, temporary.c_str(), readReport);
        const CBxPicBufHolder asWritten(picture);
        if (result != kBxSuccess) {
            Fail("Cannot read the temporary " + temporary, readReport.m_szReason);
            return EAttempt::kBroken;
        }
        m_Run.m_ProgressData.SetText(CBxLocalization::Translate("Checking the signed picture"));
        const SBxSearchResult check = BX_CheckPicture(m_Run, *asWritten, m_uiThreads);
        if (m_Batch.progress.IsCancelled()) {
            return EAttempt::kStopped;
        }
        if (check.code != kBxSuccess || check.sign != m_Batch.sign) {
            return EAttempt::kLost;
        }
        return TakeName(temporary, output) ? TellWhatIsMissing(report) : EAttempt::kBroken;
    }

    // Puts the written file where it belongs. Only an earlier result is replaced, and only if it may be written.
    bool TakeName(const std::string& temporary, const std::string& output) {
        struct stat earlier = {};
        int fault = 0;
        if (::lstat(output.c_str(), &earlier) == 0) {
            if (!S_ISREG(earlier.st_mode)) {
                fault = S_ISDIR(earlier.st_mode) ? EISDIR : EINVAL;
            } else if (::faccessat(AT_FDCWD, output.c_str(), W_OK, AT_EACCESS) != 0) {
                fault = errno;
            } else {
                ::chmod(temporary.c_str(), earlier.st_mode & 0777);
            }
        }
        if (fault == 0 && ::rename(temporary.c_str(), output.c_str()) != 0) {
            fault = errno;
        }
        return fault == 0 || Fail("Cannot write the " + output, std::strerror(fault));
    }

    // A JPEG photograph becomes a JPEG or a bitmap; what an earlier run has made of it the other way goes.
    void RemoveOlderResult(const std::string& path) {
        struct stat facts = {};
        if (::lstat(path.c_str(), &facts) != 0) {
            return;
        }
        const bool isRemoved = S_ISREG(facts.st_mode) && ::faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) == 0 &&
                               !IsNameOfAnotherFile(BX_GetNameOfFile(path)) && IsResultOfThisFile(path) &&
                               ::unlink(path.c_str()) == 0;
        m_File.log.Info((isRemoved ? "An older result was removed: " : "An older result stays: ") + path);
    }

    // Nobody shall take what an earlier run has made of the file for what this one has.
    void TellOfOlderResult(const std::string& output) {
        for (const std::string& path : {output, FreeBitmapName()}) {
            struct stat facts = {};
            if (::lstat(path.c_str(), &facts) == 0) {
                m_File.log.Info("An older result stays: " + path);
            }
        }
    }

    // Whatever the case of the letters, which some file systems do not tell apart.
    bool IsNameOfAnotherFile(const std::string& name) const {
        return std::any_of(m_Batch.allFiles.begin(), m_Batch.allFiles.end(), [&](const std::string& other) {
            return other != m_strName && ::strcasecmp(other.c_str(), name.c_str()) == 0;
        });
    }

    // Whether a file is as large a picture as this one and carries a sign, be it another than that of this run.
    bool IsResultOfThisFile(const std::string& path) {
        SBxFileReport report;
        SBxPicBuf* read = nullptr;
        const int result = CBxConvertPicture::ReadInputFile(read, path.c_str(), report);
        const CBxPicBufHolder picture(read);
        return result == kBxSuccess && picture->m_iWidth == m_Picture->m_iWidth &&
               picture->m_iHeight == m_Picture->m_iHeight &&
               BX_CheckPicture(m_Run, *picture, m_uiThreads).code == kBxSuccess;
    }

    EAttempt TellWhatIsMissing(const SBxFileReport& report) {
        const auto tell = [this](const char* what) {
            m_File.log.Info(std::string("The written file lacks the ") + what + " of the " + m_strName + ".");
        };
        if (report.m_bLacksExif) {
            tell("EXIF data");
        }
        if (report.m_bLacksIptc) {
            tell("IPTC data");
        }
        if (report.m_bLacksProfile || m_Extras.hasUnusedProfile) {
            tell("colour profile");
        }
        if (m_Extras.isTransparent) {
            tell("transparency");
            m_File.warning += (m_File.warning.empty() ? "" : "; ") + std::string("its transparency was left out");
        }
        return EAttempt::kKept;
    }

    SBxSignedFile& m_File;
    const SBxBatchSigning& m_Batch;
    const unsigned int m_uiThreads;
    const std::string m_strName;
    const std::string m_strWorkBase;
    SBxSignRun m_Run;
    CBxPicBufHolder m_Picture;
    SBxPictureExtras m_Extras;
};

}  // namespace

void BX_SignFileOfBatch(SBxSignedFile& file, const SBxBatchSigning& batch, std::size_t index, unsigned int threads) {
    CBxFileSigning(file, batch, index, threads).Run();
}
