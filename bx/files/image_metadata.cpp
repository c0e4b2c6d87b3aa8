#include "image_metadata.h"

#include <libexif/exif-loader.h>
#include <libiptcdata/iptc-jpeg.h>

#include <algorithm>
#include <cstdio>

#include "jpeg_file.h"

namespace {

using Bytes = CBxHeapArray<unsigned char>;

constexpr unsigned int kMostPs3Bytes = 65536;

// Null when there is no EXIF. The loader takes from the bytes what it would take from the file.
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
    ExifData* const exif = exif_loader_get_data(loader);
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
