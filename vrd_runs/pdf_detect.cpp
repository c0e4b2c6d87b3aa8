#include "pdf_detect.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "folder_listing.h"
#include "localization.h"
#include "pdf_extraction.h"
#include "printable_text.h"
#include "qt_files.h"
#include "run_files.h"
#include "run_folder.h"

namespace {

constexpr char kCancelledLine[] = "PDF detection was cancelled by user.";

// One run on one document.
class CBxPdfSearch {
public:
    CBxPdfSearch(const SBxRunContext& context, const std::string& document, SBxPdfDetectOutcome& outcome)
        : m_Context(context), m_strDocument(BX_GetAbsolutePath(document)), m_Outcome(outcome) {}

    void Run(const CBxPdfPictureReport& report) {
        if (!IsDocumentThere()) {
            return;
        }
        LogToApplication("Detecting PDF (" + m_strDocument + ")");
        if (PrepareFolder() && Extract()) {
            Search(report);
        }
    }

private:
    bool Fail(const std::string& reason) {
        m_Outcome.reason = reason;
        return false;
    }

    bool IsDocumentThere() {
        struct stat facts = {};
        if (m_strDocument.empty() || ::stat(m_strDocument.c_str(), &facts) != 0) {
            return Fail(std::strerror(m_strDocument.empty() ? ENOENT : errno));
        }
        return S_ISREG(facts.st_mode) || Fail(CBxLocalization::Translate("it is not a regular file"));
    }

    bool PrepareFolder() {
        if (!m_PrivateFolder.Open(m_Context.temporaryFolder, m_Outcome.reason)) {
            return FailInApplicationLog("PDF detection failed. " + m_Outcome.reason);
        }
        CBxRunFolder::RemoveLeftovers(m_PrivateFolder.Path());
        RemoveOldPictures();
        return m_RunFolder.Create(m_PrivateFolder.Path(), m_Outcome.reason) ||
               FailInApplicationLog("PDF detection failed. " + m_Outcome.reason);
    }

    // Pictures that lie in the program's folder itself, where no run puts them any more.
    void RemoveOldPictures() {
        std::vector<QString> old;
        if (BX_GetFilesInDirectory(old, m_PrivateFolder.Path().c_str(), "images-*.ppm;images-*.pbm") == 0) {
            BX_DeleteFiles(old);
        }
    }

    // False after a failure and after a cancel.
    bool Extract() {
        LogToApplication("Extracting images...");
        m_Context.progress.SetTexts(CBxLocalization::Translate("Processing..."),
                                    CBxLocalization::Translate("Extracting images..."));
        m_Pictures = BX_ExtractPdfPictures(m_strDocument, m_Context.toolFolder, m_RunFolder.Path(),
                                           [this] { return m_Context.progress.IsCancelled(); });
        if (m_Pictures.hasFailed) {
            m_Outcome.reason = m_Pictures.reason;
            m_Outcome.isNoDocument = m_Pictures.isNoDocument;
            return FailInApplicationLog(m_Pictures.logLine);
        }
        m_Outcome.wasCancelled = m_Pictures.isCancelled || m_Context.progress.IsCancelled();
        m_Outcome.hasFailed = false;
        if (m_Outcome.wasCancelled) {
            LogToApplication(kCancelledLine);
        }
        return !m_Outcome.wasCancelled;
    }

    void Search(const CBxPdfPictureReport& report) {
        const std::string folder = m_strDocument.substr(0, m_strDocument.rfind('/'));
        m_Log.Open(folder + "/" + kPdfDetectLog, m_Outcome.logFault);
        m_Outcome.logPath = m_Log.Path();
        LogToApplication("Detecting signatures...");
        TellOfExtraction();
        const std::size_t count = m_Pictures.pictures.size();
        m_Outcome.total = count;
        m_Context.progress.SetTotal(count);
        m_Context.progress.SetTexts("", CBxLocalization::Translate("Detecting a signature"));
        BX_RunFiles<SBxPdfPicture>(
            m_Context, count,
            [&](SBxPdfPicture& picture, std::size_t index, unsigned int threads) {
                picture.file = m_Pictures.pictures[index];
                picture.number = index + 1;
                SearchPicture(picture, count, threads);
            },
            [&](const SBxPdfPicture& picture) {
                Count(picture);
                if (report) {
                    report(picture);
                }
            });
        Finish();
    }

    // What the tool said and what is not searched.
    void TellOfExtraction() {
        for (std::size_t at = 0; at < m_Pictures.messages.size();) {
            const std::size_t end = std::min(m_Pictures.messages.find('\n', at), m_Pictures.messages.size());
            if (end > at) {
                m_Log.Error("pdfimages: " + m_Pictures.messages.substr(at, end - at));
                LogToApplication("pdfimages: " + m_Pictures.messages.substr(at, end - at));
            }
            at = end + 1;
        }
        for (const std::string& picture : m_Pictures.passedOver) {
            m_Log.Info("Passed over, a picture of two colours cannot carry a sign. File: " + picture);
        }
        m_Outcome.passedOver = m_Pictures.passedOver.size();
    }

