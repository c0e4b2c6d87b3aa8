#include "stop_signals.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <utility>

namespace {

constexpr std::array<int, 3> kSignals{SIGTERM, SIGINT, SIGHUP};

// Read end and write end. The handler only writes a byte.
int g_stopPipe[2] = {-1, -1};
std::array<struct sigaction, kSignals.size()> g_oldActions;

void WriteByte(int) {
    const int oldError = errno;
    const char byte = 1;
    const ssize_t ignored = ::write(g_stopPipe[1], &byte, 1);
    static_cast<void>(ignored);
    errno = oldError;
}

}  // namespace

CBxStopSignals::CBxStopSignals(std::function<void()> onStop) : m_OnStop(std::move(onStop)) {
    if (::pipe2(g_stopPipe, O_CLOEXEC | O_NONBLOCK) != 0) {
        return;
    }
    m_pNotifier = std::make_unique<QSocketNotifier>(g_stopPipe[0], QSocketNotifier::Read);
    connect(m_pNotifier.get(), &QSocketNotifier::activated, this, &CBxStopSignals::TakeSignal);
    for (std::size_t i = 0; i < kSignals.size(); ++i) {
        struct sigaction action = {};
        action.sa_handler = WriteByte;
        action.sa_flags = SA_RESTART;
        ::sigemptyset(&action.sa_mask);
        ::sigaction(kSignals[i], nullptr, &g_oldActions[i]);
        if (g_oldActions[i].sa_handler != SIG_IGN) {
            ::sigaction(kSignals[i], &action, nullptr);
        }
    }
}

CBxStopSignals::~CBxStopSignals() {
    if (m_pNotifier == nullptr) {
        return;
    }
    for (std::size_t i = 0; i < kSignals.size(); ++i) {
        ::sigaction(kSignals[i], &g_oldActions[i], nullptr);
    }
    m_pNotifier.reset();
    ::close(g_stopPipe[0]);
    ::close(g_stopPipe[1]);
}

void CBxStopSignals::TakeSignal() {
    char bytes[16];
    while (::read(g_stopPipe[0], bytes, sizeof(bytes)) > 0) {
    }
    m_OnStop();
}
