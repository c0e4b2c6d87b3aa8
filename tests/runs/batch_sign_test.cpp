#include "batch_sign.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <thread>

#include "folder_listing.h"
#include "runs_fixture.h"
#include "writer_faults.h"

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace {

class BatchSign : public CRunsTest {
protected:
    SBxBatchSignOutcome Run(int threads = 1, int quality = 90, const CBxSignedFileReport& report = {}) {
        return BX_RunBatchSign(Context(threads, quality), m_Folder.Path(), kSign, report);
    }

    std::string Log() { return m_Folder / "signed/batch_sign.log"; }
};

}  // namespace

TEST_F(BatchSign, GoesOnPastWhatIsNoPictureInTheOrderOfTheListing) {
    for (const char* name : {"a.png", "UPPER.JPG", "photo.jpeg", "bits.bmp", "e.tif"}) {
        WritePiece(name, pieces::kGood);
    }
    WriteBytes(m_Folder / "broken.jpg", "\xFF\xD8\xFF no picture");
    WriteBytes(m_Folder / "notes.txt", "to do");
    std::filesystem::create_directory(m_Folder / "folder.jpg");
    ::mkfifo((m_Folder / "pipe.jpg").c_str(), 0600);
    ::symlink("nowhere", (m_Folder / "lost.jpg").c_str());
    std::vector<std::string> expected;
    ASSERT_TRUE(BX_ListFolder(expected, m_Folder.Path()));
    ASSERT_EQ(expected.size(), 7u);
    for (const int threads : {1, 3}) {
        std::vector<std::string> reported;
        m_Progress.Clear();
        const SBxBatchSignOutcome outcome = Run(threads, 90, [&](const SBxSignedFile& file) {
            EXPECT_EQ(m_Progress.View().processed, reported.size());
            reported.push_back(file.file);
        });
        EXPECT_EQ(reported, expected);
        EXPECT_FALSE(outcome.hasFailed) << outcome.reason;
        EXPECT_FALSE(outcome.notAllSigned) << "what is no picture is counted apart";
        EXPECT_EQ(outcome.signedFiles, 5u);
        EXPECT_EQ(outcome.unreadable, 2u);
        EXPECT_EQ(m_Progress.View().total, 7u);
        EXPECT_EQ(m_Progress.View().processed, 7u);
        EXPECT_THAT(NamesIn(m_Folder / "signed"),
                    ElementsAre("UPPER.JPG", "a.png", "batch_sign.log", "bits.bmp", "e.tif", "photo.jpeg"));
    }
    for (const char* name : {"a.png", "UPPER.JPG", "photo.jpeg", "bits.bmp", "e.tif"}) {
        EXPECT_EQ(SignIn(m_Folder / "signed/" + name), kSign) << name;
        EXPECT_EQ(SignIn(m_Folder / name), "") << "the photograph itself is left alone";
    }
    const std::vector<std::string> lines = LinesOf(Log());
    const std::string signedFolder = m_Folder / "signed/";
    EXPECT_THAT(lines, Contains("ERROR| Cannot read the broken.jpg !!"));
    EXPECT_THAT(lines, Contains("ERROR| Cannot read the notes.txt !!"));
    EXPECT_THAT(lines, Contains("INFO | Saving the " + signedFolder + "UPPER.JPG with JPEG quality=90"));
    EXPECT_THAT(lines, Not(Contains(HasSubstr("photo.jpeg with JPEG quality"))));
    EXPECT_STREQ(BX_GetMessage(Run()), "Batch sign finished.");
}

// The change of each pixel is drawn by chance, and so is, within limits, the first quality that carries the sign.
TEST_F(BatchSign, RaisesTheQualityUntilTheSignSurvives) {
    WritePiece("photo.jpg", pieces::kGood);
    EXPECT_FALSE(Run(1, 10).notAllSigned);
    const std::string output = m_Folder / "signed/photo.jpg";
    const std::vector<std::string> lines = LinesOf(Log());
    std::vector<std::string> expected = {"INFO | *** LOG SESSION STARTED  ***"};
    for (const char* quality : {"10", "33", "55", "78", "100"}) {
        expected.push_back("INFO | Saving the " + output + " with JPEG quality=" + quality);
        if (lines.size() == expected.size() + 2) {
            break;
        }
        expected.emplace_back("ERROR| Sign is corrupted because of the JPEG comression.");
    }
    EXPECT_GT(expected.size(), 2u);
    expected.push_back("INFO | The " + output + " was successfully written.");
    expected.emplace_back("INFO | *** LOG SESSION FINISHED ***");
    EXPECT_EQ(lines, expected);
    EXPECT_EQ(SignIn(output), kSign);
}

