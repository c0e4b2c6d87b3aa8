#include "picture_threads.h"

#include <cstdio>

#include "result.h"
#include "thread_hand_over.h"
#include "veridane_gui.h"

void CBxSignThread::run() {
    const CBxThreadRun handOver(this);
    if (m_pMainWindow == nullptr) {
        return;
    }
    const unsigned int threads = BX_GetEngineThreads(m_pMainWindow->Config().m_iMaxThreads);
    m_Signed =
        BX_SignCopy(CBxSignOp::m_DefaultRun, m_pMainWindow->CurrentPicture(), m_szSignText, threads, m_bCancelled);
    m_bStatus = m_Signed.fault != EBxSignFault::kNone;
    m_bAlreadySigned = m_Signed.fault == EBxSignFault::kAlreadySigned;
    std::snprintf(m_szFoundText, sizeof(m_szFoundText), "%s", m_Signed.foundText);
}

void CBxDetectThread::run() {
    const CBxThreadRun handOver(this);
    if (m_pMainWindow == nullptr) {
        return;
    }
    const unsigned int threads = BX_GetEngineThreads(m_pMainWindow->Config().m_iMaxThreads);
    m_Found = BX_SearchPicture(CBxSignOp::m_DefaultRun, m_pMainWindow->CurrentPicture(), threads);
    m_bStatus = m_Found.code != kBxSuccess;
    m_bSignFound = !m_bStatus;
    std::snprintf(m_szDetectedText, sizeof(m_szDetectedText), "%s", m_Found.sign.c_str());
}

void CBxSaveThread::run() {
    const CBxThreadRun handOver(this);
    m_Outcome = BX_SavePicture(CBxSignOp::m_DefaultRun, m_Request, m_bCancelled);
}
