#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QDir>
#include <QIcon>
#include <QMessageBox>
#include <QPushButton>
#include <QRegularExpression>
#include <QTextBrowser>
#include <QToolButton>

#include "about_dlg.h"
#include "dialog_form.h"
#include "dialog_user.h"
#include "gui_text.h"
#include "help_dlg.h"
#include "modal_helper.h"
#include "temporary_folder.h"
#include "vrd_settings.h"

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

TEST(Manual, HasNoDeadLinksAndEveryPageStandsInTheContents) {
    const QDir folder(QString(VERIDANE_BUNDLE) + "doc");
    const QStringList pages = folder.entryList({"*.html"});
    EXPECT_TRUE(pages.contains("index.html") && pages.contains("getting_started.html"));
    static const QRegularExpression kLink("(?:href|src)=\"([^\"#]*)");
    QSet<QString> inContents = {"contents.html"};
    for (const QString& page : pages) {
        const std::string html = ReadBytes(folder.filePath(page).toStdString());
        for (const auto& link : kLink.globalMatch(QString::fromStdString(html))) {
            const QString target = link.captured(1);
            EXPECT_TRUE(QFileInfo(folder.filePath(target)).isFile()) << page.toStdString() << target.toStdString();
            if (page == "contents.html") {
                inContents.insert(target);
            }
        }
    }
    for (const QString& page : pages) {
        EXPECT_TRUE(inContents.contains(page)) << page.toStdString();
    }
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
    for (const QAbstractButton* button : dialog.findChildren<QAbstractButton*>()) {
        if (button->text().contains('&')) {
            letters.insert(button->text().at(button->text().indexOf('&') + 1).toLower());
            ++fields;
        }
    }
    EXPECT_EQ(fields, 7);
    EXPECT_EQ(letters.size(), fields);
}
