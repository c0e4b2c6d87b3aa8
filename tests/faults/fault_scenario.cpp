#include "fault_scenario.h"

#include <signal.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <sstream>

namespace {

namespace fs = std::filesystem;
using CJson = nlohmann::json;

constexpr char kProgram[] = VERIDANE_BIN "/vrd";
constexpr char kShim[] = VERIDANE_FAILING_MALLOC;
constexpr int kLongestTold = 300;

// What a line says of a file: the file, and the sign that it has or got. Empty for errors, summaries and torn lines.
std::string ClaimOf(const std::string& line) {
    const CJson record = CJson::parse(line, nullptr, false);
    if (!record.is_object() || !record.contains("file") || record.contains("error")) {
        return std::string();
    }
    const auto member = [&](const char* key) { return record.contains(key) ? record[key].dump() : std::string("-"); };
    const std::string file = record["file"].dump();
    return file.substr(file.rfind('/') + 1) + " " + member("picture") + " " + member("sign") + " " +
           member("already_signed");
}

std::set<std::string> ClaimsIn(const std::string& text) {
    std::set<std::string> claims;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        const std::string claim = ClaimOf(line);
        if (!claim.empty()) {
            claims.insert(claim);
        }
    }
    return claims;
}

bool IsTemporary(const std::string& name) {
    return name.find(".veridane-") != std::string::npos || name.rfind("tmp/", 0) == 0;
}

bool EndsWith(const std::string& text, const std::string& end) {
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

// All files under a folder, by their names in it.
std::set<std::string> FilesUnder(const std::string& folder) {
    std::set<std::string> names;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
        const std::string name = fs::relative(entry.path(), folder).string();
        if (!entry.is_directory() || IsTemporary(name)) {
            names.insert(name);
        }
    }
    names.erase("tmp/Veridane_Temp");  // private, shared by all runs of a user, and meant to stay
    return names;
}

std::string Shortened(const std::string& text) {
    return text.size() <= kLongestTold ? text : text.substr(0, kLongestTold) + "..";
}

}  // namespace

void SFaultTally::Add(const SFaultTally& other) {
    runs += other.runs;
    done += other.done;
    refused += other.refused;
    aborted += other.aborted;
    crashed += other.crashed;
    killed += other.killed;
    leftovers += other.leftovers;
    faults.insert(faults.end(), other.faults.begin(), other.faults.end());
}

std::string SFaultTally::Line() const {
    return std::to_string(runs) + " runs: " + std::to_string(done) + " done all the same, " + std::to_string(refused) +
           " ended with a message, " + std::to_string(aborted) + " aborted, " + std::to_string(crashed) + " crashed, " +
           std::to_string(killed) + " killed; " + std::to_string(leftovers) + " temporary files stayed; " +
           std::to_string(faults.size()) + " promises broken";
}

CFaultScenario::CFaultScenario(std::string name, std::vector<std::string> words,
                               std::map<std::string, std::string> inputs)
    : m_strName(std::move(name)), m_Words(std::move(words)), m_Inputs(std::move(inputs)) {
    m_Words.insert(m_Words.begin(), kProgram);
}

void CFaultScenario::FillFolder(const std::string& folder) const {
    fs::create_directory(folder + "/tmp");
    for (const auto& [name, bytes] : m_Inputs) {
        fs::create_directories(fs::path(folder + "/" + name).parent_path());
        WriteBytes(folder + "/" + name, bytes);
    }
}

SRunLimits CFaultScenario::LimitsIn(const CTemporaryFolder& folder) const {
    SRunLimits limits;
    limits.folder = folder.Path();
    limits.environment = {{"TMPDIR", folder / "tmp"}, {"HOME", folder.Path()}};
    return limits;
}

