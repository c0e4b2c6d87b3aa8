// Looks after a run of the engine from beside it: passes a stop request on, and draws how far the run is.
#pragma once

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

#include "sign_run.h"

// From construction to destruction a thread wakes ten times a second. It repeats a stop request as long as the run
// lasts, because every detection clears the engine's word when it starts; and it draws the bar on standard error, which
// the destructor wipes away again.
class CBxRunWatcher {
public:
    // The run must live longer. `title` is a path in printable characters, whose last part stands behind the bar.
    CBxRunWatcher(SBxSignRun& run, bool showProgress, const std::string& title);
    ~CBxRunWatcher();
    CBxRunWatcher(const CBxRunWatcher&) = delete;
    CBxRunWatcher& operator=(const CBxRunWatcher&) = delete;

private:
    void Watch();
    void Draw();

    SBxSignRun& m_Run;
    const bool m_bShowProgress;
    const std::string m_strTitle;
    std::mutex m_Mutex;
    std::condition_variable m_Ended;
    bool m_bEnded = false;  // guarded by m_Mutex
    std::thread m_Thread;
};
