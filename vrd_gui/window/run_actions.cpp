// Signing and detecting in the open picture.
#include <QCoreApplication>
#include <algorithm>
#include <cstdio>
#include <cstring>

#include "finding_text.h"
#include "gui_text.h"
#include "input_sign_dlg.h"
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
CBxRect<int> WidenCarrier(const CBxRect<int>& carrier, const SBxPicBuf& picture) {
    return {std::max(carrier.left - kFrameMargin, 0), std::max(carrier.top - kFrameMargin, 0),
            std::min(carrier.right + kFrameMargin, picture.m_iWidth - kFrameEnd),
            std::min(carrier.bottom + kFrameMargin, picture.m_iHeight - kFrameEnd)};
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
    StartDetection(false);
}

void CBxVeridaneGui::OnSearchHarder() {
    StartDetection(true);
}

void CBxVeridaneGui::StartDetection(bool isHarder) {
    if (!m_Open.IsOpen() || IsRunning()) {
        return;
    }
    BeginRun();
    m_DetectThread.m_bHarder = isHarder;
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
    std::vector<CBxFrame> frames;
    CBxOwnedPic marked;
    if (marked.AllocateLike(picture) == kBxSuccess) {
        CBxPicBufAPI::Copy(marked.Pic(), picture);
    }
    for (const CBxRect<int>& carrier : m_SignThread.m_Signed.carriers) {
        const CBxRect<int> frame = WidenCarrier(carrier, picture);
        if (marked->m_pData != nullptr) {
            CBxSignOp::WriteRectToPicBuf(&marked.Pic(), frame, static_cast<unsigned int>(frames.size()));
        }
        frames.push_back(BX_FrameOf(frame));
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
    const bool isSearchingOn = m_pProgressDlg != nullptr;
    if (!isSearchingOn) {
        emit RunEnded();
    }
}

void CBxVeridaneGui::ShowFinding() {
    const SBxSearchResult& found = m_DetectThread.m_Found;
    if (found.code == kBxOutOfMemory) {
        BX_ShowMessage(this, BX_Text("Warning"), BX_Text("The picture was not searched: there is not enough memory."));
        return;
    }
    if (!m_DetectThread.m_bSignFound) {
        ShowNothingFound();
        return;
    }
    char title[kResultTitleBytes];
    BX_QStringToUTF8(title, sizeof(title) - 1, BX_GetFindingTitle(found));
    title[sizeof(title) - 1] = '\0';
    m_Form.scrollArea->Image().SetFrames({BX_GetCarrierFrame(found)});
    CBxResultDlg::ShowSign(this, title, m_DetectThread.m_szDetectedText,
                           BX_GetFindingDetail(found).toUtf8().constData());
    m_Form.scrollArea->Image().SetFrames({});
}

void CBxVeridaneGui::ShowNothingFound() {
    const bool isHarder = m_DetectThread.m_bHarder;
    const QByteArray title = BX_Text("No sign detected").toUtf8();
    const QByteArray detail = BX_GetNothingDetail(m_DetectThread.m_Found, isHarder).toUtf8();
    if (isHarder) {
        CBxResultDlg::ShowSign(this, title.constData(), "", detail.constData());
    } else if (CBxResultDlg::OfferHarderSearch(this, title.constData(), detail.constData()) && !m_bEnding) {
        OnSearchHarder();
    }
}