bool CFaultScenario::Prepare() {
    const CTemporaryFolder folder;
    FillFolder(folder.Path());
    m_Undisturbed = RunLimited(m_Words, LimitsIn(folder));
    for (const std::string& name : FilesUnder(folder.Path())) {
        const auto input = m_Inputs.find(name);
        const std::string bytes = ReadBytes(folder / name);
        if (input == m_Inputs.end() || input->second != bytes) {
            m_Results[name] = bytes;
        }
    }
    m_Claims = ClaimsIn(m_Undisturbed.out);
    return (m_Undisturbed.status == 0 || m_Undisturbed.status == 1) && !m_Claims.empty();
}

long CFaultScenario::CountAllocations() const {
    const CTemporaryFolder folder;
    FillFolder(folder.Path());
    SRunLimits limits = LimitsIn(folder);
    limits.environment["LD_PRELOAD"] = kShim;
    limits.environment["VERIDANE_ALLOCATIONS"] = folder / "count";
    RunLimited(m_Words, limits);
    return std::strtol(ReadBytes(folder / "count").c_str(), nullptr, 10);
}

void CFaultScenario::RunWithFailingAllocations(SFaultTally& tally, long from, long count) {
    const CTemporaryFolder folder;
    FillFolder(folder.Path());
    SRunLimits limits = LimitsIn(folder);
    limits.environment["LD_PRELOAD"] = kShim;
    limits.environment["VERIDANE_FAIL_AT"] = std::to_string(from);
    limits.environment["VERIDANE_FAIL_COUNT"] = std::to_string(count);
    const SLimitedRun run = RunLimited(m_Words, limits);
    Judge(tally, run, folder, "allocation " + std::to_string(from) + " and " + std::to_string(count - 1) + " more");
}

void CFaultScenario::RunAndKill(SFaultTally& tally, double seconds, bool thenAgain) {
    const CTemporaryFolder folder;
    FillFolder(folder.Path());
    SRunLimits limits = LimitsIn(folder);
    limits.killAfter = seconds;
    const std::string how = "killed after " + std::to_string(seconds) + " s";
    Judge(tally, RunLimited(m_Words, limits), folder, how);
    if (thenAgain) {
        limits.killAfter = -1.0;
        SFaultTally again;
        Judge(again, RunLimited(m_Words, limits), folder, how + ", the run after it");
        tally.faults.insert(tally.faults.end(), again.faults.begin(), again.faults.end());
    }
}

void CFaultScenario::RunWithFullDisk(SFaultTally& tally, long mostFileBytes) {
    const CTemporaryFolder folder;
    FillFolder(folder.Path());
    SRunLimits limits = LimitsIn(folder);
    limits.mostFileBytes = mostFileBytes;
    const SLimitedRun run = RunLimited(m_Words, limits);
    const std::string how = "files of at most " + std::to_string(mostFileBytes) + " bytes";
    Judge(tally, run, folder, how);
    const std::string said = run.out + run.err;
    if (run.status != m_Undisturbed.status && said.find("File too large") == std::string::npos &&
        said.find("Not all the images were signed.") == std::string::npos &&
        said.find("do not fit") == std::string::npos && said.find("could not be written") == std::string::npos) {
        tally.faults.push_back(m_strName + ", " + how + ": does not say what is wrong\n" + said);
    }
}

void CFaultScenario::Judge(SFaultTally& tally, const SLimitedRun& run, const CTemporaryFolder& folder,
                           const std::string& how) {
    const bool isDone = run.status == m_Undisturbed.status;
    ++tally.runs;
    tally.done += isDone ? 1 : 0;
    tally.refused += run.EndedByItself() && !isDone ? 1 : 0;
    tally.killed += run.wasKilled && !run.EndedByItself() ? 1 : 0;
    tally.aborted += !run.wasKilled && run.status == -SIGABRT ? 1 : 0;
    tally.crashed += !run.wasKilled && run.status < 0 && run.status != -SIGABRT ? 1 : 0;
    std::vector<std::string> faults;
    int leftovers = 0;
    if (run.isTooSlow) {
        faults.emplace_back("hangs");
    }
    JudgeFiles(faults, leftovers, isDone, folder.Path());
    JudgeTold(faults, run, isDone);
    if (leftovers > 0 && run.EndedByItself()) {
        faults.emplace_back("leaves temporary files although it ended by itself");
    }
    tally.leftovers += leftovers;
    for (const std::string& fault : faults) {
        tally.faults.push_back(m_strName + ", " + how + ", status " + std::to_string(run.status) + ": " + fault +
                               "\n    stdout: " + Shortened(run.out) + "\n    stderr: " + Shortened(run.err));
    }
}

