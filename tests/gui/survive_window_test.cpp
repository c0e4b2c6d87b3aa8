// Trying in the window what a sign survives.
#include <QTextBlock>
#include <QTextBrowser>

#include "progress_dlgs.h"
#include "survival_dlg.h"
#include "window_fixture.h"

using testing::HasSubstr;

namespace {

class SurviveWindow : public CWindowTest {
protected:
    // The first is read at once, the second is beyond all searching.
    const std::vector<SBxTrial> kTwoTrials = {{EBxTrialKind::Grid, 95, 100}, {EBxTrialKind::Grid, 5, 10}};

    // Size of the first picture that a document shows; empty when it has none or cannot show it.
    static QSize ShownPicture(const QTextDocument& document) {
        for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
            for (auto it = block.begin(); !it.atEnd(); ++it) {
                const QTextImageFormat format = it.fragment().charFormat().toImageFormat();
                if (format.isValid()) {
                    const QVariant image = document.resource(QTextDocument::ImageResource, QUrl(format.name()));
                    return qvariant_cast<QImage>(image).size();
                }
            }
        }
        return QSize();
    }
};

}  // namespace

TEST_F(SurviveWindow, ShowsThePageAndSavesItWhileThePictureStaysAsItIs) {
    Open(MakePhoto("photo.png", 240));
    const std::string title = Title();
    QString text;
    QSize shown;
    m_User.On<CBxSurvivalDlg>([&](CBxSurvivalDlg& dialog) {
        auto* const browser = dialog.findChild<QTextBrowser*>("textPage");
        text = browser->toPlainText();
        shown = ShownPicture(*browser->document());
        ChooseFile(m_Folder / "page");
        QTest::mouseClick(dialog.findChild<QPushButton*>("buttonSave"), Qt::LeftButton);
        QTest::mouseClick(dialog.findChild<QPushButton*>("buttonClose"), Qt::LeftButton);
    });
    RunToItsEnd([this] { Window().StartSurvival(kTwoTrials); });
    EXPECT_THAT(text.toStdString(), HasSubstr("photo.png, 240"));
    EXPECT_THAT(text.toStdString(), HasSubstr("JPEG 95"));
    EXPECT_THAT(text.toStdString(), HasSubstr("lost"));
    EXPECT_EQ(shown, QSize(240, 240));
    EXPECT_THAT(ReadBytes(m_Folder / "page.html"), HasSubstr("JPEG 5, scale 10 %: lost"));
    EXPECT_EQ(Title(), title) << "the picture was not signed";
}

TEST_F(SurviveWindow, ACancelShowsNothing) {
    Open(MakePhoto("photo.png", 240));
    m_User.On<CBxBatchProgressDlg>([](CBxBatchProgressDlg& dialog) { QTest::keyClick(&dialog, Qt::Key_Escape); });
    RunToItsEnd([this] { Window().OnSurvive(); });
    EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
}
