// From the start of the program to its end: in parts, and as a whole with the built program.
#include "start_up.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QProcess>
#include <QTest>
#include <csignal>
#include <filesystem>

#include "gui_text.h"
#include "run_marker.h"
#include "temporary_folder.h"

namespace {

// The program in a home folder of its own, without a screen.
class CProgram {
public:
    CProgram(const CTemporaryFolder& home, const QStringList& arguments = {}) {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("HOME", QString::fromStdString(home.Path()));
        environment.insert("QT_QPA_PLATFORM", "offscreen");
        m_Process.setProcessEnvironment(environment);
        m_Process.setWorkingDirectory(QString::fromStdString(home.Path()));
        m_Process.start(VERIDANE_BIN "/veridane", arguments);
        m_IsStarted = m_Process.waitForStarted(120000);
    }
    ~CProgram() {
        m_Process.kill();
        m_Process.waitForFinished();
    }

    bool IsStarted() const { return m_IsStarted; }
    qint64 Id() const { return m_Process.processId(); }

    // Waits until the log has this many lines with the text.
    bool WaitForLog(const CTemporaryFolder& home, const char* text, int count = 1) {
        return QTest::qWaitFor(
            [&] {
                const std::string log = ReadBytes(home / ".Veridane/log/vrd.log");
                int found = 0;
                for (std::size_t at = log.find(text); at != std::string::npos; at = log.find(text, at + 1)) {
                    ++found;
                }
                return found >= count;
            },
            120000);
    }

    // Its exit code; -1 when it was killed by a signal or does not end.
    int End(int signalNumber) {
        ::kill(static_cast<pid_t>(m_Process.processId()), signalNumber);
        const bool ended = m_Process.waitForFinished(120000);
        return ended && m_Process.exitStatus() == QProcess::NormalExit ? m_Process.exitCode() : -1;
    }

private:
    QProcess m_Process;
    bool m_IsStarted = false;
};

std::string SettingsOf(const CTemporaryFolder& home) {
    return ReadBytes(home / ".Veridane/veridaneapp.conf");
}

constexpr char kMarkerSet[] = "crashed_lasttime=\"yes\"";
constexpr char kMarkerClear[] = "crashed_lasttime=\"no\"";

}  // namespace

TEST(StartUp, SkipsWhatStandsBehindTheOptionForMissingTexts) {
    const char* const behind[] = {"veridane", "-lms", "-x"};
    const char* const before[] = {"veridane", "-x", "-lms"};
    const char* const none[] = {"veridane", "-lmsx", "photo.jpg"};
    EXPECT_TRUE(BX_WantsMissingTexts(3, behind));
    EXPECT_TRUE(BX_WantsMissingTexts(3, before));
    EXPECT_FALSE(BX_WantsMissingTexts(3, none));
}

TEST(StartUp, OpensTheFirstArgumentThatIsNoOption) {
    EXPECT_EQ(BX_GetPictureArgument({"veridane"}), "");
    EXPECT_EQ(BX_GetPictureArgument({"veridane", "-lms", "a b.jpg", "c.jpg"}), "a b.jpg");
    EXPECT_EQ(BX_GetPictureArgument({"veridane", "file:///tmp/a%20b.jpg"}), "/tmp/a b.jpg");
}

TEST(StartUp, StaysEnglishWithALocalizationFileOfAnOldOrNoVersion) {
    const CTemporaryFolder folder;
    for (const char* version : {"Version=\"2.9\"\n", "Version=\"\"\n", ""}) {
        SBxVRDConfig config;
        std::snprintf(config.m_szBundleFolder, sizeof(config.m_szBundleFolder), "%s/", folder.Path().c_str());
        WriteBytes(folder / "Veridane_loc.ini", std::string("[General]\n") + version +
                                                    "LanguagesNo=\"1\"\n[0]\nLanguage=\"English\"\nAcronym=\"eng\"\n");
        BX_StartLocalization(config, false);
        EXPECT_FALSE(config.m_bLocalizationValid) << version;
        EXPECT_TRUE(config.m_Languages.empty()) << version;
    }
}

