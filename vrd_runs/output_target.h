// Looks at a file that is to be written, before any work is done for it.
#pragma once

#include <string>

enum class EBxPictureFormat { kJpeg, kPng, kTiff, kBmp, kUnknown };

// By the ending of the name, in any case.
EBxPictureFormat BX_GetPictureFormat(const std::string& name);

// Empty when `output` may be written; otherwise why not: no known ending, a folder that is missing, a file that is
// there already (unless `force`), or one that is `source` itself, under whatever name.
std::string BX_GetOutputFault(const std::string& output, const std::string& source, bool force);

// The same for a page, whose name ends with .html or .htm.
std::string BX_GetPageFault(const std::string& page, const std::string& source, bool force);
