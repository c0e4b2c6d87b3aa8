// What a deep search has found, by which stage, and how sure it is.
#pragma once

#include "grid_pose.h"
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
