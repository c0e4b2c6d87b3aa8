// The search of one zoom, and what the threads of a search are told.
#pragma once

#include <atomic>

#include "corner_search.h"
#include "search_picture.h"
#include "sign_format.h"
#include "sign_probe.h"
#include "sign_run.h"

// What a search remembers of the zooms that it has done: how strong their corners were, as a start for the next ones,
// and how closely candidates must be looked at. Shared by its threads; what a thread finds in it decides how long it
// takes, never what it finds.
class CBxStrengthMemory {
public:
    // A guess for a zoom, somewhat below what its neighbours had.
    SBxCornerBars GuessFor(double zoom) const;
    void Remember(double zoom, const SBxCornerBars& bars);

    // How to look at the candidates: more closely once too many of a zoom have passed, as they do on a white page.
    EBxProbe Probe() const { return m_bWide.load(std::memory_order_relaxed) ? EBxProbe::Wide : EBxProbe::Narrow; }
    void RememberPassed(unsigned int candidates);

private:
    struct SEntry {
        std::atomic<float> dark{0.0f};
        std::atomic<float> bright{0.0f};
    };
    SEntry m_Entries[kZooms];
    std::atomic<bool> m_bWide{false};
};

// Searches one zoom for a sign.
//
//   block     kTextBytes bytes of CBxSignOp; on 0 holds the 18 decoded characters
//   finding   written on 0
//
// 0 found; 1 not found, aborted, stopped, or the scaled picture has more than kMostPixelsToSearch pixels; 6 no memory.
// Threads may search zooms of one picture side by side, each with a block and a finding of its own.
[[nodiscard]] unsigned char BX_SearchZoom(SBxSignRun& run, const CBxSearchPicture& picture, char* block,
                                          SBxFinding& finding, double zoom, CBxStrengthMemory& memory);

// The share of one thread. Owned by the operation that starts the threads, which outlives them.
struct SBxZoomThread {
    unsigned int m_uiThread;   // its index; 0 is the calling thread
    unsigned int m_uiStep;     // number of threads
    unsigned int m_uiEntries;  // of the schedule
    char* m_pResult;           // its own block
    const CBxSearchPicture* m_pPicture;
    CBxStrengthMemory* m_pMemory;    // shared by the threads
    unsigned int m_uiOrder[kZooms];  // the schedule: zoom indices
    SBxSignRun* m_pRun;
    SBxFinding m_Finding;
    bool m_bOutOfMemory;  // a zoom of this thread ran out of memory
};
