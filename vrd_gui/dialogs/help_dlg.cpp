#include "help_dlg.h"

#include <QDesktopServices>
#include <QDir>
#include <QFileInfo>
#include <QIcon>
#include <QScreen>

#include "dialog_form.h"
#include "gui_text.h"
#include "ui_help_dlg.h"

namespace {

constexpr char kHomePage[] = "index.html";
constexpr char kIndexPage[] = "contents.html";  // the pane beside the page
constexpr QSize kUsualSize(920, 680);
constexpr double kPageMargin = 12.0;

}  // namespace

void CBxHelp::DisplayHelp(QWidget* parent, const char* page, const char* bundleFolder) {
    CBxHelp(parent, page, bundleFolder).exec();
}

CBxHelp::CBxHelp(QWidget* parent, const char* page, const char* bundleFolder)
    : QDialog(parent),
      m_pForm(std::make_unique<Ui::CBxHelp>()),
      m_Folder(QFileInfo(QString::fromUtf8(bundleFolder) + "doc").canonicalFilePath()) {
    m_pForm->setupUi(this);
    BX_PrepareDialog(*this);
    m_pForm->buttonBackward->setIcon(QIcon(":/res/png/BACKWARD"));
    m_pForm->buttonForward->setIcon(QIcon(":/res/png/FORWARD"));
    m_pForm->buttonHome->setIcon(QIcon(":/res/png/HOME"));
    for (QToolButton* const button : {m_pForm->buttonBackward, m_pForm->buttonForward, m_pForm->buttonHome}) {
        button->setIconSize(QSize(22, 22));
        button->setAccessibleName(button->toolTip());
    }
    m_pForm->buttonBackward->setShortcut(QKeySequence::Back);
    m_pForm->buttonForward->setShortcut(QKeySequence::Forward);
    m_pForm->splitter->setStretchFactor(1, 1);
    m_pForm->splitter->setSizes({kUsualSize.width() / 4, kUsualSize.width()});
    for (QTextBrowser* const pane : {m_pForm->textIndex, m_pForm->textBrowser}) {
        pane->document()->setDocumentMargin(kPageMargin);
    }
    setWindowFlag(Qt::WindowMaximizeButtonHint);
    resize(kUsualSize.boundedTo(screen()->availableSize()));
    Connect();
    ShowIndex();
    ShowPage(QString::fromUtf8(page));
    m_pForm->textBrowser->setFocus();
}

CBxHelp::~CBxHelp() = default;

void CBxHelp::Connect() {
    QTextBrowser* const browser = m_pForm->textBrowser;
    m_pForm->buttonBackward->setEnabled(false);
    m_pForm->buttonForward->setEnabled(false);
    connect(browser, &QTextBrowser::backwardAvailable, m_pForm->buttonBackward, &QWidget::setEnabled);
    connect(browser, &QTextBrowser::forwardAvailable, m_pForm->buttonForward, &QWidget::setEnabled);
    connect(m_pForm->buttonBackward, &QToolButton::clicked, browser, &QTextBrowser::backward);
    connect(m_pForm->buttonForward, &QToolButton::clicked, browser, &QTextBrowser::forward);
    connect(m_pForm->buttonHome, &QToolButton::clicked, this, [this] { ShowPage(kHomePage); });
    connect(browser, &QTextBrowser::anchorClicked, this, &CBxHelp::OnLink);
    connect(m_pForm->textIndex, &QTextBrowser::anchorClicked, this, &CBxHelp::OnLink);
    connect(m_pForm->buttonClose, &QPushButton::clicked, this, &CBxHelp::accept);
}

void CBxHelp::ShowIndex() {
    const QString path = m_Folder + "/" + kIndexPage;
    if (QFileInfo(path).isFile()) {
        m_pForm->textIndex->setSource(QUrl::fromLocalFile(path));
    } else {
        m_pForm->textIndex->hide();
    }
}

// The file that a link leads to; empty when it is none of the manual.
QString CBxHelp::PathInManual(const QUrl& link) const {
    const QString path = QFileInfo(link.toLocalFile()).canonicalFilePath();
    return !m_Folder.isEmpty() && path.startsWith(m_Folder + "/") && QFileInfo(path).isFile() ? path : QString();
}

void CBxHelp::ShowPage(const QString& name) {
    OnLink(QUrl::fromLocalFile(m_Folder + "/" + name));
}

void CBxHelp::OnLink(const QUrl& link) {
    if (link.scheme() == "http" || link.scheme() == "https" || link.scheme() == "mailto") {
        QDesktopServices::openUrl(link);
        return;
    }
    const QString path = PathInManual(link);
    if (path.isEmpty()) {
        const QString message = BX_FilledText("This page of the manual is missing: %s", {link.fileName()});
        m_pForm->textBrowser->setHtml("<p>" + message.toHtmlEscaped() + "</p>");
        return;
    }
    QUrl page = QUrl::fromLocalFile(path);
    page.setFragment(link.fragment());
    m_pForm->textBrowser->setSource(page);
}
