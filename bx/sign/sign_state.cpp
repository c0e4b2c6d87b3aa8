// Everything of the engine that is process-wide.
//
//   m_DefaultRun      the run of the operations that are called without one; its members say who touches them
//   hashpole          written once by GenerateHashPole under its own lock, read by everybody after m_bHashGenerated
#include <algorithm>
#include <cstring>

#include "sign_op.h"

SBxSignRun CBxSignOp::m_DefaultRun;
std::uint32_t& CBxSignOp::m_uiNoOfThreads = CBxSignOp::m_DefaultRun.m_uiNoOfThreads;
double& CBxSignOp::m_dProgressDelta = CBxSignOp::m_DefaultRun.m_dProgressDelta;
std::atomic<std::int32_t>& CBxSignOp::m_iStopDetecting = CBxSignOp::m_DefaultRun.m_iStopDetecting;
std::atomic<std::int32_t>& CBxSignOp::m_iAbortDetecting = CBxSignOp::m_DefaultRun.m_iAbortDetecting;
SProgressData& CBxSignOp::m_ProgressData = CBxSignOp::m_DefaultRun.m_ProgressData;
std::uint32_t& CBxSignOp::m_uiRectCount = CBxSignOp::m_DefaultRun.m_uiRectCount;
CBxRect<int> (&CBxSignOp::m_siRect)[5] = CBxSignOp::m_DefaultRun.m_siRect;

std::int32_t CBxSignOp::hashpole[71][3];
std::atomic<bool> CBxSignOp::m_bHashGenerated{false};

void CBxSignOp::AbortDetecting() {
    m_DefaultRun.AbortDetecting();
}

namespace {

// Holds a mutex for a scope.
class CLocked {
public:
    explicit CLocked(pthread_mutex_t& mutex) : m_Mutex(mutex) { pthread_mutex_lock(&m_Mutex); }
    ~CLocked() { pthread_mutex_unlock(&m_Mutex); }
    CLocked(const CLocked&) = delete;
    CLocked& operator=(const CLocked&) = delete;

private:
    pthread_mutex_t& m_Mutex;
};

}  // namespace

SProgressData::SProgressData() : m_szText{}, m_dPercentage(0.0) {
    pthread_mutex_init(&m_Mutex, nullptr);
}

SProgressData::~SProgressData() {
    pthread_mutex_destroy(&m_Mutex);
}

void SProgressData::SetText(const char* text) {
    const CLocked locked(m_Mutex);
    if (text != nullptr) {
        std::strncpy(m_szText, text, kTextBytes - 1);
        m_szText[kTextBytes - 1] = 0;
    }
}

void SProgressData::GetText(char* text) {
    const CLocked locked(m_Mutex);
    if (text != nullptr) {
        std::memcpy(text, m_szText, std::strlen(m_szText) + 1);
    }
}

void SProgressData::SetPercentage(double percentage) {
    const CLocked locked(m_Mutex);
    m_dPercentage = percentage;
}

void SProgressData::AddPercentage(double delta) {
    const CLocked locked(m_Mutex);
    m_dPercentage = std::clamp(m_dPercentage + delta, 0.0, 100.0);
}

void SProgressData::GetPercentage(double& percentage) {
    const CLocked locked(m_Mutex);
    percentage = m_dPercentage;
}
