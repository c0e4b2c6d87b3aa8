// The search of one zoom, and what the threads of a search are told.
#pragma once

#include <atomic>

#include "corner_search.h"
#include "search_picture.h"
#include "sign_format.h"
#include "sign_run.h"

// How strong the corners of the zooms were that a search has done: a start for the next ones. Shared by its threads;
// what a thread finds in it decides how long it takes, never what it finds.
class CBxStrengthMemory {
public:
    // A guess for a zoom, somewhat below what its neighbours had.
    SBxCornerBars GuessFor(double zoom) const;
    void Remember(double zoom, const SBxCornerBars& bars);

private:
    struct SEntry {
        std::atomic<float> dark{0.0f};
        std::atomic<float> bright{0.0f};
    };
    SEntry m_Entries[kZooms];
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
