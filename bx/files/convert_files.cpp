#include <QBuffer>
#include <QImageWriter>
#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

#include "convert_picture.h"
#include "decoder_messages.h"
#include "file_replacement.h"
#include "image_conversion.h"
#include "picture_reader.h"

namespace {

using Log = CBxConvertPicture;

// The ending that names the writer, without its dot; empty when there is none.
QByteArray FormatOf(const char* fileName) {
    const char* slash = std::strrchr(fileName, '/');
    const char* dot = std::strrchr(slash != nullptr ? slash : fileName, '.');
    return dot != nullptr ? QByteArray(dot + 1).toLower() : QByteArray();
}

// Encodes into memory, because writers of some formats report success when the disk is full.
bool Encode(QByteArray& bytes, const QImage& image, const QByteArray& format, int quality, SBxFileReport& report) {
    CBxDecoderMessages messages;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, format);
    if (format.isEmpty() || !writer.canWrite()) {
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

bool WriteBytes(CBxFileReplacement& replacement, const QByteArray& bytes, SBxFileReport& report) {
    if (replacement.Write(bytes.constData(), static_cast<std::size_t>(bytes.size())) != 0 || replacement.Close() != 0) {
        report.SetReason("%s", replacement.Reason());
        return false;
    }
    return true;
}

// Whether the written file gives back a picture of this size, and what the caller thinks of it.
bool IsGood(const char* writtenFile, const QSize& size, const SBxWriteOptions& options, SBxFileReport& report) {
    SBxFileReport readReport;
    QImage image = BX_DecodePicture(writtenFile, readReport);
    if (image.isNull() || readReport.HasWarning() || image.size() != size) {
        report.SetReason("the written file cannot be read back: %s", image.isNull() ? readReport.m_szReason
                                                                     : readReport.HasWarning()
                                                                         ? readReport.m_szWarning
                                                                         : "its size is another one");
        return false;
    }
    if (!options.accept) {
        return true;
    }
    const CBxPicBufHolder asWritten(CBxConvertPicture::GetPicBufFromQImage(&image));
    image = QImage();
    if (asWritten == nullptr) {
        report.SetReason("there is not enough memory to read it back");
        return false;
    }
    if (!options.accept(*asWritten, report)) {
        report.SetReason("the written file was not accepted");
        return false;
    }
    return true;
}

bool TakeName(CBxFileReplacement& replacement, bool replaceExisting, SBxFileReport& report) {
    if ((replaceExisting ? replacement.Commit() : replacement.CommitNew()) == 0) {
        return true;
    }
    report.SetReason("%s", replacement.Reason());
    return false;
}

// Encodes, writes beside the target, looks at what was written, and gives it the target's name.
bool Save(std::unique_ptr<QImage> image, const char* fileName, const SBxWriteOptions& options, SBxFileReport& report) {
    QByteArray bytes;
    const QSize size = image->size();
    const QByteArray format = FormatOf(fileName);
    if (format == "bmp" && image->format() == QImage::Format_RGB888) {
        *image = BX_ConvertImage(*image, QImage::Format_RGB32);  // as the writer would, on threads
    }
    if (!Encode(bytes, *image, format, options.quality, report)) {
        return false;
    }
    image.reset();
    CBxFileReplacement replacement;
    if (replacement.Begin(fileName) != 0) {
        report.SetReason("%s", replacement.Reason());
        return false;
    }
    if (!WriteBytes(replacement, bytes, report)) {
        return false;
    }
    bytes = QByteArray();
    return IsGood(replacement.TemporaryPath(), size, options, report) &&
           TakeName(replacement, options.replaceExisting, report);
}

bool SaveGuarded(SBxPicBuf* picture, const char* fileName, const SBxWriteOptions& options, SBxFileReport& report) {
    std::unique_ptr<QImage> image(CBxConvertPicture::GetQImageFromPicBuf(picture));
    if (image == nullptr) {
        report.SetReason("the picture is in a form that cannot be written, or there is not enough memory");
        return false;
    }
    Log::LogInfo("Saving the image to %s", fileName);
    try {
        return Save(std::move(image), fileName, options, report);
    } catch (const std::bad_alloc&) {
        report.SetReason("there is not enough memory");
        return false;
    }
}

}  // namespace

int CBxConvertPicture::ReadInputFile(SBxPicBuf*& picture, const char* fileName) {
    SBxFileReport report;
    return ReadInputFile(picture, fileName, report);
}

int CBxConvertPicture::ReadInputFile(SBxPicBuf*& picture, const char* fileName, SBxFileReport& report) {
    picture = nullptr;
    if (fileName == nullptr) {
        LogError("Filename is empty!");
        report.SetReason("no file is named");
        return 1;
    }
    LogInfo("Reading the image: %s", fileName);
    QImage image = BX_DecodePicture(fileName, report);
    if (image.isNull()) {
        LogError("CBxConvertPicture: Cannot read %s: %s", fileName, report.m_szReason);
    } else if (report.HasWarning()) {
        LogInfo("CBxConvertPicture: Reading %s: %s", fileName, report.m_szWarning);
    }
    picture = GetPicBufFromQImage(&image);
    if (picture == nullptr) {
        report.SetReason("there is not enough memory for it");
        LogError("Image was not read!");
        return 1;
    }
    LogInfo("Image was successfully read.");
    return 0;
}

int CBxConvertPicture::WriteOutputFile(SBxPicBuf* picture, const char* fileName, int quality,
                                       const char* metadataSource) {
    SBxWriteOptions options;
    options.quality = quality;
    options.metadataSource = metadataSource;
    SBxFileReport report;
    return WriteOutputFile(picture, fileName, options, report);
}

int CBxConvertPicture::WriteOutputFile(SBxPicBuf* picture, const char* fileName, const SBxWriteOptions& options,
                                       SBxFileReport& report) {
    if (picture == nullptr || fileName == nullptr) {
        LogError("Image was not saved due to NULL pointer.");
        report.SetReason("no picture or no file is named");
        return 1;
    }
    if (!SaveGuarded(picture, fileName, options, report)) {
        LogError("CBxConvertPicture: Cannot write %s: %s", fileName, report.m_szReason);
        LogError("Image was not saved!");
        return 1;
    }
    LogInfo("Image was successfully saved.");
    return 0;
}
