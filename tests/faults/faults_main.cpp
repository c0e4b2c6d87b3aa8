// Disturbs the command over and over, and says which promises it broke:
//
//   veridane_faults allocations SAMPLES [SEED [COMMAND]]   lets allocations fail, this many places in each command
//   veridane_faults kills COUNT [SEED [COMMAND]]           kills each command, and a program that saves settings, so
//   many times
//
// Status 0: none was broken.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>

#include "fault_scenario.h"
#include "settings_faults.h"

namespace {

using CRandom = std::mt19937_64;

double DrawUpTo(CRandom& random, double most) {
    return std::uniform_real_distribution<double>(0.0, most)(random);
}

// Half of the samples let one allocation fail, a quarter 50 in a row, a quarter all that come.
long DrawCount(int sample) {
    constexpr long kAll = 1L << 40;
    return sample % 4 < 2 ? 1 : sample % 4 == 2 ? 50 : kAll;
}

SFaultTally FailAllocations(CFaultScenario& scenario, int samples, CRandom& random) {
    SFaultTally tally;
    const long allocations = scenario.CountAllocations();
    std::printf("%s: %ld allocations, %.1f s\n", scenario.Name().c_str(), allocations, scenario.UndisturbedSeconds());
    if (allocations < samples) {
        tally.faults.push_back(scenario.Name() + ": its allocations could not be counted");
        return tally;
    }
    for (int sample = 0; sample < samples; ++sample) {
        // One place in each of as many stretches.
        const auto place =
            static_cast<long>((sample + DrawUpTo(random, 1.0)) * static_cast<double>(allocations) / samples);
        scenario.RunWithFailingAllocations(tally, place + 1, DrawCount(sample));
    }
    return tally;
}

SFaultTally Kill(CFaultScenario& scenario, int count, CRandom& random) {
    SFaultTally tally;
    for (int kill = 0; kill < count; ++kill) {
        const bool isBatch = scenario.Name().rfind("batch", 0) == 0 || scenario.Name() == "pdf-detect";
        scenario.RunAndKill(tally, DrawUpTo(random, 1.05 * scenario.UndisturbedSeconds()), isBatch && kill % 8 == 0);
    }
    return tally;
}

int Tell(const SFaultTally& tally) {
    std::printf("  %s\n", tally.Line().c_str());
    for (const std::string& fault : tally.faults) {
        std::printf("  BROKEN %s\n", fault.c_str());
    }
    std::fflush(stdout);
    return tally.faults.empty() ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    const bool kills = argc >= 3 && std::strcmp(argv[1], "kills") == 0;
    if (argc < 3 || (!kills && std::strcmp(argv[1], "allocations") != 0)) {
        std::fprintf(stderr, "veridane_faults allocations|kills COUNT [SEED [COMMAND]]\n");
        return 2;
    }
    const int count = static_cast<int>(std::clamp(std::strtol(argv[2], nullptr, 10), 1L, 1000000L));
    const unsigned long long seed = argc > 3 ? std::strtoull(argv[3], nullptr, 10) : std::random_device()();
    std::printf("seed %llu\n", seed);
    CRandom random(seed);
    int status = 0;
    if (kills) {
        std::printf("saving settings\n");
        SFaultTally tally;
        for (int kill = 0; kill < count; ++kill) {
            KillWhileSettingsAreSaved(tally, DrawUpTo(random, 0.02));
        }
        status |= Tell(tally);
    }
    for (CFaultScenario& scenario : MakeFaultScenarios()) {
        if (argc > 4 && scenario.Name() != argv[4]) {
            continue;
        }
        if (!scenario.Prepare()) {
            std::printf("%s: does not even work undisturbed\n", scenario.Name().c_str());
            return 2;
        }
        if (kills) {
            std::printf("%s: %.1f s\n", scenario.Name().c_str(), scenario.UndisturbedSeconds());
        }
        status |= Tell(kills ? Kill(scenario, count, random) : FailAllocations(scenario, count, random));
    }
    return status;
}
