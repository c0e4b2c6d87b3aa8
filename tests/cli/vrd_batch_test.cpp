#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <QImage>
#include <cstdlib>
#include <filesystem>

#include "folder_listing.h"
#include "pdf_document.h"
#include "vrd_fixture.h"

using testing::HasSubstr;

namespace {

class VrdBatch : public CVrdTest {
protected:
    void CopyIn(const std::string& from, const std::string& name) { std::filesystem::copy(from, m_Folder / name); }

    std::vector<std::string> NamesIn(const std::string& folder) {
        std::vector<std::string> names;
        for (const std::filesystem::directory_entry& entry : std::filesystem::directory_iterator(folder)) {
            names.push_back(entry.path().filename().string());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    // A document with the signed picture, and one that holds no picture.
    void WriteDocument(const std::string& name, bool withSign) {
        CPdfDocument document;
        const QImage picture(QString::fromStdString(Signed()));
        document.AddPage(withSign ? AddPdfJpeg(document, ReadBytes(Signed()), picture.width(), picture.height())
                                  : document.AddStream("", ""));
        WriteBytes(m_Folder / name, document.Bytes());
    }
};

}  // namespace

TEST_F(VrdBatch, TheStatusOfSigningTellsWhetherAllWereSigned) {
    CopyIn(Photo(), "a.png");
    const SProgramRun all = RunVrd({"batch-sign", m_Folder.Path(), "-s", kSign, "-t", "2"});
    EXPECT_EQ(all.status, 0) << all.err;
    EXPECT_THAT(all.out, HasSubstr("Batch sign finished. 1 of 1 files signed"));
    EXPECT_EQ(RunVrd({"detect", m_Folder / "signed/a.png"}).status, 0);

    CopyIn(Signed(), "b.jpg");
    WriteBytes(m_Folder / "c.txt", "no picture");
    const SProgramRun some = RunVrd({"batch-sign", m_Folder.Path(), "-s", kSign, "--json"});
    EXPECT_EQ(some.status, 1);
    EXPECT_EQ(some.err, "");
    const std::vector<nlohmann::json> lines = Lines(some.out);
    ASSERT_EQ(lines.size(), 4U) << some.out;
    for (const nlohmann::json& line : {lines[0], lines[1], lines[2]}) {
        const std::string name = std::filesystem::path(line["file"].get<std::string>()).filename();
        EXPECT_EQ(line.contains("error"), name == "c.txt") << line;
        EXPECT_EQ(line.contains("already_signed"), name == "b.jpg") << line;
        EXPECT_EQ(line["output"].is_string(), name == "a.png") << line;
    }
    EXPECT_EQ(lines[3]["message"], "Not all the images were signed.");
    EXPECT_EQ(lines[3]["files"], 3);
    EXPECT_EQ(lines[3]["signed"], 1);
    EXPECT_EQ(lines[3]["already_signed"], 1);
    EXPECT_EQ(lines[3]["unreadable"], 1);
    EXPECT_EQ(lines[3]["log"], m_Folder / "signed/batch_sign.log");
}

TEST_F(VrdBatch, ASignThatCannotBeFoundAgainIsRefusedBeforeAnythingIsDone) {
    CopyIn(Photo(), "a.png");
    const SProgramRun run = RunVrd({"batch-sign", m_Folder.Path(), "-s", "a b", "--json"});
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(OneLine(run)["would_become"], "a-b");
    EXPECT_EQ(m_Folder.Count(), 1);
}

TEST_F(VrdBatch, ARunThatCannotBeginSaysWhy) {
    const SProgramRun missing = RunVrd({"batch-detect", m_Folder / "missing"});
    EXPECT_EQ(missing.status, 2);
    EXPECT_EQ(missing.out, "");
    EXPECT_THAT(missing.err, HasSubstr("the folder cannot be read"));
    for (const auto& [command, end] : {std::pair("batch-sign", "; vrd sign signs single pictures\n"),
                                       std::pair("batch-detect", "; vrd detect searches single pictures\n")}) {
        for (const std::string& named : {Photo(), Photo() + "/"}) {
            std::vector<std::string> words = {command, named};
            if (words[0] == "batch-sign") {
                words.insert(words.end(), {"-s", kSign});
            }
            const SProgramRun file = RunVrd(words);
            EXPECT_EQ(file.status, 2);
            EXPECT_THAT(file.err, HasSubstr(named + ": Batch "));
            EXPECT_THAT(file.err, HasSubstr(std::string("it is a file, no folder") + end));
        }
    }
    const int locked = ::open(Photo().c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(::flock(locked, LOCK_EX), 0);
    const SProgramRun file = RunVrd({"batch-detect", Photo()});
    EXPECT_THAT(file.err, HasSubstr("another run works in this folder\n"));
    ::close(locked);
    const int other = ::open(m_Folder.Path().c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(::flock(other, LOCK_EX), 0);
    for (const SProgramRun& run : {RunVrd({"batch-sign", m_Folder.Path(), "-s", kSign, "--json"}),
                                   RunVrd({"batch-detect", m_Folder.Path(), "--json"})}) {
        EXPECT_EQ(run.status, 2);
        EXPECT_THAT(OneLine(run)["error"].get<std::string>(), HasSubstr("another run"));
    }
    ::close(other);
}

TEST_F(VrdBatch, TheStatusOfDetectionIsThatOfDetect) {
    WritePlain(m_Folder / "plain.png");
    EXPECT_EQ(RunVrd({"batch-detect", m_Folder.Path()}).status, 1);
    CopyIn(Signed(), "signed.jpg");
    const SProgramRun found = RunVrd({"batch-detect", m_Folder.Path(), "--json"});
    EXPECT_EQ(found.status, 0);
    const std::vector<nlohmann::json> lines = Lines(found.out);
    ASSERT_EQ(lines.size(), 3U) << "the log of the earlier run is none of them" << found.out;
    EXPECT_EQ(lines[0]["sign"].is_string() + lines[1]["sign"].is_string(), 1);
    EXPECT_EQ(lines[2]["message"], "Some images were signed.");
    EXPECT_EQ(lines[2]["found"], 1);
    WriteBytes(m_Folder / "broken.png", "no picture");
    EXPECT_EQ(RunVrd({"batch-detect", m_Folder.Path()}).status, 2);
}

TEST_F(VrdBatch, DocumentsAreSearched) {
    WriteDocument("signed.pdf", true);
    WriteDocument("text.pdf", false);
    WriteBytes(m_Folder / "damaged.pdf", "%PDF-1.4\n");
    const SProgramRun found = RunVrd({"pdf-detect", "--json", "signed.pdf"}, m_Folder.Path());
    EXPECT_EQ(found.status, 0) << found.out << found.err;
    const std::vector<nlohmann::json> lines = Lines(found.out);
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0]["picture"], 1);
    EXPECT_EQ(lines[0]["sign"], kSign);
    EXPECT_EQ(lines[1]["message"], std::string("Sign found: ") + kSign);
    EXPECT_EQ(lines[1]["log"], m_Folder / "Veridane_PDF.log");
    EXPECT_EQ(RunVrd({"pdf-detect", m_Folder / "text.pdf"}).status, 1);
    const SProgramRun damaged = RunVrd({"pdf-detect", m_Folder / "damaged.pdf"});
    EXPECT_EQ(damaged.status, 2);
    EXPECT_THAT(damaged.err, HasSubstr("PDF detection failed. pdfimages: "));
    EXPECT_EQ(damaged.out, "");
    const SProgramRun picture = RunVrd({"pdf-detect", Photo()});
    EXPECT_EQ(picture.status, 2);
    EXPECT_EQ(picture.err,
              "vrd: " + Photo() + ": PDF detection failed. it is not a PDF; vrd detect searches pictures\n");
}

TEST_F(VrdBatch, NoToolOfTheWorkingFolderIsRun) {
    WriteDocument("signed.pdf", true);
    // A program below the working folder reads its data there, and still runs nothing from it.
    std::filesystem::create_directories(m_Folder / "bin");
    std::filesystem::create_directories(m_Folder / "Veridane.app");
    std::filesystem::copy(VERIDANE_BIN "/vrd", m_Folder / "bin/vrd");
    WriteBytes(m_Folder / "Veridane.app/pdfimages", "#!/bin/sh\n: > " + m_Folder / "was_run" + "\n");
    std::filesystem::permissions(m_Folder / "Veridane.app/pdfimages", std::filesystem::perms::owner_all);
    const std::vector<std::string> words = {m_Folder / "bin/vrd", "pdf-detect", "signed.pdf"};
    const SProgramRun refused = RunProgram(words, m_Folder.Path());
    EXPECT_EQ(refused.status, 2);
    EXPECT_THAT(refused.err, HasSubstr("cannot start pdfimages"));
    EXPECT_FALSE(std::filesystem::exists(m_Folder / "was_run"));

    std::filesystem::rename(m_Folder / "Veridane.app", m_Folder / "bin/Veridane.app");
    RunProgram(words, m_Folder.Path());
    EXPECT_TRUE(std::filesystem::exists(m_Folder / "was_run")) << "beside the program it is";
}

// A stand-in for the tool tells that it is at work, and would be so for long.
TEST_F(VrdBatch, TheToolForDocumentsEndsWithAProgramThatIsKilled) {
    WriteDocument("signed.pdf", true);
    std::filesystem::create_directories(m_Folder / "bin/Veridane.app");
    std::filesystem::copy(VERIDANE_BIN "/vrd", m_Folder / "bin/vrd");
    const std::string tool = m_Folder / "bin/Veridane.app/pdfimages";
    const std::string pipe = m_Folder / "number";
    WriteBytes(tool, "#!/bin/sh\necho $$ > " + pipe + "\nexec sleep 1000\n");
    std::filesystem::permissions(tool, std::filesystem::perms::owner_all);
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    const int numbers = ::open(pipe.c_str(), O_RDWR | O_CLOEXEC);
    const pid_t vrd = StartProgram({m_Folder / "bin/vrd", "pdf-detect", m_Folder / "signed.pdf"}, STDERR_FILENO);
    char number[20] = "";
    const bool isAtWork = BecomesReadable(numbers) && ::read(numbers, number, sizeof(number) - 1) > 0;
    const int end = isAtWork ? static_cast<int>(::syscall(SYS_pidfd_open, std::strtol(number, nullptr, 10), 0)) : -1;
    ::kill(vrd, SIGKILL);
    EXPECT_EQ(program_run::WaitFor(vrd), -SIGKILL);
    ASSERT_GE(end, 0) << "the tool was not started, or had ended before: " << number;
    EXPECT_TRUE(BecomesReadable(end)) << "it lives on: " << number;
    ::close(end);
    ::close(numbers);
    // What the killed one has left goes with the next.
    EXPECT_EQ(RunVrd({"pdf-detect", m_Folder / "signed.pdf"}).status, 0);
}

// The program stands still at its first report, which nobody reads, until the last file of its list is gone.
TEST_F(VrdBatch, AFileThatVanishesBeforeItsTurnIsNamedAndTheOthersAreSigned) {
    for (const char* name : {"a.png", "b.png", "c.png"}) {
        CopyIn(Photo(), name);
    }
    std::vector<std::string> files;
    ASSERT_TRUE(BX_ListFolder(files, m_Folder.Path()));
    const std::string results = m_Folder / "signed";
    std::filesystem::create_directory(results);
    const int arrivals = ::inotify_init1(IN_CLOEXEC);
    ASSERT_GE(::inotify_add_watch(arrivals, results.c_str(), IN_MOVED_TO), 0);
    int ends[2];
    ASSERT_EQ(::pipe2(ends, O_CLOEXEC | O_NONBLOCK), 0);
    std::string filling(4096, '\n');
    while (::write(ends[1], filling.data(), filling.size()) > 0) {
    }
    ::fcntl(ends[1], F_SETFL, 0);
    const pid_t vrd = StartProgram(
        {VERIDANE_BIN "/vrd", "batch-sign", m_Folder.Path(), "-s", kSign, "-t", "1", "--json", "--quiet"}, ends[1]);
    ::close(ends[1]);
    EXPECT_TRUE(BecomesReadable(arrivals));
    EXPECT_TRUE(std::filesystem::remove(files.back()));
    std::string out;
    while (BecomesReadable(ends[0])) {
        const ssize_t count = ::read(ends[0], filling.data(), filling.size());
        if (count <= 0) {
            break;
        }
        out.append(filling, 0, static_cast<std::size_t>(count));
    }
    EXPECT_EQ(program_run::WaitFor(vrd), 1);
    const std::vector<nlohmann::json> lines = Lines(out.substr(out.find_first_not_of('\n')));
    ASSERT_EQ(lines.size(), 4U) << out;
    EXPECT_EQ(lines[2]["file"], files.back());
    EXPECT_THAT(lines[2]["error"].get<std::string>(), HasSubstr("No such file"));
    EXPECT_EQ(lines[3]["signed"], 2);
    EXPECT_EQ(lines[3]["unreadable"], 1);
    EXPECT_EQ(lines[3]["processed"], 3);
    EXPECT_EQ(NamesIn(results).size(), 3U) << "two pictures and the log";
    ::close(ends[0]);
    ::close(arrivals);
}

TEST_F(VrdBatch, TheQualityBeginsWhereTheOptionSays) {
    const QImage photo(QString::fromStdString(Photo()));
    ASSERT_TRUE(photo.save(QString::fromStdString(m_Folder / "a.jpg"), nullptr, 100));
    const std::string line = "a.jpg with JPEG quality=";
    EXPECT_EQ(RunVrd({"batch-sign", m_Folder.Path(), "-s", kSign}).status, 0);
    EXPECT_THAT(ReadBytes(m_Folder / "signed/batch_sign.log"), HasSubstr(line + "95\n"));
    EXPECT_EQ(RunVrd({"batch-sign", m_Folder.Path(), "-s", kSign, "-q", "0"}).status, 0);
    EXPECT_THAT(ReadBytes(m_Folder / "signed/batch_sign.log"), HasSubstr(line + "0\n"));
    for (const char* quality : {"-1", "101"}) {
        EXPECT_EQ(RunVrd({"batch-sign", m_Folder.Path(), "-s", kSign, "-q", quality}).status, 2) << quality;
    }
}

TEST_F(VrdBatch, ASignalEndsItWithoutLitter) {
    CBxOwnedPic large = MakeTexturedPicture(900, 900, 3);
    for (const char* name : {"a.png", "b.png", "c.png", "d.png"}) {
        ASSERT_EQ(CBxConvertPicture::WriteOutputFile(&large.Pic(), (m_Folder / "x.bmp").c_str(), -1, nullptr), 0);
        std::filesystem::rename(m_Folder / "x.bmp", m_Folder / name);
    }
    CopyIn(Photo(), "small.png");
    for (const int signal : {SIGINT, SIGTERM}) {
        // The first count stands under the first file that is finished.
        const SProgramRun run = InterruptProgram(
            {VERIDANE_BIN "/vrd", "batch-sign", m_Folder.Path(), "-s", kSign, "-t", "1"}, " of 5 files", signal);
        EXPECT_EQ(run.status, 128 + signal) << run.out;
        for (const std::string& name : NamesIn(m_Folder / "signed")) {
            EXPECT_NE(name[0], '.') << name;
        }
        EXPECT_LT(NamesIn(m_Folder / "signed").size(), 6U);
        EXPECT_THAT(ReadBytes(m_Folder / "signed/batch_sign.log"), HasSubstr("Batch sign was cancelled."));
    }
}
