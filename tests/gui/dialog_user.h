// The hands and eyes of a user of dialogs.
#pragma once

#include <QApplication>
#include <QDesktopServices>
#include <QKeyEvent>
#include <QLabel>
#include <QUrl>
#include <stdexcept>
#include <string>

template <typename Widget>
Widget& Find(const QWidget& dialog, const char* name) {
    auto* const widget = dialog.findChild<Widget*>(name);
    if (widget == nullptr) {
        throw std::runtime_error(std::string("the dialog has no ") + name);
    }
    return *widget;
}

inline std::string TextOf(const QWidget& dialog, const char* label) {
    return Find<QLabel>(dialog, label).text().toStdString();
}

// A key press at whatever has the focus, as a keyboard does it.
inline void Press(QWidget& dialog, int key, const QString& text = QString(), Qt::KeyboardModifiers modifiers = {}) {
    QWidget* const target = dialog.focusWidget() != nullptr ? dialog.focusWidget() : &dialog;
    QKeyEvent press(QEvent::KeyPress, key, modifiers, text);
    QApplication::sendEvent(target, &press);
    QKeyEvent release(QEvent::KeyRelease, key, modifiers, text);
    QApplication::sendEvent(target, &release);
}

inline void Type(QWidget& dialog, const QString& text) {
    for (const QChar& letter : text) {
        Press(dialog, letter.toUpper().unicode(), letter);
    }
}

// Takes the place of the desktop.
class CDesktop : public QObject {
    Q_OBJECT

public:
    CDesktop() {
        QDesktopServices::setUrlHandler("file", this, "Open");
        QDesktopServices::setUrlHandler("https", this, "Open");
    }
    ~CDesktop() override {
        QDesktopServices::unsetUrlHandler("file");
        QDesktopServices::unsetUrlHandler("https");
    }

    QList<QUrl> m_Opened;

public slots:
    void Open(const QUrl& url) { m_Opened.append(url); }
};
