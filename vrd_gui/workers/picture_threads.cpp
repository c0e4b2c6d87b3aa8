#include "picture_threads.h"

#include <cstdio>
#include <new>
#include <utility>

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
    SBxPicBuf& picture = m_pMainWindow->CurrentPicture();
    std::unique_ptr<CBxCornerArchive> corners = std::exchange(m_pCorners, nullptr);
    if (m_bHarder) {
        m_Found = corners == nullptr ? BX_SearchPicture(CBxSignOp::m_DefaultRun, picture, threads, EBxSearchDepth::Deep)
                                     : BX_SearchHarder(CBxSignOp::m_DefaultRun, picture, threads, *corners);
    } else {
        corners.reset(new (std::nothrow) CBxCornerArchive);
        m_Found = corners == nullptr ? BX_SearchPicture(CBxSignOp::m_DefaultRun, picture, threads)
                                     : BX_SearchPicture(CBxSignOp::m_DefaultRun, picture, threads, *corners);
        m_pCorners = m_Found.code == kBxFailure ? std::move(corners) : nullptr;
    }
    m_bStatus = m_Found.code != kBxSuccess;
    m_bSignFound = !m_bStatus;
    std::snprintf(m_szDetectedText, sizeof(m_szDetectedText), "%s", m_Found.sign.c_str());
}

void CBxSaveThread::run() {
    const CBxThreadRun handOver(this);
    m_Outcome = BX_SavePicture(CBxSignOp::m_DefaultRun, m_Request, m_bCancelled);
}
