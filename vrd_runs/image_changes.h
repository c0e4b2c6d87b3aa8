// What happens to photographs on their way: saving, scaling, cutting, turning, brightening.
//
// From RGB888 to RGB888; a null image where memory cannot be had or nothing is left of the picture. Callable from any
// thread once BX_LoadPictureDecoders was called on the main one.
#pragma once

#include <QImage>

// Saved as JPEG and read again; `quality` is 0 to 100.
QImage BX_SaveAsJpeg(const QImage& picture, int quality);

// Shrinks with a Lanczos filter, as programs for pictures do; enlarges bicubically.
QImage BX_ScaleImage(const QImage& picture, double factor);

// Cuts off a share of the width or height at each side.
QImage BX_CropImage(const QImage& picture, double left, double top, double right, double bottom);

// Clockwise as seen on a screen, in a frame of the old size; the corners that come free are black.
QImage BX_TurnImage(const QImage& picture, double degrees);

// gain * 255 (v / 255) ^ exponent + offset, for each component.
QImage BX_ToneImage(const QImage& picture, double gain, double offset, double exponent);
