#include "survive_thread.h"

#include "localization.h"
#include "result.h"
#include "survival_page.h"
#include "thread_hand_over.h"
#include "veridane_gui.h"

void CBxSurviveThread::run() {
    const CBxThreadRun handOver(this);
    m_Outcome = SBxSurvivalOutcome();
    m_strPage.clear();
    if (m_pMainWindow == nullptr) {
        return;
    }
    const SBxPicBuf& picture = m_pMainWindow->CurrentPicture();
    CBxOwnedPic copy;
    if (copy.AllocateLike(picture) != kBxSuccess) {
        m_Outcome.reason = CBxLocalization::Translate("there is not enough memory");
        return;
    }
    CBxPicBufAPI::Copy(copy.Pic(), picture);
    const SBxVRDConfig& config = m_pMainWindow->Config();
    const SBxRunContext context = {m_pMainWindow->BatchProgress(), config.m_iMaxThreads, config.m_iCompression, "", "",
                                   CBxVeridaneGui::GetLogger()};
    m_Outcome = BX_RunSurvival(context, copy.Pic(), m_strName, std::string(), nullptr, m_Trials);
    if (m_Outcome.hasFailed) {
        return;
    }
    m_strPage = BX_MakeSurvivalPage(m_Outcome, copy.Pic(), m_iOrientation, m_strName);
    if (m_strPage.empty()) {
        m_Outcome.hasFailed = true;
        m_Outcome.reason = CBxLocalization::Translate("there is not enough memory");
    }
}
