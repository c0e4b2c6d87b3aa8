// Takes any bytes apart as a JPEG stream and puts them together again.
#include <cstdlib>
#include <cstring>

#include "fuzz_target.h"
#include "jpeg_segments.h"

namespace {

constexpr unsigned int kMostInputBytes = 1U << 24;

// What was read to its end is written so that it reads as the same sections with the same image data.
void RequireSameAgain(const JPEGData* data, const unsigned char* bytes, unsigned int size) {
    JPEGData* const again = jpeg_data_new_from_data(bytes, size);
    Require(again != nullptr && BX_IsJpegComplete(again));
    Require(again->count == data->count && again->size == data->size);
    Require(data->size == 0 || std::memcmp(again->data, data->data, data->size) == 0);
    for (unsigned int index = 0; index < data->count; ++index) {
        const JPEGSection& one = data->sections[index];
        const JPEGSection& other = again->sections[index];
        Require(one.marker == other.marker && one.size == other.size);
        Require(one.size == 0 || std::memcmp(one.content.generic, other.content.generic, one.size) == 0);
    }
    jpeg_data_unref(again);
}

void RequireExifCanBeSet(JPEGData* data) {
    ExifData* const exif = exif_data_new();
    Require(exif != nullptr);
    const unsigned int sectionsBefore = data->count;
    jpeg_data_set_exif_data(data, exif);
    ExifData* const placed = jpeg_data_get_exif_data(data);
    Require(sectionsBefore == 0 || sectionsBefore == kMostJpegSections || placed == exif);
    exif_data_unref(placed);
    exif_data_unref(exif);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* input, std::size_t inputSize) {
    if (inputSize > kMostInputBytes) {
        return 0;
    }
    JPEGData* const data = jpeg_data_new();
    Require(data != nullptr);
    jpeg_data_load_data(data, input, static_cast<unsigned int>(inputSize));
    Require(data->count <= kMostJpegSections);
    unsigned char* bytes = nullptr;
    unsigned int size = 0;
    jpeg_data_save_data(data, &bytes, &size);
    Require((bytes == nullptr) == (size == 0));
    if (bytes != nullptr && BX_IsJpegComplete(data)) {
        RequireSameAgain(data, bytes, size);
    }
    std::free(bytes);
    RequireExifCanBeSet(data);
    jpeg_data_unref(data);
    return 0;
}
