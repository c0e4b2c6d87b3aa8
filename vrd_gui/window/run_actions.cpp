// Signing and detecting in the open picture.
#include <QCoreApplication>
#include <algorithm>
#include <cstdio>
#include <cstring>

#include "gui_text.h"
#include "input_sign_dlg.h"
#include "large_picture.h"
#include "messages.h"
#include "qt_text.h"
#include "result.h"
#include "result_dlgs.h"
#include "thread_hand_over.h"
#include "veridane_gui.h"

namespace {

constexpr unsigned int kSignBufferBytes = 12;
constexpr unsigned int kResultTitleBytes = 200;
constexpr int kFrameMargin = 20;
constexpr int kFrameEnd = 4;

// A carrier's frame, wider than the carrier and inside the picture.
CBxRect<int> FrameOf(const CBxRect<int>& carrier, const SBxPicBuf& picture) {
    return {std::max(carrier.left - kFrameMargin, 0), std::max(carrier.top - kFrameMargin, 0),
            std::min(carrier.right + kFrameMargin, picture.m_iWidth - kFrameEnd),
            std::min(carrier.bottom + kFrameMargin, picture.m_iHeight - kFrameEnd)};
}

// Where a sign was found and how well it was preserved, in one line.
QString DescribeFinding(const SBxSearchResult& found) {
    const CBxRect<int>& area = found.rectangle;
    return BX_FilledText(
        "Read at %s%% of the size, in %d x %d pixels at (%d, %d); corrected bits: %d",
        {QString::number(found.zoom * 100.0, 'f', 0), QString::number(area.Width()), QString::number(area.Height()),
         QString::number(area.left), QString::number(area.top), QString::number(found.correctedBits)});
}

QString DescribeShrinking(const SBxSearchResult& result) {
    return BX_FilledText("The picture is too large to be searched itself; a copy of %d x %d pixels was searched.",
                         {QString::number(result.shrunkTo.width), QString::number(result.shrunkTo.height)});
}

}  // namespace

bool CBxVeridaneGui::IsRunning() const {
    return m_SignThread.isRunning() || m_DetectThread.isRunning() || m_SaveThread.isRunning() ||
           m_pBatchProgressDlg != nullptr;
}

void CBxVeridaneGui::OnSignImage() {
    if (!m_Open.IsOpen() || IsRunning()) {
        return;
    }
    char sign[kSignBufferBytes] = "";
    std::snprintf(sign, sizeof(sign), "%s", m_pConfig->m_szLatestSign);
    if (!CBxInputSignDlg::InputSign(this, sign, kSignBufferBytes)) {
        return;
    }
    std::snprintf(m_pConfig->m_szLatestSign, sizeof(m_pConfig->m_szLatestSign), "%.10s", sign);
    BeginRun();
    std::snprintf(m_SignThread.m_szSignText, sizeof(m_SignThread.m_szSignText), "%s", sign);
    m_SignThread.m_bCancelled = false;
    BX_StartThread(m_SignThread);
    m_Timer.start();
}

void CBxVeridaneGui::OnDetectSign() {
    if (!m_Open.IsOpen() || IsRunning()) {
        return;
    }
    BeginRun();
    BX_StartThread(m_DetectThread);
    m_Timer.start();
}

void CBxVeridaneGui::BeginRun() {
    SetNote(QString());
    CBxSignOp::m_ProgressData.SetText(BX_Text("Please wait ...").toUtf8().constData());
    CBxSignOp::m_ProgressData.SetPercentage(0.0);
    m_pProgressDlg = new CBxSimpleProgressDlg(this);
    m_pProgressDlg->SetText(BX_Text("Please wait ..."));
    m_pProgressDlg->SetPercentage(0);
    m_pProgressDlg->setWindowModality(Qt::WindowModal);
    connect(m_pProgressDlg, &CBxSimpleProgressDlg::CancelReleased, this, &CBxVeridaneGui::OnDetectCanceled);
    m_bCancelled = false;
    m_pProgressDlg->show();
}

void CBxVeridaneGui::EndRun() {
    m_Timer.stop();
    m_pProgressDlg->hide();
    delete m_pProgressDlg;
    m_pProgressDlg = nullptr;
}

// The worker ends on its own and is not waited for here.
void CBxVeridaneGui::OnDetectCanceled() {
    m_bCancelled = true;
    m_SignThread.m_bCancelled = true;
    m_SaveThread.m_bCancelled = true;
    CBxSignOp::AbortDetecting();
}

