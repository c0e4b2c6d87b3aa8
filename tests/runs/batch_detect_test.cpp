#include "batch_detect.h"

#include <unistd.h>

#include "batch_sign.h"
#include "folder_listing.h"
#include "runs_fixture.h"
#include "writer_faults.h"

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

class BatchDetect : public CRunsTest {
protected:
    SBxBatchDetectOutcome Run(int threads = 1, const CBxDetectedFileReport& report = {}) {
        return BX_RunBatchDetect(Context(threads), m_Folder.Path(), report);
    }

    void WriteSigned(const std::string& name) {
        CTemporaryFolder folder;
        Piece(pieces::kGood).save(QString::fromStdString(folder / name));
        ASSERT_FALSE(BX_RunBatchSign(Context(), folder.Path(), kSign, {}).notAllSigned);
        std::filesystem::copy(folder / "signed/" + name, m_Folder / name);
    }

    std::string Log() { return m_Folder / "batch_detect.log"; }
};

}  // namespace

TEST_F(BatchDetect, TellsForEachFileWhatItHolds) {
    WritePiece("plain.png", pieces::kGood);
    WriteSigned("signed.png");
    WriteSigned("SIGNED.JPG");
    WriteBytes(m_Folder / "broken.png", "no picture");
    WriteBytes(m_Folder / "batch_sign.log", "of an earlier run");
    std::vector<std::string> expected;
    ASSERT_TRUE(BX_ListFolder(expected, m_Folder.Path()));
    for (const int threads : {1, 4}) {
        std::vector<std::string> reported;
        const SBxBatchDetectOutcome outcome =
            Run(threads, [&](const SBxDetectedFile& file) { reported.push_back(file.file); });
        EXPECT_EQ(reported, expected);
        EXPECT_STREQ(BX_GetMessage(outcome), "Some images were signed.");
        EXPECT_EQ(outcome.total, 4u) << "logs are no pictures";
        EXPECT_EQ(outcome.unreadable, 1u);
        EXPECT_THAT(BX_GetDetail(outcome), HasSubstr("could not be read: 1"));
    }
    const std::vector<std::string> lines = LinesOf(Log());
    EXPECT_THAT(lines, Contains("INFO | SIGN FOUND: Veri-2026x. File: signed.png"));
    EXPECT_THAT(lines, Contains("INFO | SIGN FOUND: Veri-2026x. File: SIGNED.JPG"));
    EXPECT_THAT(lines, Contains("INFO | Not signed. File: plain.png"));
    EXPECT_THAT(lines, Contains("ERROR| Cannot read the broken.png !!"));
}

TEST(BatchDetectMessage, SaysPossiblyWhenAllReadingsAreUncertain) {
    SBxBatchDetectOutcome outcome;
    outcome.hasFailed = false;
    outcome.someSignFound = true;
    EXPECT_STREQ(BX_GetMessage(outcome), "Some images were possibly signed.");
    outcome.someSignCertain = true;
    EXPECT_STREQ(BX_GetMessage(outcome), "Some images were signed.");
}

TEST_F(BatchDetect, AnEmptyFolderHoldsNoSign) {
    const SBxBatchDetectOutcome outcome = Run();
    EXPECT_STREQ(BX_GetMessage(outcome), "No image was signed.");
    EXPECT_EQ(outcome.total, 0u);
    EXPECT_EQ(outcome.logPath, Log());
    EXPECT_THAT(LinesOf(Log()),
                ElementsAre("INFO | *** LOG SESSION STARTED  ***", "INFO | *** LOG SESSION FINISHED ***"));
}

TEST_F(BatchDetect, GoesOnWithoutALogWhereNoneCanBeWritten) {
    WriteSigned("signed.png");
    ::mkfifo(Log().c_str(), 0600);
    const SBxBatchDetectOutcome outcome = Run();
    EXPECT_FALSE(outcome.hasFailed);
    EXPECT_TRUE(outcome.someSignFound);
    EXPECT_EQ(outcome.logPath, "");
    EXPECT_THAT(outcome.logFault, HasSubstr("cannot be written"));
    EXPECT_THAT(BX_GetDetail(outcome), HasSubstr("cannot be written"));
}

TEST_F(BatchDetect, SearchesAFolderThatCannotBeWrittenTo) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "needs the superuser, to work as somebody without rights";
    }
    WriteSigned("signed.png");
    ::chmod(m_Folder.Path().c_str(), 0755);
    EXPECT_TRUE(SucceedsAsNobody([this] {
        const SBxBatchDetectOutcome outcome = Run(2);
        return !outcome.hasFailed && outcome.someSignFound && outcome.logPath.empty() && !outcome.logFault.empty() ? 0
                                                                                                                   : 1;
    }));
}

TEST_F(BatchDetect, FailsWhereThereIsNoFolder) {
    WriteBytes(m_Folder / "file", "");
    for (const char* name : {"file", "missing", "two/missing"}) {
        const SBxBatchDetectOutcome outcome = BX_RunBatchDetect(Context(), m_Folder / name, {});
        EXPECT_STREQ(BX_GetMessage(outcome), "Batch detect failed.");
        EXPECT_EQ(outcome.reason,
                  name == std::string("file") ? "it is a file, no folder" : "the folder cannot be read");
        EXPECT_EQ(outcome.logFault, "");
        EXPECT_EQ(outcome.logPath, "");
    }
}

TEST_F(BatchDetect, PassesOverAFileThatVanishesMeanwhile) {
    WritePiece("a.png", pieces::kGood);
    WritePiece("b.png", pieces::kGood);
    std::vector<std::string> files;
    ASSERT_TRUE(BX_ListFolder(files, m_Folder.Path()));
    const SBxBatchDetectOutcome outcome =
        Run(1, [&](const SBxDetectedFile&) { std::filesystem::remove(files.back()); });
    EXPECT_EQ(outcome.processed, 2u);
    EXPECT_EQ(outcome.unreadable, 1u);
    EXPECT_FALSE(outcome.hasFailed);
}

TEST_F(BatchDetect, ACancelEndsItBeforeTheNextFile) {
    for (const char* name : {"a.png", "b.png", "c.png"}) {
        WritePiece(name, pieces::kGood);
    }
    const SBxBatchDetectOutcome outcome = Run(1, [&](const SBxDetectedFile&) { m_Progress.Cancel(); });
    EXPECT_TRUE(outcome.wasCancelled);
    EXPECT_EQ(outcome.processed, 1u);
    EXPECT_THAT(LinesOf(Log()), Contains("INFO | Batch detect was cancelled."));
}
