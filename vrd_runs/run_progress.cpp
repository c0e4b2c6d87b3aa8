#include "run_progress.h"

#include <algorithm>
#include <system_error>

namespace {

constexpr std::chrono::milliseconds kWatchPeriod(100);

}  // namespace

void CBxRunProgress::Clear() {
    const std::lock_guard<std::mutex> lock(m_Mutex);
    m_bCancelled = false;
    m_bRunning = false;
    m_Total = 0;
    m_Processed = 0;
    m_strCurrent.clear();
    m_strStep.clear();
}

void CBxRunProgress::Cancel() {
    m_bCancelled = true;
    PassOnCancel();
}

bool CBxRunProgress::IsCancelled() const {
    return m_bCancelled || (m_StopAsked && m_StopAsked());
}

SBxProgressView CBxRunProgress::View() const {
    const std::lock_guard<std::mutex> lock(m_Mutex);
    SBxProgressView view;
    view.running = m_bRunning;
    view.total = m_Total;
    view.processed = m_Processed;
    view.current = m_strCurrent;
    view.step = m_strStep;
    if (m_bRunning) {
        const auto elapsed = std::chrono::steady_clock::now() - m_Begin;
        view.elapsedMilliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(elapsed).count();
    }
    if (!m_InWork.empty()) {
        char step[SProgressData::kTextBytes] = "";
        SProgressData& data = m_InWork.front().run->m_ProgressData;
        data.GetText(step);
        data.GetPercentage(view.percentage);
        view.percentage = std::clamp(view.percentage, 0.0, 100.0);
        view.current = m_InWork.front().title;
        view.step = step;
    }
    return view;
}

void CBxRunProgress::Begin() {
    const std::lock_guard<std::mutex> lock(m_Mutex);
    m_bRunning = true;
    m_Begin = std::chrono::steady_clock::now();
}

void CBxRunProgress::End() {
    const std::lock_guard<std::mutex> lock(m_Mutex);
    m_bRunning = false;
}

void CBxRunProgress::SetTotal(std::size_t total) {
    const std::lock_guard<std::mutex> lock(m_Mutex);
    m_Total = total;
}

void CBxRunProgress::SetProcessed(std::size_t processed) {
    const std::lock_guard<std::mutex> lock(m_Mutex);
    m_Processed = processed;
}

void CBxRunProgress::SetTexts(const std::string& current, const std::string& step) {
    const std::lock_guard<std::mutex> lock(m_Mutex);
    m_strCurrent = current;
    m_strStep = step;
}

void CBxRunProgress::PassOnCancel() {
    if (!IsCancelled()) {
        return;
    }
    const std::lock_guard<std::mutex> lock(m_Mutex);
    for (const SInWork& inWork : m_InWork) {
        inWork.run->AbortDetecting();
    }
}

CBxPictureInWork::CBxPictureInWork(CBxRunProgress& progress, SBxSignRun& run, const std::string& title)
    : m_Progress(progress), m_Run(run) {
    const std::lock_guard<std::mutex> lock(m_Progress.m_Mutex);
    m_Progress.m_InWork.push_back({&run, title});
    m_Progress.m_strCurrent = title;
}

CBxPictureInWork::~CBxPictureInWork() {
    const std::lock_guard<std::mutex> lock(m_Progress.m_Mutex);
    std::vector<CBxRunProgress::SInWork>& inWork = m_Progress.m_InWork;
    inWork.erase(std::find_if(inWork.begin(), inWork.end(),
                              [this](const CBxRunProgress::SInWork& entry) { return entry.run == &m_Run; }));
}

CBxRunWatch::CBxRunWatch(CBxRunProgress& progress) : m_Progress(progress) {
    m_Progress.Begin();
    try {
        m_Thread = std::thread([this] { Watch(); });
    } catch (const std::system_error&) {
        // Without a thread a wish to end is noticed between two pictures.
    }
}

CBxRunWatch::~CBxRunWatch() {
    {
        const std::lock_guard<std::mutex> lock(m_Mutex);
        m_bEnded = true;
    }
    m_Ended.notify_all();
    if (m_Thread.joinable()) {
        m_Thread.join();
    }
    m_Progress.End();
}

void CBxRunWatch::Watch() {
    std::unique_lock<std::mutex> lock(m_Mutex);
    while (!m_Ended.wait_for(lock, kWatchPeriod, [this] { return m_bEnded; })) {
        m_Progress.PassOnCancel();
    }
}
