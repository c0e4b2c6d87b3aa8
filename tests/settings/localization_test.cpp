#include "localization.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "temporary_folder.h"

namespace {

constexpr char kGerman[] =
    "[General]\nVersion=\"3.0\"\nLanguagesNo=\"3\"\n"
    "[0]\nLanguage=\"Deutsch\"\nAcronym=\"deu\"\nstring1=\"Bild\"\nstring2=\"\"\nstring4=\"Vier\"\n"
    "[1]\nLanguage=\"English\"\nAcronym=\"eng\"\nstring1=\"Picture\"\nstring2=\"Empty\"\nstring3=\"Three\"\n"
    "string4=\"Four\"\n"
    "[2]\nLanguage=\"Again\"\nAcronym=\"deu\"\nstring1=\"Falsch\"\n";

class Localization : public testing::Test {
protected:
    Localization() { CBxLocalization::Init(false); }
    ~Localization() override {
        CBxLocalization::Finish();
        CBxLocalization::Init(false);
        CBxLocalization::UnsetLogger();
    }
    unsigned char Read(const std::string& bytes, const char* acronym) const {
        WriteBytes(m_Path, bytes);
        return CBxLocalization::ReadLocalization(m_Path.c_str(), acronym);
    }

    CTemporaryFolder m_Folder;
    const std::string m_Path = m_Folder / "texts.ini";
};

}  // namespace

TEST_F(Localization, TranslatesThroughTheEnglishSection) {
    EXPECT_STREQ(CBxLocalization::Translate("Picture"), "Picture");
    ASSERT_EQ(Read(kGerman, "deu"), 0);
    EXPECT_STREQ(CBxLocalization::Translate("Picture"), "Bild");
    EXPECT_STREQ(CBxLocalization::Translate("Empty"), "");
    // Numbers go without gaps: what follows the missing third text of the language is not read.
    EXPECT_STREQ(CBxLocalization::Translate("Three"), "Three");
    EXPECT_STREQ(CBxLocalization::Translate("Four"), "Four");
    const char unknown[] = "Unknown";
    EXPECT_EQ(CBxLocalization::Translate(unknown), unknown);
    EXPECT_EQ(CBxLocalization::Translate(unknown), unknown);
    EXPECT_EQ(CBxLocalization::Translate(nullptr), nullptr);
    char name[100] = {};
    EXPECT_EQ(CBxLocalization::GetLanguage(name, sizeof(name)), 0);
    EXPECT_STREQ(name, "Deutsch");
    CBxLocalization::Free();
    EXPECT_STREQ(CBxLocalization::Translate("Picture"), "Picture");
}

TEST_F(Localization, TakesTheLaterKeyOfADoubleText) {
    ASSERT_EQ(Read("[General]\nLanguagesNo=\"2\"\n[0]\nAcronym=\"eng\"\nstring1=\"Open\"\nstring2=\"Open\"\n"
                   "[1]\nAcronym=\"fra\"\nstring1=\"Ouvrir\"\nstring2=\"Ouvert\"\n",
                   "fra"),
              0);
    EXPECT_STREQ(CBxLocalization::Translate("Open"), "Ouvert");
}

TEST_F(Localization, ReadsTheCodePageThatTheFileNames) {
    ASSERT_EQ(Read("[General]\nEncoding=\"WINDOWS-1250\"\nLanguagesNo=\"2\"\n[0]\nAcronym=\"eng\"\nstring1=\"Tea\"\n"
                   "[1]\nAcronym=\"cze\"\nstring1=\"\xC8"
                   "aj\"\n",
                   "cze"),
              0);
    EXPECT_STREQ(CBxLocalization::Translate("Tea"),
                 "\xC4\x8C"
                 "aj");
}

TEST_F(Localization, RefusesFilesWithoutBothLanguages) {
    const std::string two = "[0]\nAcronym=\"eng\"\nstring1=\"A\"\n[1]\nAcronym=\"deu\"\nstring1=\"B\"\n";
    EXPECT_EQ(Read("[General]\nLanguagesNo=\"1\"\n" + two, "deu"), 1);
    EXPECT_STREQ(CBxLocalization::Translate("A"), "A");
    EXPECT_EQ(Read(two, "deu"), 1);
    EXPECT_EQ(Read("[General]\nLanguagesNo=\"many\"\n" + two, "deu"), 1);
    EXPECT_EQ(Read("[General]\nLanguagesNo=\"2000000000\"\n" + two, "xxx"), 1);
    EXPECT_EQ(Read("[General]\nLanguagesNo=\"2\"\n" + two, "eng"), 1);
    EXPECT_EQ(Read("[General]\nLanguagesNo=\"2\"\n" + two, "de"), 1);
    EXPECT_EQ(CBxLocalization::ReadLocalization((m_Folder / "none").c_str(), "deu"), 1);
    EXPECT_EQ(CBxLocalization::ReadLocalization(nullptr, "deu"), 1);
    EXPECT_EQ(Read("[General]\nLanguagesNo=\"2\"\n" + two, "deu"), 0);
    EXPECT_STREQ(CBxLocalization::Translate("A"), "B");
}

TEST_F(Localization, AppendsEachUntranslatedTextOnce) {
    CBxLogger logger;
    ASSERT_EQ(logger.OpenNewLog((m_Folder / "log").c_str(), false, true), 0);
    logger.EnableLogging(true, true, false, false);
    CBxLocalization::SetLogger(&logger);
    CBxLocalization::Init(true);
    const std::string head = "[General]\nLanguagesNo=\"2\"\n";
    ASSERT_EQ(Read(head + "[0]\nAcronym=\"eng\"\nstring1=\"A\"\n[1]\nAcronym=\"deu\"\nstring1=\"B\"\n", "deu"), 0);
    EXPECT_STREQ(CBxLocalization::Translate("A"), "B");
    EXPECT_STREQ(CBxLocalization::Translate("New"), "New");
    EXPECT_STREQ(CBxLocalization::Translate("New"), "New");
    // The file cannot hold this one; its number goes to the next.
    EXPECT_STREQ(CBxLocalization::Translate("x=y"), "x=y");
    EXPECT_STREQ(CBxLocalization::Translate("Last"), "Last");
    EXPECT_EQ(ReadBytes(m_Path), head +
                                     "[0]\nAcronym=\"eng\"\nstring1=\"A\"\nstring2=\"New\"\nstring3=\"Last\"\n"
                                     "[1]\nAcronym=\"deu\"\nstring1=\"B\"\nstring2=\"New\"\nstring3=\"Last\"\n");
    const std::string log = ReadBytes(m_Folder / "log");
    const std::string line = "CBxLocalization: Untranslated string found (New)\n";
    const std::size_t first = log.find(line);
    ASSERT_NE(first, std::string::npos);
    EXPECT_NE(log.find(line, first + 1), std::string::npos);
}

TEST_F(Localization, IsAskedByManyThreads) {
    ASSERT_EQ(Read(kGerman, "deu"), 0);
    std::vector<int> wrong(8, 0);
    std::vector<std::thread> threads;
    for (std::size_t number = 0; number < wrong.size(); ++number) {
        threads.emplace_back([&wrong, number] {
            for (int turn = 0; turn < 500; ++turn) {
                const std::string unknown = std::to_string(number) + "/" + std::to_string(turn);
                wrong[number] += std::string(CBxLocalization::Translate("Picture")) != "Bild";
                wrong[number] += CBxLocalization::Translate(unknown.c_str()) != unknown.c_str();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_THAT(wrong, testing::Each(0));
}
