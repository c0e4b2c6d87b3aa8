// The deep search: looks for a sign where the ordinary search has found none, because the picture was brightened,
// turned, mirrored, cut, enlarged, or saved with a low quality.
//
// It reads the same signs by the same format. What it adds is patience: more places (every pair of corners that any
// zoom has seen, turned grids, cut ones), more interpretations of what is read there (tones, orientations), and a
// decoder that weighs how sure each cell is (soft_decoder.h). Each stage is one source, stage_*.cpp.
#pragma once

#include "corner_archive.h"
#include "deep_finding.h"
#include "pic_buf.h"
#include "sign_run.h"

// What a search cost, for benchmarks.
struct SBxDeepCost {
    unsigned long m_ulGrids = 0;      // places whose means were read
    unsigned long m_ulDecodings = 0;  // interpretations decoded
    double m_dSeconds = 0.0;          // processor time
    double m_dWallSeconds = 0.0;
};
struct SBxDeepCosts {
    SBxDeepCost m_Stages[kDeepStages];
    SBxDeepCost m_Corners;             // for corners that the ordinary search has not seen
    SBxDeepCost m_Sums;                // for the sums over the picture
    double m_dHighestAgreement = 0.0;  // of any text with one grid, reported or not
};

// Searches a 3_8 picture in which the ordinary search with this run has found nothing, or a doubtful text.
//
//   archive   the corners that the ordinary search has seen; those of further zooms are added
//   threads   1 .. 12
//   finding   written on 0
//   costs     receives what it cost, or null
//
// 0 found, certain or not; 1 nothing found or aborted; 6 without memory. The run's abort word and progress are used.
[[nodiscard]] unsigned char BX_SearchDeep(SBxSignRun& run, const SBxPicBuf& picture, CBxCornerArchive& archive,
                                          unsigned int threads, SBxDeepFinding& finding, SBxDeepCosts* costs);
