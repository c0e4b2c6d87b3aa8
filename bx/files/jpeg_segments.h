// A JPEG stream taken apart into its segments, so that its EXIF segment can be set without decoding the picture.
#pragma once

#include <libexif/exif-data.h>
#include <libexif/exif-log.h>

// The second byte of a segment's marker, 0xC0 to 0xFE. Values without a name occur in files too.
enum JPEGMarker : unsigned char {
    kMarkerSOF0 = 0xC0,
    kMarkerDHT = 0xC4,
    kMarkerJPG = 0xC8,
    kMarkerDAC = 0xCC,
    kMarkerRST0 = 0xD0,
    kMarkerSOI = 0xD8,
    kMarkerEOI = 0xD9,
    kMarkerSOS = 0xDA,
    kMarkerDQT = 0xDB,
    kMarkerDNL = 0xDC,
    kMarkerDRI = 0xDD,
    kMarkerDHP = 0xDE,
    kMarkerEXP = 0xDF,
    kMarkerAPP0 = 0xE0,
    kMarkerAPP1 = 0xE1,
    kMarkerAPP13 = 0xED,
    kMarkerJPG0 = 0xF0,
    kMarkerCOM = 0xFE,
};

// What a segment holds: nothing for SOI and EOI, otherwise one of the two.
struct JPEGContent {
    unsigned char* generic;  // the body without marker and length, owned; not null when a body was read, even of size 0
    ExifData* app1;          // the EXIF of an APP1 segment; a reference is held
};

struct JPEGSection {
    JPEGMarker marker;
    JPEGContent content;
    unsigned int size;  // bytes of content.generic
};

struct JPEGDataPrivate;

// Made and freed by the functions below. Of the APP1 segments only the first with EXIF is taken apart; those with
// something else (XMP) and further ones keep their bytes.
struct JPEGData {
    JPEGSection* sections;  // in the order of the stream
    unsigned int count;
    unsigned char* data;  // entropy-coded image data after the SOS segment, further scans included
    unsigned int size;    // bytes of data
    JPEGDataPrivate* priv;
};

// More segments than this are not read: real pictures have some hundreds at most. A power of two.
inline constexpr unsigned int kMostJpegSections = 16384;

// All functions do nothing with a null container and give null or 0. A container belongs to one thread.

// ---- life (jpeg_segments.cpp) ----

// An empty container with one reference; null without memory. The forms with a source load it, and give what could be
// read.
JPEGData* jpeg_data_new();
JPEGData* jpeg_data_new_from_data(const unsigned char* bytes, unsigned int size);
JPEGData* jpeg_data_new_from_file(const char* path);

void jpeg_data_ref(JPEGData* data);
// Frees with the last reference.
void jpeg_data_unref(JPEGData* data);
// Frees at once, whatever references there are.
void jpeg_data_free(JPEGData* data);

// Sets the log for what goes wrong; a reference to it is taken. Null ends logging.
void jpeg_data_log(JPEGData* data, ExifLog* log);

// ---- segments (jpeg_segments.cpp) ----

// Adds a zeroed section at the end: 1, or 0 without memory and beyond kMostJpegSections. Moves the others.
int jpeg_data_append_section(JPEGData* data);

// The first section with the marker, or null. Valid until a section is added.
JPEGSection* jpeg_data_get_section(JPEGData* data, JPEGMarker marker);

// The EXIF of the stream with a new reference, which the caller gives back with exif_data_unref; or null.
ExifData* jpeg_data_get_exif_data(JPEGData* data);

// Puts `exif`, with a reference of its own, in the place of the EXIF that is there, or into a new section directly
// after the first one. A container with fewer than one section is left alone.
void jpeg_data_set_exif_data(JPEGData* data, ExifData* exif);

// ---- reading (jpeg_segments_read.cpp) ----

// Replaces the contents by those of a stream. Where the stream is damaged, reading ends with a message in the log, and
// the sections up to there stay. Needs memory in proportion to `size`.
void jpeg_data_load_data(JPEGData* data, const unsigned char* bytes, unsigned int size);
void jpeg_data_load_file(JPEGData* data, const char* path);

// Whether the last loading came to the end of the stream, so that the container lacks nothing of it. True before the
// first one.
bool BX_IsJpegComplete(const JPEGData* data);

// ---- writing (jpeg_segments_write.cpp) ----

// Puts the stream together in a new block, which the caller frees with std::free. Null and size 0 when the container is
// empty, when memory ends, and when a segment is longer than its 16-bit length can say: 65533 bytes.
void jpeg_data_save_data(JPEGData* data, unsigned char** bytes, unsigned int* size);

// 1 on success; 0, and the file as it was, on failure. The file is replaced as a whole. A container that lacks part of
// its stream, and one whose sections make no readable stream, replaces no file.
int jpeg_data_save_file(JPEGData* data, const char* path);

// ---- names (jpeg_markers.cpp) ----

// "SOI", "Start of image"; null for a marker without a name.
const char* jpeg_marker_get_name(JPEGMarker marker);
const char* jpeg_marker_get_description(JPEGMarker marker);

// Prints the list of sections to standard output.
void jpeg_data_dump(JPEGData* data);