    void SearchPicture(SBxPdfPicture& picture, std::size_t count, unsigned int threads) {
        const std::string title =
            BX_FillNumbers(CBxLocalization::Translate("Processing the %d. image of %d"), {picture.number, count});
        BX_SearchFile(picture, m_Context.progress, title, threads, m_Context.depth);
        if (picture.search.shrunkTo.width > 0) {
            picture.log.Info("The file " + picture.file + ": " + BX_DescribeShrinking(picture.search));
        }
        if (picture.isUnreadable) {
            picture.log.Error("Cannot read the " + picture.file);
            picture.log.Error("Reason: " + picture.reason);
        } else if (picture.isFound) {
            picture.log.Info("SIGN FOUND: " + picture.search.sign + ". File: " + picture.file +
                             BX_DescribeDepth(picture.search));
        } else if (!picture.reason.empty()) {
            picture.log.Error("Not searched: " + picture.reason + ". File: " + picture.file);
        } else if (picture.isCancelled) {
            picture.log.Info("Not searched to the end. File: " + picture.file);
        } else {
            picture.log.Info("Not signed. File: " + picture.file);
        }
    }

    void Count(const SBxPdfPicture& picture) {
        m_Log.Write(picture.log);
        ++m_Outcome.processed;
        if (picture.isUnreadable) {
            ++m_Outcome.unreadable;
            if (m_Context.applicationLog != nullptr) {
                m_Context.applicationLog->LogErrorDetail("Cannot read the %s", BX_PrintableName(picture.file).c_str());
            }
        }
        m_Outcome.failed += !picture.isUnreadable && !picture.reason.empty() ? 1 : 0;
        m_Outcome.wasCancelled |= picture.isCancelled;
        if (picture.isFound) {
            TakeSign(picture.search);
        }
    }

    // A certain sign goes before an uncertain one that was found earlier.
    void TakeSign(const SBxSearchResult& found) {
        const bool isUncertain = BX_IsUncertain(found);
        if (!m_Outcome.signFound || (m_Outcome.isFirstUncertain && !isUncertain)) {
            m_Outcome.firstSign = found.sign;
            m_Outcome.isFirstUncertain = isUncertain;
        }
        m_Outcome.signFound = true;
        m_Outcome.uncertain += isUncertain ? 1 : 0;
    }

    void Finish() {
        m_Outcome.wasCancelled |= m_Outcome.processed < m_Outcome.total;
        if (m_Outcome.wasCancelled) {
            m_Log.Info(kCancelledLine);
        }
        LogToApplication(m_Outcome.wasCancelled ? kCancelledLine : "PDF detection succeeded.");
        m_Log.Close();
        if (!m_Log.IsWhole()) {
            m_Outcome.logFault = CBxLocalization::Translate("the log could not be written to the end");
        }
    }

    void LogToApplication(const std::string& text) {
        if (m_Context.applicationLog != nullptr) {
            m_Context.applicationLog->LogInfo("%s", BX_PrintableName(text).c_str());
        }
    }

    bool FailInApplicationLog(const std::string& text) {
        if (m_Context.applicationLog != nullptr) {
            m_Context.applicationLog->LogError("%s", BX_PrintableName(text).c_str());
        }
        return false;
    }

    const SBxRunContext& m_Context;
    const std::string m_strDocument;
    SBxPdfDetectOutcome& m_Outcome;
    CBxPrivateFolder m_PrivateFolder;
    CBxRunFolder m_RunFolder;  // goes before the folder that it lies in
    SBxPdfPictures m_Pictures;
    CBxRunLog m_Log;
};

}  // namespace

SBxPdfDetectOutcome BX_RunPdfDetect(const SBxRunContext& context, const std::string& document,
                                    const CBxPdfPictureReport& report) {
    SBxPdfDetectOutcome outcome;
    const CBxRunWatch watch(context.progress);
    CBxPdfSearch(context, document, outcome).Run(report);
    return outcome;
}

std::string BX_GetMessage(const SBxPdfDetectOutcome& outcome) {
    if (outcome.hasFailed) {
        return CBxLocalization::Translate("PDF detection failed.");
    }
    if (!outcome.signFound) {
        return CBxLocalization::Translate("No sign detected");
    }
    const char* const text = outcome.isFirstUncertain ? CBxLocalization::Translate("Possibly a sign:")
                                                      : CBxLocalization::Translate("Sign found:");
    return std::string(text) + " " + outcome.firstSign;
}
