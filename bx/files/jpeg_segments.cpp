#include "jpeg_segments.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "jpeg_segments_private.h"

namespace {

void ClearSection(JPEGSection& section) {
    std::free(section.content.generic);
    exif_data_unref(section.content.app1);
    section.content = {};
    section.size = 0;
}

// The block of sections is doubled whenever their number reaches a power of two, so that the number tells its size.
bool HasRoom(const JPEGData& data) {
    return (data.count & (data.count - 1)) != 0;
}

// The section whose EXIF is the one of the stream. An APP1 section without contents takes it as well.
JPEGSection* FindExifSection(JPEGData* data) {
    for (unsigned int index = 0; index < data->count; ++index) {
        JPEGSection& section = data->sections[index];
        if (section.marker == kMarkerAPP1 && section.content.generic == nullptr) {
            return &section;
        }
    }
    return nullptr;
}

}  // namespace

JPEGData* jpeg_data_new() {
    auto* const data = static_cast<JPEGData*>(std::calloc(1, sizeof(JPEGData)));
    if (data == nullptr) {
        return nullptr;
    }
    data->priv = static_cast<JPEGDataPrivate*>(std::calloc(1, sizeof(JPEGDataPrivate)));
    if (data->priv == nullptr) {
        std::free(data);
        return nullptr;
    }
    data->priv->refCount = 1;
    return data;
}

JPEGData* jpeg_data_new_from_data(const unsigned char* bytes, unsigned int size) {
    JPEGData* const data = jpeg_data_new();
    jpeg_data_load_data(data, bytes, size);
    return data;
}

JPEGData* jpeg_data_new_from_file(const char* path) {
    JPEGData* const data = jpeg_data_new();
    jpeg_data_load_file(data, path);
    return data;
}

void jpeg_data_ref(JPEGData* data) {
    if (data != nullptr) {
        ++data->priv->refCount;
    }
}

void jpeg_data_unref(JPEGData* data) {
    if (data != nullptr && --data->priv->refCount == 0) {
        jpeg_data_free(data);
    }
}

void jpeg_data_free(JPEGData* data) {
    if (data == nullptr) {
        return;
    }
    BX_ClearJpegSections(data);
    exif_log_unref(data->priv->log);
    std::free(data->priv);
    std::free(data);
}

void jpeg_data_log(JPEGData* data, ExifLog* log) {
    if (data == nullptr) {
        return;
    }
    // First the new one: it may be the old one.
    exif_log_ref(log);
    exif_log_unref(data->priv->log);
    data->priv->log = log;
}

int jpeg_data_append_section(JPEGData* data) {
    if (data == nullptr) {
        return 0;
    }
    if (!HasRoom(*data)) {
        const std::size_t bytes = std::max<std::size_t>(2 * std::size_t{data->count}, 1) * sizeof(JPEGSection);
        void* const grown = data->count < kMostJpegSections ? std::realloc(data->sections, bytes) : nullptr;
        if (grown == nullptr) {
            BX_LogJpegNoMemory(data, bytes);
            return 0;
        }
        data->sections = static_cast<JPEGSection*>(grown);
    }
    data->sections[data->count++] = {};
    return 1;
}

JPEGSection* jpeg_data_get_section(JPEGData* data, JPEGMarker marker) {
    for (unsigned int index = 0; data != nullptr && index < data->count; ++index) {
        if (data->sections[index].marker == marker) {
            return &data->sections[index];
        }
    }
    return nullptr;
}

ExifData* jpeg_data_get_exif_data(JPEGData* data) {
    JPEGSection* const section = data != nullptr ? FindExifSection(data) : nullptr;
    if (section == nullptr) {
        return nullptr;
    }
    exif_data_ref(section->content.app1);
    return section->content.app1;
}

void jpeg_data_set_exif_data(JPEGData* data, ExifData* exif) {
    if (data == nullptr || exif == nullptr) {
        return;
    }
    JPEGSection* section = FindExifSection(data);
    if (section == nullptr) {
        if (data->count == 0 || jpeg_data_append_section(data) == 0) {
            return;
        }
        section = &data->sections[1];
        std::memmove(section + 1, section, (data->count - 2) * sizeof(JPEGSection));
        *section = {};
        section->marker = kMarkerAPP1;
    }
    exif_data_ref(exif);
    ClearSection(*section);
    section->content.app1 = exif;
}

void BX_ClearJpegSections(JPEGData* data) {
    for (unsigned int index = 0; index < data->count; ++index) {
        ClearSection(data->sections[index]);
    }
    std::free(data->sections);
    std::free(data->data);
    data->sections = nullptr;
    data->count = 0;
    data->data = nullptr;
    data->size = 0;
}

void BX_LogJpegNoMemory(JPEGData* data, unsigned long count) {
    exif_log(data->priv->log, EXIF_LOG_CODE_NO_MEMORY, kJpegLogDomain, "Could not allocate %lu byte(s).", count);
}
