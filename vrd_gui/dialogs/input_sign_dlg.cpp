#include "input_sign_dlg.h"

#include <string.h>

#include <QMessageBox>

#include "dialog_form.h"
#include "gui_text.h"
#include "sign_op.h"
#include "ui_input_sign_dlg.h"

namespace {

constexpr qsizetype kMostCharacters = 10;
constexpr qsizetype kLeastCharacters = 6;

// What a carried text looks like when it is read again.
QByteArray ThroughAlphabet(const QString& text) {
    QByteArray sign = text.toLatin1();
    for (char& character : sign) {
        char code = CBxSignOp::MapCharTo6Bit(character);
        character = CBxSignOp::Map6BitToChar(code);
    }
    return sign;
}

}  // namespace

bool CBxInputSignDlg::InputSign(QWidget* parent, char* buffer, unsigned int size) {
    return CBxInputSignDlg(parent, buffer, size).exec() == Accepted;
}

CBxInputSignDlg::CBxInputSignDlg(QWidget* parent, char* buffer, unsigned int size)
    : QDialog(parent),
      m_pForm(std::make_unique<Ui::CBxInputSignDlg>()),
      m_pBuffer(buffer),
      m_uiSize(size),
      m_Before(buffer, static_cast<qsizetype>(size)) {
    m_pForm->setupUi(this);
    BX_PrepareDialog(*this);
    // Typed text and sign stand below each other, letter below letter.
    QFont font(m_pForm->lineEditInputSign->font());
    font.setFamily("monospace");
    font.setStyleHint(QFont::Monospace);
    m_pForm->lineEditInputSign->setFont(font);
    m_pForm->lineEditOutputSign->setFont(font);
    // A field that takes no typing looks like one.
    QPalette palette = m_pForm->lineEditOutputSign->palette();
    palette.setColor(QPalette::Base, palette.color(QPalette::Window));
    m_pForm->lineEditOutputSign->setPalette(palette);
    const auto length = static_cast<qsizetype>(strnlen(buffer, size));
    m_pForm->lineEditInputSign->setText(QString::fromUtf8(buffer, length));
    m_pForm->lineEditInputSign->selectAll();
    m_pForm->lineEditInputSign->setFocus();
    connect(m_pForm->lineEditInputSign, &QLineEdit::textChanged, this, &CBxInputSignDlg::OnEdit);
    connect(m_pForm->buttonOK, &QPushButton::clicked, this, &CBxInputSignDlg::accept);
    connect(m_pForm->buttonCancel, &QPushButton::clicked, this, &CBxInputSignDlg::reject);
    OnEdit();
}

CBxInputSignDlg::~CBxInputSignDlg() = default;

void CBxInputSignDlg::OnEdit() {
    const QString typed = m_pForm->lineEditInputSign->text();
    const qsizetype left = kMostCharacters - typed.size();
    if (left < 0) {
        return;
    }
    m_pForm->labelCharLeft->setText(BX_FilledText("%d", {QString::number(left)}));
    const QByteArray sign = ThroughAlphabet(typed);
    // What the buffer cannot take is not shown either: the line below is the sign that the caller gets.
    if (static_cast<size_t>(sign.size()) < m_uiSize) {
        memcpy(m_pBuffer, sign.constData(), static_cast<size_t>(sign.size()) + 1);
        m_pForm->lineEditOutputSign->setText(QString::fromLatin1(sign));
    }
}

void CBxInputSignDlg::accept() {
    if (m_pForm->lineEditOutputSign->text().size() < kLeastCharacters) {
        QMessageBox::warning(this, BX_Text("Warning"), BX_Text("Your sign must have 6 characters at least!"));
        m_pForm->lineEditInputSign->setFocus();
        return;
    }
    QDialog::accept();
}

void CBxInputSignDlg::reject() {
    memcpy(m_pBuffer, m_Before.constData(), static_cast<size_t>(m_Before.size()));
    QDialog::reject();
}
