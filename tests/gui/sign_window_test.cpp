// Signing and detecting in the main window, as a user does it.
#include <QTransform>

#include "convert_picture.h"
#include "finding_text.h"
#include "picture_search.h"
#include "progress_dlgs.h"
#include "window_fixture.h"

namespace {

std::string PixelsOf(const SBxPicBuf& picture) {
    return std::string(reinterpret_cast<const char*>(picture.m_pData), picture.m_uiByteSize);
}

class SignWindow : public CWindowTest {
protected:
    void PressSearchHarder() {
        m_User.On<CBxResultDlg>([](CBxResultDlg& dialog) {
            EXPECT_EQ(dialog.findChild<QLabel*>("labelTitle")->text(), "No sign detected");
            QTest::mouseClick(dialog.findChild<QPushButton*>("buttonHarder"), Qt::LeftButton);
        });
    }

    // Whether the colour of frames is seen in the middle row of the view.
    bool ShowsFrame() {
        const QImage shown = Window().findChild<CBxImageArea*>()->grab().toImage();
        for (int x = 0; x < shown.width(); ++x) {
            if (shown.pixelColor(x, shown.height() / 2) == QColor(255, 210, 60)) {
                return true;
            }
        }
        return false;
    }
};

}  // namespace

TEST_F(SignWindow, SignsShowsWhereAndMarksThePicture) {
    Open(MakePhoto("photo.jpg"));
    EXPECT_EQ(Title(), "Veridane -photo.jpg");
    TypeSign();
    bool wasFramed = false;
    m_User.On<QMessageBox>([&](QMessageBox& box) {
        m_LastMessage = box.text().toStdString();
        wasFramed = ShowsFrame();
        box.accept();
    });
    RunToItsEnd([this] { Window().findChild<QAction*>("actionSign")->trigger(); });
    EXPECT_EQ(m_LastMessage, "Your sign was inserted to the highlighted area.");
    EXPECT_TRUE(wasFramed);
    EXPECT_EQ(Title(), "Veridane -photo.jpg - SIGNED");
    EXPECT_STREQ(m_Config.m_szLatestSign, kSign);
    SBxSignRun run;
    const SBxSearchResult found = BX_SearchPicture(run, Window().CurrentPicture(), 2);
    EXPECT_EQ(found.sign, kSign);
}

TEST_F(SignWindow, RefusesASignedPictureAndLeavesItAsItIs) {
    Open(MakePhoto("photo.png"));
    SignThePicture();
    const std::string before = PixelsOf(Window().CurrentPicture());
    ChooseFile(m_Folder / "signed.png", "Portable Network Graphics (*.png)");
    RunToItsEnd([this] { Window().OnSaveImage(); });
    Open(m_Folder / "signed.png");
    ASSERT_EQ(PixelsOf(Window().CurrentPicture()), before);
    TypeSign("Another-1");
    Answer(QMessageBox::Ok);
    RunToItsEnd([this] { Window().OnSignImage(); });
    EXPECT_EQ(m_LastMessage, "Cannot sign already signed image!");
    EXPECT_EQ(Title(), "Veridane -signed.png");
    EXPECT_EQ(PixelsOf(Window().CurrentPicture()), before);
}

// A picture without a corner cannot carry a sign: the engine changes it all the same and reports success.
TEST_F(SignWindow, ASigningThatFailsTellsWhyAndLeavesThePicture) {
    QImage flat(24, 24, QImage::Format_RGB888);
    flat.fill(QColor(0, 255, 0));
    ASSERT_TRUE(flat.save(QString::fromStdString(m_Folder / "flat.png")));
    Open(m_Folder / "flat.png");
    const std::string before = PixelsOf(Window().CurrentPicture());
    TypeSign();
    Answer(QMessageBox::Ok);
    RunToItsEnd([this] { Window().OnSignImage(); });
    EXPECT_THAT(m_LastMessage, testing::StartsWith("The picture was not signed: "));
    EXPECT_EQ(Title(), "Veridane -flat.png");
    EXPECT_EQ(PixelsOf(Window().CurrentPicture()), before);
}

