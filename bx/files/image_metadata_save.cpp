#include <libiptcdata/iptc-jpeg.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "file_replacement.h"
#include "image_metadata.h"
#include "jpeg_file.h"
#include "jpeg_segments.h"
#include "jpeg_segments_private.h"

namespace {

using Log = CBxImageMetadata;
using Bytes = CBxHeapArray<unsigned char>;

constexpr unsigned int kPs3BufferBytes = 65536;

// The Photoshop segment with the block as its only resource. False, with the message logged, when it cannot be said.
bool MakePs3(IptcData* iptc, Bytes& ps3, unsigned int& ps3Bytes) {
    unsigned char* stream = nullptr;
    unsigned int streamBytes = 0;
    iptc_data_sort(iptc);
    if (iptc_data_save(iptc, &stream, &streamBytes) < 0) {
        Log::LogError("Failed to generate IPTC bytestream");
        return false;
    }
    const int result = ps3.Allocate(kPs3BufferBytes)
                           ? iptc_jpeg_ps3_save_iptc(nullptr, 0, stream, streamBytes, ps3.Data(), kPs3BufferBytes)
                           : 0;
    iptc_data_free_buf(iptc, stream);
    // A length that does not fit the segment is written all the same by the library, and damages the picture.
    if (result <= 0 || result > static_cast<int>(kMostSegmentBytes)) {
        Log::LogError("Failed to generate PS3 header.");
        return false;
    }
    ps3Bytes = static_cast<unsigned int>(result);
    return true;
}

// A block of memory that the library writes like a file.
class COutputStream {
public:
    COutputStream() : m_pFile(open_memstream(&m_pBytes, &m_uiSize)) {}
    COutputStream(const COutputStream&) = delete;
    COutputStream& operator=(const COutputStream&) = delete;
    ~COutputStream() {
        Close();
        std::free(m_pBytes);
    }

    std::FILE* File() { return m_pFile; }
    const unsigned char* Data() const { return reinterpret_cast<const unsigned char*>(m_pBytes); }
    std::size_t Size() const { return m_uiSize; }

    // False when something did not fit into memory.
    bool Close() {
        if (m_pFile == nullptr) {
            return false;
        }
        const bool marked = std::ferror(m_pFile) != 0;
        const bool closed = std::fclose(m_pFile) == 0;
        m_pFile = nullptr;
        return closed && !marked;
    }

private:
    char* m_pBytes = nullptr;  // set, like the size, by Close
    std::size_t m_uiSize = 0;
    std::FILE* m_pFile;
};

// Number of bytes from the coded image to the end, or 0 for what is no JPEG that can be read to its end.
std::size_t ImageBytes(const unsigned char* bytes, std::size_t size) {
    if (size > kMostJpegFileBytes + kPs3BufferBytes) {
        return 0;
    }
    JPEGData* const data = jpeg_data_new_from_data(bytes, static_cast<unsigned int>(size));
    const bool whole = BX_IsJpegComplete(data) && data->count > 0 && data->sections[0].marker == kMarkerSOI;
    const std::size_t endBytes = whole && data->sections[data->count - 1].marker != kMarkerSOS ? 2 : 0;
    const std::size_t count = whole && data->size != 0 ? data->size + endBytes : 0;
    jpeg_data_unref(data);
    return count;
}

// Whether the coded image came through as it was, with all that follows it.
bool HasSameImage(const COutputStream& output, const Bytes& input) {
    const std::size_t count = ImageBytes(input.Data(), input.Size());
    return count != 0 && ImageBytes(output.Data(), output.Size()) == count &&
           std::memcmp(output.Data() + output.Size() - count, input.Data() + input.Size() - count, count) == 0;
}

bool ReplacePs3(Bytes& input, const Bytes& ps3, unsigned int ps3Bytes, COutputStream& output) {
    std::FILE* const in = input.Size() != 0 ? fmemopen(input.Data(), input.Size(), "rb") : nullptr;
    if (in == nullptr) {
        return false;
    }
    const bool saved =
        output.File() != nullptr && iptc_jpeg_save_with_ps3(in, output.File(), ps3.Data(), ps3Bytes) >= 0;
    std::fclose(in);
    return output.Close() && saved && HasSameImage(output, input);
}

bool PutExif(const char* fileName, ExifData* exif) {
    JPEGData* const data = jpeg_data_new_from_file(fileName);
    const bool isJpeg = data != nullptr && data->count > 0 && data->sections[0].marker == kMarkerSOI;
    bool saved = false;
    if (isJpeg) {
        jpeg_data_set_exif_data(data, exif);
        ExifData* const placed = jpeg_data_get_exif_data(data);
        saved = placed == exif && jpeg_data_save_file(data, fileName) == 1;
        exif_data_unref(placed);
    }
    jpeg_data_unref(data);
    return saved;
}

}  // namespace

unsigned char CBxImageMetadata::SaveMetadata(const char* fileName, CBxImageMetadata& md) {
    const unsigned char exifResult = SaveExif(fileName, md);
    const unsigned char iptcResult = SaveIptc(fileName, md);
    return exifResult != 0 || iptcResult != 0 ? 1 : 0;
}

unsigned char CBxImageMetadata::SaveHeld(const char* fileName, CBxImageMetadata& md, SBxMetadataBlocks& leftBehind) {
    const SBxMetadataBlocks failed = {md.exif != nullptr && SaveExif(fileName, md) != 0,
                                      md.iptc != nullptr && SaveIptc(fileName, md) != 0};
    leftBehind.exif = leftBehind.exif || failed.exif;
    leftBehind.iptc = leftBehind.iptc || failed.iptc;
    return failed.Any() ? 1 : 0;
}

unsigned char CBxImageMetadata::SaveExif(const char* fileName, CBxImageMetadata& md) {
    if (fileName == nullptr || md.exif == nullptr) {
        LogError("Exif save failed due to NULL pointer.");
        return 1;
    }
    if (!PutExif(fileName, md.exif)) {
        LogError("Exif save to %s failed.", fileName);
        return 1;
    }
    LogInfo("Exif successfully saved.");
    return 0;
}

unsigned char CBxImageMetadata::SaveIptc(const char* fileName, CBxImageMetadata& md) {
    if (fileName == nullptr || md.iptc == nullptr) {
        LogError("IPTC data load failed due to NULL pointer.");
        return 1;
    }
    Bytes ps3;
    unsigned int ps3Bytes = 0;
    if (!MakePs3(md.iptc, ps3, ps3Bytes)) {
        return 1;
    }
    Bytes input;
    if (BX_ReadJpegFile(fileName, input) != EBxFileReading::kDone) {
        LogError("Can't open %s", fileName);
        return 1;
    }
    CBxFileReplacement replacement;
    if (replacement.Begin(fileName) != 0) {
        LogError("Can't open temporary file for writing.");
        return 1;
    }
    COutputStream output;
    if (!ReplacePs3(input, ps3, ps3Bytes, output) || replacement.Write(output.Data(), output.Size()) != 0 ||
        replacement.Commit() != 0) {
        LogError("Failed to save IPTC data");
        return 1;
    }
    LogInfo("IPTC data successfully saved.");
    return 0;
}
