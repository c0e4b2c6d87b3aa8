// Leads the program through its windows, on a real screen, and leaves a picture of each for somebody to look at.
//
//   veridane_walk PHOTO FOLDER [LANGUAGE-INDEX [light|dark]]
#include <QApplication>
#include <QDir>
#include <QFileDialog>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QScreen>
#include <QStyleFactory>
#include <QTest>
#include <QTextBrowser>
#include <QTimer>
#include <QWindow>
#include <clocale>
#include <cstdio>
#include <deque>
#include <functional>

#include "about_dlg.h"
#include "help_dlg.h"
#include "input_compression_dlg.h"
#include "input_sign_dlg.h"
#include "interface_language.h"
#include "progress_dlgs.h"
#include "result_dlgs.h"
#include "search_options_dlg.h"
#include "start_up.h"
#include "survival_dlg.h"
#include "veridane_gui.h"
#include "vrd_settings.h"

namespace {

constexpr int kSettleMilliseconds = 500;  // for the window manager to draw
constexpr int kMostLooks = 240;

// Waits for one window after the other, photographs the screen, and acts.
class CWalk : public QObject {
public:
    explicit CWalk(QString folder) : m_Folder(std::move(folder)) {}

    void When(const char* name, std::function<bool()> isThere, std::function<void()> act) {
        m_Steps.push_back({name, std::move(isThere), std::move(act)});
    }
    template <typename Dialog>
    void On(const char* name, std::function<void(Dialog&)> act) {
        When(
            name, [] { return qobject_cast<Dialog*>(QApplication::activeModalWidget()) != nullptr; },
            [act] { act(*qobject_cast<Dialog*>(QApplication::activeModalWidget())); });
    }
    void Start() { Next(); }

private:
    struct SStep {
        const char* name;
        std::function<bool()> isThere;
        std::function<void()> act;
    };

    void Next() {
        QTimer::singleShot(kSettleMilliseconds, this, [this] { Look(); });
    }

    void Look() {
        if (m_Steps.empty()) {
            QApplication::exit(0);
            return;
        }
        if (!m_Steps.front().isThere()) {
            if (++m_iLooks > kMostLooks) {
                std::fprintf(stderr, "waited in vain for %s\n", m_Steps.front().name);
                QApplication::exit(1);
                return;
            }
            Next();
            return;
        }
        m_iLooks = 0;
        QTimer::singleShot(kSettleMilliseconds, this, [this] { Act(); });
    }

    void Act() {
        const SStep step = m_Steps.front();
        m_Steps.pop_front();
        const QString file = QString("%1/%2-%3.png").arg(m_Folder).arg(++m_iNumber, 2, 10, QChar('0')).arg(step.name);
        QGuiApplication::primaryScreen()->grabWindow(0).save(file);
        Next();
        if (step.isThere()) {
            step.act();
        }
    }

    QString m_Folder;
    std::deque<SStep> m_Steps;
    int m_iLooks = 0;
    int m_iNumber = 0;
};

void UsePalette(bool isDark) {
    QApplication::setStyle(QStyleFactory::create("Fusion"));
    if (!isDark) {
        return;
    }
    QPalette palette(QColor(45, 45, 48), QColor(45, 45, 48));
    palette.setColor(QPalette::Base, QColor(30, 30, 32));
    palette.setColor(QPalette::Highlight, QColor(60, 110, 180));
    palette.setColor(QPalette::Link, QColor(120, 170, 240));
    for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
        palette.setColor(role, QColor(230, 230, 230));
        palette.setColor(QPalette::Disabled, role, QColor(120, 120, 120));
    }
    QApplication::setPalette(palette);
}

bool HasNoModal() {
    return QApplication::activeModalWidget() == nullptr;
}

