#include "pdf_detect.h"

#include <QBuffer>
#include <thread>

#include "batch_sign.h"
#include "pdf_document.h"
#include "runs_fixture.h"

using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;

namespace {

class PdfDetect : public CRunsTest {
protected:
    void SetUp() override { WriteBytes(m_Folder / "none.pdf", CPdfDocument().Bytes()); }

    void UseRealTool() {
        std::filesystem::create_symlink(VERIDANE_BIN "/Veridane.app/pdfimages", m_Bundle / "pdfimages");
    }

    // $1 is the document and $2 the beginning of the names of the pictures.
    void UseTool(const std::string& commands) {
        WriteBytes(m_Bundle / "pdfimages", "#!/bin/sh\n" + commands + "\n");
        ::chmod((m_Bundle / "pdfimages").c_str(), 0700);
    }

    SBxPdfDetectOutcome Run(const std::string& name, int threads = 1, const CBxPdfPictureReport& report = {}) {
        const SBxPdfDetectOutcome outcome = BX_RunPdfDetect(Context(threads), m_Folder / name, report);
        // Whatever the end: nothing is left of what was taken out.
        const std::string folder = m_Temporary / "work";
        EXPECT_TRUE(!std::filesystem::exists(folder) || NamesIn(folder).empty());
        return outcome;
    }

    void ExpectFailure(const SBxPdfDetectOutcome& outcome, const std::string& reason) {
        EXPECT_EQ(BX_GetMessage(outcome), "PDF detection failed.");
        EXPECT_THAT(outcome.reason, HasSubstr(reason));
        EXPECT_EQ(outcome.logPath, "");
        EXPECT_FALSE(std::filesystem::exists(Log()));
    }

    // A piece of the sample with a sign in it.
    QImage Signed(const std::string& sign) {
        CTemporaryFolder folder;
        Piece(pieces::kGood).save(QString::fromStdString(folder / "photo.png"));
        BX_RunBatchSign(Context(), folder.Path(), sign, {});
        return QImage(QString::fromStdString(folder / "signed/photo.png"));
    }

    static std::string JpegOf(const QImage& picture) {
        QByteArray bytes;
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::WriteOnly);
        picture.save(&buffer, "jpg", 95);
        return bytes.toStdString();
    }

    std::string Log() { return m_Folder / "Veridane_PDF.log"; }
};

}  // namespace

TEST_F(PdfDetect, NamesTheFirstSignAndLogsEveryPicture) {
    UseRealTool();
    CPdfDocument document;
    const QImage plain = Piece(pieces::kGood);
    document.AddPage(AddPdfPicture(document, plain));
    const QImage first = Signed("first-one");
    document.AddPage(AddPdfJpeg(document, JpegOf(first), first.width(), first.height()));
    // A soft mask comes as a picture of its own; a picture of two colours in a format of its own.
    const int mask = document.AddStream(PdfImageKeys(8, 8, "DeviceGray", 8), std::string(64, '\x80'));
    document.AddPage(AddPdfPicture(document, Signed("second-one"), "/SMask " + std::to_string(mask) + " 0 R"));
    document.AddPage(document.AddStream(PdfImageKeys(16, 2, "DeviceGray", 1), "\x55\xAA\x55\xAA"));
    const std::string name = "a \"b\" %s\n\xC3\x84.pdf";
    WriteBytes(m_Folder / name, document.Bytes());
    for (const int threads : {1, 3}) {
        std::vector<std::string> found;
        const SBxPdfDetectOutcome outcome =
            Run(name, threads, [&](const SBxPdfPicture& picture) { found.push_back(picture.search.sign); });
        EXPECT_EQ(BX_GetMessage(outcome), "Sign found: first-one") << outcome.reason;
        EXPECT_THAT(found, ElementsAre("", "first-one", "second-one", ""));
        EXPECT_EQ(outcome.passedOver, 1u);
        EXPECT_EQ(outcome.unreadable, 0u);
        EXPECT_EQ(outcome.logPath, Log());
    }
    const std::vector<std::string> lines = LinesOf(Log());
    EXPECT_THAT(lines, Contains(HasSubstr("SIGN FOUND: first-one. File: ")));
    EXPECT_THAT(lines, Contains(HasSubstr("SIGN FOUND: second-one. File: ")));
    EXPECT_THAT(lines, Contains(testing::AllOf(HasSubstr("Passed over"), EndsWith(".pbm"))));
}

