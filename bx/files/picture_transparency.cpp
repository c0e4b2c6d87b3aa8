#include "picture_transparency.h"

#include <algorithm>
#include <cstring>

#include "image_conversion.h"

namespace {

// Calls `visit` with every row as ARGB32, not premultiplied, until it returns false. False without memory and when a
// visit ended it.
template <typename Visit>
bool ForEachRow(const QImage& image, Visit visit) {
    for (int row = 0; row < image.height(); ++row) {
        QImage view(image.constScanLine(row), image.width(), 1, image.bytesPerLine(), image.format());
        if (image.colorCount() > 0) {
            view.setColorTable(image.colorTable());
        }
        const QImage converted = BX_ConvertImage(view, QImage::Format_ARGB32);
        if (converted.isNull() || !visit(row, reinterpret_cast<const QRgb*>(converted.constScanLine(0)))) {
            return false;
        }
    }
    return true;
}

int Mix(int component, int background, int alpha) {
    return (component * alpha + background * (255 - alpha) + 127) / 255;
}

}  // namespace

bool BX_IsTransparent(const QImage& image) {
    if (!image.hasAlphaChannel()) {
        return false;
    }
    bool found = false;
    const int width = image.width();
    ForEachRow(image, [&](int, const QRgb* pixels) {
        found = std::any_of(pixels, pixels + width, [](QRgb pixel) { return qAlpha(pixel) < 255; });
        return !found;
    });
    return found;
}

QImage BX_FlattenImage(const QImage& image, QRgb background) {
    QImage flat(image.size(), QImage::Format_RGB888);
    if (flat.isNull()) {
        return flat;
    }
    const int width = image.width();
    const bool isComplete = ForEachRow(image, [&](int row, const QRgb* pixels) {
        uchar* target = flat.scanLine(row);
        for (int column = 0; column < width; ++column, target += 3) {
            const int alpha = qAlpha(pixels[column]);
            target[0] = static_cast<uchar>(Mix(qRed(pixels[column]), qRed(background), alpha));
            target[1] = static_cast<uchar>(Mix(qGreen(pixels[column]), qGreen(background), alpha));
            target[2] = static_cast<uchar>(Mix(qBlue(pixels[column]), qBlue(background), alpha));
        }
        return true;
    });
    return isComplete ? flat : QImage();
}

bool BX_ParseColour(const char* text, QRgb& colour) {
    const QLatin1String name(text);
    // Shorter and longer numbers mean colours of other depths.
    if (name.startsWith(QLatin1Char('#')) && name.size() != 7) {
        return false;
    }
    const QColor parsed = QColor::fromString(name);
    if (!parsed.isValid() || parsed.alpha() != 255) {
        return false;
    }
    colour = parsed.rgb();
    return true;
}
