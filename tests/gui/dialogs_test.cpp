// The dialogs, used as a user does: typing, pressing, reading.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QDesktopServices>
#include <QDialogButtonBox>
#include <QIcon>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QSlider>
#include <QSpinBox>
#include <QTextBrowser>
#include <QToolButton>
#include <cstring>

#include "about_dlg.h"
#include "dialog_form.h"
#include "gui_text.h"
#include "help_dlg.h"
#include "input_compression_dlg.h"
#include "input_sign_dlg.h"
#include "interface_language.h"
#include "modal_helper.h"
#include "progress_dlgs.h"
#include "result_dlgs.h"
#include "temporary_folder.h"
#include "vrd_settings.h"

namespace {

template <typename Widget>
Widget& Find(const QWidget& dialog, const char* name) {
    auto* const widget = dialog.findChild<Widget*>(name);
    if (widget == nullptr) {
        throw std::runtime_error(std::string("the dialog has no ") + name);
    }
    return *widget;
}

std::string TextOf(const QWidget& dialog, const char* label) {
    return Find<QLabel>(dialog, label).text().toStdString();
}

// A key press at whatever has the focus, as a keyboard does it.
void Press(QWidget& dialog, int key, const QString& text = QString(), Qt::KeyboardModifiers modifiers = {}) {
    QWidget* const target = dialog.focusWidget() != nullptr ? dialog.focusWidget() : &dialog;
    QKeyEvent press(QEvent::KeyPress, key, modifiers, text);
    QApplication::sendEvent(target, &press);
    QKeyEvent release(QEvent::KeyRelease, key, modifiers, text);
    QApplication::sendEvent(target, &release);
}

void Type(QWidget& dialog, const QString& text) {
    for (const QChar& letter : text) {
        Press(dialog, letter.toUpper().unicode(), letter);
    }
}

// Takes the place of the desktop.
class CDesktop : public QObject {
    Q_OBJECT

public:
    CDesktop() {
        QDesktopServices::setUrlHandler("file", this, "Open");
        QDesktopServices::setUrlHandler("https", this, "Open");
    }
    ~CDesktop() override {
        QDesktopServices::unsetUrlHandler("file");
        QDesktopServices::unsetUrlHandler("https");
    }

    QList<QUrl> m_Opened;

public slots:
    void Open(const QUrl& url) { m_Opened.append(url); }
};

// ---- the sign ----

class SignInput : public testing::Test {
protected:
    // Opens the dialog on the buffer and does `act`, which ends it.
    bool Input(const std::function<void(CBxInputSignDlg&)>& act) {
        CModalActs user;
        user.On<CBxInputSignDlg>(act);
        return CBxInputSignDlg::InputSign(&m_Window, m_Buffer, sizeof(m_Buffer));
    }

    QWidget m_Window;
    char m_Buffer[12] = {};
};

}  // namespace

TEST_F(SignInput, ShowsWhileTypingWhatWillBeCarriedAndHowMuchIsLeft) {
    EXPECT_TRUE(Input([](CBxInputSignDlg& dialog) {
        EXPECT_EQ(TextOf(dialog, "labelCharLeft"), "10");
        Type(dialog, QString::fromUtf8("aZ 9-_\xC3\xA9"));
        EXPECT_EQ(Find<QLineEdit>(dialog, "lineEditOutputSign").text(), "aZ-9---");
        EXPECT_EQ(TextOf(dialog, "labelCharLeft"), "3");
        Press(dialog, Qt::Key_Return);
    }));
    EXPECT_STREQ(m_Buffer, "aZ-9---");
}

TEST_F(SignInput, StaysAtTenCharactersWhenAnEleventhIsTyped) {
    EXPECT_TRUE(Input([](CBxInputSignDlg& dialog) {
        Type(dialog, "abcdefghijk");
        EXPECT_EQ(Find<QLineEdit>(dialog, "lineEditOutputSign").text(), "abcdefghij");
        EXPECT_EQ(TextOf(dialog, "labelCharLeft"), "0");
        Press(dialog, Qt::Key_Return);
    }));
    EXPECT_STREQ(m_Buffer, "abcdefghij");
}

