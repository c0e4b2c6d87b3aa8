#include "image_changes.h"

#include <QBuffer>
#include <QTransform>
#include <algorithm>
#include <cmath>
#include <memory>

#include "convert_picture.h"
#include "image_conversion.h"
#include "large_picture.h"
#include "owned_pic.h"
#include "result.h"

namespace {

QImage Rgb(const QImage& picture) {
    return BX_ConvertImage(picture, QImage::Format_RGB888);
}

bool Enlarge(CBxOwnedPic& target, const SBxPicBuf& source, CBxSize<int> size, double factor) {
    if (target.Allocate(size.width, size.height, 3, 8) != kBxSuccess) {
        return false;
    }
    const CBxPicMap map = {0.5 / factor, 0.5 / factor, 1.0 / factor, 0.0};
    // Each way of sampling reaches farther, and leaves a wider border as it is.
    CBxPicBufAPI::TransformConstant(target.Pic(), source, map);
    CBxPicBufAPI::TransformBilinear(target.Pic(), source, map);
    CBxPicBufAPI::TransformBicubic(target.Pic(), source, map);
    return true;
}

}  // namespace

QImage BX_SaveAsJpeg(const QImage& picture, int quality) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    const bool isSaved = buffer.open(QIODevice::WriteOnly) && picture.save(&buffer, "JPG", quality);
    return isSaved ? Rgb(QImage::fromData(bytes, "JPG")) : QImage();
}

QImage BX_ScaleImage(const QImage& picture, double factor) {
    QImage source = picture;
    const CBxPicBufHolder from(picture.isNull() ? nullptr : CBxConvertPicture::GetPicBufFromQImage(&source));
    if (from == nullptr) {
        return QImage();
    }
    const CBxSize<int> size = {static_cast<int>(std::lround(picture.width() * factor)),
                               static_cast<int>(std::lround(picture.height() * factor))};
    CBxOwnedPic scaled;
    const bool isScaled =
        factor <= 1.0 ? BX_ShrinkPicture(scaled, *from, size) == kBxSuccess : Enlarge(scaled, *from, size, factor);
    const std::unique_ptr<QImage> image(isScaled ? CBxConvertPicture::GetQImageFromPicBuf(&scaled.Pic()) : nullptr);
    return image != nullptr ? *image : QImage();
}

QImage BX_CropImage(const QImage& picture, double left, double top, double right, double bottom) {
    const int width = picture.width();
    const int height = picture.height();
    return picture.copy(static_cast<int>(width * left), static_cast<int>(height * top),
                        static_cast<int>(width * (1 - left - right)), static_cast<int>(height * (1 - top - bottom)));
}

QImage BX_TurnImage(const QImage& picture, double degrees) {
    QTransform turn;
    turn.rotate(degrees);
    const QImage turned = BX_ConvertImage(picture, QImage::Format_RGB32).transformed(turn, Qt::SmoothTransformation);
    return Rgb(turned.copy((turned.width() - picture.width()) / 2, (turned.height() - picture.height()) / 2,
                           picture.width(), picture.height()));
}

QImage BX_ToneImage(const QImage& picture, double gain, double offset, double exponent) {
    unsigned char table[256];
    for (int value = 0; value < 256; ++value) {
        const double toned = gain * 255.0 * std::pow(value / 255.0, exponent) + offset;
        table[value] = static_cast<unsigned char>(std::clamp(std::lround(toned), 0L, 255L));
    }
    QImage result = picture.copy();
    for (int y = 0; y < result.height(); ++y) {
        unsigned char* row = result.scanLine(y);
        std::transform(row, row + 3 * result.width(), row, [&table](unsigned char value) { return table[value]; });
    }
    return result;
}
