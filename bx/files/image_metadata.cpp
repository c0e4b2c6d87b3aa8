#include "image_metadata.h"

#include <libexif/exif-loader.h>
#include <libiptcdata/iptc-jpeg.h>

#include <algorithm>
#include <cstdio>

#include "jpeg_file.h"

namespace {

using Bytes = CBxHeapArray<unsigned char>;

constexpr unsigned int kMostPs3Bytes = 65536;

// Parses an EXIF block without changing what it says: tags that the library does not know are kept, and none is added
// for the sake of the standard. Null without memory.
ExifData* ParseExif(const unsigned char* block, unsigned int size) {
    ExifData* const exif = exif_data_new();
    if (exif == nullptr) {
        return nullptr;
    }
    exif_data_unset_option(exif, EXIF_DATA_OPTION_IGNORE_UNKNOWN_TAGS);
    exif_data_unset_option(exif, EXIF_DATA_OPTION_FOLLOW_SPECIFICATION);
    exif_data_load_data(exif, block, size);
    // A thumbnail that the library does not carry over must not be described either: the offsets would lead nowhere.
    ExifContent* const thumbnail = exif->ifd[EXIF_IFD_1];
    while (exif->data == nullptr && thumbnail != nullptr && thumbnail->count > 0) {
        exif_content_remove_entry(thumbnail, thumbnail->entries[thumbnail->count - 1]);
    }
    return exif;
}

// Null when there is no EXIF. The loader finds the block where it would find it in the file.
ExifData* FindExif(Bytes& bytes) {
    ExifLoader* const loader = exif_loader_new();
    if (loader == nullptr) {
        return nullptr;
    }
    constexpr std::size_t kStepBytes = 1024;
    for (std::size_t done = 0; done < bytes.Size(); done += kStepBytes) {
        const std::size_t count = std::min(kStepBytes, bytes.Size() - done);
        if (exif_loader_write(loader, bytes.Data() + done, static_cast<unsigned int>(count)) == 0) {
            break;
        }
    }
    const unsigned char* block = nullptr;
    unsigned int size = 0;
    exif_loader_get_buf(loader, &block, &size);
    ExifData* const exif = block != nullptr ? ParseExif(block, size) : nullptr;
    exif_loader_unref(loader);
    return exif;
}

// Null when there is no IPTC in the first Photoshop segment.
IptcData* FindIptc(Bytes& bytes) {
    Bytes ps3;
    std::FILE* const file =
        bytes.Size() != 0 && ps3.Allocate(kMostPs3Bytes) ? fmemopen(bytes.Data(), bytes.Size(), "rb") : nullptr;
    if (file == nullptr) {
        return nullptr;
    }
    const int ps3Bytes = iptc_jpeg_read_ps3(file, ps3.Data(), kMostPs3Bytes);
    std::fclose(file);
    if (ps3Bytes <= 0 || ps3Bytes > static_cast<int>(kMostPs3Bytes)) {
        return nullptr;
    }
    unsigned int iptcBytes = 0;
    const int offset = iptc_jpeg_ps3_find_iptc(ps3.Data(), static_cast<unsigned int>(ps3Bytes), &iptcBytes);
    if (offset <= 0 || offset > ps3Bytes || iptcBytes > static_cast<unsigned int>(ps3Bytes - offset)) {
        return nullptr;
    }
    return iptc_data_new_from_data(ps3.Data() + offset, iptcBytes);
}

void ReleaseExif(CBxImageMetadata& md) {
    exif_data_free(md.exif);
    md.exif = nullptr;
}

void ReleaseIptc(CBxImageMetadata& md) {
    if (md.iptc != nullptr) {
        iptc_data_unref(md.iptc);
    }
    md.iptc = nullptr;
}

}  // namespace

unsigned char CBxImageMetadata::LoadMetadata(const char* fileName, CBxImageMetadata& md) {
    if (fileName == nullptr) {
        LogError("Image metadata loading failed due to NULL pointer.");
        return 1;
    }
    const unsigned char exifResult = LoadExif(fileName, md);
    const unsigned char iptcResult = LoadIptc(fileName, md);
    return exifResult != 0 || iptcResult != 0 ? 1 : 0;
}

unsigned char CBxImageMetadata::LoadExif(const char* fileName, CBxImageMetadata& md) {
    if (fileName == nullptr) {
        LogError("Exif load failed due to NULL pointer.");
        return 1;
    }
    ReleaseExif(md);
    Bytes bytes;
    if (BX_ReadJpegFile(fileName, bytes) == EBxFileReading::kDone) {
        md.exif = FindExif(bytes);
    }
    if (md.exif == nullptr) {
        LogError("Exif load failed. No exif data in %s found.", fileName);
        return 1;
    }
    LogInfo("Exif successfully loaded.");
    return 0;
}

unsigned char CBxImageMetadata::LoadIptc(const char* fileName, CBxImageMetadata& md) {
    if (fileName == nullptr) {
        LogError("IPTC data load failed due to NULL pointer.");
        return 1;
    }
    ReleaseIptc(md);
    Bytes bytes;
    if (BX_ReadJpegFile(fileName, bytes) == EBxFileReading::kDone) {
        md.iptc = FindIptc(bytes);
    }
    if (md.iptc == nullptr) {
        LogError("Iptc load failed. No iptc data found in %s.", fileName);
        return 1;
    }
    LogInfo("Iptc successfully loaded.");
    return 0;
}

// A missing block is no failure here, so that nothing is said about it in the log.
unsigned char CBxImageMetadata::LoadByRule(const char* fileName, EBxMetadataRule rule, CBxImageMetadata& md,
                                           SBxMetadataBlocks& leftBehind) {
    leftBehind = {};
    FreeMetadata(md);
    if (fileName == nullptr) {
        LogError("Image metadata loading failed due to NULL pointer.");
        return 1;
    }
    Bytes bytes;
    if (BX_ReadJpegFile(fileName, bytes) != EBxFileReading::kDone) {
        LogInfo("No metadata could be read from %s.", fileName);
        return 0;
    }
    md.exif = FindExif(bytes);
    md.iptc = FindIptc(bytes);
    const SBxMetadataBlocks found = {md.exif != nullptr, md.iptc != nullptr};
    if (rule == EBxMetadataRule::kNone || (rule == EBxMetadataRule::kBoth && !found.Both())) {
        leftBehind = found;
        FreeMetadata(md);
    }
    if (md.exif != nullptr) {
        LogInfo("Exif successfully loaded.");
    }
    if (md.iptc != nullptr) {
        LogInfo("Iptc successfully loaded.");
    }
    return 0;
}

void CBxImageMetadata::FreeMetadata(CBxImageMetadata& md) {
    ReleaseExif(md);
    ReleaseIptc(md);
}
