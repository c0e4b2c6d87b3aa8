#include "veridane_gui.h"

#include <QApplication>
#include <QCloseEvent>
#include <QLineEdit>
#include <QScreen>
#include <QShortcut>
#include <algorithm>

#include "dialog_form.h"
#include "gui_text.h"
#include "messages.h"
#include "qt_text.h"
#include "thread_hand_over.h"

namespace {

constexpr int kPollMilliseconds = 1000;
constexpr int kSmallestVisiblePart = 50;

Qt::ToolBarArea ToolBarAreaOf(std::int32_t stored) {
    for (const Qt::ToolBarArea area : {Qt::LeftToolBarArea, Qt::RightToolBarArea, Qt::BottomToolBarArea}) {
        if (stored == area) {
            return area;
        }
    }
    return Qt::TopToolBarArea;
}

// Whether enough of the rectangle is on a screen to be seen and taken hold of.
bool IsOnAScreen(const QRect& rectangle) {
    const QList<QScreen*> screens = QGuiApplication::screens();
    return std::any_of(screens.begin(), screens.end(), [&rectangle](const QScreen* screen) {
        const QRect seen = screen->availableGeometry() & rectangle;
        return seen.width() >= kSmallestVisiblePart && seen.height() >= kSmallestVisiblePart;
    });
}

}  // namespace

CBxVeridaneGui::CBxVeridaneGui(QWidget* parent, SBxVRDConfig* config)
    : QMainWindow(parent),
      m_pConfig(config),
      m_SignThread(this),
      m_DetectThread(this),
      m_BatchSignThread(this),
      m_BatchDetectThread(this),
      m_PDFDetectThread(this),
      m_SurviveThread(this) {
    BX_Require(config != nullptr);
    m_Form.setupUi(*this);
    RetranslateUi();
    ConnectActions();
    ConnectView();
    RestorePlace();
    UpdateActions();
    m_Timer.setInterval(kPollMilliseconds);
    connect(&m_Timer, SIGNAL(timeout()), this, SLOT(OnTimer()));
    connect(&m_SignThread, SIGNAL(finished()), this, SLOT(OnSignThreadFinished()));
    connect(&m_DetectThread, SIGNAL(finished()), this, SLOT(OnDetectThreadFinished()));
    connect(&m_BatchSignThread, SIGNAL(finished()), this, SLOT(OnBatchSignFinished()));
    connect(&m_BatchDetectThread, SIGNAL(finished()), this, SLOT(OnBatchDetectFinished()));
    connect(&m_PDFDetectThread, SIGNAL(finished()), this, SLOT(OnPDFDetectFinished()));
    connect(&m_SurviveThread, SIGNAL(finished()), this, SLOT(OnSurviveFinished()));
}

CBxVeridaneGui::~CBxVeridaneGui() {
    OnDetectCanceled();
    m_BatchProgress.Cancel();
    QThread* const threads[] = {&m_SignThread,        &m_DetectThread,    &m_SaveThread,   &m_BatchSignThread,
                                &m_BatchDetectThread, &m_PDFDetectThread, &m_SurviveThread};
    for (QThread* thread : threads) {
        thread->disconnect();
        while (!thread->wait(kPollMilliseconds)) {
            CBxSignOp::AbortDetecting();
        }
        BX_CollectThread(*thread);
    }
}

void CBxVeridaneGui::ConnectActions() {
    const auto on = [this](QAction* action, void (CBxVeridaneGui::*slot)()) {
        connect(action, &QAction::triggered, this, slot);
    };
    on(m_Form.actionOpen, &CBxVeridaneGui::OnOpenFile);
    on(m_Form.actionSave, &CBxVeridaneGui::OnSaveImage);
    on(m_Form.actionReload, &CBxVeridaneGui::OnReloadImage);
    on(m_Form.actionClose, &CBxVeridaneGui::OnCloseImage);
    on(m_Form.actionZoomIn, &CBxVeridaneGui::OnZoomIn);
    on(m_Form.actionZoomOut, &CBxVeridaneGui::OnZoomOut);
    on(m_Form.actionFit, &CBxVeridaneGui::OnFitToWindow);
    on(m_Form.actionOriginalSize, &CBxVeridaneGui::OnOriginalSize);
    on(m_Form.actionSign, &CBxVeridaneGui::OnSignImage);
    on(m_Form.actionDetect, &CBxVeridaneGui::OnDetectSign);
    on(m_Form.actionSurvive, &CBxVeridaneGui::OnSurvive);
    on(m_Form.actionBatchSign, &CBxVeridaneGui::OnBatchSign);
    on(m_Form.actionBatchDetect, &CBxVeridaneGui::OnBatchDetect);
    on(m_Form.actionPdfDetect, &CBxVeridaneGui::OnPDFDetect);
    on(m_Form.actionSettings, &CBxVeridaneGui::OnAppSettings);
    on(m_Form.actionHelp, &CBxVeridaneGui::OnHelp);
    on(m_Form.actionGettingStarted, &CBxVeridaneGui::OnGettingStarted);
    on(m_Form.actionWeb, &CBxVeridaneGui::OnWeb);
    on(m_Form.actionAbout, &CBxVeridaneGui::OnAbout);
    connect(m_Form.actionQuit, &QAction::triggered, this, &QWidget::close);
}

