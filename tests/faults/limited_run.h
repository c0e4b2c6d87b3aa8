// Runs a program that may crash, hang or be killed.
#pragma once

#include <map>
#include <string>
#include <vector>

struct SLimitedRun {
    int status = -1;         // exit status; minus the signal's number when a signal ended it
    bool isTooSlow = false;  // it had to be killed after the limit
    bool wasKilled = false;  // at the moment that was asked for
    double seconds = 0.0;
    std::string out;
    std::string err;

    bool EndedByItself() const { return status >= 0; }
};

struct SRunLimits {
    std::string folder;                              // where it runs
    std::map<std::string, std::string> environment;  // added to that of the caller
    double mostSeconds = VERIDANE_RUN_SECONDS;       // more is a hang
    long mostFileBytes = -1;                         // as on a full disk: no file can grow beyond; negative: no limit
    double killAfter = -1.0;                         // seconds until it is killed with SIGKILL; negative: not
};

SLimitedRun RunLimited(const std::vector<std::string>& words, const SRunLimits& limits);
