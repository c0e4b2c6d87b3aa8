// The picture that the main window works on.
#pragma once

#include <QString>
#include <string>

#include "owned_pic.h"
#include "picture_extras.h"

struct SBxOpenPicture {
    CBxOwnedPic picture;      // 3_8; no pixels when nothing is open
    QString path;             // the file that it was read from or saved to last; absolute
    QString source;           // the photograph that was opened, whose metadata go into saved files
    SBxPictureExtras extras;  // of the photograph
    int orientation = 1;      // of the photograph, as in EXIF; the pixels are as they are stored
    bool isModified = false;  // signed, and not saved since
    std::string sign;         // that was written into the picture since it was read; empty: none

    bool IsOpen() const { return picture->m_pData != nullptr; }
};
