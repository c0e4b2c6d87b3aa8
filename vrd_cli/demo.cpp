// `vrd_demo PHOTO PERCENT OUT`: writes a shrunk copy of a photograph, as somebody does who passes it on.
#include <cstdio>
#include <cstdlib>
#include <exception>

#include "convert_picture.h"
#include "large_picture.h"

namespace {

constexpr int kQuality = 95;

int Fail(const char* name, const char* reason) {
    std::fprintf(stderr, "vrd_demo: %s: %s\n", name, reason);
    return 2;
}

int ShrinkFile(const char* source, double percent, const char* target) {
    SBxFileReport report;
    SBxPicBuf* read = nullptr;
    if (CBxConvertPicture::ReadInputFile(read, source, report) != 0) {
        return Fail(source, report.m_szReason);
    }
    const CBxPicBufHolder picture(read);
    const CBxSize<int> size = {static_cast<int>(picture->m_iWidth * percent / 100.0 + 0.5),
                               static_cast<int>(picture->m_iHeight * percent / 100.0 + 0.5)};
    CBxOwnedPic shrunk;
    if (BX_ShrinkPicture(shrunk, *picture, size) != 0) {
        return Fail(source, "it cannot be shrunk to this size");
    }
    SBxWriteOptions options;
    options.quality = kQuality;
    if (CBxConvertPicture::WriteOutputFile(&shrunk.Pic(), target, options, report) != 0) {
        return Fail(target, report.m_szReason);
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    const double percent = argc == 4 ? std::strtod(argv[2], nullptr) : 0.0;
    if (!(percent >= 1.0 && percent <= 100.0)) {
        std::fputs("usage: vrd_demo PHOTO PERCENT OUT\n", stderr);
        return 2;
    }
    try {
        return ShrinkFile(argv[1], percent, argv[3]);
    } catch (const std::exception& error) {
        return Fail(argv[1], error.what());
    }
}