TEST_F(BatchSign, TriesOnlyTheHighestQualityWhenThatIsAskedFor) {
    WritePiece("photo.jpg", pieces::kNeedsBitmap);
    Run(1, 100);
    const std::vector<std::string> lines = LinesOf(Log());
    EXPECT_EQ(std::count_if(lines.begin(), lines.end(),
                            [](const std::string& line) { return line.find("quality=") != std::string::npos; }),
              1);
    EXPECT_THAT(lines, Contains("INFO | JPEG image was not written. Changing to BMP format."));
}

TEST_F(BatchSign, FallsBackToABitmapUnderANameThatNobodyElseHas) {
    WritePiece("photo.jpg", pieces::kNeedsBitmap);
    WritePiece("photo.jpg.bmp", pieces::kGood);
    const SBxBatchSignOutcome outcome = Run(2);
    EXPECT_EQ(outcome.signedFiles, 2u);
    EXPECT_THAT(NamesIn(m_Folder / "signed"), ElementsAre("batch_sign.log", "photo.jpg.bmp", "photo.jpg.bmp.bmp"));
    EXPECT_EQ(QImage(QString::fromStdString(m_Folder / "signed/photo.jpg.bmp.bmp")).size(), QSize(48, 48));
    EXPECT_EQ(SignIn(m_Folder / "signed/photo.jpg.bmp.bmp"), kSign);
}

TEST_F(BatchSign, LeavesNoOlderResultOfTheOtherFormatBehind) {
    WritePiece("photo.jpg", pieces::kGood);
    const std::string jpeg = m_Folder / "signed/photo.jpg";
    const std::string bitmap = m_Folder / "signed/photo.jpg.bmp";
    ASSERT_EQ(Run(1, 100).signedFiles, 1u);
    QImage signedPicture(QString::fromStdString(jpeg));
    // As if the run had fallen back to a bitmap.
    WritePiece("photo.jpg", pieces::kGood);
    ASSERT_TRUE(signedPicture.save(QString::fromStdString(bitmap)));
    ASSERT_EQ(SignIn(bitmap), kSign);
    std::filesystem::remove(jpeg);
    ASSERT_EQ(Run(1, 100).signedFiles, 1u);
    EXPECT_THAT(NamesIn(m_Folder / "signed"), ElementsAre("batch_sign.log", "photo.jpg"));
    EXPECT_EQ(SignIn(jpeg), kSign);
    EXPECT_THAT(LinesOf(Log()), Contains("INFO | An older result was removed: " + bitmap));
}

TEST_F(BatchSign, AJpegResultGoesWhenABitmapTakesItsPlace) {
    WritePiece("photo.jpg", pieces::kNeedsBitmap);
    const std::string jpeg = m_Folder / "signed/photo.jpg";
    const std::string bitmap = m_Folder / "signed/photo.jpg.bmp";
    ASSERT_EQ(Run(1, 100).signedFiles, 1u);
    // Told by its bytes, not by its ending; no JPEG of this piece would carry the sign.
    std::filesystem::copy(bitmap, jpeg);
    ASSERT_EQ(Run(1, 100).signedFiles, 1u);
    EXPECT_THAT(NamesIn(m_Folder / "signed"), ElementsAre("batch_sign.log", "photo.jpg.bmp"));
    EXPECT_EQ(SignIn(bitmap), kSign);
    EXPECT_THAT(LinesOf(Log()), Contains("INFO | An older result was removed: " + jpeg));
}

