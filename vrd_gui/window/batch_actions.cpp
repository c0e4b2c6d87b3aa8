// Runs on folders and documents.
#include <QDir>
#include <QFileDialog>
#include <cstdio>

#include "gui_text.h"
#include "input_sign_dlg.h"
#include "messages.h"
#include "qt_text.h"
#include "result_dlgs.h"
#include "search_options_dlg.h"
#include "thread_hand_over.h"
#include "veridane_gui.h"

namespace {

constexpr unsigned int kSignBufferBytes = 12;

// Takes a chosen path over; false, after a message, when it is too long.
bool TakePath(QWidget* parent, char (&target)[kBxPathBytes], const QString& path) {
    if (path.toUtf8().size() >= static_cast<qsizetype>(sizeof(target))) {
        BX_ShowFileFault(parent, BX_Text("The path is too long:"), path, QString());
        return false;
    }
    BX_QStringToUTF8(target, sizeof(target), path);
    return true;
}

QString AskForFolder(QWidget* parent) {
    return QFileDialog::getExistingDirectory(parent, BX_Text("Select Folder"), QDir::rootPath());
}

}  // namespace

void CBxVeridaneGui::OnBatchSign() {
    if (IsRunning()) {
        return;
    }
    const QString folder = AskForFolder(this);
    if (folder.isEmpty() || !TakePath(this, m_BatchSignThread.m_szInputFolder, folder)) {
        return;
    }
    char sign[kSignBufferBytes] = "";
    std::snprintf(sign, sizeof(sign), "%s", m_pConfig->m_szLatestSign);
    if (!CBxInputSignDlg::InputSign(this, sign, sizeof(sign))) {
        return;
    }
    std::snprintf(m_pConfig->m_szLatestSign, sizeof(m_pConfig->m_szLatestSign), "%.*s",
                  static_cast<int>(sizeof(m_pConfig->m_szLatestSign)) - 1, sign);
    std::snprintf(m_BatchSignThread.m_szSignText, sizeof(m_BatchSignThread.m_szSignText), "%s", sign);
    StartBatch(m_BatchSignThread, BX_Text("Batch Signing..."), SLOT(OnBatchSignCanceled()));
}

void CBxVeridaneGui::OnBatchDetect() {
    if (IsRunning()) {
        return;
    }
    const QString folder = AskForFolder(this);
    if (!folder.isEmpty() && TakePath(this, m_BatchDetectThread.m_szInputFolder, folder) &&
        CBxSearchOptionsDlg::AskHow(this, BX_Text("Batch Detection..."), folder, m_BatchDetectThread.m_bHarder)) {
        StartBatch(m_BatchDetectThread, BX_Text("Batch Detection..."), SLOT(OnBatchDetectCanceled()));
    }
}

void CBxVeridaneGui::OnPDFDetect() {
    if (IsRunning()) {
        return;
    }
    const QString path = QFileDialog::getOpenFileName(
        this, BX_Text("Open Image"), BX_UTF8ToQString(m_pConfig->m_szLatestFolder), BX_Text("PDF Files") + " (*.pdf)");
    if (path.isEmpty()) {
        return;
    }
    SetLatestFolder(path);
    if (TakePath(this, m_PDFDetectThread.m_szPdfPath, path) &&
        CBxSearchOptionsDlg::AskHow(this, BX_Text("PDF Detection..."), path, m_PDFDetectThread.m_bHarder)) {
        StartBatch(m_PDFDetectThread, BX_Text("PDF Detection..."), SLOT(OnPDFDetectCanceled()));
    }
}

void CBxVeridaneGui::StartBatch(QThread& thread, const QString& title, const char* cancelSlot) {
    m_pBatchProgressDlg = new CBxBatchProgressDlg(this, title);
    m_pBatchProgressDlg->ShowCurrent(QString(), QString(), 0);
    m_pBatchProgressDlg->ShowTotal(0);
    connect(m_pBatchProgressDlg, SIGNAL(CancelReleased()), this, cancelSlot);
    m_pBatchProgressDlg->open();
    m_BatchProgress.Clear();
    m_RemainingTime.Clear();
    BX_StartThread(thread);
    m_Timer.start();
}

void CBxVeridaneGui::OnBatchSignCanceled() {
    m_BatchProgress.Cancel();
}

void CBxVeridaneGui::OnBatchDetectCanceled() {
    m_BatchProgress.Cancel();
}

void CBxVeridaneGui::OnPDFDetectCanceled() {
    m_BatchProgress.Cancel();
}

void CBxVeridaneGui::ShowBatchProgress() {
    const SBxProgressView view = m_BatchProgress.View();
    if (!view.running) {
        return;
    }
    const QString current = QString::fromStdString(view.current);
    const bool isDocument = m_PDFDetectThread.isRunning();
    m_pBatchProgressDlg->ShowCurrent(isDocument ? current : BX_Text("Processing...") + " " + current,
                                     QString::fromStdString(view.step), static_cast<int>(view.percentage));
    m_pBatchProgressDlg->ShowTotal(view.total == 0 ? 0 : static_cast<int>(view.processed * 100 / view.total));
    const std::int64_t remaining = m_RemainingTime.Tick(view.processed, view.total, view.elapsedMilliseconds);
    m_pBatchProgressDlg->ShowTimes(
        QString::fromStdString(BX_FormatClock(view.elapsedMilliseconds)),
        remaining < 0 ? BX_Text("Calculating...") : QString::fromStdString(BX_FormatClock(remaining)));
}

void CBxVeridaneGui::EndBatch(QThread& thread) {
    BX_CollectThread(thread);
    m_Timer.stop();
    m_pBatchProgressDlg->hide();
    delete m_pBatchProgressDlg;
    m_pBatchProgressDlg = nullptr;
}

void CBxVeridaneGui::ShowBatchResult(const std::string& message, const SBxRunOutcome& outcome) {
    if (!m_bEnding) {
        CBxBatchDetectResultDlg::ShowSign(this, message.c_str(), outcome.logPath.c_str(),
                                          BX_GetDetail(outcome).c_str());
    }
    emit RunEnded();
}

void CBxVeridaneGui::OnBatchSignFinished() {
    EndBatch(m_BatchSignThread);
    const SBxBatchSignOutcome& outcome = m_BatchSignThread.m_Outcome;
    ShowBatchResult(BX_GetMessage(outcome), outcome);
}

void CBxVeridaneGui::OnBatchDetectFinished() {
    EndBatch(m_BatchDetectThread);
    const SBxBatchDetectOutcome& outcome = m_BatchDetectThread.m_Outcome;
    ShowBatchResult(BX_GetMessage(outcome), outcome);
}

void CBxVeridaneGui::OnPDFDetectFinished() {
    EndBatch(m_PDFDetectThread);
    const SBxPdfDetectOutcome& outcome = m_PDFDetectThread.m_Outcome;
    ShowBatchResult(BX_GetMessage(outcome), outcome);
}
