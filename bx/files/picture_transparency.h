// Pictures with pixels that let through what is behind them.
#pragma once

#include <QColor>
#include <QImage>

// Whether some pixel is not fully opaque. An alpha channel that is opaque all over does not count.
bool BX_IsTransparent(const QImage& image);

// The image before a background of one colour, as RGB888. The components are mixed as they stand in the file, as other
// programs do it. Null without memory.
QImage BX_FlattenImage(const QImage& image, QRgb background);

// Reads "#rrggbb" or the name of a colour on web pages ("white", "SteelBlue"). False for everything else.
bool BX_ParseColour(const char* text, QRgb& colour);
