#include "jpeg_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "base_files.h"
#include "jpeg_segments_private.h"

namespace {

EBxFileReading ReadAll(int descriptor, CBxHeapArray<unsigned char>& bytes) {
    struct stat status = {};
    if (fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode) || status.st_size > kMostJpegFileBytes) {
        return EBxFileReading::kNotRead;
    }
    if (!bytes.Allocate(static_cast<std::size_t>(status.st_size))) {
        return EBxFileReading::kNoMemory;
    }
    std::size_t done = 0;
    while (done < bytes.Size()) {
        const ssize_t count = read(descriptor, bytes.Data() + done, bytes.Size() - done);
        if (count == 0 || (count < 0 && errno != EINTR)) {
            bytes.Free();
            return EBxFileReading::kNotRead;
        }
        done += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
    return EBxFileReading::kDone;
}

}  // namespace

EBxFileReading BX_ReadJpegFile(const char* name, CBxHeapArray<unsigned char>& bytes) {
    bytes.Free();
    char local[kBxPathBytes];
    const int descriptor =
        BX_GetLocalName(local, name) ? open(local, O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY) : -1;
    if (descriptor < 0) {
        return EBxFileReading::kNotOpened;
    }
    const EBxFileReading result = ReadAll(descriptor, bytes);
    close(descriptor);
    return result;
}