TEST_F(SignWindow, ACancelledSigningSaysNothingAndLeavesThePicture) {
    Open(MakePhoto("photo.png"));
    const std::string before = PixelsOf(Window().CurrentPicture());
    TypeSign();
    m_User.On<CBxSimpleProgressDlg>([this](CBxSimpleProgressDlg& dialog) {
        dialog.reject();
        Window().OnTimer();
        EXPECT_EQ(dialog.findChild<QLabel*>("labelProgress")->text(), "Cancelling the detection...");
    });
    RunToItsEnd([this] { Window().OnSignImage(); });
    EXPECT_EQ(Title(), "Veridane -photo.png");
    EXPECT_EQ(PixelsOf(Window().CurrentPicture()), before);
}

TEST_F(SignWindow, FindsASignAndSaysHow) {
    Open(MakePhoto("photo.png"));
    SignThePicture();
    m_User.On<CBxResultDlg>([](CBxResultDlg& dialog) {
        std::string all;
        for (const QLabel* label : dialog.findChildren<QLabel*>()) {
            all += label->text().toStdString() + "\n";
        }
        EXPECT_THAT(all, testing::HasSubstr("<font color='red'>Sign Found!<font>"));
        EXPECT_THAT(all, testing::HasSubstr("% of the size"));
        EXPECT_EQ(dialog.findChild<QLabel*>("labelSign")->text(), kSign);
        dialog.reject();
    });
    RunToItsEnd([this] { Window().findChild<QAction*>("actionDetect")->trigger(); });
}

TEST_F(SignWindow, SaysWhenThereIsNoSignAndNothingAfterACancel) {
    Open(MakePhoto("photo.png"));
    m_User.On<CBxResultDlg>([](CBxResultDlg& dialog) {
        std::string all;
        for (const QLabel* label : dialog.findChildren<QLabel*>()) {
            all += label->text().toStdString() + "\n";
        }
        EXPECT_THAT(all, testing::HasSubstr("No sign detected"));
        EXPECT_EQ(dialog.findChild<QLabel*>("labelSign")->text(), "");
        dialog.reject();
    });
    RunToItsEnd([this] { Window().OnDetectSign(); });
    m_User.On<CBxSimpleProgressDlg>([](CBxSimpleProgressDlg& dialog) { dialog.reject(); });
    RunToItsEnd([this] { Window().OnDetectSign(); });
    EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
}

TEST_F(SignWindow, SearchesHarderOnRequestAndFramesWhatLiesAskew) {
    Open(MakePhoto("photo.png"));
    SignThePicture();
    ChooseFile(m_Folder / "signed.png", "Portable Network Graphics (*.png)");
    RunToItsEnd([this] { Window().OnSaveImage(); });
    const QImage signedPhoto(QString::fromStdString(m_Folder / "signed.png"));
    ASSERT_TRUE(signedPhoto.transformed(QTransform().rotate(90)).save(QString::fromStdString(m_Folder / "turned.png")));
    Open(m_Folder / "turned.png");
    PressSearchHarder();
    m_User.On<CBxResultDlg>([this](CBxResultDlg& dialog) {
        EXPECT_EQ(dialog.findChild<QLabel*>("labelTitle")->text(), "<font color='red'>Sign Found!<font>");
        EXPECT_EQ(dialog.findChild<QLabel*>("labelSign")->text(), kSign);
        EXPECT_EQ(dialog.findChild<QLabel*>("labelDetail")->text().toStdString(),
                  "Found by searching harder. Undone: turn by 90\u00b0.");
        EXPECT_FALSE(dialog.findChild<QPushButton*>("buttonHarder")->isVisible());
        EXPECT_TRUE(ShowsFrame());
        dialog.reject();
    });
    RunToItsEnd([this] { Window().OnDetectSign(); });
    EXPECT_FALSE(ShowsFrame());
}

