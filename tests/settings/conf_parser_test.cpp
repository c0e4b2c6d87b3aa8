#include "conf_parser.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>

#include "temporary_folder.h"

namespace {

namespace fs = std::filesystem;

class ConfParser : public testing::Test {
protected:
    // The value, or "default" together with the status 1.
    std::string Get(const char* section, const char* key, const char* codePage = nullptr) const {
        char value[1024] = {};
        const unsigned char status = CBxConfParser::GetPrivateProfileStringA(section, key, "default", value,
                                                                             sizeof(value), m_Path.c_str(), codePage);
        EXPECT_EQ(status, std::string(value) == "default" ? 1 : 0);
        return value;
    }
    unsigned char Set(const char* section, const char* key, const std::string& value,
                      const char* codePage = nullptr) const {
        return CBxConfParser::WritePrivateProfileStringA(section, key, value.c_str(), m_Path.c_str(), codePage);
    }
    void Fill(const std::string& bytes) const { WriteBytes(m_Path, bytes); }
    std::string Bytes() const { return ReadBytes(m_Path); }

    CTemporaryFolder m_Folder;
    const std::string m_Path = m_Folder / "settings.ini";
};

std::string Trimmed(std::string text) {
    return CBxConfParser::Trim(text.data());
}

}  // namespace

TEST_F(ConfParser, TrimsBothEndsButNotATextOfBlanks) {
    EXPECT_EQ(Trimmed(" \t a b\r\n"), "a b");
    char blank[] = " \r\n";
    EXPECT_EQ(CBxConfParser::Trim(blank), blank);
    EXPECT_STREQ(blank, " \r\n");
    char empty[] = "";
    EXPECT_EQ(CBxConfParser::Trim(empty), nullptr);
    EXPECT_EQ(CBxConfParser::Trim(nullptr), nullptr);
}

TEST_F(ConfParser, KnowsAHeaderByTheBracketBeforeTheNewline) {
    EXPECT_TRUE(CBxConfParser::IsSection("[a]\n"));
    EXPECT_TRUE(CBxConfParser::IsSection("[]\n"));
    for (const char* line : {"[a] \n", "[a]\r\n", "[ab]", " [a]\n", "a]\n", "]\n", ""}) {
        EXPECT_FALSE(CBxConfParser::IsSection(line)) << line;
    }
    char name[4] = {};
    EXPECT_EQ(CBxConfParser::ParseSectionName(name, sizeof(name), "[ab]\n"), 0);
    EXPECT_STREQ(name, "ab");
    EXPECT_EQ(CBxConfParser::ParseSectionName(name, sizeof(name), "[longer]\n"), 0);
    EXPECT_STREQ(name, "lon");
    EXPECT_EQ(CBxConfParser::ParseSectionName(name, sizeof(name), "k=\"v\"\n"), 1);
    EXPECT_EQ(CBxConfParser::ParseSectionName(name, 0, "[ab]\n"), 1);
}

TEST_F(ConfParser, TakesKeyLinesApart) {
    const struct {
        const char* pLine;
        unsigned char status;
        const char* pKey;
        const char* pValue;
    } cases[] = {
        {" key = \"a b\" \r\n", 0, "key", "a b"},
        {"k=\"\"\n", 0, "k", ""},
        {"k=\" x \"\n", 0, "k", " x "},
        {"k=\"a\"b\"\n", 0, "k", "a\"b"},
        // A quote at one end takes the character at the other end along.
        {"k=\"abc\n", 0, "k", "ab"},
        {"k=abc\"\n", 0, "k", "bc"},
        // Only the piece up to the second "=" is the value.
        {"k=\"a=b\"\n", 0, "k", ""},
        {"k=\"abc=def\"\n", 0, "k", "ab"},
        {"k=abc\n", 1, "k", ""},
        {"k=\"\n", 1, "k", ""},
        {"k=\n", 1, "k", ""},
        {"k=", 1, "", ""},
        {"===", 1, "", ""},
    };
    for (const auto& one : cases) {
        char key[8] = "before";
        char value[8] = "before";
        EXPECT_EQ(CBxConfParser::ParseKyeValue(key, sizeof(key), value, sizeof(value), one.pLine), one.status)
            << one.pLine;
        EXPECT_STREQ(key, one.pKey) << one.pLine;
        EXPECT_STREQ(value, one.pValue) << one.pLine;
    }
    char tight[2];
    EXPECT_EQ(CBxConfParser::ParseKyeValue(tight, sizeof(tight), tight, 0, "k=\"v\"\n"), 1);
    char tightValue[3];
    EXPECT_EQ(CBxConfParser::ParseKyeValue(tight, sizeof(tight), tightValue, sizeof(tightValue), "key=\"value\"\n"), 0);
    EXPECT_STREQ(tight, "k");
    EXPECT_STREQ(tightValue, "va");
}

