#include "jpeg_corpus.h"

#include <libexif/exif-data.h>

#include <cstdlib>
#include <cstring>

namespace {

using namespace std::string_literals;

const std::string kStart = "\xFF\xD8"s;
const std::string kEnd = "\xFF\xD9"s;
const std::string kScan = "\x12\x34\xFF\x00\x56\xFF\xD0\x78"s;

void AddText(ExifData* exif, ExifIfd ifd, ExifTag tag, const std::string& text) {
    ExifEntry* const entry = exif_entry_new();
    exif_content_add_entry(exif->ifd[ifd], entry);
    exif_entry_initialize(entry, tag);
    std::free(entry->data);
    entry->data = static_cast<unsigned char*>(std::malloc(text.size() + 1));
    std::memcpy(entry->data, text.c_str(), text.size() + 1);
    entry->format = EXIF_FORMAT_ASCII;
    entry->components = text.size() + 1;
    entry->size = static_cast<unsigned int>(text.size() + 1);
    exif_entry_unref(entry);
}

std::string Headers() {
    return kStart + MakeJpegSegment(0xE0, "JFIF\0\1\1\0\0\1\0\1\0\0"s);
}

std::string Tables() {
    return MakeJpegSegment(0xDB, std::string(65, '\1')) + MakeJpegSegment(0xC0, "\x08\0\x10\0\x10\1\1\x11\0"s) +
           MakeJpegSegment(0xC4, std::string(20, '\2'));
}

std::string ScanHeader() {
    return MakeJpegSegment(0xDA, "\1\1\0\0\x3F\0"s);
}

// An EXIF block whose entries count on one another: offsets to themselves, to each other and past the end.
std::string MakeTwistedExif() {
    std::string tiff = "II\x2A\0\x08\0\0\0\x04\0"s;
    tiff += "\x69\x87\4\0\1\0\0\0\x08\0\0\0"s;            // the EXIF directory is this one
    tiff += "\x0F\1\2\0\xFF\xFF\xFF\xFF\x20\0\0\0"s;      // a maker of 4 GB
    tiff += "\x7C\x92\7\0\xFF\x00\0\0\xF0\xFF\xFF\xFF"s;  // a maker note past the end
    tiff += "\x25\x88\4\0\1\0\0\0\xFE\xFF\xFF\x7F"s;      // a GPS directory far away
    tiff += "\x08\0\0\0"s;                                // and the next directory is this one again
    return "Exif\0\0"s + tiff;
}

void AddWhole(std::vector<SJpegSample>& samples) {
    const std::string xmp = "http://example.org/packet\0<x:meta/>"s;
    const std::string stream = MakeJpegStream("");
    samples.push_back({"plain", stream, true});
    samples.push_back({"no_end", stream.substr(0, stream.size() - 2), true});
    samples.push_back({"exif", MakeJpegStream(MakeJpegSegment(0xE1, MakeExifBody())), true});
    samples.push_back({"xmp", MakeJpegStream(MakeJpegSegment(0xE1, xmp)), true});
    samples.push_back({"xmp_exif_exif",
                       MakeJpegStream(MakeJpegSegment(0xE1, xmp) + MakeJpegSegment(0xE1, MakeExifBody()) +
                                      MakeJpegSegment(0xE1, "Exif\0\0junk"s)),
                       true});
    samples.push_back({"empty_app1", MakeJpegStream(MakeJpegSegment(0xE1, "")), true});
    samples.push_back({"photoshop", MakeJpegStream(MakeJpegSegment(0xED, "Photoshop 3.0\0"s)), true});
    samples.push_back({"longest_segment", MakeJpegStream(MakeJpegSegment(0xFE, std::string(65533, 'c'))), true});
    samples.push_back({"two_pictures", stream + stream, true});
    samples.push_back({"headers_only", Headers() + Tables(), true});
}

void AddDamaged(std::vector<SJpegSample>& samples) {
    const std::string stream = MakeJpegStream("");
    samples.push_back({"nothing", "", false});
    samples.push_back({"text", "no picture at all", false});
    samples.push_back({"only_fill", std::string(6, '\xFF'), false});
    samples.push_back({"eight_fill", kStart + std::string(8, '\xFF') + stream.substr(3), false});
    samples.push_back({"no_lead", "\xD8"s + stream.substr(2), false});
    samples.push_back({"length_0", kStart + "\xFF\xFE\0\0"s + stream.substr(2), false});
    samples.push_back({"length_1", kStart + "\xFF\xE1\0\1"s + stream.substr(2), false});
    samples.push_back({"half_length", kStart + "\xFF\xE1\0"s, false});
    samples.push_back({"long_body", kStart + "\xFF\xE1\xFF\xFF"s + stream.substr(2), false});
    samples.push_back({"bare_scan", kStart + "\xFF\xDA"s, false});
    samples.push_back({"stuffed_end", stream.substr(0, stream.size() - 2) + "\xFF\0"s, false});
    samples.push_back({"flood", std::string(3 * 16384, '\xD8'), false});
    samples.push_back({"twisted_exif", MakeJpegStream(MakeJpegSegment(0xE1, MakeTwistedExif())), false});
    samples.push_back(
        {"many_twisted",
         MakeJpegStream(MakeJpegSegment(0xE1, MakeTwistedExif()) + MakeJpegSegment(0xE1, MakeTwistedExif())), false});
}

}  // namespace

std::string MakeJpegSegment(unsigned char marker, const std::string& body) {
    const std::size_t length = body.size() + 2;
    std::string segment = {'\xFF', static_cast<char>(marker), static_cast<char>(length >> 8),
                           static_cast<char>(length & 0xFF)};
    return segment + body;
}

std::string MakeJpegStream(const std::string& segments) {
    return Headers() + segments + Tables() + ScanHeader() + kScan + kEnd;
}

std::string MakeExifBody() {
    ExifData* const exif = exif_data_new();
    exif_data_set_byte_order(exif, EXIF_BYTE_ORDER_INTEL);
    AddText(exif, EXIF_IFD_0, EXIF_TAG_MAKE, "Maker of cameras");
    AddText(exif, EXIF_IFD_EXIF, EXIF_TAG_DATE_TIME_ORIGINAL, "2024:05:31 17:04:59");
    exif_data_fix(exif);
    unsigned char* bytes = nullptr;
    unsigned int size = 0;
    exif_data_save_data(exif, &bytes, &size);
    const std::string body(reinterpret_cast<char*>(bytes), size);
    std::free(bytes);
    exif_data_unref(exif);
    return body;
}

std::vector<SJpegSample> MakeJpegSamples() {
    std::vector<SJpegSample> samples;
    AddWhole(samples);
    AddDamaged(samples);
    return samples;
}
