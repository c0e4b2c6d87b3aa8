#include <gmock/gmock.h>

#include "vrd_fixture.h"

using testing::HasSubstr;
using testing::IsEmpty;

namespace {

class VrdDetect : public CVrdTest {};

}  // namespace

TEST_F(VrdDetect, AnswersForEachFileAndGoesOnAfterAFailure) {
    WritePlain(m_Folder / "plain.png");
    WriteBytes(m_Folder / "text.jpg", "no picture");
    const std::string missing = m_Folder / "missing.png";
    const SProgramRun run =
        RunVrd({"detect", "--json", missing, m_Folder / "text.jpg", m_Folder / "plain.png", Signed()});
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.err, "");
    const std::vector<nlohmann::json> lines = Lines(run.out);
    ASSERT_EQ(lines.size(), 4U) << run.out;
    EXPECT_EQ(lines[0]["file"], missing);
    EXPECT_THAT(lines[0]["error"].get<std::string>(), HasSubstr("No such file"));
    EXPECT_THAT(lines[1]["error"].get<std::string>(), HasSubstr("not a picture"));
    EXPECT_TRUE(lines[2]["sign"].is_null());
    EXPECT_FALSE(lines[2].contains("error"));
    EXPECT_EQ(lines[3]["sign"], kSign);
    EXPECT_GT(lines[3]["seconds"], 0.0);

    const SProgramRun text = RunVrd({"detect", missing, m_Folder / "plain.png"});
    EXPECT_EQ(text.status, 2);
    EXPECT_EQ(text.out, m_Folder / "plain.png" + ": no sign found\n");
    EXPECT_THAT(text.err, HasSubstr(missing));
}

TEST_F(VrdDetect, TheStatusTellsWhetherAnythingWasFound) {
    WritePlain(m_Folder / "plain.png");
    EXPECT_EQ(RunVrd({"detect", m_Folder / "plain.png"}).status, 1);
    const SProgramRun found = RunVrd({"detect", m_Folder / "plain.png", Signed(), "-t", "3"});
    EXPECT_EQ(found.status, 0);
    EXPECT_EQ(found.out, m_Folder / "plain.png" + ": no sign found\n" + Signed() + ": " + kSign + "\n");
}

TEST_F(VrdDetect, OddNamesBreakNeitherFormOfTheOutput) {
    const std::string name = "-a\nb\x1b[1m\xFF.png";
    WritePlain(m_Folder / name);
    const SProgramRun text = RunVrd({"detect", "--", name}, m_Folder.Path());
    EXPECT_EQ(text.status, 1);
    EXPECT_EQ(text.out, "-a\\nb\\x1b[1m\\xff.png: no sign found\n");
    const SProgramRun json = RunVrd({"detect", "--json", "--", name}, m_Folder.Path());
    EXPECT_EQ(OneLine(json)["file"], "-a\nb\x1b[1m\xEF\xBF\xBD.png");
}

TEST_F(VrdDetect, NamesMayBeThoseOfCommandsAndStandOnEitherSideOfTwoDashes) {
    for (const char* name : {"sign", "--help", "plain.png"}) {
        WritePlain(m_Folder / "plain.png");
        WriteBytes(m_Folder / name, ReadBytes(m_Folder / "plain.png"));
    }
    const SProgramRun run = RunVrd({"detect", "sign", "-t", "2", "plain.png", "--", "--help", "sign"}, m_Folder.Path());
    EXPECT_EQ(run.out, "sign: no sign found\nplain.png: no sign found\n--help: no sign found\nsign: no sign found\n");
    EXPECT_EQ(run.status, 1);
}

