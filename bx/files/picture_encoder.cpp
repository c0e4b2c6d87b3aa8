#include "picture_encoder.h"

#include <QBuffer>
#include <QColorSpace>
#include <QImageWriter>
#include <algorithm>
#include <cstring>
#include <memory>

#include "codec_lookup.h"
#include "decoder_messages.h"
#include "image_conversion.h"
#include "jpeg_encoder.h"
#include "jpeg_header.h"

namespace {

// Resolution and profile for the writers of other formats than JPEG.
void DescribeImage(QImage& image, const SBxPictureExtras& extras, const QByteArray& ending, SBxFileReport& report) {
    if (extras.HasResolution()) {
        image.setDotsPerMeterX(extras.dotsPerMeterX);
        image.setDotsPerMeterY(extras.dotsPerMeterY);
    } else if (ending == "png") {
        image.setDotsPerMeterX(-1);  // so that none is written, where a new image would have that of the screen
        image.setDotsPerMeterY(-1);
    }
    if (extras.iccProfile.isEmpty()) {
        return;
    }
    const QColorSpace colorSpace = QColorSpace::fromIccProfile(extras.iccProfile);
    const bool isRgb = image.format() != QImage::Format_Indexed8;
    if (colorSpace.isValid() && isRgb && ending != "bmp") {
        image.setColorSpace(colorSpace);
    } else {
        report.m_bLacksProfile = true;
    }
}

bool CanWrite(QImageWriter& writer) {
    const CBxCodecLookup lookup;
    return writer.canWrite();
}

bool EncodeImage(QByteArray& bytes, const QImage& image, const QByteArray& ending, int quality, SBxFileReport& report) {
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, ending);
    if (ending.isEmpty() || !CanWrite(writer)) {
        report.SetReason("its name does not end with the ending of a picture format that can be written");
        return false;
    }
    if (quality >= 0) {
        writer.setQuality(std::min(quality, 100));
    }
    if (!writer.write(image) || bytes.isEmpty()) {
        report.SetReason("it cannot be encoded: %s", writer.errorString().toUtf8().constData());
        return false;
    }
    return true;
}

bool EncodeWithQt(QByteArray& bytes, SBxPicBuf& picture, const char* fileName, const SBxWriteOptions& options,
                  SBxFileReport& report) {
    const std::unique_ptr<QImage> image(CBxConvertPicture::GetQImageFromPicBuf(&picture));
    if (image == nullptr) {
        report.SetReason("the picture is in a form that cannot be written, or there is not enough memory");
        return false;
    }
    CBxConvertPicture::LogInfo("Saving the image to %s", fileName);
    const QByteArray ending = BX_GetEnding(fileName);
    if (ending == "bmp" && image->format() == QImage::Format_RGB888) {
        *image = BX_ConvertImage(*image, QImage::Format_RGB32);  // as the writer would, on threads
    }
    if (options.extras != nullptr && !BX_IsJpegEnding(ending)) {
        DescribeImage(*image, *options.extras, ending, report);
    }
    return EncodeImage(bytes, *image, ending, options.quality, report);
}

bool DescribeJpeg(QByteArray& jpeg, const SBxPicBuf& picture, const SBxPictureExtras& extras, SBxFileReport& report) {
    const bool isRgb = picture.m_iComponents == 3;
    report.m_bLacksProfile = !isRgb && !extras.iccProfile.isEmpty();
    return BX_DescribeJpeg(jpeg, extras, isRgb, report);
}

}  // namespace

QByteArray BX_GetEnding(const char* fileName) {
    const char* slash = std::strrchr(fileName, '/');
    const char* dot = std::strrchr(slash != nullptr ? slash : fileName, '.');
    return dot != nullptr ? QByteArray(dot + 1).toLower() : QByteArray();
}

bool BX_IsJpegEnding(const QByteArray& ending) {
    return ending == "jpg" || ending == "jpeg";
}

bool BX_EncodePicture(QByteArray& bytes, SBxPicBuf& picture, const char* fileName, const SBxWriteOptions& options,
                      SBxFileReport& report) {
    const CBxDecoderMessages messages;
    const bool isJpeg = BX_IsJpegEnding(BX_GetEnding(fileName));
    if (isJpeg && options.chroma == EBxChroma::k444 && picture.m_iComponents == 3) {
        CBxConvertPicture::LogInfo("Saving the image to %s", fileName);
        if (!BX_EncodeFullColourJpeg(bytes, picture, options.quality, report)) {
            return false;
        }
    } else if (!EncodeWithQt(bytes, picture, fileName, options, report)) {
        return false;
    }
    return !isJpeg || options.extras == nullptr || DescribeJpeg(bytes, picture, *options.extras, report);
}
