// What a deep search that found nothing cost, against what it may cost.
#pragma once

#include <string>

#include "deep_search.h"

inline constexpr const char* kDeepStageNames[kDeepStages] = {
    "pairs", "tones", "turned", "orientations", "cut", "joined", "one corner", "bent tones", "anywhere"};

// Processor time of the process.
double BX_ProcessSeconds();

struct SSearchCost {
    double megapixels = 0.0;
    double ordinary = 0.0;      // seconds of processor of the ordinary search
    double deep = 0.0;          // and of the deep one
    double ordinaryWall = 0.0;  // seconds
    SBxDeepCosts costs;

    // The deep search may take one and a half times the ordinary one, and a second.
    double Bound() const { return 1.5 * ordinary + 1.0; }
    bool HoldsBound() const { return deep <= Bound(); }
};

void AddCosts(SBxDeepCosts& sum, const SBxDeepCosts& costs);

// Prints the heading of the lines of PrintCost.
void PrintCostHeading();
// One line: the bound and milliseconds of processor of each stage. With `inDetail` three further ones: milliseconds of
// wall, grids and decodings.
void PrintCost(const std::string& what, const SSearchCost& cost, bool inDetail);
// Sums over several searches, a line for each stage.
void PrintSumOfCosts(const SBxDeepCosts& sum);
