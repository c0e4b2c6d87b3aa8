// The deep search: looks for a sign where the ordinary search has found none, because the picture was brightened,
// turned, mirrored, cut, enlarged, or saved with a low quality.
//
// It reads the same signs by the same format. What it adds is patience: more places (every pair of corners that any
// zoom has seen, turned grids, cut ones), more interpretations of what is read there (tones, orientations), and a
// decoder that weighs how sure each cell is (soft_decoder.h). Each stage is one source, stage_*.cpp.
#pragma once

#include "corner_archive.h"
#include "grid_pose.h"
#include "pic_buf.h"
#include "sign_run.h"
#include "soft_decoder.h"
#include "tone.h"

enum class EBxDeepStage {
    Pairs,         // grids between corners, as they are
    Tones,         // the same under another gain and offset
    Turned,        // turned grids
    Orientations,  // quarter turns and mirrorings
    Cut,           // the whole picture as carrier, cut or turned
    Joined,        // several carriers of the picture together
    OneCorner,     // grids that start at one corner
    BentTones,     // grids between corners under another exponent
    Anywhere,      // any grids that maps of cells speak for
};
inline constexpr int kDeepStages = 9;

// When a reading is certain: it agrees well and has a clear lead over the runner-up, the clearer the less it agrees.
inline constexpr double kCertainAgreement = 12.0;
inline constexpr double kGapOfCertainAgreement = 0.8;  // at that agreement,
inline constexpr double kGapPerAgreement = 0.3;        // and so much less for each unit above
// A reading is worth reporting at all when the chance of its agreement, over all decodings so far, is below 2^-this.
inline constexpr double kEvidenceBits = 8.0;

inline bool BX_IsCertain(const SBxSoftReading& reading) {
    return reading.m_dAgreement >= kCertainAgreement &&
           reading.m_dGap >= kGapOfCertainAgreement - kGapPerAgreement * (reading.m_dAgreement - kCertainAgreement);
}

struct SBxDeepFinding {
    SBxSoftReading m_Reading;
    bool m_bCertain = false;
    EBxDeepStage m_eStage = EBxDeepStage::Pairs;
    SBxGridPose m_Pose = {};  // of the carrier, in pixels of the picture
    SBxTone m_Tone;           // what became of the tones since the sign was written
    double m_dScale = 1.0;    // about how much the picture was scaled since; 0 where nothing tells it
    double m_dTurned = 0.0;   // degrees clockwise, as seen on a screen, quarter turns included
    bool m_bMirrored = false;
};

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