void CFaultScenario::JudgeFiles(std::vector<std::string>& faults, int& leftovers, bool mustBeWhole,
                                const std::string& folder) const {
    std::set<std::string> names = FilesUnder(folder);
    std::set<std::string> kept;  // stand to be replaced, and were not
    for (const auto& [name, bytes] : m_Inputs) {
        const bool mayBeReplaced = m_Results.contains(name);
        const bool isUnchanged = names.contains(name) && ReadBytes(folder + "/" + name) == bytes;
        if (!names.contains(name) || (!mayBeReplaced && !isUnchanged)) {
            faults.push_back("the input " + name + " was lost or changed");
        }
        if (!mayBeReplaced || (isUnchanged && !mustBeWhole)) {
            names.erase(name);
            kept.insert(name);
        }
    }
    for (const auto& [name, bytes] : m_Results) {
        if (kept.contains(name)) {
            continue;
        }
        if (names.erase(name) == 0) {
            // Another format may stand in its place: a JPEG that could not be written becomes a bitmap.
            if (mustBeWhole && !names.contains(name + ".bmp")) {
                faults.push_back("success, but there is no " + name);
            }
        } else if (!IsRightResult(name, folder + "/" + name)) {
            faults.push_back(name + " is not whole");
        }
    }
    for (const std::string& name : names) {
        if (IsTemporary(name)) {
            ++leftovers;
        } else if (!EndsWith(name, ".log") && !IsRightResult(name, folder + "/" + name)) {
            faults.push_back("nobody asked for " + name);
        }
    }
}

// Logs tell the time and what was wrong; results lines tell the seconds. Both may end early, in whole lines.
bool CFaultScenario::IsRightResult(const std::string& name, const std::string& path) const {
    const std::string bytes = ReadBytes(path);
    const auto expected = m_Results.find(name);
    if (expected != m_Results.end() && bytes == expected->second) {
        return true;
    }
    if (EndsWith(name, ".log")) {
        return bytes.empty() || bytes.back() == '\n' || bytes.find('\n') == std::string::npos;
    }
    if (EndsWith(name, ".jsonl")) {
        const std::set<std::string> claims = ClaimsIn(bytes);
        return std::includes(m_Claims.begin(), m_Claims.end(), claims.begin(), claims.end());
    }
    const SLimitedRun search = RunLimited({kProgram, "detect", path}, {});
    return search.status == 0 && search.err.empty();  // not even a warning about damage
}

void CFaultScenario::JudgeTold(std::vector<std::string>& faults, const SLimitedRun& run, bool mustBeWhole) const {
    const std::set<std::string> claims = ClaimsIn(run.out);
    for (const std::string& claim : claims) {
        if (!m_Claims.contains(claim)) {
            faults.push_back("says what is not so: " + claim);
        }
    }
    if (mustBeWhole && claims != m_Claims) {
        faults.emplace_back("success, but not everything was told");
    }
    const bool isExplained = run.out.find("\"error\"") != std::string::npos ||
                             run.out.find("\"message\":\"Not all the images were signed.\"") != std::string::npos;
    if (run.EndedByItself() && !mustBeWhole && !isExplained && run.err.empty()) {
        faults.emplace_back("fails without a word");
    }
}
