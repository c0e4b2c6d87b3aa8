#include "stop_request.h"

#include <atomic>
#include <csignal>
#include <initializer_list>

namespace {

// Written by the handler, read by every thread.
std::atomic<int> g_stopSignal{0};
static_assert(std::atomic<int>::is_always_lock_free, "a signal handler may not lock");

void RememberSignal(int number) {
    g_stopSignal.store(number, std::memory_order_relaxed);
}

}  // namespace

void BX_CatchStopSignals() {
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction old = {};
        if (::sigaction(number, nullptr, &old) == 0 && old.sa_handler == SIG_IGN) {
            continue;
        }
        struct sigaction action = {};
        action.sa_handler = RememberSignal;
        // Reset after the first: whoever asks twice does not want to wait.
        action.sa_flags = static_cast<int>(SA_RESETHAND | SA_RESTART);
        ::sigemptyset(&action.sa_mask);
        ::sigaction(number, &action, nullptr);
    }
}

int BX_GetStopSignal() {
    return g_stopSignal.load(std::memory_order_relaxed);
}