TEST_F(BatchSign, WhatIsNoResultOfTheFileStays) {
    WritePiece("photo.jpg", pieces::kGood);
    const std::string bitmap = m_Folder / "signed/photo.jpg.bmp";
    const auto expectItStays = [&](const char* what) {
        EXPECT_EQ(Run().signedFiles, 1u) << what;
        EXPECT_TRUE(std::filesystem::is_symlink(bitmap) || std::filesystem::exists(bitmap)) << what;
        EXPECT_THAT(LinesOf(Log()), Contains("INFO | An older result stays: " + bitmap)) << what;
        std::filesystem::remove(bitmap);
    };
    std::filesystem::create_directory(m_Folder / "signed");
    WriteBytes(bitmap, "no picture");
    expectItStays("no picture");
    ASSERT_TRUE(Piece(pieces::kGood).save(QString::fromStdString(bitmap)));
    expectItStays("a picture without a sign");
    const QImage result(QString::fromStdString(m_Folder / "signed/photo.jpg"));
    ASSERT_TRUE(result.copy(0, 0, 219, 200).save(QString::fromStdString(bitmap)));
    expectItStays("a picture of another size");
    ASSERT_TRUE(result.save(QString::fromStdString(m_Temporary / "signed.bmp")));
    std::filesystem::create_symlink(m_Temporary / "signed.bmp", bitmap);
    expectItStays("a link");
    EXPECT_EQ(SignIn(m_Temporary / "signed.bmp"), kSign);
}

TEST_F(BatchSign, WritesNothingThatDoesNotCarryTheSign) {
    WritePiece("photo.png", pieces::kCarriesNothing);
    WritePiece("other.jpg", pieces::kCarriesNothing);
    const SBxBatchSignOutcome outcome = Run();
    EXPECT_STREQ(BX_GetMessage(outcome), "Not all the images were signed.");
    EXPECT_EQ(outcome.failed, 2u);
    EXPECT_THAT(NamesIn(m_Folder / "signed"), ElementsAre("batch_sign.log"));
    EXPECT_THAT(LinesOf(Log()), Contains("ERROR| The file photo.png was not signed!"));
}

TEST_F(BatchSign, SaysThatAnEarlierResultStaysWhereTheFileCannotBeSignedAgain) {
    WritePiece("photo.png", pieces::kGood);
    ASSERT_FALSE(Run().notAllSigned);
    const std::string earlier = ReadBytes(m_Folder / "signed/photo.png");
    WriteBytes(m_Folder / "photo.png", "no picture any more");
    EXPECT_EQ(Run().signedFiles, 0u);
    EXPECT_EQ(ReadBytes(m_Folder / "signed/photo.png"), earlier);
    EXPECT_THAT(LinesOf(Log()), Contains("INFO | An older result stays: " + m_Folder.Path() + "/signed/photo.png"));
}

TEST_F(BatchSign, RefusesWhatIsSignedAndReplacesEarlierResultsOnly) {
    WritePiece("photo.png", pieces::kGood);
    ASSERT_FALSE(Run().notAllSigned);
    std::filesystem::copy(m_Folder / "signed/photo.png", m_Folder / "again.png");
    WriteBytes(m_Folder / "signed/photo.png", "an earlier result");
    ::chmod((m_Folder / "signed/photo.png").c_str(), 0640);
    WriteBytes(m_Folder / "signed/photo.png_tmp.jpg", "a file of the user");
    WriteBytes(m_Folder / "signed/.veridane-run-zz", "another one");
    const SBxBatchSignOutcome outcome = Run();
    EXPECT_TRUE(outcome.notAllSigned);
    EXPECT_EQ(outcome.alreadySigned, 1u);
    EXPECT_THAT(LinesOf(Log()), Contains("ERROR| OTHER SIGN FOUND! The file again.png is already signed. The sign "
                                         "found: Veri-2026x"));
    EXPECT_FALSE(std::filesystem::exists(m_Folder / "signed/again.png"));
    EXPECT_EQ(SignIn(m_Folder / "signed/photo.png"), kSign);
    struct stat facts = {};
    ::stat((m_Folder / "signed/photo.png").c_str(), &facts);
    EXPECT_EQ(facts.st_mode & 0777, 0640u);
    EXPECT_EQ(ReadBytes(m_Folder / "signed/photo.png_tmp.jpg"), "a file of the user");
    EXPECT_EQ(ReadBytes(m_Folder / "signed/.veridane-run-zz"), "another one");
}