TEST_F(VrdDetect, ADamagedPictureIsSearchedWithAWarningThatQuietDrops) {
    const std::string whole = ReadBytes(Signed());
    WriteBytes(m_Folder / "cut.jpg", whole.substr(0, whole.size() / 4));
    const SProgramRun run = RunVrd({"detect", m_Folder / "cut.jpg"});
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.err, HasSubstr("cut off"));
    EXPECT_EQ(run.out, m_Folder / "cut.jpg" + ": no sign found\n");
    EXPECT_EQ(RunVrd({"--quiet", "detect", m_Folder / "cut.jpg"}).err, "");
    EXPECT_EQ(RunVrd({"detect", "--quiet", m_Folder / "cut.jpg"}).err, "");
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)  // these need all addresses for themselves
// Where memory is short threads cannot be started either, and nothing may wait for them.
TEST_F(VrdDetect, ShortMemoryIsToldAndNeverAHangOrACrash) {
    WritePlain(m_Folder / "plain.png", 1600, 1200);
    int told = 0;
    for (int megabytes = 90; megabytes <= 165; megabytes += 15) {
        const std::string limit = "ulimit -v " + std::to_string(megabytes) + "000; exec \"$@\"";
        const SProgramRun run = RunProgram(
            {"/bin/sh", "-c", limit, "sh", VERIDANE_BIN "/vrd", "detect", m_Folder / "plain.png", "-t", "1"});
        EXPECT_THAT(run.status, testing::AnyOf(1, 2, 127)) << megabytes << run.err;  // 127: not even loaded
        told += run.err.find("not enough memory") != std::string::npos ? 1 : 0;
    }
    EXPECT_GE(told, 1);
}
#endif

TEST_F(VrdDetect, ResultsThatCannotBeWrittenAreAnError) {
    WritePlain(m_Folder / "plain.png");
    const SProgramRun run = RunVrd({"detect", m_Folder / "plain.png"}, "", "/dev/full");
    EXPECT_EQ(run.status, 2);
    EXPECT_THAT(run.err, HasSubstr("could not be written"));
}

TEST_F(VrdDetect, TheCommandLineExplainsItselfAndRefusesWhatItDoesNotKnow) {
    for (const std::vector<std::string>& words :
         {std::vector<std::string>{"--help"}, {"sign", "--help"}, {"detect", "-h"}, {"inspect", "--help"}}) {
        const SProgramRun run = RunVrd(words);
        EXPECT_EQ(run.status, 0) << words[0];
        EXPECT_THAT(run.out, HasSubstr("Example")) << words[0];
        EXPECT_THAT(run.err, IsEmpty());
    }
    EXPECT_THAT(RunVrd({"--version"}).out, HasSubstr("vrd "));
    for (const std::vector<std::string>& words : {std::vector<std::string>{},
                                                  {"unknown"},
                                                  {"detect"},
                                                  {"detect", "--unknown", "a.png"},
                                                  {"sign", "a.png", "-s", "abc-Z9"},
                                                  {"sign", "a.png", "-s", "abc-Z9", "-o", "b.png", "-q", "101"},
                                                  {"detect", "-t", "0", "a.png"}}) {
        const SProgramRun run = RunVrd(words);
        EXPECT_EQ(run.status, 2);
        EXPECT_EQ(run.out, "");
        EXPECT_THAT(run.err, HasSubstr("vrd: "));
    }
    EXPECT_THAT(OneLine(RunVrd({"detect", "--json"}))["error"].get<std::string>(), HasSubstr("FILE"));
    EXPECT_THAT(RunVrd({"batch-detect"}).err, HasSubstr("(vrd batch-detect --help tells more)"));
    EXPECT_THAT(RunVrd({}).err, HasSubstr("(vrd --help tells more)"));
}

TEST_F(VrdDetect, AFolderOrADocumentIsRefusedWithTheCommandThatSearchesIt) {
    WriteBytes(m_Folder / "pages.PDF", "%PDF-1.4\n");
    WriteBytes(m_Folder / "words.txt", "words");
    EXPECT_THAT(RunVrd({"detect", m_Folder.Path()}).err, HasSubstr("it is a folder; vrd batch-detect"));
    EXPECT_THAT(RunVrd({"detect", m_Folder / "pages.PDF"}).err, HasSubstr("known format; vrd pdf-detect"));
    EXPECT_THAT(RunVrd({"detect", m_Folder / "words.txt"}).err, HasSubstr("known format\n"));
}
