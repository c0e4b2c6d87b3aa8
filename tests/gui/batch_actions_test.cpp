// Folders and documents as a user of the window works on them.
#include <gmock/gmock.h>

#include <QCheckBox>
#include <QEventLoop>
#include <QFileDialog>
#include <QImage>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <cstdio>
#include <filesystem>

#include "dialog_user.h"
#include "input_sign_dlg.h"
#include "modal_helper.h"
#include "pdf_document.h"
#include "result_dlgs.h"
#include "search_options_dlg.h"
#include "temporary_folder.h"
#include "veridane_gui.h"

namespace {

using testing::HasSubstr;

constexpr QRect kPiece(60, 20, 220, 200);

class BatchActions : public testing::Test {
protected:
    void SetUp() override {
        std::snprintf(m_Config.m_szBundleFolder, kBxPathBytes, "%s", VERIDANE_BIN "/Veridane.app/");
        std::snprintf(m_Config.m_szTemporaryFolder, kBxPathBytes, "%s", (m_Temporary / "work/").c_str());
        m_Config.m_iMaxThreads = 2;
        m_Config.m_bCrashedAtLastRun = false;
        m_pWindow = std::make_unique<CBxVeridaneGui>(nullptr, &m_Config);
        m_pWindow->show();
    }

    void WritePicture(const std::string& name, int scale = 1) {
        QImage piece = QImage(VERIDANE_SAMPLES "/coffee.png").copy(kPiece);
        piece = piece.scaled(piece.size() * scale);
        ASSERT_TRUE(piece.save(QString::fromStdString(m_Folder / name)));
    }

    // The user chooses a file or folder.
    static void Choose(CModalActs& user, const std::string& path) {
        user.On<QFileDialog>([path](QFileDialog& dialog) {
            dialog.findChild<QLineEdit*>("fileNameEdit")->setText(QString::fromStdString(path));
            QMetaObject::invokeMethod(&dialog, "accept");
        });
    }

    // The user says how to search.
    static void StartSearch(CModalActs& user, bool isHarder = false) {
        user.On<CBxSearchOptionsDlg>([isHarder](CBxSearchOptionsDlg& dialog) {
            EXPECT_FALSE(Find<QCheckBox>(dialog, "checkHarder").isChecked());
            if (isHarder) {
                Find<QCheckBox>(dialog, "checkHarder").click();
            }
            Find<QPushButton>(dialog, "buttonOK").click();
        });
    }

    void EnterSign(CModalActs& user) {
        user.On<CBxInputSignDlg>([](CBxInputSignDlg& dialog) {
            Find<QLineEdit>(dialog, "lineEditInputSign").setText("Veri-2026x");
            dialog.accept();
        });
    }

    // What the result dialog says, and whether it offers a log.
    struct SResult {
        std::string message;
        std::string detail;
        std::string log;
        bool hasLogButton = false;
    };

    void CloseResult(CModalActs& user, SResult& result) {
        user.On<CBxBatchDetectResultDlg>([&result](CBxBatchDetectResultDlg& dialog) {
            result.message = TextOf(dialog, "labelResult");
            result.detail = TextOf(dialog, "labelDetail");
            result.log = TextOf(dialog, "labelLogInfo");
            result.hasLogButton = Find<QPushButton>(dialog, "buttonOpenLog").isVisible();
            Find<QPushButton>(dialog, "buttonClose").click();
        });
    }

    void Do(void (CBxVeridaneGui::*action)()) {
        QEventLoop untilEnd;
        QObject::connect(m_pWindow.get(), &CBxVeridaneGui::RunEnded, &untilEnd, &QEventLoop::quit);
        (m_pWindow.get()->*action)();
        untilEnd.exec();
    }

    CTemporaryFolder m_Folder;
    CTemporaryFolder m_Temporary;
    SBxVRDConfig m_Config;
    std::unique_ptr<CBxVeridaneGui> m_pWindow;
};

}  // namespace

