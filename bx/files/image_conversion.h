// Converts images without Qt's thread pool.
#pragma once

#include <QImage>

// The same as image.convertToFormat(format) for formats of 24 bits a pixel and more, made in bands of a few rows.
//
// Qt hands the bands of a larger image to pool threads and waits for them; where no thread can be started, for want of
// memory or by a limit, it waits for ever. Null without memory.
QImage BX_ConvertImage(const QImage& image, QImage::Format format);
