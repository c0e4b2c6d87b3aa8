#include "progress_dlgs.h"

#include <QPushButton>

#include "dialog_form.h"
#include "ui_progress_dlgs.h"
#include "ui_simple_progress_dlg.h"

namespace {

// True for the first request only: the button shows that it was heard.
bool TakeCancel(QPushButton& button) {
    const bool first = button.isEnabled();
    button.setEnabled(false);
    return first;
}

}  // namespace

CBxSimpleProgressDlg::CBxSimpleProgressDlg(QWidget* parent)
    : QDialog(parent), m_pForm(std::make_unique<Ui::CBxSimpleProgressDlg>()) {
    m_pForm->setupUi(this);
    BX_PrepareDialog(*this);
    connect(m_pForm->buttonCancel, &QPushButton::released, this, &CBxSimpleProgressDlg::reject);
}

CBxSimpleProgressDlg::~CBxSimpleProgressDlg() = default;

void CBxSimpleProgressDlg::SetText(const QString& text) {
    m_pForm->labelProgress->setText(text);
}

void CBxSimpleProgressDlg::SetPercentage(int percentage) {
    m_pForm->progressBar->setValue(qBound(0, percentage, 100));
}

void CBxSimpleProgressDlg::reject() {
    if (TakeCancel(*m_pForm->buttonCancel)) {
        emit CancelReleased();
    }
}

CBxBatchProgressDlg::CBxBatchProgressDlg(QWidget* parent, const QString& title)
    : QDialog(parent), m_pForm(std::make_unique<Ui::CBxProgressDlgClass>()) {
    m_pForm->setupUi(this);
    BX_PrepareDialog(*this);
    if (!title.isEmpty()) {
        setWindowTitle(title);
    }
    connect(m_pForm->pushCancel, &QPushButton::released, this, &CBxBatchProgressDlg::reject);
}

CBxBatchProgressDlg::~CBxBatchProgressDlg() = default;

void CBxBatchProgressDlg::ShowCurrent(const QString& name, const QString& step, int percentage) {
    m_pForm->labelCurrent->setText(name);
    m_pForm->labelStep->setText(step);
    m_pForm->progressBarCurrent->setValue(qBound(0, percentage, 100));
}

void CBxBatchProgressDlg::ShowTotal(int percentage) {
    m_pForm->progressBarTotal->setValue(qBound(0, percentage, 100));
}

void CBxBatchProgressDlg::ShowTimes(const QString& elapsed, const QString& estimated) {
    m_pForm->labelElapsedTime->setText(elapsed);
    m_pForm->labelEstimatedTime->setText(estimated);
}

void CBxBatchProgressDlg::reject() {
    if (TakeCancel(*m_pForm->pushCancel)) {
        emit CancelReleased();
    }
}
