// Lists, shards, and results that a later run goes on with.
#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <set>

#include "name_list.h"
#include "vrd_fixture.h"

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

class VrdManyFiles : public CVrdTest {
protected:
    // Names of the files in the lines of a text, in its order.
    static std::vector<std::string> FilesOf(const std::string& text) {
        std::vector<std::string> files;
        for (const nlohmann::json& line : Lines(text)) {
            files.push_back(line["file"]);
        }
        return files;
    }

    // In the test's folder, with `input` as standard input.
    SProgramRun RunWithInput(const std::string& input, const std::vector<std::string>& words) {
        WriteBytes(m_Folder / "input", input);
        std::vector<std::string> command = {"/bin/sh", "-c", "exec \"$0\" \"$@\" < input", VERIDANE_BIN "/vrd"};
        command.insert(command.end(), words.begin(), words.end());
        return RunProgram(command, m_Folder.Path());
    }

    SProgramRun RunHere(const std::vector<std::string>& words) { return RunVrd(words, m_Folder.Path()); }

    // As a run that searches everything in list.txt, or what an earlier one has left.
    SProgramRun Resume(std::vector<std::string> more = {}) {
        std::vector<std::string> words = {"detect",    "--json",    "--files-from", "list.txt",
                                          "--results", "all.jsonl", "--resume"};
        words.insert(words.end(), more.begin(), more.end());
        return RunHere(words);
    }

    std::string Results() { return ReadBytes(m_Folder / "all.jsonl"); }
};

}  // namespace

TEST_F(VrdManyFiles, AListEndsItsNamesWithNewlinesOrWithNulOnceItHasOne) {
    for (const char* name : {"a.png", "b c.png", "line\nbreak.png"}) {
        WritePlain(m_Folder / name);
    }
    const SProgramRun lines = RunWithInput("a.png\n\nb c.png", {"detect", "--files-from", "-"});
    EXPECT_EQ(lines.out, "a.png: no sign found\nb c.png: no sign found\n") << lines.err;
    const SProgramRun nul =
        RunWithInput(std::string("line\nbreak.png\0b c.png\0", 23), {"detect", "a.png", "--files-from", "-"});
    EXPECT_EQ(nul.out, "a.png: no sign found\nline\\nbreak.png: no sign found\nb c.png: no sign found\n") << nul.err;
    EXPECT_EQ(RunWithInput("", {"detect", "--files-from", "-"}).status, 1);
    const SProgramRun missing = RunHere({"detect", "--files-from", "missing.txt"});
    EXPECT_EQ(missing.status, 2);
    EXPECT_THAT(missing.err, HasSubstr("missing.txt: the list cannot be read: No such file"));
}

TEST_F(VrdManyFiles, TheShardsOfAListHoldEachFileOnceInWhateverOrder) {
    std::string list;
    std::vector<std::string> names;
    for (int i = 0; i < 12; ++i) {
        names.push_back("p" + std::to_string(i) + ".png");
        WritePlain(m_Folder / names.back(), 8, 8);
        list.insert(i % 2 == 0 ? list.size() : 0, names.back() + "\n");
    }
    WriteBytes(m_Folder / "list.txt", list);
    std::vector<std::string> searched;
    for (const char* shard : {"1/3", "2/3", "3/3"}) {
        const SProgramRun run = RunHere({"detect", "--json", "--files-from", "list.txt", "--shard", shard});
        const std::vector<std::string> part = FilesOf(run.out);
        std::vector<std::string> words = {"detect", "--json", "--shard", shard};
        words.insert(words.end(), names.begin(), names.end());
        EXPECT_THAT(FilesOf(RunHere(words).out), testing::UnorderedElementsAreArray(part));
        searched.insert(searched.end(), part.begin(), part.end());
    }
    EXPECT_THAT(searched, testing::UnorderedElementsAreArray(names));
    for (const char* shard : {"0/3", "4/3", "3", "1/3x", "-1/3", "1/", "/3", "1/9999999"}) {
        const SProgramRun run = RunHere({"detect", "a.png", std::string("--shard=") + shard});
        EXPECT_EQ(run.status, 2) << shard;
        EXPECT_THAT(run.err, HasSubstr("is no shard")) << shard;
    }
}

// A poor hash would leave machines idle: names that differ in one digit are what cameras write.
TEST(Shard, NamesOfACameraAreDealtOutEvenly) {
    for (const std::uint32_t shards : {2U, 3U, 8U, 16U, 100U}) {
        std::vector<int> counts(shards, 0);
        for (int number = 0; number < 20000; ++number) {
            const std::string name = "/photos/2026/DSC" + std::to_string(100000 + number).substr(1) + ".JPG";
            for (std::uint32_t index = 1; index <= shards; ++index) {
                counts[index - 1] += SBxShard{index, shards}.Holds(name) ? 1 : 0;
            }
        }
        const double mean = 20000.0 / shards;
        for (const int count : counts) {
            EXPECT_NEAR(count, mean, 5.0 * std::sqrt(mean)) << shards;  // as a fair die would deal them
        }
    }
}

