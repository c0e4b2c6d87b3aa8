#include "picture_reader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QByteArray>
#include <QColorSpace>
#include <QFile>
#include <QImageReader>
#include <QtEndian>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <mutex>
#include <new>

#include "codec_lookup.h"
#include "decoder_messages.h"
#include "memory_shortage.h"
#include "picture_transparency.h"

namespace {

// Qt counts in mebibytes of decoded pixels, at most 8 bytes each.
constexpr int kDecoderLimitMebibytes = static_cast<int>((kMostPixelsRead * 8 + (1 << 20) - 1) >> 20);

constexpr int kUnsaidDotsPerMeter = 1;  // no file means it

void AllowLargePictures() {
    static std::once_flag allowed;
    std::call_once(allowed, [] {
        if (QImageReader::allocationLimit() < kDecoderLimitMebibytes) {
            QImageReader::setAllocationLimit(kDecoderLimitMebibytes);
        }
    });
}

// Opens without waiting, so that a pipe without a writer is refused like every other thing that is no regular file.
bool OpenRegularFile(const char* fileName, QFile& file, SBxFileReport& report) {
    const int descriptor = ::open(fileName, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (descriptor < 0) {
        report.SetReason("it cannot be opened: %s", std::strerror(errno));
        return false;
    }
    if (!file.open(descriptor, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle)) {
        ::close(descriptor);
        report.SetReason("it cannot be opened");
        return false;
    }
    struct stat facts = {};
    if (::fstat(descriptor, &facts) != 0) {
        report.SetReason("it cannot be opened: %s", std::strerror(errno));
    } else if (S_ISDIR(facts.st_mode)) {
        report.SetReason("it is a folder");
    } else if (!S_ISREG(facts.st_mode)) {
        report.SetReason("it is not a regular file");
    } else if (facts.st_size == 0) {
        report.SetReason("the file is empty");
    } else {
        return true;
    }
    return false;
}

// The ending without its dot, in small letters; empty when there is none.
QByteArray EndingOf(const char* fileName) {
    const char* name = std::strrchr(fileName, '/');
    const char* dot = std::strrchr(name != nullptr ? name : fileName, '.');
    return dot != nullptr ? QByteArray(dot + 1).toLower() : QByteArray();
}

std::uint32_t LittleEndian(const QByteArray& bytes, int at, int count) {
    std::uint32_t value = 0;
    for (int index = 0; index < count; ++index) {
        value |= static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[at + index])) << (8 * index);
    }
    return value;
}

// Whether an uncompressed BMP holds fewer bytes than its header declares: its decoder does not tell.
bool IsCutOffBmp(QFile& file, const QSize& size) {
    const qint64 position = file.pos();
    file.seek(0);
    const QByteArray header = file.read(34);
    file.seek(position);
    if (header.size() < 34 || LittleEndian(header, 14, 4) < 40) {
        return false;
    }
    const std::uint32_t compression = LittleEndian(header, 30, 4);
    if (compression != 0 && compression != 3) {
        return false;
    }
    const qint64 rowBytes = (static_cast<qint64>(size.width()) * LittleEndian(header, 28, 2) + 31) / 32 * 4;
    return LittleEndian(header, 10, 4) + rowBytes * size.height() > file.size();
}

void TellWhyUndecoded(const QString& said, const char* what, SBxFileReport& report) {
    if (said.isEmpty()) {
        report.SetReason("%s", what);
    } else {
        report.SetReason("%s (%s)", what, said.toUtf8().constData());
    }
}

bool HasAcceptableSize(const QSize& size, SBxFileReport& report) {
    if (!size.isValid()) {
        return true;  // a format that does not declare it; the decoder's own limit holds
    }
    if (static_cast<std::int64_t>(size.width()) * size.height() <= kMostPixelsRead) {
        return true;
    }
    report.SetReason("it declares %d x %d pixels; pictures of more than %d megapixels are not read", size.width(),
                     size.height(), static_cast<int>(kMostPixelsRead / 1'000'000));
    return false;
}

// A picture of the declared size, grey all over, for the decoder to fill: what a cut-off file leaves out is then grey
// and not what the memory held before. Likewise a resolution that the file leaves out stays kUnsaidDotsPerMeter.
QImage MakeGreyCanvas(const QSize& size, QImage::Format format) {
    QImage canvas(size, format);
    if (!canvas.isNull()) {
        canvas.setDotsPerMeterX(kUnsaidDotsPerMeter);
        canvas.setDotsPerMeterY(kUnsaidDotsPerMeter);
        std::memset(canvas.bits(), 0x80, static_cast<std::size_t>(canvas.sizeInBytes()));
    }
    return canvas;
}

