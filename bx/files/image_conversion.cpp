#include "image_conversion.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr qsizetype kBandBytes = 1 << 16;  // from twice as much on, Qt shares the work among threads

}  // namespace

QImage BX_ConvertImage(const QImage& image, QImage::Format format) {
    QImage converted(image.size(), format);
    if (image.isNull() || converted.isNull()) {
        return QImage();
    }
    const int bandRows = static_cast<int>(std::max<qsizetype>(1, kBandBytes / image.bytesPerLine()));
    for (int top = 0; top < image.height(); top += bandRows) {
        const int rows = std::min(bandRows, image.height() - top);
        QImage view(image.constScanLine(top), image.width(), rows, image.bytesPerLine(), image.format());
        if (image.colorCount() > 0) {
            view.setColorTable(image.colorTable());
        }
        const QImage band = view.convertToFormat(format);
        if (band.isNull()) {
            return QImage();
        }
        std::memcpy(converted.scanLine(top), band.constBits(), static_cast<std::size_t>(band.sizeInBytes()));
    }
    return converted;
}
