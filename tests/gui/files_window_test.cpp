// Opening, saving and closing in the main window, as a user does it.
#include <signal.h>
#include <sys/resource.h>

#include <QComboBox>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QMimeData>
#include <QSlider>
#include <QUrl>
#include <atomic>
#include <filesystem>
#include <sstream>

#include "convert_picture.h"
#include "gui_text.h"
#include "metadata_fixtures.h"
#include "picture_orientation.h"
#include "picture_search.h"
#include "save_names.h"
#include "single_runs.h"
#include "start_up.h"
#include "window_fixture.h"

namespace {

std::string SignIn(const std::string& path) {
    SBxPicBuf* picture = nullptr;
    EXPECT_EQ(CBxConvertPicture::ReadInputFile(picture, path.c_str()), 0);
    const CBxPicBufHolder holder(picture);
    SBxSignRun run;
    return picture == nullptr ? std::string() : BX_SearchPicture(run, *picture, 2).sign;
}

}  // namespace

using FilesWindow = CWindowTest;

TEST_F(FilesWindow, OpensThroughTheDialogAndClosesAgain) {
    const std::string path = MakePhoto("photo.png");
    std::filesystem::create_directory(m_Folder / "deeper");
    std::filesystem::rename(path, m_Folder / "deeper/photo.png");
    EXPECT_EQ(Title(), "Veridane");
    EXPECT_EQ(Status(), "Press Ctrl+O to open an image");
    ChooseFile(m_Folder / "deeper/photo.png");
    Press(Qt::Key_O, Qt::ControlModifier);
    EXPECT_EQ(m_SelectedFilter, "Images (*.jpg *.bmp *.tif *.png)");
    EXPECT_EQ(Title(), "Veridane -photo.png");
    EXPECT_THAT(Status(), testing::StartsWith("Click and drag to move image, Double click"));
    EXPECT_EQ(m_Config.m_szLatestFolder, m_Folder / "deeper");
    Window().OnCloseImage();
    EXPECT_EQ(Title(), "Veridane");
    EXPECT_FALSE(Window().findChild<QAction*>("actionSave")->isEnabled());
}

