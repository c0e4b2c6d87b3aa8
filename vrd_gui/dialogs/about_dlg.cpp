#include "about_dlg.h"

#include <QApplication>
#include <QPixmap>
#include <QSysInfo>

#include "dialog_form.h"
#include "gui_text.h"
#include "ui_about_dlg.h"

namespace {

constexpr double kNameScale = 1.8;

QString VersionLine() {
    return BX_Text("Version:") + " 3.5 (" + BX_Text("Mac Os X 32-bit") + ") " + BX_Text("build:") + " 26";
}

QString PlatformLine() {
    return BX_FilledText("Running on %s (%s) with Qt %s",
                         {QSysInfo::prettyProductName(), QSysInfo::currentCpuArchitecture(), qVersion()});
}

QString IconLine() {
    const QString library = BX_Text("icons of the Tango icon library, which are in the public domain");
    return BX_Text("This application uses").toHtmlEscaped() + " <a href='http://tango.freedesktop.org/'>" +
           library.toHtmlEscaped() + "</a>";
}

}  // namespace

CBxAboutDlg::CBxAboutDlg(QWidget* parent) : QDialog(parent), m_pForm(std::make_unique<Ui::CBxAboutDlg>()) {
    m_pForm->setupUi(this);
    BX_PrepareDialog(*this);
    m_pForm->labelImage->setPixmap(BX_LoadPixmap(":/res/images/LOGO_COLOR", devicePixelRatioF()));
    BX_Emphasize(*m_pForm->labelApplication, kNameScale);
    m_pForm->labelVersion->setText(VersionLine());
    m_pForm->labelPlatform->setText(PlatformLine());
    m_pForm->labelQt->setText(BX_Text("Based on Qt library"));
    m_pForm->labelIcons->setText(IconLine());
    m_pForm->labelHomePage->setText(BX_Text("The manual opens with F1."));
    m_pForm->buttonClose->setFocus();
    connect(m_pForm->buttonQt, &QPushButton::clicked, qApp, &QApplication::aboutQt);
    connect(m_pForm->buttonClose, &QPushButton::clicked, this, &CBxAboutDlg::accept);
}

CBxAboutDlg::~CBxAboutDlg() = default;