// Whether the profile is whole and one for RGB pixels, as its header tells.
bool IsRgbProfile(const QByteArray& profile) {
    constexpr qsizetype kProfileHeaderBytes = 128;
    if (profile.size() < kProfileHeaderBytes) {
        return false;
    }
    const qsizetype declaredBytes = qFromBigEndian<quint32>(profile.constData());
    return declaredBytes >= kProfileHeaderBytes && declaredBytes <= profile.size() && profile.mid(16, 4) == "RGB " &&
           profile.mid(36, 4) == "acsp";
}

// `hadCanvas` tells whether the decoder was given a picture to fill.
SBxPictureExtras ExtrasOf(const QImage& image, bool hadCanvas) {
    SBxPictureExtras extras;
    const QByteArray profile = image.colorSpace().iccProfile();
    if (IsRgbProfile(profile)) {
        extras.iccProfile = profile;
    } else {
        extras.hasUnusedProfile = !profile.isEmpty();
    }
    const int unsaid = hadCanvas ? kUnsaidDotsPerMeter : QImage(1, 1, QImage::Format_RGB32).dotsPerMeterX();
    if (image.dotsPerMeterX() != unsaid && image.dotsPerMeterY() != unsaid) {
        extras.dotsPerMeterX = std::max(image.dotsPerMeterX(), 0);
        extras.dotsPerMeterY = std::max(image.dotsPerMeterY(), 0);
    }
    extras.isTransparent = BX_IsTransparent(image);
    return extras;
}

bool CanRead(QImageReader& reader) {
    const CBxCodecLookup lookup;
    return reader.canRead();
}

QImage Decode(QFile& file, const char* fileName, SBxFileReport& report, SBxPictureExtras* extras) {
    CBxDecoderMessages messages;
    QImageReader reader(&file);
    reader.setDecideFormatFromContent(true);
    reader.setAutoTransform(false);
    if (!CanRead(reader)) {
        file.seek(0);
        reader.setDecideFormatFromContent(false);
        reader.setFormat(EndingOf(fileName));
        if (!CanRead(reader)) {
            TellWhyUndecoded(messages.Take(), "it is not a picture in a known format", report);
            return QImage();
        }
    }
    const QByteArray format = reader.format();
    const QSize size = reader.size();
    if (!HasAcceptableSize(size, report)) {
        return QImage();
    }
    QImage image;
    const bool hasCanvas = size.isValid() && reader.imageFormat() != QImage::Format_Invalid;
    if (hasCanvas) {
        image = MakeGreyCanvas(size, reader.imageFormat());
        if (image.isNull()) {
            report.SetReason("there is not enough memory for its %d x %d pixels", size.width(), size.height());
            return QImage();
        }
    }
    if (!reader.read(&image) || image.isNull()) {
        TellWhyUndecoded(messages.Take(), "its picture data is damaged or cut off", report);
        return QImage();
    }
    if (!HasAcceptableSize(image.size(), report)) {
        return QImage();
    }
    if (extras != nullptr) {
        *extras = ExtrasOf(image, hasCanvas);
    }
    // Decoders of other formats fail on damage; what they warn of does not touch the picture.
    if (format == "jpeg" && !messages.IsEmpty()) {
        report.SetWarning("the file may be damaged or cut off (%s)", messages.Take().toUtf8().constData());
    } else if (format == "bmp" && IsCutOffBmp(file, image.size())) {
        report.SetWarning("the file is cut off; what is missing is shown grey");
    }
    return image;
}

}  // namespace

QImage BX_DecodePicture(const char* fileName, SBxFileReport& report, SBxPictureExtras* extras) {
    try {
        AllowLargePictures();
        QFile file;
        if (!OpenRegularFile(fileName, file, report)) {
            return QImage();
        }
        return Decode(file, fileName, report, extras);
    } catch (const std::bad_alloc&) {
        BX_NoteMemoryShortage();
        report.SetReason("there is not enough memory for it");
        return QImage();
    }
}

void BX_LoadPictureDecoders() {
    const CBxCodecLookup lookup;
    QImageReader::supportedImageFormats();
}
