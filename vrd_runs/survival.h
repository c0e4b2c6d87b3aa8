// Tries what a sign survives: a signed picture is changed in memory as happens to pictures on their way, and searched.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "geometry.h"
#include "owned_pic.h"
#include "run_context.h"

enum class EBxTrialKind { Grid, Crop, Brightness, Turn };

// One change. Those of the grid are scaled and then saved as JPEG; all others are changed and then saved as JPEG of
// kQualityOfOthers, as whoever passes a picture on would.
struct SBxTrial {
    EBxTrialKind kind;
    int quality;    // of the JPEG
    double amount;  // Grid: scale in percent; Crop: percent of width and height cut off; Brightness: factor;
                    // Turn: degrees
};

inline constexpr int kQualityOfOthers = 90;

// In the order in which they are reported: the grid first, its qualities outermost. JPEG 95 to 50 at scales of 110 % to
// 45 %, cuts, brightness, turns: about a hundred. `quick` is about a dozen of them.
std::vector<SBxTrial> BX_GetTrials(bool quick);

// "JPEG 75, scale 60 %", "cut by 5 %", "brightness x 0.8", "turned by 1.0°", in the user's language.
std::string BX_DescribeTrial(const SBxTrial& trial);

enum class EBxSurvival {
    Ordinary,   // the ordinary search reads the sign
    Deep,       // only the deep search does, and is certain
    Uncertain,  // only the deep search does, and is not certain
    Lost,       // nothing is found
    OtherText,  // something else is read
    Failed,     // it could not be tried: there is not enough memory
};

struct SBxTrialOutcome : SBxFileOutcome {
    SBxTrial trial = {};
    EBxSurvival survival = EBxSurvival::Failed;
    std::string text;        // what was read; empty for nothing
    bool isCertain = false;  // it was not read by the deep search, or for certain
};

struct SBxSurvivalOutcome {
    bool hasFailed = true;
    bool wasCancelled = false;
    std::string reason;                  // of the failure, in the user's language
    bool wasSigned = false;              // before; then that sign was tried and the picture is as it was
    std::string sign;                    // that was tried
    std::vector<CBxRect<int>> carriers;  // in pixels of the picture; of a picture signed before the one that was read
    std::vector<SBxTrialOutcome> trials;
    double seconds = 0.0;

    std::size_t Count(EBxSurvival survival) const;
};

// Told of each change when it was tried, in their order, on the thread of the run; may be empty.
using CBxTrialReport = std::function<void(const SBxTrialOutcome& trial)>;

inline constexpr char kTrialSign[] = "Veridane-1";

// Signs `picture` in place, unless it is signed already, and tries all changes on copies of it. `sign` may be empty:
// then the sign that is there is tried, or kTrialSign. A picture with another sign than the one that is asked for is a
// failure, as is one too large to be signed, and a run that was cancelled. `name` is shown as what is worked on. Memory
// is that of a few copies of the picture for each thread, of which at most four are at work.
SBxSurvivalOutcome BX_RunSurvival(const SBxRunContext& context, SBxPicBuf& picture, const std::string& name,
                                  const std::string& sign, const CBxTrialReport& report,
                                  const std::vector<SBxTrial>& trials);
