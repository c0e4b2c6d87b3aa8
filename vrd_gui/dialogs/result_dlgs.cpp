#include "result_dlgs.h"

#include <QPushButton>

#include "dialog_form.h"
#include "ui_batch_detect_result_dlg.h"
#include "ui_result_dlg.h"

namespace {

constexpr double kTitleScale = 1.2;
constexpr double kSignScale = 1.8;
constexpr int kSearchHarder = QDialog::Accepted + 1;

// A line that has nothing to say takes no room.
void ShowLine(QLabel& label, const char* text) {
    label.setText(QString::fromUtf8(text));
    label.setVisible(!label.text().isEmpty());
}

}  // namespace

void CBxResultDlg::ShowSign(QWidget* parent, const char* title, const char* sign, const char* detail) {
    CBxResultDlg(parent, title, sign, detail).exec();
}

bool CBxResultDlg::OfferHarderSearch(QWidget* parent, const char* title, const char* detail) {
    return CBxResultDlg(parent, title, "", detail, true).exec() == kSearchHarder;
}

CBxResultDlg::CBxResultDlg(QWidget* parent, const char* title, const char* sign, const char* detail, bool offersHarder)
    : QDialog(parent), m_pForm(std::make_unique<Ui::CBxResultDlg>()) {
    m_pForm->setupUi(this);
    BX_PrepareDialog(*this);
    BX_Emphasize(*m_pForm->labelTitle, kTitleScale);
    QFont bold = m_pForm->labelTitle->font();
    bold.setBold(true);
    m_pForm->labelTitle->setFont(bold);
    BX_Emphasize(*m_pForm->labelSign, kSignScale);
    BX_MakeQuiet(*m_pForm->labelDetail);
    ShowLine(*m_pForm->labelTitle, title);
    ShowLine(*m_pForm->labelSign, sign);
    ShowLine(*m_pForm->labelDetail, detail);
    m_pForm->pushButton->setFocus();
    m_pForm->buttonHarder->setVisible(offersHarder);
    connect(m_pForm->pushButton, &QPushButton::clicked, this, &CBxResultDlg::accept);
    connect(m_pForm->buttonHarder, &QPushButton::clicked, this, [this] { done(kSearchHarder); });
}

CBxResultDlg::~CBxResultDlg() = default;

void CBxBatchDetectResultDlg::ShowSign(QWidget* parent, const char* message, const char* logPath, const char* detail) {
    CBxBatchDetectResultDlg(parent, message, logPath, detail).exec();
}

CBxBatchDetectResultDlg::CBxBatchDetectResultDlg(QWidget* parent, const char* message, const char* logPath,
                                                 const char* detail)
    : QDialog(parent), m_pForm(std::make_unique<Ui::CBxBatchDetectResultDlg>()), m_LogPath(QString::fromUtf8(logPath)) {
    m_pForm->setupUi(this);
    BX_PrepareDialog(*this);
    BX_Emphasize(*m_pForm->labelResult, kTitleScale);
    BX_MakeQuiet(*m_pForm->labelDetail);
    ShowLine(*m_pForm->labelResult, message);
    ShowLine(*m_pForm->labelDetail, detail);
    m_pForm->labelLogInfo->setText(m_LogPath);
    m_pForm->groupLog->setVisible(!m_LogPath.isEmpty());
    m_pForm->buttonOpenLog->setVisible(!m_LogPath.isEmpty());
    m_pForm->buttonClose->setFocus();
    connect(m_pForm->buttonClose, &QPushButton::clicked, this, &CBxBatchDetectResultDlg::accept);
    connect(m_pForm->buttonOpenLog, &QPushButton::clicked, this, [this] { BX_OpenOnDesktop(this, m_LogPath); });
}

CBxBatchDetectResultDlg::~CBxBatchDetectResultDlg() = default;
