#include "survival_dlg.h"

#include <QDialogButtonBox>
#include <QFile>
#include <QFileDialog>
#include <QPushButton>
#include <QScreen>
#include <QTextBrowser>
#include <QVBoxLayout>

#include "dialog_form.h"
#include "file_replacement.h"
#include "gui_text.h"
#include "messages.h"
#include "output_target.h"
#include "result.h"

namespace {

constexpr QSize kUsualSize(1000, 760);
constexpr double kPageMargin = 16.0;

std::string WriteFile(const std::string& path, const std::string& bytes) {
    std::string fault = BX_GetPageFault(path, std::string(), true);
    if (!fault.empty()) {
        return fault;
    }
    CBxFileReplacement file;
    const bool isWritten = file.Begin(path.c_str()) == kBxSuccess &&
                           file.Write(bytes.data(), bytes.size()) == kBxSuccess && file.Commit() == kBxSuccess;
    return isWritten ? std::string() : file.Reason();
}

// Its own colours are those of paper, whatever the desktop's.
QTextBrowser* MakeBrowser(QWidget* parent, const std::string& page) {
    auto* const browser = new QTextBrowser(parent);
    browser->setObjectName("textPage");
    QPalette palette = browser->palette();
    palette.setColor(QPalette::Base, Qt::white);
    palette.setColor(QPalette::Text, Qt::black);
    browser->setPalette(palette);
    browser->setOpenLinks(false);
    browser->setHtml(QString::fromStdString(page));
    browser->document()->setDocumentMargin(kPageMargin);
    return browser;
}

}  // namespace

void CBxSurvivalDlg::ShowPage(QWidget* parent, const std::string& page, const QString& folder) {
    CBxSurvivalDlg(parent, page, folder).exec();
}

CBxSurvivalDlg::CBxSurvivalDlg(QWidget* parent, const std::string& page, const QString& folder)
    : QDialog(parent), m_strPage(page), m_Folder(folder) {
    setObjectName("CBxSurvivalDlg");
    setWindowTitle(BX_Text("What the sign survives"));
    setWindowFlag(Qt::WindowMaximizeButtonHint);
    auto* const buttons = new QDialogButtonBox(this);
    QPushButton* const save = buttons->addButton(BX_Text("&Save As..."), QDialogButtonBox::ActionRole);
    save->setObjectName("buttonSave");
    QPushButton* const close = buttons->addButton(BX_Text("Close"), QDialogButtonBox::RejectRole);
    close->setObjectName("buttonClose");
    close->setDefault(true);
    auto* const layout = new QVBoxLayout(this);
    layout->addWidget(MakeBrowser(this, page));
    layout->addWidget(buttons);
    connect(save, &QPushButton::clicked, this, &CBxSurvivalDlg::SavePage);
    connect(close, &QPushButton::clicked, this, &QDialog::reject);
    resize(kUsualSize.boundedTo(screen()->availableSize()));
    close->setFocus();
}

void CBxSurvivalDlg::SavePage() {
    QFileDialog dialog(this, BX_Text("&Save As...").remove('&'), m_Folder, "HTML (*.html)");
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setDefaultSuffix("html");
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) {
        return;
    }
    const QString path = dialog.selectedFiles().constFirst();
    const std::string fault = WriteFile(QFile::encodeName(path).toStdString(), m_strPage);
    if (!fault.empty()) {
        BX_ShowFileFault(this, BX_Text("Cannot save the page:"), path, BX_ReasonText(fault.c_str()));
    }
}
