// The bytes of a picture file whose metadata is read or replaced.
#pragma once

#include "heap_array.h"

enum class EBxFileReading { kDone, kNotOpened, kNotRead, kNoMemory };

// Reads a regular file of at most 512 MB. The name is taken byte for byte, as CBxFileReplacement takes it, so that the
// file that is read is the one that is replaced. Never waits for the other end of a pipe. `bytes` is empty on failure.
EBxFileReading BX_ReadJpegFile(const char* name, CBxHeapArray<unsigned char>& bytes);