TEST_F(ConfParser, FindsTheFirstKeyOfTheFirstSection) {
    Fill(
        "k=\"before\"\n[other]\nk=\"other\"\n[s]\n; "
        "note\nk=plain\nk=\"first\"\nk=\"second\"\n[t]\nm=\"t\"\n[s]\nm=\"late\"\n");
    EXPECT_EQ(Get("s", "k"), "first");
    EXPECT_EQ(Get("s", "m"), "default");
    EXPECT_EQ(Get("S", "k"), "default");
    EXPECT_EQ(Get("s", "K"), "default");
    EXPECT_EQ(Get("t", "m"), "t");
    EXPECT_EQ(Get(nullptr, "k"), "default");
}

TEST_F(ConfParser, CopiesNoMoreThanTheBufferHolds) {
    Fill("[s]\nk=\"abcdef\"\n");
    char value[5] = "####";
    EXPECT_EQ(CBxConfParser::GetPrivateProfileStringA("s", "k", "", value, 4, m_Path.c_str(), nullptr), 0);
    EXPECT_STREQ(value, "abc");
    EXPECT_EQ(CBxConfParser::GetPrivateProfileStringA("s", "no", "123456", value, 4, m_Path.c_str(), nullptr), 1);
    EXPECT_STREQ(value, "123");
    EXPECT_EQ(CBxConfParser::GetPrivateProfileStringA("s", nullptr, "x", value, 4, m_Path.c_str(), nullptr), 1);
    EXPECT_EQ(CBxConfParser::GetPrivateProfileStringA("s", "k", "x", value, 0, m_Path.c_str(), nullptr), 1);
    EXPECT_EQ(CBxConfParser::GetPrivateProfileStringA("s", "k", "x", value, 4, nullptr, nullptr), 1);
    EXPECT_STREQ(value, "123");
}

TEST_F(ConfParser, LogsAMissingFileInDetail) {
    CBxLogger logger;
    ASSERT_EQ(logger.OpenNewLog((m_Folder / "log").c_str(), false, true), 0);
    logger.EnableLogging(true, true, false, false);
    CBxConfParser::SetLogger(&logger);
    EXPECT_EQ(Get("s", "k"), "default");
    CBxConfParser::UnsetLogger();
    EXPECT_THAT(ReadBytes(m_Folder / "log"),
                testing::HasSubstr("|ERROR| CBxConfParser: Cannot open " + m_Path + " for reading.\n"));
}

TEST_F(ConfParser, BeginsANewFileAndAddsSectionsAndKeys) {
    EXPECT_EQ(Set("s", "k", "1"), 0);
    EXPECT_EQ(Bytes(), "[s]\nk=\"1\"\n");
    EXPECT_EQ(Set("t", "k", "2"), 0);
    EXPECT_EQ(Bytes(), "[s]\nk=\"1\"\n\n[t]\nk=\"2\"\n");
    // Directly before the next header, behind the blank line; at the end in the last section.
    EXPECT_EQ(Set("s", "m", ""), 0);
    EXPECT_EQ(Set("t", "m", "a b"), 0);
    EXPECT_EQ(Bytes(), "[s]\nk=\"1\"\n\nm=\"\"\n[t]\nk=\"2\"\nm=\"a b\"\n");
    EXPECT_EQ(Get("s", "m"), "");
    EXPECT_EQ(Get("t", "m"), "a b");
    EXPECT_EQ(m_Folder.Count(), 1);
}

TEST_F(ConfParser, ReplacesOnlyTheFirstLineOfTheKey) {
    Fill("# k=\"x\"\r\n[s]\r\n[s]\n  other = \"o\"\r\nk=plain\nk=\"2\"\n\x01\xFF\xFE\n");
    EXPECT_EQ(Set("s", "k", "new"), 0);
    EXPECT_EQ(Bytes(), "# k=\"x\"\r\n[s]\r\n[s]\n  other = \"o\"\r\nk=\"new\"\nk=\"2\"\n\x01\xFF\xFE\n");
}

TEST_F(ConfParser, GivesALastLineItsNewlineWhereTheValueWouldBeLost) {
    Fill("[s]\nother=\"o\"");
    EXPECT_EQ(Set("s", "k", "v"), 0);
    EXPECT_EQ(Bytes(), "[s]\nother=\"o\"\nk=\"v\"\n");
    Fill("text");
    EXPECT_EQ(Set("s", "k", "v"), 0);
    EXPECT_EQ(Bytes(), "text\n[s]\nk=\"v\"\n");
    Fill("[s]");
    EXPECT_EQ(Set("s", "k", "v"), 0);
    EXPECT_EQ(Get("s", "k"), "v");
}