void PlanSigning(CWalk& walk, CBxVeridaneGui& window, const QString& photo, const QString& output) {
    const auto press = [&window](const char* action) { window.findChild<QAction*>(action)->trigger(); };
    walk.When(
        "empty", [&window] { return HasNoModal() && window.windowHandle()->isExposed(); },
        [&window, photo] { window.OpenPicture(photo); });
    walk.When("opened", HasNoModal, [press] { press("actionDetect"); });
    walk.On<CBxResultDlg>("nothing-found", [](CBxResultDlg& dialog) { dialog.reject(); });
    walk.When("after-searching", HasNoModal, [press] { press("actionBatchDetect"); });
    walk.On<QFileDialog>("folder", [](QFileDialog& dialog) { QMetaObject::invokeMethod(&dialog, "accept"); });
    walk.On<CBxSearchOptionsDlg>("how-to-search", [](CBxSearchOptionsDlg& dialog) { dialog.reject(); });
    walk.When("before-signing", HasNoModal, [press] { press("actionSign"); });
    walk.On<CBxInputSignDlg>("sign", [](CBxInputSignDlg& dialog) {
        auto* const line = dialog.findChild<QLineEdit*>("lineEditInputSign");
        line->selectAll();
        QTest::keyClicks(line, "Veri 2026");
        QTimer::singleShot(kSettleMilliseconds, &dialog, [line] { QTest::keyClick(line, Qt::Key_Return); });
    });
    // A fast machine is through before this is looked at, and shows the message already.
    walk.When(
        "progress",
        [] { return !HasNoModal() && qobject_cast<CBxInputSignDlg*>(QApplication::activeModalWidget()) == nullptr; },
        [] {});
    walk.On<QMessageBox>("signed", [](QMessageBox& box) { box.accept(); });
    walk.When("after-signing", HasNoModal, [press] { press("actionSave"); });
    walk.On<QFileDialog>("save", [output](QFileDialog& dialog) {
        auto* const line = dialog.findChild<QLineEdit*>("fileNameEdit");
        line->setText(output);
        QTest::keyClick(line, Qt::Key_Return);
    });
    walk.On<CBxInputCompressionDlg>("quality", [](CBxInputCompressionDlg& dialog) { dialog.accept(); });
    walk.When(
        "saved", [&window] { return HasNoModal() && !window.windowTitle().endsWith("SIGNED"); },
        [press] { press("actionDetect"); });
    walk.On<CBxResultDlg>("result", [](CBxResultDlg& dialog) { dialog.reject(); });
}

void PlanTheRest(CWalk& walk, CBxVeridaneGui& window) {
    const auto press = [&window](const char* action) { window.findChild<QAction*>(action)->trigger(); };
    walk.When("after-detecting", HasNoModal, [&window] { window.OnComboActivated(3); });
    walk.When("zoomed", HasNoModal, [&window] { window.StartSurvival(BX_GetTrials(true)); });
    walk.On<CBxBatchProgressDlg>("survive-progress", [](CBxBatchProgressDlg&) {});
    walk.On<CBxSurvivalDlg>("survives", [](CBxSurvivalDlg& dialog) {
        dialog.findChild<QTextBrowser*>("textPage")->moveCursor(QTextCursor::End);
    });
    walk.On<CBxSurvivalDlg>("survives-tables", [](CBxSurvivalDlg& dialog) { dialog.reject(); });
    walk.When("after-surviving", HasNoModal, [press] { press("actionSettings"); });
    walk.On<CBxVRDSettings>("settings", [](CBxVRDSettings& dialog) { dialog.reject(); });
    walk.When("after-settings", HasNoModal, [press] { press("actionAbout"); });
    walk.On<CBxAboutDlg>("about", [](CBxAboutDlg& dialog) { dialog.reject(); });
    walk.When("after-about", HasNoModal, [press] { press("actionHelp"); });
    walk.On<CBxHelp>("help", [](CBxHelp& dialog) { dialog.reject(); });
    const QList<QAction*> menus = window.menuBar()->actions();
    for (QAction* menu : menus) {
        walk.When("closed-menu", HasNoModal, [&window, menu] { window.menuBar()->setActiveAction(menu); });
        walk.When(
            "menu", [menu] { return menu->menu()->isVisible(); }, [menu] { menu->menu()->close(); });
    }
}

}  // namespace

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    std::setlocale(LC_NUMERIC, "C");
    if (argc < 3) {
        std::fputs("veridane_walk PHOTO FOLDER [LANGUAGE-INDEX [light|dark]]\n", stderr);
        return 2;
    }
    const QString folder = QDir(argv[2]).absolutePath();
    QDir().mkpath(folder);
    SBxVRDConfig config;
    config.m_bFirstRun = false;
    config.m_iMaxThreads = 2;
    config.m_iLangIndex = argc > 3 ? std::atoi(argv[3]) : 0;
    config.m_WindowRect = {40, 60, 1040, 760};
    std::snprintf(config.m_szLatestFolder, sizeof(config.m_szLatestFolder), "%s", argv[2]);
    std::snprintf(config.m_szBundleFolder, sizeof(config.m_szBundleFolder), "%s", VERIDANE_BUNDLE);
    UsePalette(argc > 4 && std::string(argv[4]) == "dark");
    BX_StartLocalization(config, false);
    CBxVeridaneGui window(nullptr, &config);
    window.show();
    CWalk walk(folder);
    PlanSigning(walk, window, QDir::current().absoluteFilePath(argv[1]), folder + "/walk-signed.jpg");
    PlanTheRest(walk, window);
    walk.Start();
    const int code = QApplication::exec();
    std::remove((folder + "/walk-signed.jpg").toUtf8().constData());
    return code;
}
