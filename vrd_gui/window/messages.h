// Questions and messages of the main window.
#pragma once

#include <QString>
#include <QWidget>

// A message with an OK button. `text` is rich text when `isRich`.
void BX_ShowMessage(QWidget* parent, const QString& title, const QString& text, bool isRich = false);

// "Cannot read the file:", its name, and why. `reason` may be empty.
void BX_ShowFileFault(QWidget* parent, const QString& what, const QString& path, const QString& reason);

// "Yes" or "No", which is what Enter and Escape say. `text` is rich text.
bool BX_Ask(QWidget* parent, const QString& title, const QString& text);
