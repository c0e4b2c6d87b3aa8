// Trying what a sign in the open picture survives.
#include <utility>

#include "gui_text.h"
#include "messages.h"
#include "qt_text.h"
#include "survival_dlg.h"
#include "thread_hand_over.h"
#include "veridane_gui.h"

void CBxVeridaneGui::OnSurvive() {
    StartSurvival(BX_GetTrials(false));
}

void CBxVeridaneGui::StartSurvival(const std::vector<SBxTrial>& trials) {
    if (!m_Open.IsOpen() || IsRunning()) {
        return;
    }
    m_SurviveThread.m_Trials = trials;
    m_SurviveThread.m_strName = BX_ExtractFileName(m_Open.path).toStdString();
    m_SurviveThread.m_iOrientation = m_Open.orientation;
    StartBatch(m_SurviveThread, BX_Text("Trying What the Sign Survives..."), SLOT(OnSurviveCanceled()));
}

void CBxVeridaneGui::OnSurviveCanceled() {
    m_BatchProgress.Cancel();
}

void CBxVeridaneGui::OnSurviveFinished() {
    EndBatch(m_SurviveThread);
    const SBxSurvivalOutcome outcome = std::exchange(m_SurviveThread.m_Outcome, {});
    const std::string page = std::exchange(m_SurviveThread.m_strPage, {});
    if (m_bEnding || outcome.wasCancelled) {
        emit RunEnded();
        return;
    }
    if (outcome.hasFailed) {
        BX_ShowFileFault(this, BX_Text("What the sign survives could not be tried:"), m_Open.path,
                         QString::fromStdString(outcome.reason));
    } else {
        CBxSurvivalDlg::ShowPage(this, page, BX_UTF8ToQString(m_pConfig->m_szLatestFolder));
    }
    emit RunEnded();
}
