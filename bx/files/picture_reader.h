// Decodes a picture file after it was looked at: nothing is decoded that is no regular file or declares too much.
#pragma once

#include <QImage>
#include <cstdint>

#include "file_report.h"
#include "picture_extras.h"

// More than this is refused before memory is taken for the pixels.
inline constexpr std::int64_t kMostPixelsRead = 100'000'000;

// Decodes the file `fileName`, a name of any bytes that the system takes. The decoder is chosen by what the file holds,
// then by its ending. The file's own rows and columns are kept: an orientation in its metadata is not applied.
//
// `extras`, unless null, gets what the file says besides its pixels. Whether they are transparent is looked at only
// then.
//
// A file that is damaged or cut off but decodes is given back with a warning in the report; what is missing is grey.
// Null, with the reason in the report, when nothing can be decoded. May be called from any thread; throws nothing.
QImage BX_DecodePicture(const char* fileName, SBxFileReport& report, SBxPictureExtras* extras = nullptr);

// Loads the decoders' plugins. To be called on the main thread before pictures are read on others: Qt ties the plugins
// to the thread that first asks for them, and crashes when that one has ended.
void BX_LoadPictureDecoders();
