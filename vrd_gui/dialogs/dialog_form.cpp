#include "dialog_form.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QDesktopServices>
#include <QDialogButtonBox>
#include <QFileInfo>
#include <QGroupBox>
#include <QIcon>
#include <QMessageBox>
#include <QPushButton>
#include <QSet>
#include <QUrl>

#include "gui_text.h"

namespace {

constexpr int kDarkLightness = 128;

QString Translated(const QString& english) {
    return english.isEmpty() ? english : BX_Text(english.toUtf8().constData());
}

// Where in the text the letter for Alt may stand: at the start of a word, otherwise anywhere. -1: no letter is free.
qsizetype KeyPosition(const QString& text, const QSet<QChar>& taken) {
    qsizetype inside = -1;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (!text.at(i).isLetter() || taken.contains(text.at(i).toLower())) {
            continue;
        }
        if (i == 0 || !text.at(i - 1).isLetterOrNumber()) {
            return i;
        }
        inside = inside < 0 ? i : inside;
    }
    return inside;
}

// "&" stands for itself in a file's text only when doubled.
QString WithKey(QString text, QSet<QChar>& taken) {
    if (text.contains('&')) {
        return text;
    }
    const qsizetype position = KeyPosition(text, taken);
    if (position >= 0) {
        taken.insert(text.at(position).toLower());
        text.insert(position, '&');
    }
    return text;
}

// Return and Escape are the keys of these.
bool ClosesDialog(const QAbstractButton& button) {
    const QString name = button.objectName();
    const auto* const push = qobject_cast<const QPushButton*>(&button);
    return (push != nullptr && push->isDefault()) ||
           qobject_cast<QDialogButtonBox*>(button.parentWidget()) != nullptr || name == "buttonOK" ||
           name.endsWith("Cancel") || name.endsWith("Close");
}

void GiveKeys(QWidget& form) {
    QSet<QChar> taken;
    for (QLabel* const label : form.findChildren<QLabel*>()) {
        if (label->buddy() != nullptr) {
            label->setText(WithKey(label->text(), taken));
        }
    }
    for (QAbstractButton* const button : form.findChildren<QAbstractButton*>()) {
        if (!ClosesDialog(*button)) {
            button->setText(WithKey(button->text(), taken));
        }
    }
}

// Styles draw the frame of a check box in a darker shade of the window's colour: on a dark window nobody sees it.
void MakeBoxesVisible(QWidget& form) {
    for (QCheckBox* const box : form.findChildren<QCheckBox*>()) {
        QPalette palette = box->palette();
        if (palette.color(QPalette::Window).lightness() < kDarkLightness) {
            palette.setColor(QPalette::Window, palette.color(QPalette::WindowText));
            box->setPalette(palette);
        }
    }
}

}  // namespace

void BX_TranslateForm(QWidget& form) {
    form.setWindowTitle(Translated(form.windowTitle()));
    for (QWidget* const widget : form.findChildren<QWidget*>()) {
        widget->setToolTip(Translated(widget->toolTip()));
        if (auto* const label = qobject_cast<QLabel*>(widget)) {
            label->setText(Translated(label->text()));
        } else if (auto* const button = qobject_cast<QAbstractButton*>(widget)) {
            button->setText(Translated(button->text()));
        } else if (auto* const box = qobject_cast<QGroupBox*>(widget)) {
            box->setTitle(Translated(box->title()));
        }
    }
    GiveKeys(form);
}

void BX_PrepareDialog(QDialog& dialog) {
    dialog.setWindowIcon(QIcon(":/res/png/VRD_ICON"));
    BX_TranslateForm(dialog);
    MakeBoxesVisible(dialog);
}

void BX_OpenOnDesktop(QWidget* parent, const QString& path) {
    // The path goes behind "file:///" as it is. Taken apart as a text it would lose what stands behind a "#" or a "?".
    QUrl url;
    url.setScheme("file");
    url.setHost("");
    url.setPath("/" + path, QUrl::DecodedMode);
    if (QDesktopServices::openUrl(url)) {
        return;
    }
    QMessageBox box(QMessageBox::Information, BX_Text("Veridane"),
                    BX_Text("The desktop could not open this. You find it here:") + "\n" + path, QMessageBox::Ok,
                    parent);
    box.setTextFormat(Qt::PlainText);
    box.setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    box.exec();
}

void BX_Emphasize(QWidget& label, double scale) {
    QFont font = label.font();
    font.setPointSizeF(font.pointSizeF() * scale);
    label.setFont(font);
}

void BX_MakeQuiet(QWidget& label) {
    BX_Emphasize(label, 0.9);
    QPalette palette = label.palette();
    QColor colour = palette.color(QPalette::WindowText);
    colour.setAlphaF(0.75f);
    palette.setColor(QPalette::WindowText, colour);
    label.setPalette(palette);
}

void BX_ShowPercentage(QLabel& label, int value) {
    label.setText(BX_FilledText("%d%%", {QString::number(value)}));
}

void BX_FollowSlider(QSlider& slider, QLabel& label) {
    BX_ShowPercentage(label, slider.maximum());
    label.setMinimumWidth(label.sizeHint().width());
    BX_ShowPercentage(label, slider.value());
    QObject::connect(&slider, &QSlider::valueChanged, &label, [&label](int value) { BX_ShowPercentage(label, value); });
}

QPixmap BX_LoadPixmap(const QString& name, double density) {
    const QString fine = name + "@2x";
    QPixmap picture(density > 1.0 && QFileInfo::exists(fine) ? fine : name);
    picture.setDevicePixelRatio(density > 1.0 && QFileInfo::exists(fine) ? 2.0 : 1.0);
    return picture;
}

void BX_Require(bool condition) {
    if (!condition) {
        qFatal("a dialog was opened without its parent or its settings");
    }
}
