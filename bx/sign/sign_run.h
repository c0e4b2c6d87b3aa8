// What one run of the engine (a detection, an insertion, a signing) needs and shares between its threads.
#pragma once

#include <pthread.h>

#include <atomic>
#include <cstdint>

#include "geometry.h"

class CBxCornerArchive;

// The progress of a run: a step text and a percentage, polled by whoever shows it. Every operation locks the mutex.
class SProgressData {
public:
    static constexpr unsigned int kTextBytes = 500;

    SProgressData();
    ~SProgressData();
    SProgressData(const SProgressData&) = delete;
    SProgressData& operator=(const SProgressData&) = delete;

    // Takes a copy of the text, cut to kTextBytes - 1 bytes; null changes nothing.
    void SetText(const char* text);
    // Copies the text, at most kTextBytes bytes with its end; null does nothing.
    void GetText(char* text);
    // Stores the value as it is.
    void SetPercentage(double percentage);
    // Adds and clamps the sum to 0 .. 100.
    void AddPercentage(double delta);
    void GetPercentage(double& percentage);

private:
    char m_szText[kTextBytes];
    double m_dPercentage;
    pthread_mutex_t m_Mutex;
};

// Where and how a sign was found.
struct SBxFinding {
    double m_dZoom = 0.0;  // the zoom at which the block was accepted
    CBxRect<double> m_Rectangle{0.0, 0.0, 0.0,
                                0.0};    // the carrier, in pixels of the picture that was searched (unscaled)
    unsigned int m_uiCorrectedBits = 0;  // bits of the 16 code words that the error correction changed
};

// The state of one run. Runs share nothing with each other, so two of them in one process cannot stop each other.
struct SBxSignRun {
    // Set before the threads of the run start.
    std::uint32_t m_uiNoOfThreads = 1;  // 1 .. 12
    double m_dProgressDelta = 0.0;      // percentage added for each zoom; kept from run to run

    // What every searched zoom adds its corners to, or null. Whoever sets it owns it and takes it away again.
    CBxCornerArchive* m_pCorners = nullptr;

    // Polled without a lock between the steps.
    std::atomic<std::int32_t> m_iStopDetecting{-1};  // -1, or the index of the thread that found the sign
    std::atomic<std::int32_t> m_iAbortDetecting{0};  // above 0: stop as soon as possible

    // Locked by its own mutex.
    SProgressData m_ProgressData;

    // Written by the run, read when it has ended.
    SBxFinding m_Finding;             // valid after a detection that returned 0
    std::uint32_t m_uiRectCount = 0;  // carriers of the last insertion
    CBxRect<int> m_siRect[5] = {};    // their frames, in pixels of the picture

    // Asks the run to stop; the next detection starts unaborted. May be called from any thread.
    void AbortDetecting() { m_iAbortDetecting.store(1, std::memory_order_relaxed); }
};