TEST_F(PdfDetect, ADocumentWithoutPicturesHoldsNoSign) {
    UseRealTool();
    CPdfDocument document;
    const int contents = document.AddStream("", "");
    document.AddPage(contents);
    WriteBytes(m_Folder / "text.pdf", document.Bytes());
    const SBxPdfDetectOutcome outcome = Run("text.pdf");
    EXPECT_EQ(BX_GetMessage(outcome), "No sign detected");
    EXPECT_EQ(outcome.total, 0u);
    EXPECT_EQ(outcome.logPath, Log());
}

TEST_F(PdfDetect, ADamagedDocumentIsAFailureWithTheReasonOfTheTool) {
    UseRealTool();
    WriteBytes(m_Folder / "damaged.pdf", "%PDF-1.4\nnothing");
    ExpectFailure(Run("damaged.pdf"), "pdfimages: ");
    ExpectFailure(Run("missing.pdf"), "No such file");
    std::filesystem::create_directory(m_Folder / "folder.pdf");
    ExpectFailure(Run("folder.pdf"), "not a regular file");
}

// What a document begins with may stand behind other bytes, and such a document may be damaged as well.
TEST_F(PdfDetect, AFileOfAnotherKindIsCalledNoDocumentWhateverTheToolSays) {
    UseRealTool();
    Piece(pieces::kGood).save(QString::fromStdString(m_Folder / "photo.jpg"));
    WriteBytes(m_Folder / "empty.pdf", "");
    WriteBytes(m_Folder / "late.pdf", std::string(1019, ' ') + "%PDF-1.4\nnothing");
    for (const char* name : {"photo.jpg", "empty.pdf"}) {
        const SBxPdfDetectOutcome outcome = Run(name);
        EXPECT_EQ(outcome.reason, "it is not a PDF") << name;
        EXPECT_TRUE(outcome.isNoDocument) << name;
        ExpectFailure(outcome, "");
    }
    const SBxPdfDetectOutcome damaged = Run("late.pdf");
    ExpectFailure(damaged, "pdfimages: ");
    EXPECT_FALSE(damaged.isNoDocument);
}

TEST_F(PdfDetect, AToolThatFailsIsNotTakenForADocumentWithoutPictures) {
    UseTool("cp \"$1\" \"$2-000.ppm\"; echo one >&2; echo the reason >&2; exit 3");
    ExpectFailure(Run("none.pdf"), "the reason");
    UseTool("exit 99");
    ExpectFailure(Run("none.pdf"), "status 99");
    UseTool("kill -9 $$");
    ExpectFailure(Run("none.pdf"), "crashed");
    std::filesystem::remove(m_Bundle / "pdfimages");
    ExpectFailure(Run("none.pdf"), "cannot start " + m_Bundle / "pdfimages");
}

TEST_F(PdfDetect, PicturesThatTheDiskHadNoRoomForAreAFailure) {
    UseTool("printf 'P6\\n100 100\\n255\\nshort' > \"$2-000.ppm\"");
    ExpectFailure(Run("none.pdf"), "do not fit");
    UseTool(": > \"$2-000.ppm\"");
    ExpectFailure(Run("none.pdf"), "do not fit");
}

TEST_F(PdfDetect, PassesOnTheMessagesOfAToolThatSucceeds) {
    UseTool("head -c 5000000 /dev/zero | tr '\\0' x; echo; printf 'no picture' > \"$2-000.ppm\"");
    const SBxPdfDetectOutcome outcome = Run("none.pdf");
    EXPECT_FALSE(outcome.hasFailed);
    EXPECT_EQ(outcome.unreadable, 1u);
    EXPECT_THAT(BX_GetDetail(outcome), HasSubstr("could not be read: 1"));
    const std::vector<std::string> lines = LinesOf(Log());
    EXPECT_THAT(lines, Contains(HasSubstr("ERROR| pdfimages: xxxx")));
    EXPECT_THAT(lines, Contains(testing::AllOf(HasSubstr("Cannot read the "), EndsWith("images-000.ppm"))));
}