TEST_F(FilesWindow, OpensWhatIsDroppedOnTheView) {
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(QString::fromStdString(MakePhoto("dropped.png")))});
    auto* const view = Window().findChild<CBxScrollArea*>();
    QDragEnterEvent enter(QPoint(10, 10), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(view, &enter);
    EXPECT_TRUE(enter.isAccepted());
    QDropEvent drop(QPointF(10, 10), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(view, &drop);
    QCoreApplication::processEvents();
    EXPECT_EQ(Title(), "Veridane -dropped.png");
}

// The camera was turned: the view shows the photograph upright, and its pixels stay as they are stored.
TEST_F(FilesWindow, ShowsATurnedPhotographUprightAndSavesItAsItIs) {
    WriteBytes(m_Folder / "turned.jpg", ::MakePhoto(true, false));
    Open(m_Folder / "turned.jpg");
    EXPECT_EQ(Window().findChild<CBxImageArea*>()->Geometry().m_Picture, (CBxSize<int>{30, 40}));
    EXPECT_EQ(Window().CurrentPicture().m_iWidth, 40);
    ChooseFile(m_Folder / "saved.jpg");
    RunToItsEnd([this] { Window().OnSaveImage(); });
    EXPECT_EQ(Note(), "Saved.");
    EXPECT_EQ(BX_ReadOrientation((m_Folder / "saved.jpg").c_str()), 6);
    EXPECT_EQ(QImage(QString::fromStdString(m_Folder / "saved.jpg")).size(), QSize(40, 30));
    ChooseFile(m_Folder / "saved.png");
    RunToItsEnd([this] { Window().OnSaveImage(); });
    EXPECT_EQ(Note(), "Saved without the photograph's camera data (EXIF, IPTC).");
}

TEST_F(FilesWindow, NamesAFileThatCannotBeReadAndKeepsThePicture) {
    Open(MakePhoto("photo.png"));
    std::filesystem::create_directory(m_Folder / "deeper");
    WriteBytes(m_Folder / "deeper/<b>broken.jpg", "no picture");
    Answer(QMessageBox::Ok);
    EXPECT_FALSE(Window().OpenPicture(QString::fromStdString(m_Folder / "deeper/<b>broken.jpg")));
    EXPECT_EQ(m_LastMessage, "This file cannot be read:");
    EXPECT_THAT(m_LastDetails, testing::HasSubstr("<b>broken.jpg\n\n"));
    EXPECT_EQ(Title(), "Veridane -photo.png");
    EXPECT_EQ(m_Config.m_szLatestFolder, m_Folder / "deeper");
}

TEST_F(FilesWindow, SavesASignedPictureInEveryFormat) {
    Open(MakePhoto("photo.png"));
    SignThePicture();
    const struct {
        const char* name;
        const char* written;
        const char* filter;
    } cases[] = {{"a.jpg", "a.jpg", "JPEG files (*.jpg)"},   {"b", "b.bmp", "Bitmap (*.bmp)"},
                 {"c", "c.tif", "TIFF Files (*.tif)"},       {"d.PNG", "d.PNG", "JPEG files (*.jpg)"},
                 {"e.tiff", "e.tiff", "JPEG files (*.jpg)"}, {"f.jpeg", "f.jpeg", "Bitmap (*.bmp)"}};
    for (const auto& one : cases) {
        ChooseFile(m_Folder / one.name, one.filter);
        RunToItsEnd([this] { Window().OnSaveImage(); });
        EXPECT_EQ(Title(), std::string("Veridane -") + one.written);
        EXPECT_EQ(SignIn(m_Folder / one.written), kSign) << one.written;
    }
    EXPECT_EQ(m_Folder.Count(), 7);
}

TEST_F(FilesWindow, LeavesNoPathInTheSettingsButTheLatestFolder) {
    for (const char* folder : {"opened-here", "saved-here"}) {
        std::filesystem::create_directory(m_Folder / folder);
    }
    Open(MakePhoto("opened-here/title.png"));
    SignThePicture();
    ChooseFile(m_Folder / "saved-here/result.png", "Portable Network Graphics (*.png)");
    RunToItsEnd([this] { Window().OnSaveImage(); });
    m_User.On<CBxResultDlg>([](CBxResultDlg& dialog) { dialog.reject(); });
    RunToItsEnd([this] { Window().OnDetectSign(); });
    Window().close();
    SBxVRDConfig::SaveConfiguration(m_Config, (m_Folder / "settings").c_str());
    std::istringstream lines(ReadBytes(m_Folder / "settings"));
    std::vector<std::string> paths;
    for (std::string line; std::getline(lines, line);) {
        if (line.find('/') != std::string::npos || line.find("title") != std::string::npos ||
            line.find("result") != std::string::npos) {
            paths.push_back(line);
        }
    }
    EXPECT_THAT(paths, testing::ElementsAre("latest_folder=\"" + m_Folder / "saved-here\""));
}

TEST_F(FilesWindow, ProposesANameAndTheKindOfTheFile) {
    Open(MakePhoto("photo.tif"));
    m_User.On<QFileDialog>([](QFileDialog& dialog) {
        EXPECT_EQ(dialog.findChild<QLineEdit*>("fileNameEdit")->text(), "photo");
        EXPECT_EQ(dialog.selectedNameFilter(), "TIFF Files (*.tif)");
        EXPECT_EQ(dialog.nameFilters().join(";;"),
                  "JPEG files (*.jpg);;Bitmap (*.bmp);;TIFF Files (*.tif);;Portable Network Graphics (*.png)");
        dialog.reject();
    });
    Window().OnSaveImage();
    SignThePicture();
    m_User.On<QFileDialog>([](QFileDialog& dialog) {
        EXPECT_EQ(dialog.findChild<QLineEdit*>("fileNameEdit")->text(), "photo-signed");
        dialog.reject();
    });
    Press(Qt::Key_S, Qt::ControlModifier);
    EXPECT_EQ(Title(), "Veridane -photo.tif - SIGNED");
}

TEST_F(FilesWindow, AsksBeforeACompletedNameReplacesAFileAndRefusesStrangeEndings) {
    Open(MakePhoto("photo.png"));
    WriteBytes(m_Folder / "old.png", "precious");
    ChooseFile(m_Folder / "old", "Portable Network Graphics (*.png)");
    Answer(QMessageBox::No);
    ChooseFile(m_Folder / "old.gif");
    Answer(QMessageBox::Ok);
    m_User.On<QFileDialog>([](QFileDialog& dialog) { dialog.reject(); });
    Window().OnSaveImage();
    EXPECT_EQ(m_LastMessage, "This file cannot be written:");
    EXPECT_EQ(ReadBytes(m_Folder / "old.png"), "precious");
    EXPECT_EQ(m_Folder.Count(), 2);
    ChooseFile(m_Folder / "old", "Portable Network Graphics (*.png)");
    Answer(QMessageBox::Yes);
    RunToItsEnd([this] { Window().OnSaveImage(); });
    EXPECT_NE(ReadBytes(m_Folder / "old.png"), "precious");
}

TEST_F(FilesWindow, AsksForAnotherQualityWhenCompressionDestroysTheSign) {
    Open(MakePhoto("photo.png"));
    SignThePicture();
    m_Config.m_bAskCompression = true;
    const auto choose = [this](int quality) {
        m_User.On<CBxInputCompressionDlg>([quality](CBxInputCompressionDlg& dialog) {
            dialog.findChild<QSlider*>("sliderCompression")->setValue(quality);
            dialog.accept();
        });
    };
    ChooseFile(m_Folder / "lossy.jpg");
    choose(2);
    bool wasKept = true;
    m_User.On<QMessageBox>([&](QMessageBox& box) {
        m_LastMessage = box.text().toStdString();
        wasKept = std::filesystem::exists(m_Folder / "lossy.jpg");
        box.accept();
    });
    choose(98);
    RunToItsEnd([this] { Window().OnSaveImage(); });
    EXPECT_EQ(m_LastMessage,
              "<b>The inserted sign was corrupted because of JPEG compression.</b><br><br>Please use different quality "
              "settings or different file format to preserve the sign!");
    EXPECT_FALSE(wasKept);
    EXPECT_EQ(m_Config.m_iCompression, 98);
    EXPECT_EQ(Title(), "Veridane -lossy.jpg");
    EXPECT_EQ(SignIn(m_Folder / "lossy.jpg"), kSign);
    EXPECT_EQ(m_Folder.Count(), 2);
}

// A picture that was not signed has no sign to lose.
TEST_F(FilesWindow, SavesAnUnsignedPictureAtAnyQuality) {
    Open(MakePhoto("photo.png"));
    m_Config.m_iCompression = 1;
    ChooseFile(m_Folder / "plain.jpg");
    RunToItsEnd([this] { Window().OnSaveImage(); });
    EXPECT_EQ(Title(), "Veridane -plain.jpg");
}

TEST_F(FilesWindow, ASaveThatFailsTellsTheReasonAndKeepsTheMark) {
    Open(MakePhoto("photo.png"));
    SignThePicture();
    ChooseFile(m_Folder / "missing/a.png");
    Answer(QMessageBox::Ok);
    m_User.On<QFileDialog>([](QFileDialog& dialog) { dialog.reject(); });
    Window().OnSaveImage();
    EXPECT_EQ(m_LastMessage, "This file cannot be written:");
    EXPECT_THAT(m_LastDetails, testing::HasSubstr("missing/a.png\n\n"));
    EXPECT_EQ(Title(), "Veridane -photo.png - SIGNED");
}

TEST_F(FilesWindow, ACancelledSaveLeavesTheFileOfEveryKind) {
    Open(MakePhoto("photo.png"));
    const std::atomic<bool> isCancelled{true};
    SBxSignRun run;
    for (const char* sign : {"", kSign}) {
        for (const char* name : {"a.jpg", "a.bmp", "a.tif", "a.png"}) {
            WriteBytes(m_Folder / name, "precious");
            SBxSaveRequest request;
            request.picture = &Window().CurrentPicture();
            request.path = m_Folder / name;
            request.sign = sign;
            EXPECT_EQ(BX_SavePicture(run, request, isCancelled).end, EBxSaveEnd::kCancelled) << name;
            EXPECT_EQ(ReadBytes(m_Folder / name), "precious") << name;
        }
    }
    EXPECT_EQ(m_Folder.Count(), 5);
}

// Reasons and warnings come in English, and the details of other libraries stay so.
TEST_F(FilesWindow, TellsReasonsAndWarningsInTheUsersLanguage) {
    m_Config.m_iLangIndex = 1;
    BX_StartLocalization(m_Config, false);
    const std::string photo = ReadBytes(MakePhoto("photo.jpg"));
    WriteBytes(m_Folder / "short.jpg", photo.substr(0, photo.size() / 2));
    Open(m_Folder / "short.jpg");
    const std::string note = Note();
    ChooseFile(m_Folder / "missing/a.png");
    Answer(QMessageBox::Ok);
    m_User.On<QFileDialog>([](QFileDialog& dialog) { dialog.reject(); });
    Window().OnSaveImage();
    const std::string folder = BX_Text("its folder cannot be used").toStdString();
    const std::string cutOff = BX_Text("the file is cut off; what is missing is shown grey").toStdString();
    const std::string damaged = BX_Text("the file may be damaged or cut off").toStdString();
    CBxLocalization::Free();
    EXPECT_NE(folder, "its folder cannot be used");
    EXPECT_THAT(m_LastDetails, testing::HasSubstr(folder + ": "));
    EXPECT_NE(cutOff, "the file is cut off; what is missing is shown grey");
    EXPECT_THAT(note, testing::AnyOf(testing::StartsWith(cutOff), testing::StartsWith(damaged)));
}

TEST_F(FilesWindow, AFullDiskIsToldAndLeavesNothingBehind) {
    Open(MakePhoto("photo.png"));
    SignThePicture();
    struct rlimit old = {};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &old), 0);
    const auto oldHandler = signal(SIGXFSZ, SIG_IGN);
    const struct rlimit full = {4000, old.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &full), 0);
    ChooseFile(m_Folder / "full.bmp");
    Answer(QMessageBox::Ok);
    RunToItsEnd([this] { Window().OnSaveImage(); });
    setrlimit(RLIMIT_FSIZE, &old);
    signal(SIGXFSZ, oldHandler);
    EXPECT_EQ(m_LastMessage, "This file cannot be written:");
    EXPECT_EQ(Title(), "Veridane -photo.png - SIGNED");
    EXPECT_EQ(m_Folder.Count(), 1);
}

