#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>

#include "dialog_user.h"
#include "modal_helper.h"
#include "progress_dlgs.h"
#include "result_dlgs.h"

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
