// What the dialogs have in common.
#pragma once

#include <QDialog>
#include <QLabel>
#include <QPixmap>
#include <QSlider>
#include <QString>

// Translates every text of a form that the form file has set: titles, labels, buttons, tool tips. Then gives buttons
// and labels of input fields a key each (Alt and a letter of their text), no letter twice. Call it again, after the
// form's own retranslateUi, when the language has changed.
void BX_TranslateForm(QWidget& form);

// Gives a dialog its icon and translates its form. For the constructor, directly after setupUi.
void BX_PrepareDialog(QDialog& dialog);

// Opens a file or folder (absolute path) with the program that the desktop has for it. When the desktop has none, the
// user is told the path, so that he can open it himself.
void BX_OpenOnDesktop(QWidget* parent, const QString& path);

// Makes a label's text larger than those around it, or quieter.
void BX_Emphasize(QWidget& label, double scale);
void BX_MakeQuiet(QWidget& label);

// Keeps a label at the value of a slider, as a percentage, and wide enough for 100 %.
void BX_FollowSlider(QSlider& slider, QLabel& label);
void BX_ShowPercentage(QLabel& label, int value);

// A picture of the resources for a screen of the given density (device pixels in a pixel).
QPixmap BX_LoadPixmap(const QString& name, double density);

// Stops the program when the condition does not hold, in every build: for faults of the calling code.
void BX_Require(bool condition);
