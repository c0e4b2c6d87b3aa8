#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>

#include "file_replacement.h"
#include "jpeg_segments.h"
#include "jpeg_segments_private.h"

namespace {

// The stream so far. It grows by half of its bytes, so that many small pieces cost no more than a few large ones.
class COutput {
public:
    bool Append(const unsigned char* bytes, std::size_t count) {
        if (count == 0) {
            return true;
        }
        if (count > UINT_MAX - m_uiUsed) {
            return false;
        }
        const std::size_t needed = m_uiUsed + count;
        if (needed > m_Bytes.Size() && !m_Bytes.GrowTo(std::max(needed, m_uiUsed + m_uiUsed / 2))) {
            return false;
        }
        std::memcpy(m_Bytes.Data() + m_uiUsed, bytes, count);
        m_uiUsed = needed;
        return true;
    }

    // A body with its length before it.
    bool AppendBody(const unsigned char* body, unsigned int count) {
        if (count > kMostSegmentBytes) {
            return false;
        }
        const unsigned int length = count + 2;
        const unsigned char lengthBytes[2] = {static_cast<unsigned char>(length >> 8),
                                              static_cast<unsigned char>(length & 0xFF)};
        return Append(lengthBytes, 2) && Append(body, count);
    }

    void HandOver(unsigned char** bytes, unsigned int* size) {
        *size = static_cast<unsigned int>(m_uiUsed);
        *bytes = m_Bytes.Release();
    }

private:
    CBxHeapArray<unsigned char> m_Bytes;
    std::size_t m_uiUsed = 0;
};

// A segment whose EXIF cannot be said in bytes is a bare marker.
bool AppendExif(COutput& output, ExifData* exif) {
    unsigned char* bytes = nullptr;
    unsigned int count = 0;
    if (exif != nullptr) {
        exif_data_save_data(exif, &bytes, &count);
    }
    const bool done = bytes == nullptr || count == 0 || output.AppendBody(bytes, count);
    std::free(bytes);
    return done;
}

bool AppendSection(COutput& output, const JPEGData* data, const JPEGSection& section) {
    const unsigned char marker[2] = {0xFF, section.marker};
    if (!output.Append(marker, 2)) {
        return false;
    }
    if (section.marker == kMarkerSOI || section.marker == kMarkerEOI) {
        return true;
    }
    if (section.marker == kMarkerAPP1 && section.content.generic == nullptr) {
        return AppendExif(output, section.content.app1);
    }
    return output.AppendBody(section.content.generic, section.content.generic != nullptr ? section.size : 0) &&
           (section.marker != kMarkerSOS || output.Append(data->data, data->size));
}

// Whether the written stream would be taken apart into as many sections again.
bool ReadsBack(const unsigned char* bytes, unsigned int size, const JPEGData* data) {
    JPEGData* const again = jpeg_data_new_from_data(bytes, size);
    const bool same = BX_IsJpegComplete(again) && again->count == data->count && again->size == data->size;
    jpeg_data_unref(again);
    return same;
}

}  // namespace

void jpeg_data_save_data(JPEGData* data, unsigned char** bytes, unsigned int* size) {
    if (data == nullptr || bytes == nullptr || size == nullptr) {
        return;
    }
    *bytes = nullptr;
    *size = 0;
    COutput output;
    for (unsigned int index = 0; index < data->count; ++index) {
        if (!AppendSection(output, data, data->sections[index])) {
            return;
        }
    }
    output.HandOver(bytes, size);
}

int jpeg_data_save_file(JPEGData* data, const char* path) {
    if (!BX_IsJpegComplete(data) || path == nullptr) {
        return 0;
    }
    unsigned char* bytes = nullptr;
    unsigned int size = 0;
    jpeg_data_save_data(data, &bytes, &size);
    CBxFileReplacement replacement;
    const bool written = bytes != nullptr && ReadsBack(bytes, size, data) && replacement.Begin(path) == 0 &&
                         replacement.Write(bytes, size) == 0 && replacement.Commit() == 0;
    std::free(bytes);
    return written ? 1 : 0;
}
