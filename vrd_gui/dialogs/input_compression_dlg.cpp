#include "input_compression_dlg.h"

#include "dialog_form.h"
#include "gui_text.h"
#include "ui_input_compression_dlg.h"

bool CBxInputCompressionDlg::InputCompression(QWidget* parent, SBxVRDConfig* config) {
    return CBxInputCompressionDlg(parent, config).exec() == Accepted;
}

CBxInputCompressionDlg::CBxInputCompressionDlg(QWidget* parent, SBxVRDConfig* config)
    : QDialog(parent), m_pForm(std::make_unique<Ui::CBxInputCompressionDlg>()), m_pConfig(config) {
    BX_Require(parent != nullptr && config != nullptr);
    m_pForm->setupUi(this);
    BX_PrepareDialog(*this);
    BX_FollowSlider(*m_pForm->sliderCompression, *m_pForm->labelCompressionPct);
    m_pForm->sliderCompression->setValue(config->m_iCompression);
    m_pForm->sliderCompression->setFocus();
    connect(m_pForm->buttonOK, &QPushButton::clicked, this, &CBxInputCompressionDlg::accept);
    connect(m_pForm->buttonCancel, &QPushButton::clicked, this, &CBxInputCompressionDlg::reject);
}

CBxInputCompressionDlg::~CBxInputCompressionDlg() = default;

void CBxInputCompressionDlg::accept() {
    m_pConfig->m_iCompression = m_pForm->sliderCompression->value();
    if (m_pForm->checkDontShow->isChecked()) {
        m_pConfig->m_bAskCompression = false;
    }
    QDialog::accept();
}
