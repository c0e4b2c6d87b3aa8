#include "qt_text.h"

#include <string.h>

#include <QByteArray>

namespace {

QString WithSlashes(QString path) {
    return path.replace(QLatin1Char('\\'), QLatin1Char('/'));
}

}  // namespace

char* BX_QStringToUTF8(char* dst, unsigned int size, const QString& text) {
    if (dst == nullptr || size == 0) {
        return nullptr;
    }
    memset(dst, 0, size);
    const QByteArray utf8 = text.toUtf8();
    const std::size_t length = static_cast<std::size_t>(utf8.size());
    memcpy(dst, utf8.constData(), length < size ? length : size);
    return dst;
}

QString BX_UTF8ToQString(const char* text) {
    return QString::fromUtf8(text);
}

QString BX_ExtractPath(const QString& path) {
    return WithSlashes(path).section(QLatin1Char('/'), 0, -2);
}

QString BX_ExtractFileName(const QString& path) {
    return WithSlashes(path).section(QLatin1Char('/'), -1);
}

unsigned char BX_ExtractFileName(char* dst, unsigned int size, const char* path) {
    if (dst == nullptr || size == 0 || path == nullptr) {
        return 1;
    }
    BX_QStringToUTF8(dst, size, BX_ExtractFileName(BX_UTF8ToQString(path)));
    if (dst[size - 1] == '\0') {
        return 0;
    }
    dst[size - 1] = '\0';
    return 1;
}
