#include "batch_threads.h"

#include <algorithm>
#include <cstdint>

#include "bundle_folder.h"
#include "thread_hand_over.h"
#include "veridane_gui.h"

namespace {

constexpr std::int32_t kBestQuality = 100;

SBxRunContext ContextOf(CBxVeridaneGui& window, bool isHarder = false) {
    const SBxVRDConfig& config = window.Config();
    const EBxSearchDepth depth = isHarder ? EBxSearchDepth::Deep : EBxSearchDepth::Ordinary;
    return {window.BatchProgress(),
            config.m_iMaxThreads,
            std::clamp(config.m_iCompression, 0, kBestQuality),
            BX_GetToolFolder(),
            config.m_szTemporaryFolder,
            CBxVeridaneGui::GetLogger(),
            depth};
}

}  // namespace

void CBxBatchSignThread::run() {
    const CBxThreadRun handOver(this);
    m_Outcome = SBxBatchSignOutcome();
    if (m_pMainWindow != nullptr) {
        m_Outcome = BX_RunBatchSign(ContextOf(*m_pMainWindow), m_szInputFolder, m_szSignText, {});
    }
}

void CBxBatchDetectThread::run() {
    const CBxThreadRun handOver(this);
    m_Outcome = SBxBatchDetectOutcome();
    if (m_pMainWindow != nullptr) {
        m_Outcome = BX_RunBatchDetect(ContextOf(*m_pMainWindow, m_bHarder), m_szInputFolder, {});
    }
}

void CBxPDFDetectThread::run() {
    const CBxThreadRun handOver(this);
    m_Outcome = SBxPdfDetectOutcome();
    if (m_pMainWindow != nullptr) {
        m_Outcome = BX_RunPdfDetect(ContextOf(*m_pMainWindow, m_bHarder), m_szPdfPath, {});
    }
}
