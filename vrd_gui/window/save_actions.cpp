// Saving.
#include <QEventLoop>
#include <QFileDialog>
#include <QFileInfo>
#include <algorithm>

#include "gui_text.h"
#include "input_compression_dlg.h"
#include "messages.h"
#include "output_target.h"
#include "save_names.h"
#include "thread_hand_over.h"
#include "veridane_gui.h"

namespace {

constexpr int kBestQuality = 100;

bool IsJpeg(const QString& path) {
    return BX_GetPictureFormat(path.toStdString()) == EBxPictureFormat::kJpeg;
}

}  // namespace

void CBxVeridaneGui::OnSaveImage() {
    if (!m_Open.IsOpen() || IsRunning()) {
        return;
    }
    const QString path = AskForTarget();
    if (path.isEmpty()) {
        return;
    }
    SetLatestFolder(path);
    if (IsJpeg(path) && m_pConfig->m_bAskCompression && !AskForQuality()) {
        return;
    }
    while (!TellSaveOutcome(path, SaveTo(path))) {
        if (!AskForQuality()) {
            break;
        }
    }
    emit RunEnded();
}

// The name with its ending, or nothing when the user has changed his mind.
QString CBxVeridaneGui::AskForTarget() {
    const QString proposal =
        BX_GetProposedPath(QString::fromUtf8(m_pConfig->m_szLatestFolder), m_Open.path, m_Open.isModified);
    QString filter = BX_GetSaveFilter(BX_GetSaveKindOf(m_Open.path));
    for (;;) {
        const QString chosen =
            QFileDialog::getSaveFileName(this, BX_Text("Save As..."), proposal, BX_GetSaveFilters(), &filter);
        if (chosen.isEmpty()) {
            return QString();
        }
        QString completed = BX_GetCompletedPath(chosen, proposal, BX_GetSaveKindOfFilter(filter));
        if (!IsTargetGood(completed)) {
            continue;
        }
        // The file dialog has asked only about the name that it was given.
        if (completed == chosen || !QFileInfo::exists(completed) ||
            BX_Ask(this, BX_Text("Warning"),
                   BX_FilledText("The file %s exists already. Do you want to replace it?",
                                 {QFileInfo(completed).fileName().toHtmlEscaped()}))) {
            return completed;
        }
    }
}

bool CBxVeridaneGui::IsTargetGood(const QString& path) {
    QString reason;
    if (BX_GetPictureFormat(path.toStdString()) == EBxPictureFormat::kUnknown) {
        reason = BX_Text("Its name must end with .jpg, .jpeg, .png, .tif, .tiff or .bmp.");
    } else {
        const std::string fault = BX_GetOutputFault(path.toStdString(), std::string(), true);
        reason = fault.empty() ? QString() : BX_ReasonText(fault.c_str());
    }
    if (!reason.isEmpty()) {
        BX_ShowFileFault(this, BX_Text("This file cannot be written:"), path, reason);
    }
    return reason.isEmpty();
}

bool CBxVeridaneGui::AskForQuality() {
    return CBxInputCompressionDlg::InputCompression(this, m_pConfig);
}

SBxSaveOutcome CBxVeridaneGui::SaveTo(const QString& path) {
    SBxSaveRequest& request = m_SaveThread.m_Request;
    request.picture = &CurrentPicture();
    request.path = path.toStdString();
    request.quality = std::clamp(m_pConfig->m_iCompression, 0, kBestQuality);
    request.metadataSource = m_Open.source.toStdString();
    request.extras = &m_Open.extras;
    request.sign = m_Open.sign;
    request.threads = BX_GetEngineThreads(m_pConfig->m_iMaxThreads);
    BeginRun();
    CBxSignOp::m_ProgressData.SetText(BX_Text("Saving the picture").toUtf8().constData());
    m_SaveThread.m_bCancelled = false;
    QEventLoop untilSaved;
    connect(&m_SaveThread, &QThread::finished, &untilSaved, &QEventLoop::quit);
    BX_StartThread(m_SaveThread);
    m_Timer.start();
    untilSaved.exec();
    BX_CollectThread(m_SaveThread);
    EndRun();
    return m_SaveThread.m_Outcome;
}

bool CBxVeridaneGui::TellSaveOutcome(const QString& path, const SBxSaveOutcome& outcome) {
    switch (outcome.end) {
        case EBxSaveEnd::kSaved:
            m_Open.path = path;
            m_Open.isModified = false;
            UpdateWindowTitle();
            UpdateStatusBar();
            NoteWhatIsMissing(outcome.report);
            return true;
        case EBxSaveEnd::kLost:
            LogErrorDetail("Sign is corrupted because of jpeg comression");
            BX_ShowMessage(this, BX_Text("Warning"),
                           "<b>" + BX_Text("The inserted sign was corrupted because of JPEG compression.") +
                               "</b><br><br>" +
                               BX_Text("Please use different quality settings or different file format to preserve "
                                       "the sign!"),
                           true);
            return false;
        case EBxSaveEnd::kUnreadable:
            LogErrorDetail("The sign cannot be read in the picture, whatever the JPEG quality");
            BX_ShowMessage(this, BX_Text("Warning"),
                           "<b>" + BX_Text("The file was not written, because the sign cannot be read in it.") +
                               "</b><br><br>" +
                               BX_Text("The JPEG quality is not the cause: this picture does not carry the sign well. "
                                       "Another size of it may, at best one of less than 20 megapixels."),
                           true);
            return true;
        case EBxSaveEnd::kCancelled:
            return true;
        case EBxSaveEnd::kFailed:
            break;
    }
    BX_ShowFileFault(this, BX_Text("This file cannot be written:"), path, BX_ReasonText(outcome.report.m_szReason));
    return true;
}

void CBxVeridaneGui::NoteWhatIsMissing(const SBxFileReport& report) {
    if (report.m_bLacksExif || report.m_bLacksIptc) {
        SetNote(BX_Text("Saved without the photograph's camera data (EXIF, IPTC)."));
    } else if (report.m_bLacksProfile || m_Open.extras.hasUnusedProfile) {
        SetNote(BX_Text("Saved without the photograph's colour profile."));
    } else {
        SetNote(BX_Text("Saved."));
    }
}
