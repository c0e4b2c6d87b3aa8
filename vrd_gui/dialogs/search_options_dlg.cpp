#include "search_options_dlg.h"

#include <QDir>

#include "dialog_form.h"
#include "ui_search_options_dlg.h"

bool CBxSearchOptionsDlg::AskHow(QWidget* parent, const QString& title, const QString& path, bool& isHarder) {
    CBxSearchOptionsDlg dialog(parent, title, path);
    if (dialog.exec() != Accepted) {
        return false;
    }
    isHarder = dialog.IsHarder();
    return true;
}

CBxSearchOptionsDlg::CBxSearchOptionsDlg(QWidget* parent, const QString& title, const QString& path)
    : QDialog(parent), m_pForm(std::make_unique<Ui::CBxSearchOptionsDlg>()) {
    m_pForm->setupUi(this);
    BX_PrepareDialog(*this);
    setWindowTitle(title);
    m_pForm->labelPath->setText(QDir::toNativeSeparators(path));
    BX_MakeQuiet(*m_pForm->labelHint);
    m_pForm->buttonOK->setFocus();
    connect(m_pForm->buttonOK, &QPushButton::clicked, this, &CBxSearchOptionsDlg::accept);
    connect(m_pForm->buttonCancel, &QPushButton::clicked, this, &CBxSearchOptionsDlg::reject);
}

CBxSearchOptionsDlg::~CBxSearchOptionsDlg() = default;

bool CBxSearchOptionsDlg::IsHarder() const {
    return m_pForm->checkHarder->isChecked();
}
