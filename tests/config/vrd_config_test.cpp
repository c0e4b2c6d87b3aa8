#include "vrd_config.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <climits>
#include <cstring>

#include "system_facts.h"
#include "temporary_folder.h"
#include "writer_faults.h"

namespace {

namespace fs = std::filesystem;

constexpr char kAllKeys[] =
    "[General]\n"
    "compression=\"71\"\n"
    "ask_compression=\"no\"\n"
    "max_threads=\"3\"\n"
    "log_enabled=\"no\"\n"
    "log_detail_enabled=\"yes\"\n"
    "latest_folder=\"/home/\xC3\xA4/my photos\"\n"
    "latest_sign=\"Abc-456789\"\n"
    "crashed_lasttime=\"no\"\n"
    "lang_index=\"2\"\n";

constexpr char kAllGeometry[] =
    "[Geometry]\n"
    "wnd_x=\"-7\"\n"
    "wnd_y=\"20\"\n"
    "wnd_w=\"1000\"\n"
    "wnd_h=\"500\"\n"
    "tlb_area=\"8\"\n";

class Settings : public testing::Test {
protected:
    unsigned char Load(SBxVRDConfig& config) { return SBxVRDConfig::LoadConfiguration(config, m_Path.c_str()); }
    unsigned char Save(SBxVRDConfig& config) { return SBxVRDConfig::SaveConfiguration(config, m_Path.c_str()); }

    unsigned char LoadLanguages(const std::string& bytes) {
        WriteBytes(m_Path, bytes);
        return SBxVRDConfig::LoadLanguages(m_Config, m_Path.c_str());
    }

    CTemporaryFolder m_Folder;
    const std::string m_Path = m_Folder / "veridaneapp.conf";
    SBxVRDConfig m_Config;
};

template <unsigned int size>
void Set(char (&text)[size], const std::string& value) {
    ASSERT_LT(value.size(), size);
    std::strcpy(text, value.c_str());
}

}  // namespace

TEST_F(Settings, OfAFirstRunAreTheDefaultsWithAllCores) {
    EXPECT_EQ(m_Config.m_iCompression, 90);
    EXPECT_EQ(Load(m_Config), 1);
    EXPECT_TRUE(m_Config.m_bFirstRun);
    EXPECT_EQ(m_Config.m_iCompression, 95);
    EXPECT_TRUE(m_Config.m_bAskCompression);
    EXPECT_EQ(m_Config.m_iMaxThreads, static_cast<int>(BX_GetCPUCount()));
    EXPECT_TRUE(m_Config.m_bLogEnabled);
    EXPECT_FALSE(m_Config.m_bLogDetailEnabled);
    EXPECT_STREQ(m_Config.m_szLatestFolder, "");
    EXPECT_STREQ(m_Config.m_szLatestSign, "");
    EXPECT_TRUE(m_Config.m_bCrashedLastTime);
    EXPECT_EQ(m_Config.m_iLangIndex, 0);
    EXPECT_EQ(m_Config.m_WindowRect, (CBxRect<std::int32_t>{100, 100, 1000, 700}));
    EXPECT_EQ(m_Config.m_iToolbarArea, 4);
    EXPECT_EQ(SBxVRDConfig::LoadConfiguration(m_Config, nullptr), 1);
    EXPECT_EQ(SBxVRDConfig::SaveConfiguration(m_Config, nullptr), 1);
}

