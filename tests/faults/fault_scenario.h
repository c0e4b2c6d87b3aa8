// One use of the command, and what must hold after it was disturbed in any way.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "limited_run.h"
#include "temporary_folder.h"

// How the disturbed runs of a scenario ended.
struct SFaultTally {
    int runs = 0;
    int done = 0;                     // the work was done in spite of it, and told so
    int refused = 0;                  // ended by themselves with a status that says that the work is not done
    int aborted = 0;                  // by SIGABRT: no memory where nobody could catch it
    int crashed = 0;                  // by another signal
    int killed = 0;                   // by the disturber
    int leftovers = 0;                // temporary files or folders that stayed after the last three kinds
    std::vector<std::string> faults;  // promises that were broken

    void Add(const SFaultTally& other);
    std::string Line() const;
};

// Holds its inputs and what an undisturbed run makes of them. Results count as right when they have the same bytes, or,
// for pictures, when the undisturbed command finds the sign in them.
class CFaultScenario {
public:
    // `inputs`: names and bytes in the folder in which the command runs.
    CFaultScenario(std::string name, std::vector<std::string> words, std::map<std::string, std::string> inputs);

    const std::string& Name() const { return m_strName; }
    // Of the undisturbed run, which the first call does. False when its status is not 0 or 1, or it printed nothing.
    bool Prepare();
    double UndisturbedSeconds() const { return m_Undisturbed.seconds; }

    // A run in a fresh folder with the n-th allocation, or `count` from there, failing.
    void RunWithFailingAllocations(SFaultTally& tally, long from, long count);
    // A run that is killed after so many seconds. `thenAgain`: runs undisturbed in the same folder after it, which has
    // to take away what the killed one left.
    void RunAndKill(SFaultTally& tally, double seconds, bool thenAgain);
    // A run on a disk that has no room for files of more than so many bytes.
    void RunWithFullDisk(SFaultTally& tally, long mostFileBytes);
    // Allocations of an undisturbed run; 0 when they could not be counted.
    long CountAllocations() const;

private:
    void FillFolder(const std::string& folder) const;
    SRunLimits LimitsIn(const CTemporaryFolder& folder) const;
    void Judge(SFaultTally& tally, const SLimitedRun& run, const CTemporaryFolder& folder, const std::string& how);
    void JudgeFiles(std::vector<std::string>& faults, int& leftovers, bool mustBeWhole,
                    const std::string& folder) const;
    void JudgeTold(std::vector<std::string>& faults, const SLimitedRun& run, bool mustBeWhole) const;
    bool IsRightResult(const std::string& name, const std::string& path) const;

    std::string m_strName;
    std::vector<std::string> m_Words;
    std::map<std::string, std::string> m_Inputs;
    SLimitedRun m_Undisturbed;
    std::map<std::string, std::string> m_Results;  // files that the undisturbed run has made
    std::set<std::string> m_Claims;                // what it said of each file
};

// The commands that are tried: signing, searching, batches, a document, all on small pictures made in code.
std::vector<CFaultScenario> MakeFaultScenarios();
