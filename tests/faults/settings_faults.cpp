#include "settings_faults.h"

#include <signal.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <cmath>
#include <cstring>
#include <filesystem>

#include "vrd_config.h"

namespace {

// Two settings that differ in every key that is looked at.
SBxVRDConfig SettingsOf(int which) {
    SBxVRDConfig config;
    config.m_iCompression = which == 0 ? 55 : 77;
    config.m_iToolbarArea = which == 0 ? 1 : 8;
    config.m_iLangIndex = which == 0 ? 2 : 3;
    std::strcpy(config.m_szLatestSign, which == 0 ? "first-sign" : "other-sign");
    std::strcpy(config.m_szLatestFolder, which == 0 ? "/first" : "/second/folder/with/a/longer/name");
    return config;
}

// Each value must be one of the two. An absent file is right as long as none was saved.
void JudgeSettings(SFaultTally& tally, const CTemporaryFolder& folder, const std::string& path) {
    SBxVRDConfig found;
    if (SBxVRDConfig::LoadConfiguration(found, path.c_str()) != 0) {
        tally.faults.push_back("saving settings: a key is missing in\n" + ReadBytes(path));
        return;
    }
    const auto isOneOf = [](int value, int first, int second) { return value == first || value == second; };
    const bool isKnownText =
        std::strcmp(found.m_szLatestSign, "first-sign") == 0 || std::strcmp(found.m_szLatestSign, "other-sign") == 0;
    if (!isOneOf(found.m_iCompression, 55, 77) || !isOneOf(found.m_iToolbarArea, 1, 8) ||
        !isOneOf(found.m_iLangIndex, 2, 3) || !isKnownText) {
        tally.faults.push_back("saving settings: a value that nobody has saved in\n" + ReadBytes(path));
    }
    tally.leftovers += static_cast<int>(folder.Count()) - 1;
}

// A process that saves; `times` 0: until it is killed.
pid_t StartSaving(const std::string& path, int first, int times) {
    const pid_t child = ::fork();
    if (child == 0) {
        for (int i = 0; times == 0 || i < times; ++i) {
            SBxVRDConfig config = SettingsOf((first + (times == 0 ? i : 0)) % 2);
            SBxVRDConfig::SaveConfiguration(config, path.c_str());
        }
        ::_exit(0);
    }
    return child;
}

void Pause(double seconds) {
    const timespec time = {0, std::lround(seconds * 1e9)};
    ::nanosleep(&time, nullptr);
}

}  // namespace

void KillWhileSettingsAreSaved(SFaultTally& tally, double seconds) {
    const CTemporaryFolder folder;
    const std::string path = folder / "veridaneapp.conf";
    SBxVRDConfig config = SettingsOf(0);
    SBxVRDConfig::SaveConfiguration(config, path.c_str());
    const pid_t child = StartSaving(path, 1, 0);
    Pause(seconds);
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    ++tally.runs;
    ++tally.killed;
    JudgeSettings(tally, folder, path);
}

void SaveSettingsTwiceAtOnce(SFaultTally& tally, int times) {
    const CTemporaryFolder folder;
    const std::string path = folder / "veridaneapp.conf";
    WriteBytes(path, "[Other]\nkept=\"yes\"\n");
    const pid_t first = StartSaving(path, 0, times);
    const pid_t second = StartSaving(path, 1, times);
    for (const pid_t child : {first, second}) {
        int status = 0;
        ::waitpid(child, &status, 0);
        if (status != 0) {
            tally.faults.push_back("saving settings: a program that saves ended with " + std::to_string(status));
        }
    }
    ++tally.runs;
    JudgeSettings(tally, folder, path);
    if (ReadBytes(path).find("kept=\"yes\"") == std::string::npos) {
        tally.faults.emplace_back("saving settings: the key of somebody else is gone");
    }
}