TEST_F(SignInput, RefusesFiveCharactersAndStaysOpenForTheSixth) {
    CModalActs user;
    user.On<CBxInputSignDlg>([](CBxInputSignDlg& dialog) {
        Type(dialog, "abcde");
        Press(dialog, Qt::Key_Return);
        EXPECT_TRUE(dialog.isVisible());
        Type(dialog, "f");
        Press(dialog, Qt::Key_Return);
    });
    user.On<QMessageBox>([](QMessageBox& box) {
        EXPECT_EQ(box.text(), "Your sign must have 6 characters at least!");
        box.accept();
    });
    EXPECT_TRUE(CBxInputSignDlg::InputSign(&m_Window, m_Buffer, sizeof(m_Buffer)));
    EXPECT_STREQ(m_Buffer, "abcdef");
}

TEST_F(SignInput, StartsWithTheLatestSignReadyToBeTypedOver) {
    std::strcpy(m_Buffer, "Old-sign");
    EXPECT_TRUE(Input([](CBxInputSignDlg& dialog) {
        EXPECT_EQ(Find<QLineEdit>(dialog, "lineEditOutputSign").text(), "Old-sign");
        EXPECT_EQ(TextOf(dialog, "labelCharLeft"), "2");
        Type(dialog, "New-sign2");
        Press(dialog, Qt::Key_Return);
    }));
    EXPECT_STREQ(m_Buffer, "New-sign2");
}

// A cancelled dialog must not change the sign that the settings remember.
TEST_F(SignInput, GivesBackTheBufferAsItWasWhenCancelled) {
    std::strcpy(m_Buffer, "Old-sign");
    EXPECT_FALSE(Input([](CBxInputSignDlg& dialog) {
        Type(dialog, "New-sign");
        Press(dialog, Qt::Key_Escape);
    }));
    EXPECT_STREQ(m_Buffer, "Old-sign");
}

TEST_F(SignInput, NeverWritesBehindASmallBuffer) {
    char guarded[12] = {'\0', 0, 0, 0, 0, 0, 0, 0, 'G', 'G', 'G', 'G'};
    CBxInputSignDlg dialog(&m_Window, guarded, 8);
    Find<QLineEdit>(dialog, "lineEditInputSign").setText("abcdefghij");
    EXPECT_EQ(std::string(guarded + 8, 4), "GGGG");
    EXPECT_EQ(Find<QLineEdit>(dialog, "lineEditOutputSign").text().toStdString(), guarded);
}

namespace {

// ---- the quality and the settings ----

constexpr char kTexts[] =
    "[General]\nVersion=\"3.0\"\nEncoding=\"UTF-8\"\nLanguagesNo=\"3\"\n"
    "[0]\nLanguage=\"English\"\nAcronym=\"eng\"\nstring1=\"Options\"\nstring2=\"Enable logging\"\nstring3=\"%d%%\"\n"
    "[1]\nLanguage=\"Deutsch\"\nAcronym=\"deu\"\nstring1=\"Einstellungen\"\nstring2=\"Protokoll\"\nstring3=\"%d %%\"\n"
    "[2]\nLanguage=\"Polski\"\nAcronym=\"pol\"\nstring1=\"Opcje\"\n";

class SettingsDialogs : public testing::Test {
protected:
    SettingsDialogs() {
        WriteBytes(m_Texts, kTexts);
        std::strcpy(m_Config.m_szLocalizationPath, m_Texts.c_str());
        SBxVRDConfig::LoadLanguages(m_Config, m_Texts.c_str());
        m_Config.m_iCompression = 80;
        m_Config.m_iMaxThreads = 3;
    }
    ~SettingsDialogs() override { CBxLocalization::Free(); }

    bool Edit(const std::function<void(CBxVRDSettings&)>& act) {
        CModalActs user;
        user.On<CBxVRDSettings>(act);
        return CBxVRDSettings::EditSettings(&m_Window, &m_Config, [this] { ++m_Changes; });
    }