TEST_F(SignWindow, SaysWhenSearchingHarderFindsNothingAndNothingAfterACancel) {
    Open(MakePhoto("photo.png", 200));
    PressSearchHarder();
    m_User.On<CBxResultDlg>([](CBxResultDlg& dialog) {
        EXPECT_EQ(dialog.findChild<QLabel*>("labelTitle")->text(), "No sign detected");
        EXPECT_EQ(dialog.findChild<QLabel*>("labelDetail")->text(), "Searching harder found nothing either.");
        EXPECT_FALSE(dialog.findChild<QPushButton*>("buttonHarder")->isVisible());
        dialog.reject();
    });
    RunToItsEnd([this] { Window().OnDetectSign(); });
    PressSearchHarder();
    m_User.On<CBxSimpleProgressDlg>([](CBxSimpleProgressDlg& dialog) { dialog.reject(); });
    RunToItsEnd([this] { Window().OnDetectSign(); });
    EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
}

TEST(FindingText, CallsAnUncertainReadingUncertainAndNeverASignFound) {
    CBxLocalization::Free();
    SBxSearchResult found;
    found.isDeep = true;
    found.deep.m_dTurned = -1.5;
    found.deep.m_bMirrored = true;
    found.deep.m_Tone.gain = 1.1;
    found.deep.m_dScale = 0.67;
    EXPECT_EQ(BX_GetFindingTitle(found), "Possibly a sign:");
    EXPECT_EQ(BX_GetFindingDetail(found),
              "This reading is uncertain: single letters may be wrong. Found by searching harder. Undone: turn by "
              "-1.5\u00b0, mirroring, change of the brightness, scaling to 67%.");
    found.deep = SBxDeepFinding();
    found.deep.m_bCertain = true;
    EXPECT_EQ(BX_GetFindingTitle(found), "<font color='red'>Sign Found!<font>");
    EXPECT_EQ(BX_GetFindingDetail(found), "Found by searching harder.");
}

TEST_F(SignWindow, ACancelledSignDialogStartsNothing) {
    Open(MakePhoto("photo.png"));
    m_User.On<CBxInputSignDlg>([](CBxInputSignDlg& dialog) { dialog.reject(); });
    Window().OnSignImage();
    EXPECT_EQ(Window().findChild<CBxSimpleProgressDlg*>(), nullptr);
    EXPECT_STREQ(m_Config.m_szLatestSign, "");
}

TEST(SignThread, TakesOneToTwelveThreads) {
    EXPECT_EQ(BX_GetEngineThreads(0), 1u);
    EXPECT_EQ(BX_GetEngineThreads(-3), 1u);
    EXPECT_EQ(BX_GetEngineThreads(7), 7u);
    EXPECT_EQ(BX_GetEngineThreads(40), 12u);
}

TEST(SignThread, DoesNothingWithoutAWindow) {
    CBxSignThread sign(nullptr);
    CBxDetectThread detect(nullptr);
    sign.run();
    detect.run();
    EXPECT_TRUE(sign.m_bStatus);
    EXPECT_TRUE(detect.m_bStatus);
    EXPECT_FALSE(detect.m_bSignFound);
}

TEST(SignCopy, RefusesMoreThanFortyMegapixelsBeforeTakingMemory) {
    SBxPicBuf huge{};
    huge.m_iWidth = 8001;
    huge.m_iHeight = 5000;
    huge.m_iComponents = 3;
    huge.m_iBitsPerComponent = 8;
    SBxSignRun run;
    const std::atomic<bool> isCancelled{false};
    EXPECT_EQ(BX_SignCopy(run, huge, "Veri-2026x", 1, isCancelled).fault, EBxSignFault::kTooLarge);
}
