// Conversion between QString and the UTF-8 texts of the rest of the system, and the parts of a path.
#pragma once

#include <QString>

// Zeroes the `size` bytes of `dst` and copies as much of the UTF-8 form into them as fits: a text of `size` bytes or
// more is cut at any byte and not terminated. 0 when `dst` is null or `size` is 0, otherwise `dst`.
char* BX_QStringToUTF8(char* dst, unsigned int size, const QString& text);

// Null gives a null string.
QString BX_UTF8ToQString(const char* text);

// What stands before and behind the last "/" or "\" of a path. A bare name has an empty folder. The folder comes with
// "/".
QString BX_ExtractPath(const QString& path);
QString BX_ExtractFileName(const QString& path);

// The same into a buffer of `size` bytes, cut where it does not fit. 1 for null or a size of 0, and when the name with
// its zero does not fit; otherwise 0.
unsigned char BX_ExtractFileName(char* dst, unsigned int size, const char* path);