    CTemporaryFolder m_Folder;
    const std::string m_Texts = m_Folder / "texts.ini";
    SBxVRDConfig m_Config;
    QWidget m_Window;
    int m_Changes = 0;
};

std::string WithoutKeys(QString text) {
    return text.remove('&').toStdString();
}

}  // namespace

TEST_F(SettingsDialogs, QualityIsKeptAndAskedNoMoreOnlyWhenConfirmed) {
    const auto change = [](CBxInputCompressionDlg& dialog) {
        EXPECT_EQ(TextOf(dialog, "labelCompressionPct"), "80%");
        EXPECT_FALSE(Find<QCheckBox>(dialog, "checkDontShow").isChecked());
        Press(dialog, Qt::Key_Right);
        EXPECT_EQ(TextOf(dialog, "labelCompressionPct"), "81%");
        Find<QCheckBox>(dialog, "checkDontShow").click();
    };
    {
        CModalActs user;
        user.On<CBxInputCompressionDlg>([&](CBxInputCompressionDlg& dialog) {
            change(dialog);
            Press(dialog, Qt::Key_Escape);
        });
        EXPECT_FALSE(CBxInputCompressionDlg::InputCompression(&m_Window, &m_Config));
        EXPECT_EQ(m_Config.m_iCompression, 80);
        EXPECT_TRUE(m_Config.m_bAskCompression);
    }
    CModalActs user;
    user.On<CBxInputCompressionDlg>([&](CBxInputCompressionDlg& dialog) {
        change(dialog);
        Press(dialog, Qt::Key_Return);
    });
    EXPECT_TRUE(CBxInputCompressionDlg::InputCompression(&m_Window, &m_Config));
    EXPECT_EQ(m_Config.m_iCompression, 81);
    EXPECT_FALSE(m_Config.m_bAskCompression);
}

TEST_F(SettingsDialogs, EveryFieldComesBackAsItWasLeft) {
    m_Config.m_bLogDetailEnabled = true;
    EXPECT_TRUE(Edit([](CBxVRDSettings& dialog) {
        EXPECT_EQ(Find<QSpinBox>(dialog, "spinBox").value(), 3);
        EXPECT_EQ(TextOf(dialog, "labelCompressionPct"), "80%");
        Find<QSpinBox>(dialog, "spinBox").setValue(2);
        Find<QSlider>(dialog, "sliderCompression").setValue(66);
        Find<QCheckBox>(dialog, "checkBoxAskCompression").click();
        Find<QCheckBox>(dialog, "checkBoxEnableLog").click();
        Find<QDialogButtonBox>(dialog, "buttonBox").button(QDialogButtonBox::Ok)->click();
    }));
    EXPECT_EQ(m_Config.m_iMaxThreads, 2);
    EXPECT_EQ(m_Config.m_iCompression, 66);
    EXPECT_FALSE(m_Config.m_bAskCompression);
    EXPECT_FALSE(m_Config.m_bLogEnabled);
    EXPECT_TRUE(m_Config.m_bLogDetailEnabled);
    EXPECT_EQ(m_Config.m_iLangIndex, 0);
    EXPECT_EQ(m_Changes, 0);
}

TEST_F(SettingsDialogs, ACancelLeavesTheRecordAlone) {
    EXPECT_FALSE(Edit([](CBxVRDSettings& dialog) {
        Find<QSpinBox>(dialog, "spinBox").setValue(2);
        Find<QSlider>(dialog, "sliderCompression").setValue(66);
        Find<QCheckBox>(dialog, "checkBoxEnableLog").click();
        Press(dialog, Qt::Key_Escape);
    }));
    EXPECT_EQ(m_Config.m_iMaxThreads, 3);
    EXPECT_EQ(m_Config.m_iCompression, 80);
    EXPECT_TRUE(m_Config.m_bLogEnabled);
}

