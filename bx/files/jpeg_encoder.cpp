#include "jpeg_encoder.h"

#include <turbojpeg.h>

#include <algorithm>
#include <memory>
#include <type_traits>

namespace {

constexpr int kDefaultQuality = 75;

struct SDestroy {
    void operator()(void* compressor) const { tjDestroy(compressor); }
};
struct SFree {
    void operator()(unsigned char* buffer) const { tjFree(buffer); }
};
using CCompressor = std::unique_ptr<std::remove_pointer_t<tjhandle>, SDestroy>;

}  // namespace

bool BX_EncodeFullColourJpeg(QByteArray& jpeg, const SBxPicBuf& picture, int quality, SBxFileReport& report) {
    if (picture.m_pData == nullptr || picture.m_iComponents != 3 || picture.m_iBitsPerComponent != 8) {
        report.SetReason("the picture is in a form that cannot be written");
        return false;
    }
    const CCompressor compressor(tjInitCompress());
    if (compressor == nullptr) {
        report.SetReason("there is not enough memory");
        return false;
    }
    unsigned char* buffer = nullptr;
    unsigned long size = 0;
    // The exact transform, which Qt's writer uses as well; the fast one is the default here.
    const int result = tjCompress2(compressor.get(), picture.m_pData, picture.m_iWidth, picture.m_iStride,
                                   picture.m_iHeight, TJPF_BGR, &buffer, &size, TJSAMP_444,
                                   quality < 0 ? kDefaultQuality : std::clamp(quality, 1, 100), TJFLAG_ACCURATEDCT);
    const std::unique_ptr<unsigned char, SFree> owner(buffer);
    if (result != 0) {
        report.SetReason("it cannot be encoded: %s", tjGetErrorStr2(compressor.get()));
        return false;
    }
    jpeg = QByteArray(reinterpret_cast<const char*>(buffer), static_cast<qsizetype>(size));
    return true;
}