TEST(StartUp, SpeaksTheLanguageOfTheSettings) {
    SBxVRDConfig config;
    std::snprintf(config.m_szBundleFolder, sizeof(config.m_szBundleFolder), "%s", VERIDANE_BUNDLE);
    config.m_iLangIndex = 1;
    BX_StartLocalization(config, false);
    EXPECT_TRUE(config.m_bLocalizationValid);
    EXPECT_GE(config.m_Languages.size(), 6u);
    EXPECT_EQ(BX_Text("Cancel"), "Abbrechen");
    CBxLocalization::Free();
}

TEST(RunMarker, SeesOthersForAsLongAsTheyLive) {
    const CTemporaryFolder folder;
    CBxRunMarker first;
    first.Begin((folder.Path() + "/").c_str());
    EXPECT_FALSE(first.DoOthersRun());
    {
        CBxRunMarker second;
        second.Begin((folder.Path() + "/").c_str());
        EXPECT_TRUE(first.DoOthersRun());
        EXPECT_TRUE(second.DoOthersRun());
    }
    EXPECT_FALSE(first.DoOthersRun());
}

TEST(Program, EndsCleanlyWhenAskedToAndRemembersACrash) {
    const CTemporaryFolder home;
    {
        CProgram program(home);
        ASSERT_TRUE(program.IsStarted());
        ASSERT_TRUE(program.WaitForLog(home, "GUI started."));
        EXPECT_THAT(SettingsOf(home), testing::HasSubstr(kMarkerSet));
        EXPECT_EQ(program.End(SIGTERM), 0);
        EXPECT_THAT(SettingsOf(home), testing::HasSubstr(kMarkerClear));
        EXPECT_THAT(ReadBytes(home / ".Veridane/log/vrd.log"), testing::HasSubstr("Configuration saved."));
    }
    CProgram crashing(home);
    ASSERT_TRUE(crashing.WaitForLog(home, "GUI started.", 2));
    EXPECT_EQ(crashing.End(SIGKILL), -1);
    EXPECT_THAT(SettingsOf(home), testing::HasSubstr(kMarkerSet));
}

TEST(Program, HasNoMemoryThatIsBothWritableAndExecutableAndClearsAwayWhatAKilledOneLeft) {
    const CTemporaryFolder home;
    const std::string leftover = home / ".Veridane/.veridane-0123456789abcdef.conf";
    std::filesystem::create_directory(home / ".Veridane");
    WriteBytes(leftover, "[General]\n");
    CProgram program(home, {VERIDANE_SAMPLES "/cat.png"});
    ASSERT_TRUE(program.WaitForLog(home, "Reading the image"));
    std::ifstream maps("/proc/" + std::to_string(program.Id()) + "/maps");
    int count = 0;
    for (std::string line; std::getline(maps, line); ++count) {
        const std::string rights = line.substr(line.find(' ') + 1, 3);
        EXPECT_FALSE(rights[1] == 'w' && rights[2] == 'x') << line;
    }
    EXPECT_GT(count, 50);
    EXPECT_FALSE(std::filesystem::exists(leftover));
    EXPECT_EQ(program.End(SIGTERM), 0);
}

// The first one's end leaves the marker to the one that still runs.
TEST(Program, TwoAtATimeAreNoCrash) {
    const CTemporaryFolder home;
    CProgram first(home);
    ASSERT_TRUE(first.WaitForLog(home, "GUI started."));
    CProgram second(home, {VERIDANE_SAMPLES "/cat.png"});
    ASSERT_TRUE(second.WaitForLog(home, "GUI started.", 2));
    EXPECT_EQ(first.End(SIGINT), 0);
    EXPECT_THAT(SettingsOf(home), testing::HasSubstr(kMarkerSet));
    EXPECT_EQ(second.End(SIGHUP), 0);
    EXPECT_THAT(SettingsOf(home), testing::HasSubstr(kMarkerClear));
    EXPECT_THAT(SettingsOf(home), testing::HasSubstr("data/samples"));
}