void CBxVeridaneGui::ConnectView() {
    const auto onKey = [this](Qt::Key key, void (CBxVeridaneGui::*slot)()) {
        connect(new QShortcut(key, this), &QShortcut::activated, this, slot);
    };
    onKey(Qt::Key_Left, &CBxVeridaneGui::OnMoveLeft);
    onKey(Qt::Key_Right, &CBxVeridaneGui::OnMoveRight);
    onKey(Qt::Key_Up, &CBxVeridaneGui::OnMoveUp);
    onKey(Qt::Key_Down, &CBxVeridaneGui::OnMoveDown);
    connect(m_Form.comboZoom, SIGNAL(activated(int)), this, SLOT(OnComboActivated(int)));
    connect(m_Form.comboZoom->lineEdit(), SIGNAL(returnPressed()), this, SLOT(OnComboTextChanged()));
    connect(&m_Form.scrollArea->Image(), &CBxImageArea::ZoomChanged, this, [this](double zoom) {
        m_ShownZoom = m_Open.IsOpen() ? QString::number(qRound(zoom * 100.0)) + "%" : QString();
        // The current entry goes with the text: the box takes a text that is another entry's for a choice from its list
        // as soon as it loses the focus.
        m_Form.comboZoom->setCurrentIndex(m_Form.comboZoom->findText(m_ShownZoom));
        m_Form.comboZoom->setEditText(m_ShownZoom);
    });
    // Once the drop is over: opening may ask, and the other program waits for the end of the drop.
    connect(
        m_Form.scrollArea, &CBxScrollArea::FileDropped, this,
        [this](const QString& path) {
            if (QApplication::activeModalWidget() == nullptr) {
                activateWindow();
                OpenPicture(path);
            }
        },
        Qt::QueuedConnection);
}

void CBxVeridaneGui::RestorePlace() {
    const CBxRect<std::int32_t>& window = m_pConfig->m_WindowRect;
    QRect place(window.left, window.top, std::max(window.right - window.left, 1),
                std::max(window.bottom - window.top, 1));
    if (!IsOnAScreen(place) && QGuiApplication::primaryScreen() != nullptr) {
        place.moveCenter(QGuiApplication::primaryScreen()->availableGeometry().center());
    }
    setGeometry(place);
    addToolBar(ToolBarAreaOf(m_pConfig->m_iToolbarArea), m_Form.mainToolBar);
}

void CBxVeridaneGui::RememberPlace() {
    const QRect place = isMaximized() || isFullScreen() ? normalGeometry() : geometry();
    m_pConfig->m_WindowRect = {place.left(), place.top(), place.left() + place.width(), place.top() + place.height()};
    m_pConfig->m_iToolbarArea = toolBarArea(m_Form.mainToolBar);
}

void CBxVeridaneGui::RetranslateUi() {
    m_Form.retranslateUi();
    UpdateWindowTitle();
    UpdateStatusBar();
    SetNote(QString());
}

void CBxVeridaneGui::UpdateWindowTitle() {
    QString title = "Veridane";
    if (m_Open.IsOpen()) {
        title = "Veridane -" + BX_ExtractFileName(m_Open.path);
        title += m_Open.isModified ? " - SIGNED" : "";
    }
    setWindowTitle(title);
}

void CBxVeridaneGui::UpdateStatusBar() {
    m_Form.labelStatus->setText(m_Open.IsOpen() ? BX_Text("Click and drag to move image, Double click to zoom to best "
                                                          "fit, Use mouse wheel to zoom")
                                                : BX_Text("Press Ctrl+O to open an image"));
}

void CBxVeridaneGui::UpdateActions() {
    m_Form.EnablePictureActions(m_Open.IsOpen());
    UpdateWindowTitle();
    UpdateStatusBar();
}

void CBxVeridaneGui::SetNote(const QString& text) {
    m_Form.labelNote->setText(text);
}

void CBxVeridaneGui::showEvent(QShowEvent* event) {
    QMainWindow::showEvent(event);
    if (m_pConfig->m_bCrashedAtLastRun && !m_pConfig->m_bFirstRun && !m_bCrashWarned) {
        m_bCrashWarned = true;
        QTimer::singleShot(0, this, &CBxVeridaneGui::WarnAboutCrash);
    }
}

void CBxVeridaneGui::WarnAboutCrash() {
    BX_ShowMessage(this, BX_Text("Warning"),
                   "<b>" + BX_Text("The application crashed last time.") + "</b><br><br>" +
                       BX_Text("It might be caused by insufficient memory. Please lower the number of used cores "
                               "(Options), or crop the image."),
                   true);
}

void CBxVeridaneGui::closeEvent(QCloseEvent* event) {
    if (!m_bEnding && (IsRunning() || !MayGiveUpPicture())) {
        event->ignore();
        return;
    }
    RememberPlace();
    event->accept();
}

void CBxVeridaneGui::EndNow() {
    m_bEnding = true;
    OnDetectCanceled();
    m_BatchProgress.Cancel();
    RememberPlace();
    QCoreApplication::exit(0);
}
