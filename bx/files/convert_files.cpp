#include <QImage>
#include <new>

#include "convert_picture.h"
#include "file_replacement.h"
#include "picture_encoder.h"
#include "picture_reader.h"
#include "picture_transparency.h"

namespace {

using Log = CBxConvertPicture;

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
bool Save(SBxPicBuf& picture, const char* fileName, const SBxWriteOptions& options, SBxFileReport& report) {
    QByteArray bytes;
    if (!BX_EncodePicture(bytes, picture, fileName, options, report)) {
        return false;
    }
    CBxFileReplacement replacement;
    if (replacement.Begin(fileName) != 0) {
        report.SetReason("%s", replacement.Reason());
        return false;
    }
    if (!WriteBytes(replacement, bytes, report)) {
        return false;
    }
    bytes = QByteArray();
    return IsGood(replacement.TemporaryPath(), QSize(picture.m_iWidth, picture.m_iHeight), options, report) &&
           TakeName(replacement, options.replaceExisting, report);
}

bool SaveGuarded(SBxPicBuf& picture, const char* fileName, const SBxWriteOptions& options, SBxFileReport& report) {
    try {
        return Save(picture, fileName, options, report);
    } catch (const std::bad_alloc&) {
        report.SetReason("there is not enough memory");
        return false;
    }
}

// Decodes and, where a background is given, puts it behind what is transparent. Null with the reason in the report.
QImage Decode(const char* fileName, const SBxReadOptions& options, SBxPictureExtras& extras, SBxFileReport& report) {
    QImage image = BX_DecodePicture(fileName, report, &extras);
    try {
        if (extras.isTransparent && options.background) {
            image = BX_FlattenImage(image, *options.background);
        }
    } catch (const std::bad_alloc&) {
        image = QImage();
    }
    if (image.isNull()) {
        report.SetReason("there is not enough memory for it");
    }
    return image;
}

}  // namespace

int CBxConvertPicture::ReadInputFile(SBxPicBuf*& picture, const char* fileName) {
    SBxFileReport report;
    return ReadInputFile(picture, fileName, report);
}

int CBxConvertPicture::ReadInputFile(SBxPicBuf*& picture, const char* fileName, SBxFileReport& report) {
    SBxPictureExtras extras;
    return ReadInputFile(picture, fileName, {}, extras, report);
}

int CBxConvertPicture::ReadInputFile(SBxPicBuf*& picture, const char* fileName, const SBxReadOptions& options,
                                     SBxPictureExtras& extras, SBxFileReport& report) {
    picture = nullptr;
    extras = {};
    if (fileName == nullptr) {
        LogError("Filename is empty!");
        report.SetReason("no file is named");
        return 1;
    }
    LogInfo("Reading the image: %s", fileName);
    QImage image = Decode(fileName, options, extras, report);
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
    if (!SaveGuarded(*picture, fileName, options, report)) {
        LogError("CBxConvertPicture: Cannot write %s: %s", fileName, report.m_szReason);
        LogError("Image was not saved!");
        return 1;
    }
    LogInfo("Image was successfully saved.");
    return 0;
}
