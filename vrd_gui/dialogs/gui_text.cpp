#include "gui_text.h"

#include <QtGlobal>

#include "localization.h"

// The linker leaves the icons of this library out unless something speaks of them, and everything that has an icon has
// a text.
static const bool g_ResourcesAreLinked = [] {
    Q_INIT_RESOURCE(veridane);
    return true;
}();

QString BX_Text(const char* english) {
    return QString::fromUtf8(CBxLocalization::Translate(english));
}

QString BX_FilledText(const char* english, std::initializer_list<QString> values) {
    const QString text = BX_Text(english);
    QString filled;
    const QString* value = values.begin();
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar next = text.at(i) == '%' && i + 1 < text.size() ? text.at(i + 1) : QChar();
        const bool isPlace = (next == 'd' || next == 's') && value != values.end();
        filled += isPlace ? *value : QString(text.at(i));
        value += isPlace ? 1 : 0;
        i += isPlace || next == '%' ? 1 : 0;
    }
    return filled;
}

QString BX_ReasonText(const char* reason) {
    const QByteArray whole(reason);
    qsizetype end = whole.indexOf(": ");
    const qsizetype bracket = whole.indexOf(" (");
    end = end < 0 || (bracket >= 0 && bracket < end) ? bracket : end;
    return end < 0 ? BX_Text(reason) : BX_Text(whole.left(end).constData()) + QString::fromUtf8(whole.mid(end));
}
