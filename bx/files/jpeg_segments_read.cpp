#include <sys/stat.h>

#include <cstdlib>
#include <cstring>

#include "jpeg_file.h"
#include "jpeg_segments.h"
#include "jpeg_segments_private.h"

namespace {

constexpr unsigned int kMostFillBytes = 7;
constexpr char kExifHeader[] = "Exif\0";  // with the zero that ends the literal: 6 bytes

// A stream and how far it was read.
struct SByteReader {
    const unsigned char* bytes;
    unsigned int size;
    unsigned int offset;

    unsigned int Left() const { return size - offset; }
    const unsigned char* Here() const { return bytes + offset; }
};

// A copy in a new block, which is not null even for 0 bytes. Null, and a message in the log, without memory.
unsigned char* CopyBytes(JPEGData* data, const unsigned char* bytes, unsigned int count) {
    CBxHeapArray<unsigned char> copy;
    if (!copy.Allocate(count)) {
        BX_LogJpegNoMemory(data, count);
        return nullptr;
    }
    if (count != 0) {
        std::memcpy(copy.Data(), bytes, count);
    }
    return copy.Release();
}

// Reads the 0xFF bytes and the marker. False when there is none.
bool ReadMarker(SByteReader& reader, JPEGMarker& marker) {
    unsigned int fillBytes = 0;
    while (fillBytes < kMostFillBytes && reader.Left() > 0 && *reader.Here() == 0xFF) {
        ++reader.offset;
        ++fillBytes;
    }
    if (reader.Left() == 0 || *reader.Here() < kMarkerSOF0 || *reader.Here() > kMarkerCOM) {
        return false;
    }
    marker = static_cast<JPEGMarker>(*reader.Here());
    ++reader.offset;
    return true;
}

// Reads the length and moves to the body. False when the body runs past the end.
bool ReadBodyLength(SByteReader& reader, unsigned int& bodyBytes) {
    if (reader.Left() < 2) {
        return false;
    }
    const unsigned int length = reader.Here()[0] * 256U + reader.Here()[1];
    reader.offset += 2;
    bodyBytes = length - 2;
    return length >= 2 && bodyBytes <= reader.Left();
}

bool IsExif(const unsigned char* body, unsigned int bodyBytes) {
    return bodyBytes >= sizeof(kExifHeader) && std::memcmp(body, kExifHeader, sizeof(kExifHeader)) == 0;
}

bool HasExif(const JPEGData* data) {
    for (unsigned int index = 0; index < data->count; ++index) {
        if (data->sections[index].content.app1 != nullptr) {
            return true;
        }
    }
    return false;
}

// Fills the last section. An EXIF block can claim many times its bytes of memory, so that only one is taken apart.
bool ReadBody(JPEGData* data, SByteReader& reader, unsigned int bodyBytes) {
    JPEGSection& section = data->sections[data->count - 1];
    if (section.marker == kMarkerAPP1 && IsExif(reader.Here(), bodyBytes) && !HasExif(data)) {
        section.content.app1 = exif_data_new_from_data(reader.Here(), bodyBytes);
    } else {
        section.content.generic = CopyBytes(data, reader.Here(), bodyBytes);
        section.size = section.content.generic != nullptr ? bodyBytes : 0;
    }
    reader.offset += bodyBytes;
    return section.content.app1 != nullptr || section.content.generic != nullptr;
}

// Takes what follows SOS, except for two bytes at the end that begin like a marker.
bool ReadImageData(JPEGData* data, SByteReader& reader) {
    unsigned int count = reader.Left();
    if (count >= 2 && reader.Here()[count - 2] == 0xFF) {
        count -= 2;
    }
    std::free(data->data);
    data->size = 0;
    data->data = CopyBytes(data, reader.Here(), count);
    if (data->data == nullptr) {
        return false;
    }
    data->size = count;
    reader.offset += count;
    return true;
}

// Reads one section. False where the stream is damaged or memory ends.
bool ReadSection(JPEGData* data, SByteReader& reader) {
    const unsigned int start = reader.offset;
    JPEGMarker marker = {};
    if (!ReadMarker(reader, marker)) {
        exif_log(data->priv->log, EXIF_LOG_CODE_CORRUPT_DATA, kJpegLogDomain,
                 "Data does not follow JPEG specification.");
        return false;
    }
    if (jpeg_data_append_section(data) == 0) {
        return false;
    }
    data->sections[data->count - 1].marker = marker;
    if (reader.bytes[start] != 0xFF) {
        // Read all the same, but such a stream would not be written as it was.
        data->priv->isCutShort = true;
    }
    if (marker == kMarkerSOI || marker == kMarkerEOI) {
        return true;
    }
    unsigned int bodyBytes = 0;
    return ReadBodyLength(reader, bodyBytes) && ReadBody(data, reader, bodyBytes) &&
           (marker != kMarkerSOS || ReadImageData(data, reader));
}

}  // namespace

void jpeg_data_load_data(JPEGData* data, const unsigned char* bytes, unsigned int size) {
    if (data == nullptr || bytes == nullptr) {
        return;
    }
    BX_ClearJpegSections(data);
    data->priv->isCutShort = false;
    SByteReader reader = {bytes, size, 0};
    while (reader.Left() > 0) {
        if (!ReadSection(data, reader)) {
            data->priv->isCutShort = true;
            return;
        }
    }
}

void jpeg_data_load_file(JPEGData* data, const char* path) {
    if (data == nullptr || path == nullptr) {
        return;
    }
    BX_ClearJpegSections(data);
    data->priv->isCutShort = true;
    CBxHeapArray<unsigned char> bytes;
    switch (BX_ReadJpegFile(path, bytes)) {
        case EBxFileReading::kDone:
            jpeg_data_load_data(data, bytes.Data(), static_cast<unsigned int>(bytes.Size()));
            return;
        case EBxFileReading::kNotOpened:
            exif_log(data->priv->log, EXIF_LOG_CODE_CORRUPT_DATA, kJpegLogDomain, "Path '%s' invalid.", path);
            return;
        case EBxFileReading::kNotRead:
            exif_log(data->priv->log, EXIF_LOG_CODE_CORRUPT_DATA, kJpegLogDomain, "Could not read '%s'.", path);
            return;
        case EBxFileReading::kNoMemory: {
            struct stat status = {};
            BX_LogJpegNoMemory(data, stat(path, &status) == 0 ? static_cast<unsigned long>(status.st_size) : 0);
            return;
        }
    }
}

bool BX_IsJpegComplete(const JPEGData* data) {
    return data != nullptr && !data->priv->isCutShort;
}