TEST_F(VrdManyFiles, AResumePassesOverWhatIsInTheResultsAndStillIsTheSameFile) {
    for (const char* name : {"a.png", "b.png", "touched.png"}) {
        WritePlain(m_Folder / name);
    }
    std::filesystem::copy_file(Signed(), m_Folder / "signed.jpg");
    WriteBytes(m_Folder / "broken.png", "no picture");
    WriteBytes(m_Folder / "list.txt", "a.png\nb.png\ntouched.png\nsigned.jpg\nbroken.png\nlate.png\n");
    const SProgramRun first = Resume();
    EXPECT_EQ(first.status, 2);
    EXPECT_EQ(FilesOf(first.out).size(), 6U);

    WritePlain(m_Folder / "b.png", 40, 40);  // another size
    std::filesystem::last_write_time(
        m_Folder / "touched.png", std::filesystem::last_write_time(m_Folder / "a.png") + std::chrono::nanoseconds(1));
    WritePlain(m_Folder / "broken.png");
    const SProgramRun second = Resume();
    EXPECT_EQ(second.status, 2);
    EXPECT_THAT(FilesOf(second.out), ElementsAre("b.png", "touched.png", "broken.png", "late.png"));
    EXPECT_THAT(second.err, HasSubstr("2 of 6 files are in the results already"));

    WritePlain(m_Folder / "late.png");
    EXPECT_THAT(FilesOf(Resume().out), ElementsAre("late.png"));
    const SProgramRun last = Resume();
    EXPECT_EQ(last.out, "");
    EXPECT_EQ(last.status, 0) << "the sign that an earlier run has found counts";
    EXPECT_EQ(FilesOf(Results()).size(), 6U + 4U + 1U);
}

TEST_F(VrdManyFiles, ADeeperSearchSearchesAgainWhatAnOrdinaryOneHasNotRead) {
    WritePlain(m_Folder / "a.png");
    std::filesystem::copy_file(Signed(), m_Folder / "signed.jpg");
    WriteBytes(m_Folder / "list.txt", "a.png\nsigned.jpg\n");
    EXPECT_EQ(Resume().status, 0);
    EXPECT_THAT(FilesOf(Resume({"--deep"}).out), ElementsAre("a.png"));
    EXPECT_EQ(Resume({"--deep"}).out, "");
    EXPECT_EQ(Resume().out, "") << "and an ordinary one is content with it";
}

TEST_F(VrdManyFiles, ResultsCutOffAnywhereByAKilledRunAreMended) {
    const std::string odd = "odd\xFF.png";
    WritePlain(m_Folder / "a.png");
    WritePlain(m_Folder / odd);
    WriteBytes(m_Folder / "list.txt", "a.png\n" + odd + "\n");
    EXPECT_EQ(Resume({"-t", "1"}).status, 1);
    const std::string whole = Results();
    const std::size_t firstLine = whole.find('\n') + 1;
    for (std::size_t cut = firstLine; cut < whole.size(); cut += 7) {
        WriteBytes(m_Folder / "all.jsonl", whole.substr(0, cut));
        const SProgramRun run = Resume();
        EXPECT_THAT(FilesOf(run.out), ElementsAre("odd\xEF\xBF\xBD.png")) << cut << run.err;
        EXPECT_EQ(Results().substr(0, firstLine), whole.substr(0, firstLine)) << cut;
        ASSERT_EQ(Lines(Results()).size(), 2U) << cut;
    }
    EXPECT_EQ(Resume().out, "") << "a name that is not UTF-8 is known again";
    WriteBytes(m_Folder / "all.jsonl", whole.substr(0, firstLine) + std::string(100, '\0'));
    EXPECT_EQ(Lines(Resume().out).size(), 1U);
}

// A name given by mistake: nothing but results is ever added to or cut.
TEST_F(VrdManyFiles, WhatIsNoResultsFileIsLeftAsItIs) {
    WritePlain(m_Folder / "a.png");
    WriteBytes(m_Folder / "list.txt", "a.png\n");
    for (const std::string& bytes : {ReadBytes(m_Folder / "a.png"), std::string("a.png"), std::string("a.png\nb.png\n"),
                                     std::string("{\"file\":3}\n"), "{\"file\":\"" + std::string(70000, 'a')}) {
        WriteBytes(m_Folder / "all.jsonl", bytes);
        const SProgramRun run = Resume();
        EXPECT_EQ(run.status, 2);
        EXPECT_THAT(run.out, HasSubstr("is no result of a search"));
        EXPECT_EQ(Results(), bytes);
    }
    WriteBytes(m_Folder / "all.jsonl", "");
    const SProgramRun unasked = RunHere({"detect", "a.png", "--results", "all.jsonl"});
    EXPECT_EQ(unasked.status, 2);
    EXPECT_THAT(unasked.err, HasSubstr("exists already; --resume"));
    EXPECT_EQ(RunHere({"detect", "a.png", "--resume"}).status, 2);
    EXPECT_EQ(RunHere({"detect", "a.png", "--results", "missing/all.jsonl"}).status, 2);
    EXPECT_EQ(RunHere({"detect", "a.png", "--results", "/dev/full", "--resume"}).status, 2);
}

TEST_F(VrdManyFiles, AFullDiskEndsTheRunAndLeavesWholeLines) {
    std::string list;
    for (int i = 0; i < 8; ++i) {
        WritePlain(m_Folder / std::to_string(i) + ".png", 8, 8);
        list += std::to_string(i) + ".png\n";
    }
    WriteBytes(m_Folder / "list.txt", list);
    // A limit of 512 bytes on every file stands for a full disk; the signal that comes with it is ignored.
    const SProgramRun run = RunProgram({"/bin/sh", "-c",
                                        "trap '' XFSZ; ulimit -f 1; exec \"$0\" detect -t 1 --files-from list.txt "
                                        "--results all.jsonl",
                                        VERIDANE_BIN "/vrd"},
                                       m_Folder.Path());
    EXPECT_EQ(run.status, 2);
    EXPECT_THAT(run.err, HasSubstr("all.jsonl: the results cannot be written: "));
    EXPECT_EQ(Results().back(), '\n');
    const std::size_t written = Lines(Results()).size();
    EXPECT_GE(written, 1U);
    EXPECT_LT(written, 8U);
    EXPECT_EQ(Lines(Resume().out).size(), 8U - written);
}