TEST_F(Settings, AreReadFromEveryKeyAndWrittenToIt) {
    WriteBytes(m_Path, std::string(kAllKeys) + kAllGeometry);
    ASSERT_EQ(Load(m_Config), 0);
    EXPECT_FALSE(m_Config.m_bFirstRun);
    EXPECT_EQ(m_Config.m_iCompression, 71);
    EXPECT_FALSE(m_Config.m_bAskCompression);
    EXPECT_EQ(m_Config.m_iMaxThreads, 3);
    EXPECT_FALSE(m_Config.m_bLogEnabled);
    EXPECT_TRUE(m_Config.m_bLogDetailEnabled);
    EXPECT_STREQ(m_Config.m_szLatestFolder, "/home/\xC3\xA4/my photos");
    EXPECT_STREQ(m_Config.m_szLatestSign, "Abc-456789");
    EXPECT_FALSE(m_Config.m_bCrashedLastTime);
    EXPECT_EQ(m_Config.m_iLangIndex, 2);
    EXPECT_EQ(m_Config.m_WindowRect, (CBxRect<std::int32_t>{-7, 20, 993, 520}));
    EXPECT_EQ(m_Config.m_iToolbarArea, 8);
    // A new file gets every key, in this order.
    fs::remove(m_Path);
    EXPECT_EQ(Save(m_Config), 0);
    std::string written = ReadBytes(m_Path);
    written.erase(std::remove(written.begin(), written.end(), '\r'), written.end());
    for (std::size_t empty = written.find("\n\n"); empty != std::string::npos; empty = written.find("\n\n")) {
        written.erase(empty, 1);
    }
    EXPECT_EQ(written.substr(written.find('[')), std::string(kAllKeys) + kAllGeometry);
}

TEST_F(Settings, OfALaterRunTakeOnlyWhatTheFileSays) {
    WriteBytes(m_Path, "[General]\nask_compression=\"Yes\"\nlog_enabled=\"1\"\ncompression=\"-12abc\"\n");
    EXPECT_EQ(Load(m_Config), 1);
    EXPECT_FALSE(m_Config.m_bFirstRun);
    EXPECT_EQ(m_Config.m_iMaxThreads, 0);
    EXPECT_FALSE(m_Config.m_bAskCompression);
    EXPECT_FALSE(m_Config.m_bLogEnabled);
    EXPECT_EQ(m_Config.m_iCompression, -12);
    EXPECT_TRUE(m_Config.m_bCrashedLastTime);
}

TEST_F(Settings, HoldNumbersThatAreTooLargeAtTheirLimit) {
    WriteBytes(
        m_Path,
        "[General]\nmax_threads=\"99999999999999999999\"\n"
        "[Geometry]\nwnd_x=\"2000000000\"\nwnd_w=\"2000000000\"\nwnd_y=\"-2000000000\"\nwnd_h=\"-2000000000\"\n");
    Load(m_Config);
    EXPECT_EQ(m_Config.m_iMaxThreads, INT_MAX);
    EXPECT_EQ(m_Config.m_WindowRect.right, INT_MAX);
    EXPECT_EQ(m_Config.m_WindowRect.bottom, INT_MIN);
    m_Config.m_WindowRect = {INT_MIN, INT_MAX, INT_MAX, INT_MIN};
    EXPECT_EQ(Save(m_Config), 0);
    EXPECT_THAT(ReadBytes(m_Path), testing::HasSubstr("wnd_w=\"2147483647\""));
    EXPECT_THAT(ReadBytes(m_Path), testing::HasSubstr("wnd_h=\"-2147483648\""));
}

TEST_F(Settings, LeaveOutWhatTheFileCannotHold) {
    Set(m_Config.m_szLatestFolder, "/good");
    ASSERT_EQ(Save(m_Config), 0);
    for (const std::string& folder : {std::string("/a=b"), std::string("/a\nb"), "/" + std::string(1500, 'l')}) {
        Set(m_Config.m_szLatestFolder, folder);
        m_Config.m_iToolbarArea += 1;
        EXPECT_EQ(Save(m_Config), 0);
        SBxVRDConfig again;
        EXPECT_EQ(Load(again), 0) << folder;
        EXPECT_STREQ(again.m_szLatestFolder, "/good");
        EXPECT_EQ(again.m_iToolbarArea, m_Config.m_iToolbarArea);
    }
    // In a new file the key is simply missing.
    fs::remove(m_Path);
    EXPECT_EQ(Save(m_Config), 0);
    SBxVRDConfig again;
    EXPECT_EQ(Load(again), 1);
    EXPECT_STREQ(again.m_szLatestFolder, "");
    EXPECT_EQ(again.m_iToolbarArea, m_Config.m_iToolbarArea);
}