TEST_F(PdfDetect, MoreThanAThousandPicturesKeepTheirOrder) {
    UseTool(
        "i=0; while [ $i -lt 1003 ]; do n=$(printf %03d $i 2>/dev/null); "
        "printf 'P6\\n1 1\\n255\\nabc' > \"$2-$n.ppm\"; i=$((i+1)); done");
    std::vector<std::string> files;
    const SBxPdfDetectOutcome outcome =
        Run("none.pdf", 2, [&](const SBxPdfPicture& picture) { files.push_back(BX_GetNameOfFile(picture.file)); });
    ASSERT_EQ(outcome.total, 1003u) << outcome.reason;
    ASSERT_EQ(files.size(), 1003u);
    for (int index = 0; index < 1003; ++index) {
        char name[40];
        std::snprintf(name, sizeof(name), "images-%03d.ppm", index);
        EXPECT_EQ(files[static_cast<std::size_t>(index)], name);
    }
}

TEST_F(PdfDetect, ACancelDuringTheExtractionEndsSoonAndLeavesNoLog) {
    UseTool("printf 'P6\\n1 1\\n255\\nabc' > \"$2-000.ppm\"; : > " + m_Temporary / "started; sleep 1000");
    CBxRunProgress* progress = &m_Progress;
    const std::string started = m_Temporary / "started";
    std::thread user([&] {
        while (!std::filesystem::exists(started)) {
            std::this_thread::yield();
        }
        EXPECT_EQ(progress->View().step, "Extracting images...");
        EXPECT_EQ(progress->View().total, 0u);
        progress->Cancel();
    });
    CBxLogger log;
    log.OpenNewLog((m_Temporary / "app.log").c_str(), false, true);
    SBxRunContext context = Context();
    context.applicationLog = &log;
    const SBxPdfDetectOutcome outcome = BX_RunPdfDetect(context, m_Folder / "none.pdf", {});
    user.join();
    log.CloseLog();
    EXPECT_EQ(BX_GetDetail(outcome), "The run was cancelled.");
    EXPECT_THAT(LinesOf(m_Temporary / "app.log"), Contains("INFO | PDF detection was cancelled by user."));
    EXPECT_TRUE(NamesIn(m_Temporary / "work").empty());
    EXPECT_TRUE(outcome.wasCancelled);
    EXPECT_FALSE(outcome.hasFailed);
    EXPECT_EQ(outcome.logPath, "");
    EXPECT_FALSE(std::filesystem::exists(Log()));
}

TEST_F(PdfDetect, PicturesOfEarlierRunsAreNotSearched) {
    UseTool("exit 0");
    std::filesystem::create_directory(m_Temporary / "work");
    WriteBytes(m_Temporary / "work/images-000.ppm", "P6\n1 1\n255\nabc");
    std::filesystem::create_directory(m_Temporary / "work/.veridane-run-0123456789abcdef");
    WriteBytes(m_Temporary / "work/.veridane-run-0123456789abcdef/images-000.ppm", "P6\n1 1\n255\nabc");
    EXPECT_EQ(Run("none.pdf").total, 0u);
}

TEST_F(PdfDetect, TellsTheApplicationLogHowFarItCame) {
    UseTool("exit 0");
    CBxLogger log;
    log.OpenNewLog((m_Temporary / "app.log").c_str(), false, true);
    SBxRunContext context = Context();
    context.applicationLog = &log;
    BX_RunPdfDetect(context, m_Folder / "none.pdf", {});
    UseTool("echo bad >&2; exit 1");
    BX_RunPdfDetect(context, m_Folder / "none.pdf", {});
    log.CloseLog();
    EXPECT_THAT(
        LinesOf(m_Temporary / "app.log"),
        ElementsAre("INFO | *** LOG SESSION STARTED  ***", "INFO | Detecting PDF (" + m_Folder / "none.pdf)",
                    "INFO | Extracting images...", "INFO | Detecting signatures...", "INFO | PDF detection succeeded.",
                    "INFO | Detecting PDF (" + m_Folder / "none.pdf)", "INFO | Extracting images...",
                    "ERROR| PDF detection failed. The pdfimages finished with errors: bad\\n pdfimages: bad",
                    "INFO | *** LOG SESSION FINISHED ***"));
}

TEST(PdfDetectMessage, NeverCallsAnUncertainReadingASignFound) {
    SBxPdfDetectOutcome outcome;
    outcome.hasFailed = false;
    outcome.signFound = true;
    outcome.isFirstUncertain = true;
    outcome.uncertain = 1;
    outcome.firstSign = "abc-Z9";
    EXPECT_EQ(BX_GetMessage(outcome), "Possibly a sign: abc-Z9");
    EXPECT_EQ(BX_GetDetail(outcome), "Uncertain readings, in which single letters may be wrong: 1.");
}
