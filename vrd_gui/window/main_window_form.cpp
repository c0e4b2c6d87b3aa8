#include "main_window_form.h"

#include <QIcon>
#include <QKeySequence>
#include <QLineEdit>
#include <QMenuBar>
#include <QStatusBar>

#include "gui_text.h"

namespace {

constexpr int kIconPixels = 24;
constexpr int kZoomLetters = 7;
constexpr int kStatusMargin = 4;

QAction* MakeAction(QMainWindow& window, const char* name, const char* icon, const QList<QKeySequence>& keys = {}) {
    auto* const action = new QAction(&window);
    action->setObjectName(name);
    action->setIcon(QIcon(QString(":/res/png/") + icon));
    action->setShortcuts(keys);
    return action;
}

// The tool tip is the menu's text without its accelerator, with the key that does the same.
void SetTexts(QAction* action, const QString& text, const QString& statusTip) {
    action->setText(text);
    action->setStatusTip(statusTip);
    QString plain = text;
    plain.remove('&').remove("...");
    const QString key = action->shortcut().toString(QKeySequence::NativeText);
    action->setToolTip(key.isEmpty() ? plain : plain + " (" + key + ")");
}

}  // namespace

void Ui_MainWindow::setupUi(QMainWindow& window) {
    window.setObjectName("MainWindow");
    window.setWindowIcon(QIcon(":/res/png/VRD_ICON"));
    scrollArea = new CBxScrollArea(&window);
    window.setCentralWidget(scrollArea);
    MakeActions(window);
    MakeMenus(window);
    MakeToolBar(window);
    MakeStatusBar(window);
}

void Ui_MainWindow::MakeActions(QMainWindow& window) {
    actionOpen = MakeAction(window, "actionOpen", "OPEN", {Qt::CTRL | Qt::Key_O});
    actionSave = MakeAction(window, "actionSave", "SAVE", {Qt::CTRL | Qt::Key_S});
    actionReload = MakeAction(window, "actionReload", "RELOAD", {Qt::CTRL | Qt::Key_R, Qt::Key_F5});
    actionClose = MakeAction(window, "actionClose", "CLOSE", {Qt::CTRL | Qt::Key_W});
    actionQuit = MakeAction(window, "actionQuit", "QUIT", {Qt::CTRL | Qt::Key_Q});
    actionQuit->setMenuRole(QAction::QuitRole);
    actionZoomIn = MakeAction(window, "actionZoomIn", "ZOOM_IN", {Qt::Key_Plus, Qt::CTRL | Qt::Key_Plus});
    actionZoomOut = MakeAction(window, "actionZoomOut", "ZOOM_OUT", {Qt::Key_Minus, Qt::CTRL | Qt::Key_Minus});
    actionFit = MakeAction(window, "actionFit", "FIT", {Qt::CTRL | Qt::Key_0});
    actionOriginalSize = MakeAction(window, "actionOriginalSize", "ORIGINAL_SIZE", {Qt::CTRL | Qt::Key_1});
    actionSign = MakeAction(window, "actionSign", "SIGN", {Qt::CTRL | Qt::Key_I});
    actionDetect = MakeAction(window, "actionDetect", "DETECT", {Qt::CTRL | Qt::Key_D});
    actionSurvive = MakeAction(window, "actionSurvive", "SURVIVE");
    actionBatchSign = MakeAction(window, "actionBatchSign", "BATCH_SIGN");
    actionBatchDetect = MakeAction(window, "actionBatchDetect", "BATCH_DETECT");
    actionPdfDetect = MakeAction(window, "actionPdfDetect", "PDF_DETECT");
    actionSettings = MakeAction(window, "actionSettings", "SETTINGS", {Qt::CTRL | Qt::Key_Comma});
    actionSettings->setMenuRole(QAction::PreferencesRole);
    actionHelp = MakeAction(window, "actionHelp", "HELP", {Qt::Key_F1});
    actionGettingStarted = MakeAction(window, "actionGettingStarted", "HELP");
    actionWeb = MakeAction(window, "actionWeb", "WEB");
    actionAbout = MakeAction(window, "actionAbout", "ABOUT");
    actionAbout->setMenuRole(QAction::AboutRole);
}

void Ui_MainWindow::MakeMenus(QMainWindow& window) {
    m_pFileMenu = window.menuBar()->addMenu(QString());
    m_pFileMenu->addActions({actionOpen, actionSave, actionReload, actionClose});
    m_pFileMenu->addSeparator();
    m_pFileMenu->addAction(actionSettings);
    m_pFileMenu->addSeparator();
    m_pFileMenu->addAction(actionQuit);
    m_pViewMenu = window.menuBar()->addMenu(QString());
    m_pViewMenu->addActions({actionZoomIn, actionZoomOut, actionFit, actionOriginalSize});
    m_pSignMenu = window.menuBar()->addMenu(QString());
    m_pSignMenu->addActions({actionSign, actionDetect, actionSurvive});
    m_pSignMenu->addSeparator();
    m_pSignMenu->addActions({actionBatchSign, actionBatchDetect, actionPdfDetect});
    m_pHelpMenu = window.menuBar()->addMenu(QString());
    m_pHelpMenu->addActions({actionHelp, actionGettingStarted, actionWeb});
    m_pHelpMenu->addSeparator();
    m_pHelpMenu->addAction(actionAbout);
}

