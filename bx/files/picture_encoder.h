// Turns a picture record into the bytes of a picture file.
#pragma once

#include <QByteArray>

#include "convert_picture.h"

// The ending of a file's name in small letters, without its dot; empty when there is none.
QByteArray BX_GetEnding(const char* fileName);

// Whether a name with this ending gets a JPEG.
bool BX_IsJpegEnding(const QByteArray& ending);

// Encodes a 3_8 or 1_8 picture in the format that the ending of `fileName` stands for, into memory: writers of some
// formats report success when the disk is full. Quality, chroma and extras of the options are looked at; a profile that
// the format or the picture cannot take is marked in the report. False, with the reason in the report, on failure. May
// throw std::bad_alloc.
bool BX_EncodePicture(QByteArray& bytes, SBxPicBuf& picture, const char* fileName, const SBxWriteOptions& options,
                      SBxFileReport& report);
