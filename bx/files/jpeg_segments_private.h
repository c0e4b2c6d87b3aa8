// What the sources of the segment container share.
#pragma once

#include "heap_array.h"
#include "jpeg_segments.h"

struct JPEGDataPrivate {
    unsigned int refCount;
    ExifLog* log;     // a reference is held; may be null
    bool isCutShort;  // the last loading did not come to the end of its stream
};

inline constexpr char kJpegLogDomain[] = "jpeg-data";

// What a 16-bit length that counts itself leaves for the body of a segment.
inline constexpr unsigned int kMostSegmentBytes = 65533;

// Pictures are far smaller; this keeps a wrong file from taking all memory.
inline constexpr unsigned int kMostJpegFileBytes = 512U * 1024 * 1024;

// Frees all that the container holds, but neither itself nor its log.
void BX_ClearJpegSections(JPEGData* data);

// Logs that `count` bytes of memory could not be had.
void BX_LogJpegNoMemory(JPEGData* data, unsigned long count);