void CBxVeridaneGui::OnTimer() {
    if (m_pBatchProgressDlg != nullptr) {
        ShowBatchProgress();
        return;
    }
    if (m_pProgressDlg == nullptr) {
        return;
    }
    if (m_bCancelled) {
        // Once more: a search that began just after the first time has not heard of it.
        CBxSignOp::AbortDetecting();
        m_pProgressDlg->SetText(BX_Text("Cancelling the detection..."));
        return;
    }
    char step[SProgressData::kTextBytes] = "";
    double percentage = 0.0;
    CBxSignOp::m_ProgressData.GetText(step);
    CBxSignOp::m_ProgressData.GetPercentage(percentage);
    m_pProgressDlg->SetText(QString::fromUtf8(step));
    m_pProgressDlg->SetPercentage(static_cast<int>(percentage));
}

void CBxVeridaneGui::OnSignThreadFinished() {
    BX_CollectThread(m_SignThread);
    EndRun();
    if (m_bCancelled) {
        m_SignThread.m_Signed = SBxSignedPicture();
        emit RunEnded();
        return;
    }
    if (m_SignThread.m_bStatus) {
        LogError("The picture was not signed.");
        TellSignFault(m_SignThread.m_Signed.fault);
    } else {
        std::swap(m_Open.picture, m_SignThread.m_Signed.picture);
        m_Open.sign = m_SignThread.m_szSignText;
        ShowSignedAreas();
        m_Open.isModified = true;
        UpdateWindowTitle();
    }
    m_SignThread.m_Signed = SBxSignedPicture();
    emit RunEnded();
}

void CBxVeridaneGui::TellSignFault(EBxSignFault fault) {
    QString text;
    switch (fault) {
        case EBxSignFault::kAlreadySigned:
            text = BX_Text("Cannot sign already signed image!");
            break;
        case EBxSignFault::kTooLarge:
            text = BX_Text("The picture was not signed: only pictures of up to 40 megapixels can be signed.");
            break;
        case EBxSignFault::kNoMemory:
            text = BX_Text("The picture was not signed: there is not enough memory.");
            break;
        case EBxSignFault::kNoPlace:
            text = BX_Text("The picture was not signed: no part of it can carry a sign.");
            break;
        case EBxSignFault::kUnreadable:
            text = BX_Text(
                "The picture was not signed: the sign could not be read again. Another size of the picture "
                "may carry it better.");
            break;
        default:
            text = BX_Text("The picture was not signed: the sign could not be inserted.");
            break;
    }
    BX_ShowMessage(this, BX_Text("Warning"), text);
}

// The frames are in a copy that only the view has, and drawn once more over it, so that they are seen at every zoom.
void CBxVeridaneGui::ShowSignedAreas() {
    CBxImageArea& image = m_Form.scrollArea->Image();
    const SBxPicBuf& picture = CurrentPicture();
    std::vector<CBxRect<int>> frames;
    for (const CBxRect<int>& carrier : m_SignThread.m_Signed.carriers) {
        frames.push_back(FrameOf(carrier, picture));
    }
    CBxOwnedPic marked;
    if (marked.AllocateLike(picture) == kBxSuccess) {
        CBxPicBufAPI::Copy(marked.Pic(), picture);
        for (std::size_t i = 0; i < frames.size(); ++i) {
            CBxSignOp::WriteRectToPicBuf(&marked.Pic(), frames[i], static_cast<unsigned int>(i));
        }
    }
    image.ShowPicture(marked->m_pData != nullptr ? marked.Pic() : picture, m_Open.orientation, true);
    image.SetFrames(std::move(frames));
    BX_ShowMessage(this, "Veridane", BX_Text("Your sign was inserted to the highlighted area."));
    image.SetFrames({});
    image.ShowPicture(picture, m_Open.orientation, false);
}

void CBxVeridaneGui::OnDetectThreadFinished() {
    BX_CollectThread(m_DetectThread);
    EndRun();
    if (!m_bCancelled) {
        ShowFinding();
    }
    emit RunEnded();
}

void CBxVeridaneGui::ShowFinding() {
    const SBxSearchResult& found = m_DetectThread.m_Found;
    if (found.code == kBxOutOfMemory) {
        BX_ShowMessage(this, BX_Text("Warning"), BX_Text("The picture was not searched: there is not enough memory."));
        return;
    }
    const QString shrinking = found.shrunkTo.width > 0 ? DescribeShrinking(found) : QString();
    if (!m_DetectThread.m_bSignFound) {
        CBxResultDlg::ShowSign(this, BX_Text("No sign detected").toUtf8().constData(), "",
                               shrinking.toUtf8().constData());
        return;
    }
    char title[kResultTitleBytes];
    BX_QStringToUTF8(title, sizeof(title) - 1, "<font color='red'>" + BX_Text("Sign Found!") + "<font>");
    title[sizeof(title) - 1] = '\0';
    m_Form.scrollArea->Image().SetFrames({found.rectangle});
    const QString detail = shrinking.isEmpty() ? DescribeFinding(found) : DescribeFinding(found) + " " + shrinking;
    CBxResultDlg::ShowSign(this, title, m_DetectThread.m_szDetectedText, detail.toUtf8().constData());
    m_Form.scrollArea->Image().SetFrames({});
}
