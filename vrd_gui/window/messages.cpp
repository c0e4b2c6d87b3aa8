#include "messages.h"

#include <QDir>
#include <QMessageBox>

void BX_ShowMessage(QWidget* parent, const QString& title, const QString& text, bool isRich) {
    QMessageBox box(QMessageBox::Information, title, text, QMessageBox::Ok, parent);
    box.setTextFormat(isRich ? Qt::RichText : Qt::PlainText);
    box.exec();
}

void BX_ShowFileFault(QWidget* parent, const QString& what, const QString& path, const QString& reason) {
    QMessageBox box(QMessageBox::Warning, "Veridane", what, QMessageBox::Ok, parent);
    box.setTextFormat(Qt::PlainText);
    QString details = QDir::toNativeSeparators(path);
    if (!reason.isEmpty()) {
        details += "\n\n" + reason;
    }
    box.setInformativeText(details);
    box.exec();
}

bool BX_Ask(QWidget* parent, const QString& title, const QString& text) {
    QMessageBox box(QMessageBox::Question, title, text, QMessageBox::Yes | QMessageBox::No, parent);
    box.setTextFormat(Qt::RichText);
    box.setDefaultButton(QMessageBox::No);
    box.setEscapeButton(QMessageBox::No);
    return box.exec() == QMessageBox::Yes;
}