TEST_F(FilesWindow, AsksBeforeASignedPictureIsGivenUp) {
    Open(MakePhoto("photo.png"));
    SignThePicture();
    const std::string other = MakePhoto("other.png");
    const std::string isSigned = "Veridane -photo.png - SIGNED";
    Answer(QMessageBox::No);
    Window().OnCloseImage();
    EXPECT_EQ(Title(), isSigned);
    EXPECT_EQ(m_LastMessage,
              "<b>Opened image was signed but not saved.</b><br><br>Do you want to continue without saving?");
    Answer(QMessageBox::No);
    EXPECT_FALSE(Window().OpenPicture(QString::fromStdString(other)));
    Answer(QMessageBox::No);
    Press(Qt::Key_R, Qt::ControlModifier);
    Answer(QMessageBox::No);
    EXPECT_FALSE(Window().close());
    EXPECT_EQ(Title(), isSigned);
    Answer(QMessageBox::Yes);
    Window().OnReloadImage();
    EXPECT_EQ(Title(), "Veridane -photo.png");
    EXPECT_TRUE(Window().close());
}

TEST(SaveNames, GetTheEndingOfTheKindUnlessTheyEndAsPicturesDo) {
    const struct {
        const char* chosen;
        std::size_t kind;
        const char* completed;
    } cases[] = {{"/a.b/photo", 0, "/a.b/photo.jpg"},       {"/a/photo.", 3, "/a/photo..png"},
                 {"/a/2024.05.31", 2, "/a/2024.05.31.tif"}, {"/a/photo.v2", 0, "/a/photo.v2.jpg"},
                 {"/a/photo.JPeG", 3, "/a/photo.JPeG"},     {"/a/photo.gif", 3, "/a/photo.gif"},
                 {"/a/photo.WebP", 3, "/a/photo.WebP"},     {"/a/.jpg", 3, "/a/.jpg.png"}};
    for (const auto& one : cases) {
        EXPECT_EQ(BX_GetCompletedPath(one.chosen, "/a/other", one.kind), one.completed);
    }
    EXPECT_EQ(BX_GetProposedPath("/a/", "/b/photo.x.jpg", true), "/a/photo.x-signed");
}

// What is left of the name when its ending is gone may look like an ending.
TEST(SaveNames, ThatWereProposedGetTheEndingOfTheKind) {
    EXPECT_EQ(BX_GetCompletedPath("/b/photo.jpg", "/a/photo.jpg", 1), "/b/photo.jpg.bmp");
    EXPECT_EQ(BX_GetCompletedPath("/b/photo.gif", "/a/photo.gif", 0), "/b/photo.gif.jpg");
}

TEST_F(FilesWindow, SavesUnderTheNameOfAVersionInTheKindOfTheFile) {
    Open(MakePhoto("photo.v2.bmp"));
    std::filesystem::create_directory(m_Folder / "deeper");
    ChooseFile("deeper/photo.v2");
    RunToItsEnd([this] { Window().OnSaveImage(); });
    EXPECT_EQ(ReadBytes(m_Folder / "deeper/photo.v2.bmp").substr(0, 2), "BM");
}
