// Small JPEG streams, whole and damaged, made in code. None can be decoded: only the segments matter.
#pragma once

#include <string>
#include <vector>

struct SJpegSample {
    const char* name;
    std::string bytes;
    bool isWhole;  // every byte belongs to a segment or to the image data, and it is written back byte for byte
};

// A segment with its marker and its length.
std::string MakeJpegSegment(unsigned char marker, const std::string& body);

// SOI, JFIF, the given segments, tables, one scan and EOI.
std::string MakeJpegStream(const std::string& segments);

// The body of an APP1 segment with an EXIF block of a few entries.
std::string MakeExifBody();

std::vector<SJpegSample> MakeJpegSamples();
