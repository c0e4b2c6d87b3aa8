// A main window with settings, and pictures to work on, in a folder of its own.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QApplication>
#include <QColorSpace>
#include <QEventLoop>
#include <QFileDialog>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QStatusBar>
#include <QTest>
#include <cstdio>
#include <memory>
#include <string>

#include "folders.h"
#include "input_compression_dlg.h"
#include "input_sign_dlg.h"
#include "localization.h"
#include "modal_helper.h"
#include "result_dlgs.h"
#include "temporary_folder.h"
#include "veridane_gui.h"

class CWindowTest : public testing::Test {
protected:
    static constexpr char kSign[] = "Veri-2026x";

    CWindowTest() {
        CBxLocalization::Free();
        m_Config.m_bFirstRun = false;
        m_Config.m_iMaxThreads = 2;
        m_Config.m_bAskCompression = false;
        m_Config.m_iCompression = 95;
        m_Config.m_WindowRect = {20, 20, 620, 520};
        m_Config.m_iToolbarArea = Qt::TopToolBarArea;
        std::snprintf(m_Config.m_szLatestFolder, sizeof(m_Config.m_szLatestFolder), "%s", m_Folder.Path().c_str());
        std::snprintf(m_Config.m_szBundleFolder, sizeof(m_Config.m_szBundleFolder), "%s", VERIDANE_BUNDLE);
    }

    void SetUp() override { MakeWindow(); }

    void MakeWindow() {
        m_pWindow = std::make_unique<CBxVeridaneGui>(nullptr, &m_Config);
        m_pWindow->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(m_pWindow.get(), 60000));
    }

    CBxVeridaneGui& Window() { return *m_pWindow; }

    // A piece of a photograph that a sign holds on to well, as a file of the folder.
    std::string MakePhoto(const std::string& name, int side = 400) {
        QImage photo(VERIDANE_SAMPLES "/astronaut.png");
        photo.setColorSpace(QColorSpace());
        const std::string path = m_Folder / name;
        EXPECT_TRUE(photo.copy(0, 0, side, side).save(QString::fromStdString(path), nullptr, 100));
        return path;
    }

    void Open(const std::string& path) { ASSERT_TRUE(Window().OpenPicture(QString::fromStdString(path))); }

    std::string Title() { return Window().windowTitle().toStdString(); }
    std::string Note() { return Window().findChild<QLabel*>("labelNote")->text().toStdString(); }
    std::string Status() { return Window().findChild<QLabel*>("labelStatus")->text().toStdString(); }
    double Zoom() { return Window().findChild<CBxImageArea*>()->Geometry().m_dZoom; }

    // Shortcuts are for the active window only, and a dialog that closes gives its place back a little later.
    void Press(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) {
        Window().activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&Window(), 60000));
        QTest::keyClick(&Window(), key, modifiers);
    }

    // Starts a run as the user does, and returns when it is over and its dialogs are closed.
    template <typename Start>
    void RunToItsEnd(Start start) {
        QEventLoop loop;
        bool isOver = false;
        const auto connection = QObject::connect(&Window(), &CBxVeridaneGui::RunEnded, [&] {
            isOver = true;
            loop.quit();
        });
        start();
        if (!isOver) {
            loop.exec();
        }
        QObject::disconnect(connection);
    }

    void TypeSign(const QString& text = kSign) {
        m_User.On<CBxInputSignDlg>([text](CBxInputSignDlg& dialog) {
            auto* const line = dialog.findChild<QLineEdit*>("lineEditInputSign");
            line->selectAll();
            QTest::keyClicks(line, text);
            QTest::keyClick(line, Qt::Key_Return);
        });
    }

    // Presses the button of the next message and keeps its text.
    void Answer(QMessageBox::StandardButton button) {
        m_User.On<QMessageBox>([this, button](QMessageBox& box) {
            m_LastMessage = box.text().toStdString();
            m_LastDetails = box.informativeText().toStdString();
            ASSERT_NE(box.button(button), nullptr) << m_LastMessage;
            QTest::mouseClick(box.button(button), Qt::LeftButton);
        });
    }

    // Types the name into the file dialog, after a filter was chosen.
    void ChooseFile(const std::string& name, const QString& filter = QString()) {
        m_User.On<QFileDialog>([this, name, filter](QFileDialog& dialog) {
            if (!filter.isEmpty()) {
                dialog.selectNameFilter(filter);
            }
            auto* const line = dialog.findChild<QLineEdit*>("fileNameEdit");
            m_Proposed = line->text().toStdString();
            m_Filters = dialog.nameFilters();
            m_SelectedFilter = dialog.selectedNameFilter();
            line->setText(QString::fromStdString(name));
            QTest::keyClick(line, Qt::Key_Return);
        });
    }

    void SignThePicture() {
        TypeSign();
        Answer(QMessageBox::Ok);
        RunToItsEnd([this] { Window().OnSignImage(); });
        ASSERT_EQ(m_LastMessage, "Your sign was inserted to the highlighted area.");
    }

    CTemporaryFolder m_Folder;
    SBxVRDConfig m_Config;
    std::unique_ptr<CBxVeridaneGui> m_pWindow;
    CModalActs m_User;
    std::string m_LastMessage;
    std::string m_LastDetails;
    std::string m_Proposed;
    QStringList m_Filters;
    QString m_SelectedFilter;
};
