#include "deep_cost.h"

#include <cstdio>
#include <ctime>

namespace {

// The order in which the stages run.
constexpr EBxDeepStage kOrder[kDeepStages] = {
    EBxDeepStage::Pairs,        EBxDeepStage::Joined,   EBxDeepStage::Tones,
    EBxDeepStage::Orientations, EBxDeepStage::Turned,   EBxDeepStage::Cut,
    EBxDeepStage::OneCorner,    EBxDeepStage::Anywhere, EBxDeepStage::BentTones};
constexpr double kMilli = 1e3;

void AddCost(SBxDeepCost& sum, const SBxDeepCost& cost) {
    sum.m_ulGrids += cost.m_ulGrids;
    sum.m_ulDecodings += cost.m_ulDecodings;
    sum.m_dSeconds += cost.m_dSeconds;
    sum.m_dWallSeconds += cost.m_dWallSeconds;
}

// One number of every part, in columns.
template <typename Number>
void PrintParts(const SBxDeepCosts& costs, Number number) {
    std::printf(" %8.0f %8.0f", number(costs.m_Corners), number(costs.m_Sums));
    for (const EBxDeepStage stage : kOrder) {
        std::printf(" %8.0f", number(costs.m_Stages[static_cast<int>(stage)]));
    }
}

}  // namespace

double BX_ProcessSeconds() {
    std::timespec now = {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

void AddCosts(SBxDeepCosts& sum, const SBxDeepCosts& costs) {
    AddCost(sum.m_Corners, costs.m_Corners);
    AddCost(sum.m_Sums, costs.m_Sums);
    for (int stage = 0; stage < kDeepStages; ++stage) {
        AddCost(sum.m_Stages[stage], costs.m_Stages[stage]);
    }
}

void PrintCostHeading() {
    std::printf("%8s %8s %8s %8s %-5s %8s %8s", "MP", "ordinary", "deep", "bound", "holds", "corners", "sums");
    for (const EBxDeepStage stage : kOrder) {
        std::printf(" %8.8s", kDeepStageNames[static_cast<int>(stage)]);
    }
    std::printf("   (milliseconds of processor)\n");
}

void PrintCost(const std::string& what, const SSearchCost& cost, bool inDetail) {
    std::printf("%8.2f %8.0f %8.0f %8.0f %-5s", cost.megapixels, kMilli * cost.ordinary, kMilli * cost.deep,
                kMilli * cost.Bound(), cost.HoldsBound() ? "yes" : "NO");
    PrintParts(cost.costs, [](const SBxDeepCost& part) { return kMilli * part.m_dSeconds; });
    std::printf("   %s\n", what.c_str());
    if (inDetail) {
        std::printf("%8s %8.0f %23s", "wall", kMilli * cost.ordinaryWall, "");
        PrintParts(cost.costs, [](const SBxDeepCost& part) { return kMilli * part.m_dWallSeconds; });
        std::printf("\n%-41s", "   grids");
        PrintParts(cost.costs, [](const SBxDeepCost& part) { return static_cast<double>(part.m_ulGrids); });
        std::printf("\n%-41s", "   decodings");
        PrintParts(cost.costs, [](const SBxDeepCost& part) { return static_cast<double>(part.m_ulDecodings); });
        std::printf("\n");
    }
}

void PrintSumOfCosts(const SBxDeepCosts& sum) {
    std::printf("further corners %.1f s, sums %.1f s\n", sum.m_Corners.m_dSeconds, sum.m_Sums.m_dSeconds);
    for (int stage = 0; stage < kDeepStages; ++stage) {
        const SBxDeepCost& cost = sum.m_Stages[stage];
        std::printf("%-13s %9lu grids %8lu decodings %7.1f s\n", kDeepStageNames[stage], cost.m_ulGrids,
                    cost.m_ulDecodings, cost.m_dSeconds);
    }
}