TEST_F(Settings, CutASignThatIsTooLong) {
    WriteBytes(m_Path, "[General]\nlatest_sign=\"0123456789ABCDEF\"\n");
    Load(m_Config);
    EXPECT_STREQ(m_Config.m_szLatestSign, "0123456789");
}

TEST_F(Settings, AreWholeWhereverTheirWriterIsKilled) {
    if (!CanTraceChildren()) {
        GTEST_SKIP() << "this machine does not let a process trace its child";
    }
    const std::string old = std::string(kAllKeys) + kAllGeometry;
    WriteBytes(m_Path, old);
    ASSERT_EQ(Load(m_Config), 0);
    m_Config.m_iToolbarArea = 2;
    m_Config.m_iCompression = 50;
    bool killed = true;
    int changed = 0;
    for (int stop = 0; killed; ++stop) {
        WriteBytes(m_Path, old);
        killed = IsKilledAtSystemCall(stop, [this] { Save(m_Config); });
        SBxVRDConfig found;
        ASSERT_EQ(Load(found), 0) << "at stop " << stop;
        ASSERT_STREQ(found.m_szLatestSign, "Abc-456789");
        changed += found.m_iToolbarArea == 2 ? 1 : 0;
    }
    EXPECT_GT(changed, 1);
}

TEST_F(Settings, OfAFileThatCannotBeWrittenStayAsTheyAre) {
    const std::string old = std::string(kAllKeys) + kAllGeometry;
    WriteBytes(m_Path, old);
    SBxVRDConfig config;
    EXPECT_TRUE(SucceedsWithDiskOf(100, [&] { return Save(config); }));
    EXPECT_EQ(ReadBytes(m_Path), old);
    if (geteuid() == 0) {
        chmod(m_Folder.Path().c_str(), 0777);
        chmod(m_Path.c_str(), 0);
        EXPECT_TRUE(SucceedsAsNobody([&] { return Save(config); }));
        EXPECT_EQ(ReadBytes(m_Path), old);
    }
    EXPECT_EQ(m_Folder.Count(), 1);
}

TEST_F(Settings, ListTheLanguagesOfTheInterface) {
    ASSERT_EQ(LoadLanguages("[General]\nEncoding=\"ISO-8859-1\"\nLanguagesNo=\"3\"\n"
                            "[0]\nLanguage=\"English\"\nAcronym=\"eng\"\n"
                            "[1]\nLanguage=\"Fran\xE7"
                            "ais\"\nAcronym=\"fra\"\n"),
              0);
    ASSERT_EQ(m_Config.m_Languages.size(), 3u);
    EXPECT_STREQ(m_Config.m_Languages[1]->m_szLanguage,
                 "Fran\xC3\xA7"
                 "ais");
    EXPECT_STREQ(m_Config.m_Languages[1]->m_szAcronym, "fra");
    // A section that is missing counts as English.
    EXPECT_STREQ(m_Config.m_Languages[2]->m_szLanguage, "English");
    EXPECT_STREQ(m_Config.m_Languages[2]->m_szAcronym, "eng");
    // The list is made anew each time.
    EXPECT_EQ(LoadLanguages("[General]\nLanguagesNo=\"1\"\n[0]\nAcronym=\"much too long\"\n"), 0);
    ASSERT_EQ(m_Config.m_Languages.size(), 1u);
    EXPECT_STREQ(m_Config.m_Languages[0]->m_szAcronym, "much too ");
    for (const char* const number : {"0", "-4", "many"}) {
        EXPECT_EQ(LoadLanguages(std::string("[General]\nLanguagesNo=\"") + number + "\"\n"), 0);
        EXPECT_TRUE(m_Config.m_Languages.empty());
    }
    EXPECT_EQ(LoadLanguages("[General]\nLanguagesNo=\"2000000000\"\n"), 0);
    EXPECT_EQ(m_Config.m_Languages.size(), static_cast<std::size_t>(SBxVRDConfig::kMostLanguages));
    EXPECT_EQ(LoadLanguages("[General]\n"), 1);
    EXPECT_TRUE(m_Config.m_Languages.empty());
    EXPECT_EQ(SBxVRDConfig::LoadLanguages(m_Config, nullptr), 1);
}
