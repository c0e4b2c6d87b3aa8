// A JPEG encoder for what Qt's does not offer: colour as fine as brightness.
#pragma once

#include <QByteArray>

#include "file_report.h"
#include "pic_buf.h"

// Encodes a 3_8 picture with colour planes of full size (4:4:4). `quality` is 0 to 100, on the scale of Qt's writer, or
// -1 for its default, 75. The stream begins with SOI and JFIF. False, with the reason in the report, for other
// pictures, more than 65,500 rows or columns, and without memory.
bool BX_EncodeFullColourJpeg(QByteArray& jpeg, const SBxPicBuf& picture, int quality, SBxFileReport& report);
