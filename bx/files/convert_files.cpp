#include <QImage>
#include <new>

#include "convert_picture.h"
#include "exif_resolution.h"
#include "file_replacement.h"
#include "memory_shortage.h"
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

// What the rule lets the copy have of its source; only a JPEG can have any of it.
// Returns what it has besides.
SBxMetadataBlocks LoadMetadata(const SBxWriteOptions& options, bool isJpeg, CBxImageMetadata& metadata) {
    SBxMetadataBlocks leftBehind;
    if (options.metadataSource == nullptr) {
        return leftBehind;
    }
    Log::LogInfo("Loading metadata from %s", options.metadataSource);
    bool isWanted = isJpeg;
    if (options.metadataRule == EBxMetadataRule::kBoth) {
        isWanted = CBxImageMetadata::LoadMetadata(options.metadataSource, metadata) == 0 && isJpeg;
    } else {
        CBxImageMetadata::LoadByRule(options.metadataSource, options.metadataRule, metadata, leftBehind);
    }
    if (!isWanted) {
        leftBehind.exif = leftBehind.exif || metadata.exif != nullptr;
        leftBehind.iptc = leftBehind.iptc || metadata.iptc != nullptr;
        CBxImageMetadata::FreeMetadata(metadata);
    }
    return leftBehind;
}

bool AddMetadata(const char* writtenFile, CBxImageMetadata& metadata, SBxFileReport& report) {
    if (metadata.exif == nullptr && metadata.iptc == nullptr) {
        return true;
    }
    Log::LogInfo("Transferring the image metadata..");
    SBxMetadataBlocks missing;
    if (CBxImageMetadata::SaveHeld(writtenFile, metadata, missing) == 0) {
        return true;
    }
    report.m_bLacksExif = missing.exif;
    report.m_bLacksIptc = missing.iptc;
    report.SetReason("the photograph's %s data cannot be added to it: they are too long, or the disk is full",
                     missing.exif && missing.iptc ? "EXIF and IPTC"
                     : missing.exif               ? "EXIF"
                                                  : "IPTC");
    return false;
}

// Encodes, writes beside the target, looks at what was written, and gives it the target's name.
bool Save(SBxPicBuf& picture, const char* fileName, const SBxWriteOptions& options, SBxFileReport& report) {
    CBxOwnedMetadata metadata;
    const SBxMetadataBlocks leftBehind = LoadMetadata(options, BX_IsJpegEnding(BX_GetEnding(fileName)), metadata);
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
    const char* const written = replacement.TemporaryPath();
    const bool isDone = AddMetadata(written, metadata, report) &&
                        IsGood(written, QSize(picture.m_iWidth, picture.m_iHeight), options, report) &&
                        TakeName(replacement, options.replaceExisting, report);
    if (!isDone) {
        return false;
    }
    report.m_bLacksExif = leftBehind.exif;
    report.m_bLacksIptc = leftBehind.iptc;
    return true;
}

bool SaveGuarded(SBxPicBuf& picture, const char* fileName, const SBxWriteOptions& options, SBxFileReport& report) {
    try {
        return Save(picture, fileName, options, report);
    } catch (const std::bad_alloc&) {
        BX_NoteMemoryShortage();
        report.SetReason("there is not enough memory");
        return false;
    }
}

// Decodes, completes the extras, and puts the background, where one is given, behind what is transparent. Null with the
// reason in the report.
QImage Decode(const char* fileName, const SBxReadOptions& options, SBxPictureExtras& extras, SBxFileReport& report) {
    QImage image = BX_DecodePicture(fileName, report, &extras);
    if (image.isNull()) {
        return image;
    }
    if (!extras.HasResolution()) {
        BX_GetExifResolution(fileName, extras.dotsPerMeterX, extras.dotsPerMeterY);
    }
    if (!extras.isTransparent || !options.background) {
        return image;
    }
    try {
        image = BX_FlattenImage(image, *options.background);
    } catch (const std::bad_alloc&) {
        BX_NoteMemoryShortage();
        image = QImage();
    }
    if (image.isNull()) {
        report.SetReason("there is not enough memory for it");
    }
    return image;
}

// Makes the record of a decoded image and logs what there is to say. Null for a null image and without memory.
SBxPicBuf* MakePicture(QImage image, const char* fileName, SBxFileReport& report) {
    if (image.isNull()) {
        Log::LogError("CBxConvertPicture: Cannot read %s: %s", fileName, report.m_szReason);
    } else if (report.HasWarning()) {
        Log::LogInfo("CBxConvertPicture: Reading %s: %s", fileName, report.m_szWarning);
    }
    SBxPicBuf* picture = CBxConvertPicture::GetPicBufFromQImage(&image);
    if (picture == nullptr) {
        report.SetReason("there is not enough memory for it");
        Log::LogError("Image was not read!");
    } else {
        Log::LogInfo("Image was successfully read.");
    }
    return picture;
}

bool IsNamed(const char* fileName, SBxFileReport& report) {
    if (fileName == nullptr) {
        Log::LogError("Filename is empty!");
        report.SetReason("no file is named");
        return false;
    }
    Log::LogInfo("Reading the image: %s", fileName);
    return true;
}

}  // namespace

int CBxConvertPicture::ReadInputFile(SBxPicBuf*& picture, const char* fileName) {
    SBxFileReport report;
    return ReadInputFile(picture, fileName, report);
}

int CBxConvertPicture::ReadInputFile(SBxPicBuf*& picture, const char* fileName, SBxFileReport& report) {
    picture = nullptr;
    if (IsNamed(fileName, report)) {
        picture = MakePicture(BX_DecodePicture(fileName, report), fileName, report);
    }
    return picture == nullptr ? 1 : 0;
}

int CBxConvertPicture::ReadInputFile(SBxPicBuf*& picture, const char* fileName, const SBxReadOptions& options,
                                     SBxPictureExtras& extras, SBxFileReport& report) {
    picture = nullptr;
    extras = {};
    if (IsNamed(fileName, report)) {
        picture = MakePicture(Decode(fileName, options, extras, report), fileName, report);
    }
    return picture == nullptr ? 1 : 0;
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