TEST_F(ConfParser, StoresTextsInTheCodePageOfTheFile) {
    const std::string word =
        "\xC4\x8D"
        "aj";
    Fill("; \xE8\x8A\n");
    EXPECT_EQ(Set("s", "k", word, "WINDOWS-1250"), 0);
    EXPECT_EQ(Bytes(),
              "; \xE8\x8A\n\n[s]\nk=\"\xE8"
              "aj\"\n");
    EXPECT_EQ(Get("s", "k", "WINDOWS-1250"), word);
    EXPECT_EQ(Get("s", "k", "NO-SUCH-PAGE"), "default");
}

// Each of these would cut the value, or tear the line and those around it.
TEST_F(ConfParser, RefusesWhatTheFileCannotHold) {
    const std::string before = "[s]\nk=\"old\"\nnext=\"n\"\n";
    Fill(before);
    EXPECT_EQ(Set("s", "k", "a=b"), 1);
    EXPECT_EQ(Set("s", "k", "a\nb"), 1);
    EXPECT_EQ(Set("s", "k", "\"\nnext=\"x"), 1);
    EXPECT_EQ(Set("s", "k", std::string(1018, 'x')), 0);  // with k, =, two quotes, newline: 1023 bytes
    Fill(before);
    EXPECT_EQ(Set("s", "k", std::string(1019, 'x')), 1);
    EXPECT_EQ(Set("s", "k", std::string(5000, 'x')), 1);
    EXPECT_EQ(Set("s", " k", "v"), 1);
    EXPECT_EQ(Set("s", "", "v"), 1);
    EXPECT_EQ(Set("s\n", "k", "v"), 1);
    EXPECT_EQ(Set("s", "k", "\xD0\xB6", "ISO-8859-1"), 1);
    EXPECT_EQ(Set("s", "k", "v", "NO-SUCH-PAGE"), 1);
    EXPECT_EQ(Set("s", "k", "v", "UTF-16LE"), 1);
    EXPECT_EQ(Set(nullptr, "k", "v"), 1);
    EXPECT_EQ(Bytes(), before);
    EXPECT_EQ(Set("s", "k", "\""), 0);
    EXPECT_EQ(Get("s", "k"), "\"");
}

// A line of more than 1023 bytes counts as several, of which none may be replaced on its own.
TEST_F(ConfParser, DoesNotTearALongLine) {
    const std::string longKey = "[s]\nk=\"" + std::string(2000, 'x') + "\"\n";
    Fill(longKey);
    EXPECT_EQ(Set("s", "k", "v"), 1);
    EXPECT_EQ(Bytes(), longKey);
    const std::string hiddenHeader = "[s]\n" + std::string(1023, 'x') + "[t]\n";
    Fill(hiddenHeader);
    EXPECT_EQ(Set("s", "k", "v"), 1);
    EXPECT_EQ(Bytes(), hiddenHeader);
    Fill("[s]\n" + std::string(3000, 'x') + "\n");
    EXPECT_EQ(Set("s", "k", "v"), 0);
    EXPECT_EQ(Bytes(), "[s]\n" + std::string(3000, 'x') + "\nk=\"v\"\n");
}

TEST_F(ConfParser, DoesNotReplaceWhatItCannotRead) {
    ASSERT_EQ(mkfifo(m_Path.c_str(), 0600), 0);
    EXPECT_EQ(Set("s", "k", "v"), 1);
    EXPECT_TRUE(fs::is_fifo(m_Path));
    fs::remove(m_Path);
    const std::string binary("[s]\n\0rest", 9);
    Fill(binary);
    EXPECT_EQ(Set("s", "k", "v"), 1);
    EXPECT_EQ(Bytes(), binary);
    EXPECT_EQ(CBxConfParser::WritePrivateProfileStringA("s", "k", "v", (m_Folder / "none/x.ini").c_str(), nullptr), 1);
}

TEST_F(ConfParser, KeepsTheOldFileOnAFullDisk) {
    const std::string before = "[s]\nk=\"old\"\n; " + std::string(9000, 'x') + "\n";
    Fill(before);
    const pid_t child = fork();
    if (child == 0) {
        signal(SIGXFSZ, SIG_IGN);
        const struct rlimit limit = {5000, 5000};
        _exit(setrlimit(RLIMIT_FSIZE, &limit) == 0 && Set("s", "k", "new") == 1 ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(Bytes(), before);
    EXPECT_EQ(m_Folder.Count(), 1);
}