TEST_F(BatchActions, AFolderIsSignedAndThenFoundSigned) {
    WritePicture("a.png");
    WritePicture("b.jpg");
    WriteBytes(m_Folder / "notes.txt", "no picture");
    SResult result;
    {
        CModalActs user;
        Choose(user, m_Folder.Path());
        EnterSign(user);
        CloseResult(user, result);
        Do(&CBxVeridaneGui::OnBatchSign);
    }
    EXPECT_EQ(result.message, "Batch sign finished.");
    EXPECT_EQ(result.detail, "Files that could not be read: 1.");
    EXPECT_EQ(result.log, m_Folder / "signed/batch_sign.log");
    EXPECT_TRUE(result.hasLogButton);
    EXPECT_STREQ(m_Config.m_szLatestSign, "Veri-2026x");
    {
        CModalActs user;
        Choose(user, m_Folder / "signed");
        StartSearch(user);
        CloseResult(user, result);
        Do(&CBxVeridaneGui::OnBatchDetect);
    }
    EXPECT_EQ(result.message, "Some images were signed.");
    EXPECT_EQ(result.detail, "");
    EXPECT_THAT(ReadBytes(m_Folder / "signed/batch_detect.log"), HasSubstr("SIGN FOUND: Veri-2026x. File: b.jpg"));
    // The settings remember the sign, and not the folder.
    SBxVRDConfig::SaveConfiguration(m_Config, (m_Temporary / "settings").c_str());
    EXPECT_THAT(ReadBytes(m_Temporary / "settings"),
                testing::AllOf(HasSubstr("Veri-2026x"), testing::Not(HasSubstr(m_Folder.Path()))));
}

TEST_F(BatchActions, MirroredPicturesAreFoundWhereAUserAsksToSearchHarder) {
    WritePicture("a.png", 2);
    SResult result;
    {
        CModalActs user;
        Choose(user, m_Folder.Path());
        EnterSign(user);
        CloseResult(user, result);
        Do(&CBxVeridaneGui::OnBatchSign);
    }
    std::filesystem::create_directory(m_Folder / "mirrored");
    const QImage signedPicture(QString::fromStdString(m_Folder / "signed/a.png"));
    ASSERT_TRUE(signedPicture.mirrored(true, false).save(QString::fromStdString(m_Folder / "mirrored/a.png")));
    for (const bool isHarder : {false, true}) {
        CModalActs user;
        Choose(user, m_Folder / "mirrored");
        StartSearch(user, isHarder);
        CloseResult(user, result);
        Do(&CBxVeridaneGui::OnBatchDetect);
        EXPECT_EQ(result.message, isHarder ? "Some images were signed." : "No image was signed.");
    }
    EXPECT_THAT(ReadBytes(m_Folder / "mirrored/batch_detect.log"),
                HasSubstr("SIGN FOUND: Veri-2026x. File: a.png (found by searching harder, certain)"));
}

TEST_F(BatchActions, TheProgressIsShownAndACancelIsHeard) {
    for (const char* name : {"a.bmp", "b.bmp", "c.bmp", "d.bmp"}) {
        WritePicture(name, 12);
    }
    SResult result;
    CModalActs user;
    Choose(user, m_Folder.Path());
    StartSearch(user);
    user.On<CBxBatchProgressDlg>([this](CBxBatchProgressDlg& dialog) {
        EXPECT_EQ(dialog.windowTitle(), "Batch Detection...");
        while (m_pWindow->BatchProgress().View().percentage <= 0.0) {
            QCoreApplication::processEvents();
        }
        m_pWindow->OnTimer();
        EXPECT_THAT(TextOf(dialog, "labelCurrent"), testing::MatchesRegex("Processing\\.\\.\\. .\\.bmp"));
        EXPECT_NE(TextOf(dialog, "labelStep"), "");
        EXPECT_EQ(TextOf(dialog, "labelEstimatedTime"), "Calculating...");
        EXPECT_THAT(TextOf(dialog, "labelElapsedTime"), HasSubstr("00:00:"));
        EXPECT_EQ(Find<QProgressBar>(dialog, "progressBarTotal").value(), 0);
        m_pWindow->OnBatchSign();
        EXPECT_EQ(QApplication::activeModalWidget(), &dialog) << "one run at a time";
        emit Find<QPushButton>(dialog, "pushCancel").released();
    });
    CloseResult(user, result);
    Do(&CBxVeridaneGui::OnBatchDetect);
    EXPECT_EQ(result.message, "No image was signed.");
    EXPECT_EQ(result.detail, "The run was cancelled.");
    EXPECT_THAT(ReadBytes(m_Folder / "batch_detect.log"), HasSubstr("Batch detect was cancelled."));
}