void Ui_MainWindow::MakeToolBar(QMainWindow& window) {
    mainToolBar = new QToolBar(&window);
    mainToolBar->setObjectName("mainToolBar");
    mainToolBar->setFloatable(false);
    mainToolBar->setContextMenuPolicy(Qt::PreventContextMenu);  // it would offer to hide the bar
    mainToolBar->setIconSize(QSize(kIconPixels, kIconPixels));
    comboZoom = new QComboBox(mainToolBar);
    comboZoom->setObjectName("comboZoom");
    comboZoom->setEditable(true);
    comboZoom->setInsertPolicy(QComboBox::NoInsert);
    comboZoom->setFocusPolicy(Qt::ClickFocus);
    comboZoom->addItems({"100%", "150%", "200%", "400%", "800%"});
    comboZoom->setMinimumContentsLength(kZoomLetters);
    comboZoom->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    mainToolBar->addActions({actionOpen, actionSave});
    mainToolBar->addSeparator();
    mainToolBar->addActions({actionSign, actionDetect, actionSurvive});
    mainToolBar->addSeparator();
    mainToolBar->addActions({actionBatchSign, actionBatchDetect, actionPdfDetect});
    mainToolBar->addSeparator();
    mainToolBar->addActions({actionZoomIn, actionZoomOut, actionFit, actionOriginalSize});
    mainToolBar->addWidget(comboZoom);
    mainToolBar->addSeparator();
    mainToolBar->addActions({actionSettings, actionHelp});
}

void Ui_MainWindow::MakeStatusBar(QMainWindow& window) {
    labelStatus = new CBxElidedLabel(&window);
    labelStatus->setObjectName("labelStatus");
    labelStatus->setContentsMargins(kStatusMargin, 0, 0, 0);
    labelNote = new CBxElidedLabel(&window);
    labelNote->setObjectName("labelNote");
    labelNote->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    labelNote->ClaimRoom();  // news comes before what is always said
    window.statusBar()->addWidget(labelStatus, 1);
    window.statusBar()->addPermanentWidget(labelNote);
}

void Ui_MainWindow::retranslateUi() {
    m_pFileMenu->setTitle(BX_Text("&File"));
    m_pViewMenu->setTitle(BX_Text("&View"));
    m_pSignMenu->setTitle(BX_Text("&Sign"));
    m_pHelpMenu->setTitle(BX_Text("&Help"));
    mainToolBar->setWindowTitle(BX_Text("Tool bar"));
    comboZoom->setToolTip(BX_Text("Zoom"));
    comboZoom->setAccessibleName(BX_Text("Zoom"));
    SetTexts(actionOpen, BX_Text("&Open..."), BX_Text("Opens a picture"));
    SetTexts(actionSave, BX_Text("&Save As..."), BX_Text("Saves the picture under a name of your choice"));
    SetTexts(actionReload, BX_Text("&Reload"), BX_Text("Reads the picture from its file again"));
    SetTexts(actionClose, BX_Text("&Close"), BX_Text("Closes the picture"));
    SetTexts(actionSettings, BX_Text("O&ptions..."), BX_Text("Changes the language, the JPEG quality and more"));
    SetTexts(actionQuit, BX_Text("&Quit"), BX_Text("Ends the program"));
    SetTexts(actionZoomIn, BX_Text("Zoom &In"), BX_Text("Shows the picture larger"));
    SetTexts(actionZoomOut, BX_Text("Zoom &Out"), BX_Text("Shows the picture smaller"));
    SetTexts(actionFit, BX_Text("&Fit to Window"), BX_Text("Shows the whole picture"));
    SetTexts(actionOriginalSize, BX_Text("Original &Size"),
             BX_Text("Shows each pixel of the picture as one pixel of the screen"));
    SetTexts(actionSign, BX_Text("&Sign Picture..."), BX_Text("Hides your sign in the picture"));
    SetTexts(actionDetect, BX_Text("&Detect Sign"), BX_Text("Looks for a sign in the picture"));
    SetTexts(actionSurvive, BX_Text("&How Well Does It Survive..."),
             BX_Text("Tries what a sign in the picture survives"));
    SetTexts(actionBatchSign, BX_Text("Sign &Folder..."), BX_Text("Hides your sign in all pictures of a folder"));
    SetTexts(actionBatchDetect, BX_Text("Detect in F&older..."),
             BX_Text("Looks for signs in all pictures of a folder"));
    SetTexts(actionPdfDetect, BX_Text("Detect in &PDF..."),
             BX_Text("Looks for signs in the pictures of a PDF document"));
    SetTexts(actionHelp, BX_Text("&Manual"), BX_Text("Opens the manual"));
    SetTexts(actionGettingStarted, BX_Text("&Getting Started"), BX_Text("Opens the first steps in the manual"));
    SetTexts(actionWeb, BX_Text("Manual in the &Web Browser"), BX_Text("Opens the manual in your web browser"));
    SetTexts(actionAbout, BX_Text("&About Veridane"), BX_Text("Tells the version and who made the parts"));
}

void Ui_MainWindow::EnablePictureActions(bool hasPicture) {
    for (QAction* action : {actionSave, actionReload, actionClose, actionZoomIn, actionZoomOut, actionFit,
                            actionOriginalSize, actionSign, actionDetect, actionSurvive}) {
        action->setEnabled(hasPicture);
    }
    comboZoom->setEnabled(hasPicture);
}
