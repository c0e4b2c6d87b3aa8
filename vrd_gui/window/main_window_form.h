// The actions, menus and tool bar of the main window.
#pragma once

#include <QAction>
#include <QComboBox>
#include <QLabel>
#include <QMainWindow>
#include <QMenu>
#include <QToolBar>

#include "elided_label.h"
#include "picture_view.h"

class Ui_MainWindow {
public:
    // Makes everything, owned by the window, without texts.
    void setupUi(QMainWindow& window);
    // Sets every text in the language that is loaded.
    void retranslateUi();
    // Enables what needs an open picture.
    void EnablePictureActions(bool hasPicture);

    CBxScrollArea* scrollArea = nullptr;
    QToolBar* mainToolBar = nullptr;
    QComboBox* comboZoom = nullptr;
    CBxElidedLabel* labelStatus = nullptr;  // what the mouse does
    CBxElidedLabel* labelNote = nullptr;    // what is worth knowing about the last file

    QAction* actionOpen = nullptr;
    QAction* actionSave = nullptr;
    QAction* actionReload = nullptr;
    QAction* actionClose = nullptr;
    QAction* actionQuit = nullptr;
    QAction* actionZoomIn = nullptr;
    QAction* actionZoomOut = nullptr;
    QAction* actionFit = nullptr;
    QAction* actionOriginalSize = nullptr;
    QAction* actionSign = nullptr;
    QAction* actionDetect = nullptr;
    QAction* actionSurvive = nullptr;
    QAction* actionBatchSign = nullptr;
    QAction* actionBatchDetect = nullptr;
    QAction* actionPdfDetect = nullptr;
    QAction* actionSettings = nullptr;
    QAction* actionHelp = nullptr;
    QAction* actionGettingStarted = nullptr;
    QAction* actionWeb = nullptr;
    QAction* actionAbout = nullptr;

private:
    void MakeActions(QMainWindow& window);
    void MakeMenus(QMainWindow& window);
    void MakeToolBar(QMainWindow& window);
    void MakeStatusBar(QMainWindow& window);

    QMenu* m_pFileMenu = nullptr;
    QMenu* m_pViewMenu = nullptr;
    QMenu* m_pSignMenu = nullptr;
    QMenu* m_pHelpMenu = nullptr;
};