TEST_F(BatchSign, LeavesALinkThatStandsInTheWayOfAResultAlone) {
    WritePiece("photo.png", pieces::kGood);
    WriteBytes(m_Temporary / "precious.png", "precious");
    std::filesystem::create_directory(m_Folder / "signed");
    std::filesystem::create_symlink(m_Temporary / "precious.png", m_Folder / "signed/photo.png");
    EXPECT_TRUE(Run().notAllSigned);
    EXPECT_EQ(ReadBytes(m_Temporary / "precious.png"), "precious");
    EXPECT_TRUE(std::filesystem::is_symlink(m_Folder / "signed/photo.png"));
    EXPECT_THAT(LinesOf(Log()), Contains("ERROR| Cannot write the " + m_Folder.Path() + "/signed/photo.png"));
}

TEST_F(BatchSign, ACancelKeepsWhatIsDoneAndLeavesNothingElse) {
    for (const char* name : {"a.png", "b.png", "c.png", "d.png", "e.png", "f.png"}) {
        WritePiece(name, pieces::kGood);
    }
    const SBxBatchSignOutcome outcome = Run(1, 90, [&](const SBxSignedFile& file) {
        EXPECT_EQ(file.end, EBxSignedEnd::kSigned);
        m_Progress.Cancel();
    });
    EXPECT_TRUE(outcome.wasCancelled);
    EXPECT_FALSE(outcome.hasFailed);
    EXPECT_EQ(outcome.processed, 1u);
    EXPECT_EQ(NamesIn(m_Folder / "signed").size(), 2u);
    EXPECT_THAT(LinesOf(Log()), Contains("INFO | Batch sign was cancelled."));
    // A new run starts uncancelled and forgets the old one.
    m_Progress.Clear();
    EXPECT_EQ(Run(2).signedFiles, 6u);
}

TEST_F(BatchSign, ACancelStopsTheFileInWork) {
    ASSERT_TRUE(
        QImage(VERIDANE_SAMPLES "/coffee.png").scaled(3000, 3000).save(QString::fromStdString(m_Folder / "large.bmp")));
    CBxRunProgress* progress = &m_Progress;
    // Cancels as soon as the engine is seen at work.
    std::thread user([progress] {
        while (progress->View().percentage <= 0.0) {
            std::this_thread::yield();
        }
        progress->Cancel();
    });
    const SBxBatchSignOutcome outcome = Run();
    user.join();
    EXPECT_TRUE(outcome.wasCancelled);
    EXPECT_EQ(outcome.signedFiles, 0u);
    EXPECT_THAT(NamesIn(m_Folder / "signed"), ElementsAre("batch_sign.log"));
    EXPECT_THAT(LinesOf(Log()), Contains("ERROR| The file large.bmp was not signed!"));
}

TEST_F(BatchSign, OnlyOneRunWorksInAFolder) {
    WritePiece("photo.png", pieces::kGood);
    const int other = ::open(m_Folder.Path().c_str(), O_RDONLY);
    ASSERT_EQ(::flock(other, LOCK_EX), 0);
    const SBxBatchSignOutcome refused = Run();
    EXPECT_STREQ(BX_GetMessage(refused), "Batch sign failed.");
    EXPECT_THAT(refused.reason, HasSubstr("another run"));
    EXPECT_EQ(refused.logPath, "");
    ::close(other);
    EXPECT_FALSE(Run().hasFailed);
}

TEST_F(BatchSign, AFileIsTakenForNoFolderAndLeftAlone) {
    WriteBytes(m_Folder / "photo.png", "precious");
    const SBxBatchSignOutcome outcome = BX_RunBatchSign(Context(), m_Folder / "photo.png", kSign, {});
    EXPECT_TRUE(outcome.hasFailed);
    EXPECT_EQ(outcome.reason, "it is a file, no folder");
    EXPECT_EQ(BX_RunBatchSign(Context(), m_Folder / "missing", kSign, {}).reason, "there is no such folder");
    EXPECT_THAT(NamesIn(m_Folder.Path()), ElementsAre("photo.png"));
    EXPECT_EQ(ReadBytes(m_Folder / "photo.png"), "precious");
}

