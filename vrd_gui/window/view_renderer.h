// Draws the visible part of a picture.
#pragma once

#include <QImage>

#include "owned_pic.h"
#include "picture_pyramid.h"
#include "view_geometry.h"

// From this zoom on every picture pixel is drawn as a crisp square.
inline constexpr double kCrispZoom = 2.0;

// Keeps its buffers from frame to frame. One object belongs to one thread; it shares the work of a frame with a few
// threads of its own that end with the frame.
class CBxViewRenderer {
public:
    // The view's pixels; everything around the picture has the colour `surround`. The image is null without memory and
    // stays valid until the next call.
    const QImage& Render(const CBxPicturePyramid& pyramid, const SBxViewGeometry& geometry, QRgb surround);

private:
    QImage m_Frame;
    CBxOwnedPic m_Pixels;  // the picture's part of the frame, as it is drawn
};