TEST_F(SettingsDialogs, SwitchTheLanguageAtOnceAndBackOnCancel) {
    EXPECT_FALSE(Edit([this](CBxVRDSettings& dialog) {
        auto& languages = Find<QComboBox>(dialog, "comboLanguages");
        languages.setCurrentIndex(languages.findText("Deutsch"));
        EXPECT_EQ(dialog.windowTitle(), "Einstellungen");
        EXPECT_EQ(WithoutKeys(Find<QCheckBox>(dialog, "checkBoxEnableLog").text()), "Protokoll");
        EXPECT_EQ(TextOf(dialog, "labelCompressionPct"), "80 %");
        EXPECT_EQ(m_Changes, 1);
        languages.setCurrentIndex(languages.findText("English"));
        EXPECT_EQ(dialog.windowTitle(), "Options");
        languages.setCurrentIndex(languages.findText("Polski"));
        Press(dialog, Qt::Key_Escape);
    }));
    EXPECT_EQ(BX_Text("Options"), "Options");
    EXPECT_EQ(m_Changes, 4);
    EXPECT_EQ(m_Config.m_iLangIndex, 0);
}

TEST_F(SettingsDialogs, KeepTheLanguageThatWasConfirmed) {
    EXPECT_TRUE(Edit([](CBxVRDSettings& dialog) {
        Find<QComboBox>(dialog, "comboLanguages").setCurrentIndex(2);
        dialog.accept();
    }));
    EXPECT_EQ(m_Config.m_iLangIndex, 2);
    EXPECT_EQ(BX_Text("Options"), "Opcje");
}

// A language list that went away, or an index of an older file, must not cost the other settings.
TEST_F(SettingsDialogs, WorkWithoutLanguagesAndWithNumbersOutOfRange) {
    SBxVRDConfig::FreeLanguages(m_Config);
    m_Config.m_iLangIndex = 7;
    m_Config.m_iMaxThreads = 40;
    m_Config.m_iCompression = 0;
    EXPECT_TRUE(Edit([](CBxVRDSettings& dialog) {
        EXPECT_FALSE(Find<QComboBox>(dialog, "comboLanguages").isEnabled());
        EXPECT_EQ(Find<QSpinBox>(dialog, "spinBox").value(), 40);
        dialog.accept();
    }));
    EXPECT_EQ(m_Config.m_iLangIndex, 7);
    EXPECT_EQ(m_Config.m_iMaxThreads, 40);
    EXPECT_EQ(m_Config.m_iCompression, 1);
}

TEST_F(SettingsDialogs, OpenTheLogOnTheDesktopWhateverTheFolderIsCalled) {
    std::strcpy(m_Config.m_szLogFolder, "/home/a b#c%41?/log/");
    CDesktop desktop;
    EXPECT_TRUE(Edit([](CBxVRDSettings& dialog) {
        Find<QPushButton>(dialog, "buttonOpenLogFolder").click();
        Find<QPushButton>(dialog, "buttonOpenLogFile").click();
        dialog.accept();
    }));
    ASSERT_EQ(desktop.m_Opened.size(), 2);
    EXPECT_EQ(desktop.m_Opened[0].toString(QUrl::FullyEncoded).toStdString(), "file:////home/a%20b%23c%2541%3F/log/");
    EXPECT_EQ(desktop.m_Opened[1].toLocalFile().toStdString(), "//home/a b#c%41?/log/vrd.log");
}

TEST_F(SettingsDialogs, StopTheProgramWithoutParentOrRecord) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(CBxVRDSettings(nullptr, &m_Config, {}), "without its parent");
    EXPECT_DEATH(CBxInputCompressionDlg(&m_Window, nullptr), "without its parent");
}

// ---- progress ----

TEST(ProgressDialog, AsksOnceForAStopAndStaysUntilItsOwnerHidesIt) {
    QWidget window;
    CBxSimpleProgressDlg dialog(&window);
    int cancels = 0;
    QObject::connect(&dialog, &CBxSimpleProgressDlg::CancelReleased, [&] { ++cancels; });
    dialog.show();
    dialog.SetText("Please wait ...");
    dialog.SetPercentage(130);
    EXPECT_EQ(TextOf(dialog, "labelProgress"), "Please wait ...");
    EXPECT_EQ(Find<QProgressBar>(dialog, "progressBar").value(), 100);
    Press(dialog, Qt::Key_Return);
    EXPECT_EQ(cancels, 0);
    Press(dialog, Qt::Key_Escape);
    dialog.close();
    Find<QPushButton>(dialog, "buttonCancel").click();
    EXPECT_EQ(cancels, 1);
    EXPECT_TRUE(dialog.isVisible());
}