TEST_F(BatchActions, NothingOfAnEarlierRunIsShown) {
    CPdfDocument document;
    document.AddPage(document.AddStream("", ""));
    WriteBytes(m_Folder / "text.pdf", document.Bytes());
    WriteBytes(m_Folder / "damaged.pdf", "%PDF-1.4\n");
    SResult result;
    {
        CModalActs user;
        Choose(user, m_Folder / "text.pdf");
        StartSearch(user);
        CloseResult(user, result);
        Do(&CBxVeridaneGui::OnPDFDetect);
    }
    EXPECT_EQ(result.message, "No sign detected");
    EXPECT_EQ(result.log, m_Folder / "Veridane_PDF.log");
    EXPECT_EQ(m_Config.m_szLatestFolder, m_Folder.Path());
    {
        CModalActs user;
        Choose(user, m_Folder / "damaged.pdf");
        StartSearch(user);
        CloseResult(user, result);
        Do(&CBxVeridaneGui::OnPDFDetect);
    }
    EXPECT_EQ(result.message, "PDF detection failed.");
    EXPECT_THAT(result.detail, HasSubstr("pdfimages: "));
    EXPECT_EQ(result.log, "");
    EXPECT_FALSE(result.hasLogButton);
}

TEST_F(BatchActions, NamesTheSignThatADocumentHolds) {
    WritePicture("a.png");
    CBxRunProgress progress;
    const SBxRunContext context = {progress, 1, 90, "", "", nullptr};
    ASSERT_EQ(BX_RunBatchSign(context, m_Folder.Path(), "abc-Z9", {}).signedFiles, 1u);
    CPdfDocument document;
    document.AddPage(AddPdfPicture(document, QImage(QString::fromStdString(m_Folder / "signed/a.png"))));
    WriteBytes(m_Folder / "signed.pdf", document.Bytes());
    SResult result;
    CModalActs user;
    Choose(user, m_Folder / "signed.pdf");
    StartSearch(user);
    CloseResult(user, result);
    Do(&CBxVeridaneGui::OnPDFDetect);
    EXPECT_EQ(result.message, "Sign found: abc-Z9");
}

TEST_F(BatchActions, WhoeverDismissesAQuestionStartsNothing) {
    WritePicture("a.png");
    CModalActs user;
    user.On<QFileDialog>([](QFileDialog& dialog) { dialog.reject(); });
    m_pWindow->OnBatchDetect();
    user.On<QFileDialog>([](QFileDialog& dialog) { dialog.reject(); });
    m_pWindow->OnPDFDetect();
    Choose(user, m_Folder.Path());
    user.On<CBxInputSignDlg>([](CBxInputSignDlg& dialog) { dialog.reject(); });
    m_pWindow->OnBatchSign();
    Choose(user, m_Folder.Path());
    user.On<CBxSearchOptionsDlg>([](CBxSearchOptionsDlg& dialog) { dialog.reject(); });
    m_pWindow->OnBatchDetect();
    EXPECT_EQ(m_Folder.Count(), 1);
    EXPECT_FALSE(m_pWindow->BatchProgress().View().running);
}

TEST_F(BatchActions, AWindowThatGoesTakesItsRunAlong) {
    for (const char* name : {"a.bmp", "b.bmp"}) {
        WritePicture(name, 12);
    }
    CModalActs user;
    Choose(user, m_Folder.Path());
    EnterSign(user);
    user.On<CBxBatchProgressDlg>([this](CBxBatchProgressDlg&) {
        while (m_pWindow->BatchProgress().View().percentage <= 0.0) {
            QCoreApplication::processEvents();
        }
    });
    m_pWindow->OnBatchSign();
    while (!user.Done()) {
        QCoreApplication::processEvents();
    }
    m_pWindow.reset();
    EXPECT_THAT(ReadBytes(m_Folder / "signed/batch_sign.log"), HasSubstr("Batch sign was cancelled."));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(m_Folder / "signed"), {}), 1);
}