TEST_F(BatchSign, EndsAtOnceWhereItCannotWrite) {
    WritePiece("photo.png", pieces::kGood);
    WriteBytes(m_Temporary / "precious.txt", "precious");
    std::filesystem::create_directory(m_Folder / "signed");
    std::filesystem::create_symlink(m_Temporary / "precious.txt", Log());
    const SBxBatchSignOutcome linked = Run();
    EXPECT_TRUE(linked.hasFailed);
    EXPECT_THAT(linked.reason, HasSubstr("it is a link"));
    EXPECT_EQ(linked.logPath, "");
    EXPECT_EQ(ReadBytes(m_Temporary / "precious.txt"), "precious");
    EXPECT_THAT(NamesIn(m_Folder / "signed"), ElementsAre("batch_sign.log"));

    std::filesystem::remove_all(m_Folder / "signed");
    WriteBytes(m_Folder / "signed", "a file");
    EXPECT_TRUE(Run().hasFailed);
    EXPECT_EQ(ReadBytes(m_Folder / "signed"), "a file");
    EXPECT_TRUE(BX_RunBatchSign(Context(), m_Folder / "nothing", kSign, {}).hasFailed);
    EXPECT_FALSE(std::filesystem::exists(m_Folder / "nothing"));
}

TEST_F(BatchSign, EndsWhenTheDiskIsFull) {
    for (const char* name : {"a.png", "b.png", "c.png", "d.png", "e.png", "f.png"}) {
        WritePiece(name, pieces::kNeedsBitmap);
    }
    for (const rlim_t room : {10, 300}) {
        EXPECT_TRUE(SucceedsWithDiskOf(room, [this] {
            const SBxBatchSignOutcome outcome = Run();
            const bool isTold = outcome.hasFailed && outcome.reason.find("log") != std::string::npos;
            return isTold && outcome.processed < 6 && outcome.signedFiles == 0 ? 0 : 1;
        }));
    }
    EXPECT_THAT(NamesIn(m_Folder / "signed"), ElementsAre("batch_sign.log"));
}

TEST_F(BatchSign, AnEmptyFolderIsDoneAtOnce) {
    const SBxBatchSignOutcome outcome = Run();
    EXPECT_STREQ(BX_GetMessage(outcome), "Batch sign finished.");
    EXPECT_EQ(outcome.total, 0u);
    EXPECT_THAT(LinesOf(Log()),
                ElementsAre("INFO | *** LOG SESSION STARTED  ***", "INFO | *** LOG SESSION FINISHED ***"));
}

TEST_F(BatchSign, TakesNamesOfAllKindsAndKeepsEachInOneLineOfTheLog) {
    const std::string names[] = {"50% %s %n.png",
                                 "it's \"so\".jpg",
                                 "two\nlines.png",
                                 "\xC3\x84rger \xE6\x97\xA5.jpg",
                                 std::string(200, 'x') + ".png",
                                 std::string(251, 'y') + ".jpg",
                                 "-q.png"};
    for (const std::string& name : names) {
        WritePiece(name, pieces::kGood);
    }
    EXPECT_EQ(Run(2).signedFiles, std::size(names));
    for (const std::string& name : names) {
        EXPECT_EQ(SignIn(m_Folder / "signed/" + name), kSign) << name;
    }
    EXPECT_THAT(LinesOf(Log()),
                Contains("INFO | The " + m_Folder.Path() + "/signed/two\\nlines.png was successfully written."));
}

TEST_F(BatchSign, SaysWhatCanBeReadAndNotWritten) {
    WritePiece("photo.png", pieces::kGood);
    std::filesystem::rename(m_Folder / "photo.png", m_Folder / "photo.gif");
    const SBxBatchSignOutcome outcome = Run();
    EXPECT_TRUE(outcome.notAllSigned);
    EXPECT_EQ(outcome.failed, 1u);
    const std::vector<std::string> lines = LinesOf(Log());
    EXPECT_THAT(lines, Contains("ERROR| Cannot write the " + m_Folder.Path() + "/signed/photo.gif"));
    EXPECT_THAT(lines, Contains(HasSubstr("picture format that can be written")));
}
