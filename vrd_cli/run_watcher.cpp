#include "run_watcher.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <system_error>

#include "stop_request.h"

namespace {

constexpr std::chrono::milliseconds kPeriod(100);
constexpr int kBarCharacters = 20;

std::size_t ColumnsOfTerminal() {
    winsize size = {};
    const bool isKnown = ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return isKnown ? size.ws_col : 80;
}

// Cuts to a number of characters, not in the middle of one.
std::string CutToColumns(const std::string& text, std::size_t columns) {
    std::size_t characters = 0;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const bool startsCharacter = (static_cast<unsigned char>(text[at]) & 0xC0) != 0x80;
        if (startsCharacter && ++characters > columns) {
            return text.substr(0, at);
        }
    }
    return text;
}

}  // namespace

CBxRunWatcher::CBxRunWatcher(SBxSignRun& run, bool showProgress, const std::string& title)
    : m_Run(run), m_bShowProgress(showProgress), m_strTitle(title.substr(title.rfind('/') + 1)) {
    try {
        m_Thread = std::thread([this] { Watch(); });
    } catch (const std::system_error&) {
        // Without a thread the run is not watched: it goes on, and a stop is noticed between its steps.
    }
}

CBxRunWatcher::~CBxRunWatcher() {
    {
        const std::lock_guard<std::mutex> lock(m_Mutex);
        m_bEnded = true;
    }
    m_Ended.notify_all();
    if (m_Thread.joinable()) {
        m_Thread.join();
    }
    if (m_bShowProgress) {
        std::fputs("\r\033[K", stderr);
        std::fflush(stderr);
    }
}

void CBxRunWatcher::Watch() {
    std::unique_lock<std::mutex> lock(m_Mutex);
    while (!m_Ended.wait_for(lock, kPeriod, [this] { return m_bEnded; })) {
        if (BX_IsStopRequested()) {
            m_Run.AbortDetecting();
        }
        if (m_bShowProgress) {
            Draw();
        }
    }
}

void CBxRunWatcher::Draw() {
    char step[SProgressData::kTextBytes] = "";
    double percentage = 0.0;
    m_Run.m_ProgressData.GetText(step);
    m_Run.m_ProgressData.GetPercentage(percentage);
    percentage = std::clamp(percentage, 0.0, 100.0);

    const auto filled = static_cast<std::size_t>(percentage / 100.0 * kBarCharacters + 0.5);
    char bar[64];
    std::snprintf(bar, sizeof(bar), "[%s%s] %3.0f %% ", std::string(filled, '#').c_str(),
                  std::string(kBarCharacters - filled, '.').c_str(), percentage);
    const std::string line = bar + (step + (": " + m_strTitle));
    const std::string shown = CutToColumns(line, ColumnsOfTerminal() - 1);
    std::fprintf(stderr, "\r\033[K%s", shown.c_str());
    std::fflush(stderr);
}