TEST(ProgressDialog, OfManyPicturesStaysNarrowForLongNamesAndNeverReadsThemAsMarkup) {
    QWidget window;
    CBxBatchProgressDlg dialog(&window, "Batch Signing...");
    int cancels = 0;
    QObject::connect(&dialog, &CBxBatchProgressDlg::CancelReleased, [&] { ++cancels; });
    const int before = dialog.sizeHint().width();
    const QString name = "Processing... <b>" + QString(300, 'x') + "\n.jpg";
    dialog.ShowCurrent(name, "Inserting the signature", 40);
    dialog.ShowTotal(70);
    dialog.ShowTimes("00:00:05", "Calculating...");
    dialog.show();
    EXPECT_EQ(dialog.windowTitle(), "Batch Signing...");
    EXPECT_EQ(dialog.sizeHint().width(), before);
    EXPECT_EQ(TextOf(dialog, "labelCurrent"), name.toStdString());
    EXPECT_EQ(Find<QLabel>(dialog, "labelCurrent").textFormat(), Qt::PlainText);
    EXPECT_EQ(Find<QProgressBar>(dialog, "progressBarCurrent").value(), 40);
    EXPECT_EQ(Find<QProgressBar>(dialog, "progressBarTotal").value(), 70);
    EXPECT_EQ(TextOf(dialog, "labelElapsedTime"), "00:00:05");
    EXPECT_EQ(TextOf(dialog, "labelEstimatedTime"), "Calculating...");
    Find<QPushButton>(dialog, "pushCancel").click();
    dialog.close();
    EXPECT_EQ(cancels, 1);
    EXPECT_TRUE(dialog.isVisible());
}

// ---- results ----

TEST(ResultDialog, ShowsTheTitleAsRichTextAndTheSignAsItIs) {
    QWidget window;
    CModalActs user;
    user.On<CBxResultDlg>([](CBxResultDlg& dialog) {
        EXPECT_EQ(TextOf(dialog, "labelTitle"), "<font color='red'>Sign Found!<font>");
        EXPECT_EQ(Find<QLabel>(dialog, "labelTitle").textFormat(), Qt::RichText);
        EXPECT_EQ(TextOf(dialog, "labelSign"), "<b>x</b>");
        EXPECT_EQ(Find<QLabel>(dialog, "labelSign").textFormat(), Qt::PlainText);
        EXPECT_TRUE(Find<QLabel>(dialog, "labelDetail").isVisible());
        Press(dialog, Qt::Key_Return);
    });
    CBxResultDlg::ShowSign(&window, "<font color='red'>Sign Found!<font>", "<b>x</b>", "zoom 1.00");
    user.On<CBxResultDlg>([](CBxResultDlg& dialog) {
        EXPECT_FALSE(Find<QLabel>(dialog, "labelSign").isVisible());
        EXPECT_FALSE(Find<QLabel>(dialog, "labelDetail").isVisible());
        Find<QPushButton>(dialog, "pushButton").click();
    });
    CBxResultDlg::ShowSign(&window, "No sign detected", "");
}

