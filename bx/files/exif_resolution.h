// The resolution that a camera or a photo editor noted in the EXIF data of a JPEG.
#pragma once

// Sets both to dots per metre and returns true when the file is a JPEG whose EXIF data say so.
bool BX_GetExifResolution(const char* fileName, int& dotsPerMeterX, int& dotsPerMeterY);
