// What the header of an encoded JPEG says about its pixels.
#pragma once

#include <QByteArray>

#include "file_report.h"
#include "picture_extras.h"

// Sets the resolution of an encoded JPEG, or says that there is none, and adds the colour profile when `isRgb` (else
// it is left out). `jpeg` begins as encoders write it, with the JFIF segment directly after the start; the coded
// picture stays as it is. False, with the reason in the report, when it begins otherwise or the profile is longer than
// a JPEG can hold (16 MB).
bool BX_DescribeJpeg(QByteArray& jpeg, const SBxPictureExtras& extras, bool isRgb, SBxFileReport& report);