TEST(BatchResultDialog, OpensTheLogOfTheRunAndSaysNothingOfALogThatIsNotThere) {
    QWidget window;
    CDesktop desktop;
    CModalActs user;
    user.On<CBxBatchDetectResultDlg>([](CBxBatchDetectResultDlg& dialog) {
        EXPECT_EQ(TextOf(dialog, "labelResult"), "Some images were signed.");
        EXPECT_EQ(TextOf(dialog, "labelLogInfo"), "/tmp/<i>/batch_detect.log");
        Find<QPushButton>(dialog, "buttonOpenLog").click();
        Press(dialog, Qt::Key_Return);
    });
    CBxBatchDetectResultDlg::ShowSign(&window, "Some images were signed.", "/tmp/<i>/batch_detect.log");
    ASSERT_EQ(desktop.m_Opened.size(), 1);
    EXPECT_EQ(desktop.m_Opened[0].path().toStdString(), "//tmp/<i>/batch_detect.log");
    user.On<CBxBatchDetectResultDlg>([](CBxBatchDetectResultDlg& dialog) {
        EXPECT_FALSE(Find<QPushButton>(dialog, "buttonOpenLog").isVisible());
        EXPECT_FALSE(Find<QLabel>(dialog, "labelLogInfo").isVisible());
        EXPECT_EQ(TextOf(dialog, "labelDetail"), "2 files could not be read.");
        Find<QPushButton>(dialog, "buttonClose").click();
    });
    CBxBatchDetectResultDlg::ShowSign(&window, "No image was signed.", "", "2 files could not be read.");
}

// Where no program is there for the file, a click without any effect would leave the user alone.
TEST(BatchResultDialog, NamesThePathWhenTheDesktopOpensNothing) {
    QWidget window;
    CModalActs user;
    user.On<CBxBatchDetectResultDlg>([](CBxBatchDetectResultDlg& dialog) {
        Find<QPushButton>(dialog, "buttonOpenLog").click();
        dialog.accept();
    });
    user.On<QMessageBox>([](QMessageBox& box) {
        EXPECT_THAT(box.text().toStdString(), testing::HasSubstr("/tmp/batch_sign.log"));
        EXPECT_EQ(box.textFormat(), Qt::PlainText);
        box.accept();
    });
    CBxBatchDetectResultDlg::ShowSign(&window, "Batch sign finished.", "/tmp/batch_sign.log");
}

// ---- about, help, resources ----

TEST(AboutDialog, TellsTheVersionThePlatformAndWhoseIconsTheseAre) {
    QWidget window;
    CBxAboutDlg dialog(&window);
    EXPECT_THAT(TextOf(dialog, "labelVersion"), testing::AllOf(testing::HasSubstr("3.5"), testing::HasSubstr("26")));
    EXPECT_THAT(TextOf(dialog, "labelPlatform"), testing::HasSubstr(std::string("Qt ") + qVersion()));
    EXPECT_THAT(TextOf(dialog, "labelIcons"), testing::HasSubstr("Tango"));
    EXPECT_FALSE(Find<QLabel>(dialog, "labelImage").pixmap().isNull());
    CModalActs user;
    user.On<QMessageBox>([](QMessageBox& box) { box.accept(); });
    Find<QPushButton>(dialog, "buttonQt").click();
    QCoreApplication::processEvents();
    while (!user.Done()) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
}

namespace {

class Help : public testing::Test {
protected:
    Help() {
        std::filesystem::create_directory(m_Folder / "doc");
        WriteBytes(m_Folder / "doc/index.html", "<p>First <a href='two.html#end'>two</a></p>");
        WriteBytes(m_Folder / "doc/two.html", "<p>Second <a name='end'>end</a></p>");
        WriteBytes(m_Folder / "secret.html", "<p>Not of the manual</p>");
    }

    std::string Page(const CBxHelp& dialog) {
        return Find<QTextBrowser>(dialog, "textBrowser").toPlainText().toStdString();
    }
    void Follow(const CBxHelp& dialog, const QUrl& link) {
        emit Find<QTextBrowser>(dialog, "textBrowser").anchorClicked(link);
    }
    QUrl Link(const char* name) { return QUrl::fromLocalFile(QString::fromStdString(m_Folder / name)); }

    CTemporaryFolder m_Folder;
    QWidget m_Window;
};

}  // namespace

