// What a picture file says besides the values of its pixels, carried from a photograph to the picture made of it.
#pragma once

#include <QByteArray>

// Resolutions are in dots per metre; 0 where the file does not say.
struct SBxPictureExtras {
    QByteArray iccProfile;  // for RGB pixels, byte for byte as it stands in the file; empty without one
    int dotsPerMeterX = 0;
    int dotsPerMeterY = 0;
    bool isTransparent = false;     // some pixel of the file lets through what is behind it
    bool hasUnusedProfile = false;  // the file's profile is damaged, or one for other pixels than RGB (grey, CMYK)

    bool HasResolution() const { return dotsPerMeterX > 0 && dotsPerMeterY > 0; }
};
