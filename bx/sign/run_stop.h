// Ends a walk over rows when its run is asked to stop.
#pragma once

#include "corner_search.h"
#include "sign_run.h"

// What ends the walk: a request to abort, or also that another thread has found the sign.
enum class EBxStopOn { Abort, AbortOrFound };

class CBxRunStop : public CBxStopCheck {
public:
    CBxRunStop(const SBxSignRun& run, EBxStopOn stopOn) : m_Run(run), m_eStopOn(stopOn) {}

    bool Stopped() const override {
        return m_Run.m_iAbortDetecting.load(std::memory_order_relaxed) > 0 ||
               (m_eStopOn == EBxStopOn::AbortOrFound && m_Run.m_iStopDetecting.load(std::memory_order_relaxed) >= 0);
    }

private:
    const SBxSignRun& m_Run;
    EBxStopOn m_eStopOn;
};