TEST_F(Help, FollowsLinksAndGoesBackForwardAndHome) {
    CBxHelp dialog(&m_Window, "index.html", (m_Folder / "").c_str());
    auto& backward = Find<QToolButton>(dialog, "buttonBackward");
    auto& forward = Find<QToolButton>(dialog, "buttonForward");
    EXPECT_THAT(Page(dialog), testing::HasSubstr("First"));
    EXPECT_FALSE(backward.isEnabled());
    Follow(dialog, Link("doc/two.html"));
    EXPECT_THAT(Page(dialog), testing::HasSubstr("Second"));
    EXPECT_TRUE(backward.isEnabled());
    EXPECT_FALSE(forward.isEnabled());
    backward.click();
    EXPECT_THAT(Page(dialog), testing::HasSubstr("First"));
    forward.click();
    EXPECT_THAT(Page(dialog), testing::HasSubstr("Second"));
    Find<QToolButton>(dialog, "buttonHome").click();
    EXPECT_THAT(Page(dialog), testing::HasSubstr("First"));
}

TEST_F(Help, ShowsOnlyPagesOfTheManualAndHandsTheWebToTheDesktop) {
    CDesktop desktop;
    CBxHelp dialog(&m_Window, "index.html", (m_Folder / "").c_str());
    Follow(dialog, QUrl("https://example.org/"));
    EXPECT_THAT(Page(dialog), testing::HasSubstr("First"));
    ASSERT_EQ(desktop.m_Opened.size(), 1);
    Follow(dialog, Link("doc/../secret.html"));
    EXPECT_THAT(Page(dialog), testing::HasSubstr("missing: secret.html"));
}

TEST_F(Help, TellsThatAPageIsMissing) {
    CModalActs user;
    user.On<CBxHelp>([this](CBxHelp& dialog) {
        EXPECT_THAT(Page(dialog), testing::HasSubstr("missing: getting_started.html"));
        Press(dialog, Qt::Key_Escape);
    });
    CBxHelp::DisplayHelp(&m_Window, "getting_started.html", (m_Folder / "").c_str());
}

TEST(Resources, HoldEveryIconInAllSizesOfMenusAndToolbars) {
    for (const char* name :
         {"OPEN",  "SAVE",   "RELOAD",     "CLOSE",        "ZOOM_IN",    "ZOOM_OUT", "FIT",  "ORIGINAL_SIZE",
          "SIGN",  "DETECT", "BATCH_SIGN", "BATCH_DETECT", "PDF_DETECT", "SETTINGS", "HELP", "WEB",
          "ABOUT", "QUIT",   "BACKWARD",   "FORWARD",      "HOME",       "VRD_ICON"}) {
        const QIcon icon(QString(":/res/png/") + name);
        for (const int size : {16, 22, 32, 48, 64}) {
            EXPECT_TRUE(icon.availableSizes().contains(QSize(size, size))) << name << size;
        }
        // A size that is listed may still be an empty picture.
        EXPECT_FALSE(icon.pixmap(QSize(32, 32)).toImage().allGray()) << name;
    }
    EXPECT_EQ(BX_LoadPixmap(":/res/images/SPLASH", 2.0).deviceIndependentSize(),
              BX_LoadPixmap(":/res/images/SPLASH", 1.0).deviceIndependentSize());
}

TEST(FilledText, ReplacesPlacesInOrderAndSurvivesWrongTranslations) {
    EXPECT_EQ(BX_FilledText("%s: %d%% of %s", {"a%s", "7", "b"}), "a%s: 7% of b");
    EXPECT_EQ(BX_FilledText("%d and %d", {"1"}), "1 and %d");
    EXPECT_EQ(BX_FilledText("nothing %", {"1"}), "nothing %");
}

// Two fields with one letter make a key that only moves the focus about.
TEST(DialogForm, GivesEveryFieldALetterOfItsOwn) {
    SBxVRDConfig config;
    QWidget window;
    CBxVRDSettings dialog(&window, &config, {});
    QSet<QChar> letters;
    int fields = 0;
    for (const QLabel* label : dialog.findChildren<QLabel*>()) {
        if (label->buddy() != nullptr) {
            letters.insert(label->text().at(label->text().indexOf('&') + 1).toLower());
            ++fields;
        }
    }
    for (const QCheckBox* box : dialog.findChildren<QCheckBox*>()) {
        letters.insert(box->text().at(box->text().indexOf('&') + 1).toLower());
        ++fields;
    }
    EXPECT_EQ(fields, 5);
    EXPECT_EQ(letters.size(), fields);
}

#include "dialogs_test.moc"
