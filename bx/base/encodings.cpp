#include "encodings.h"

#include <iconv.h>
#include <string.h>

#include <cstddef>

namespace {

constexpr char kUtf8[] = "UTF-8";
constexpr unsigned int kCodePageBytes = 100;

bool IsContinuationByte(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

void CopyUtf8(char* dst, std::size_t dstSize, const char* src) {
    std::size_t length = strnlen(src, dstSize);
    if (length == dstSize) {
        // One byte less for the zero, and no half character before it. A run of more than three continuation bytes is
        // no UTF-8, so that it may be cut anywhere.
        --length;
        for (int step = 0; step < 3 && length > 0 && IsContinuationByte(src[length]); ++step) {
            --length;
        }
    }
    memmove(dst, src, length);
    dst[length] = '\0';
}

char* Convert(char* dst, unsigned int dstSize, const char* src, const char* codePage, bool toUtf8) {
    if (dst == nullptr || dstSize == 0 || src == nullptr || codePage == nullptr) {
        return dst;
    }
    if (strcmp(codePage, kUtf8) == 0) {
        CopyUtf8(dst, dstSize, src);
        return dst;
    }
    iconv_t converter = toUtf8 ? iconv_open(kUtf8, codePage) : iconv_open(codePage, kUtf8);
    if (converter == reinterpret_cast<iconv_t>(-1)) {
        return dst;
    }
    // iconv reads through this pointer only; its signature lacks the const.
    char* input = const_cast<char*>(src);
    std::size_t inputLeft = strlen(src);
    char* output = dst;
    std::size_t outputLeft = dstSize - 1;
    iconv(converter, &input, &inputLeft, &output, &outputLeft);
    // Code pages with shift states want to end in the initial one.
    iconv(converter, nullptr, nullptr, &output, &outputLeft);
    *output = '\0';
    iconv_close(converter);
    return dst;
}

}  // namespace

unsigned char BX_GetCodePage(char* buf, unsigned int size) {
    if (buf == nullptr || size == 0) {
        return 1;
    }
    CopyUtf8(buf, size, kUtf8);
    return 0;
}

char* BX_ConvertStrToUTF8(char* dst, unsigned int dstSize, const char* src, const char* codePage) {
    return Convert(dst, dstSize, src, codePage, true);
}

char* BX_ConvertUTF8ToStr(char* dst, unsigned int dstSize, const char* src, const char* codePage) {
    return Convert(dst, dstSize, src, codePage, false);
}

char* BX_ConvertUTF8ToLocalStr(char* dst, unsigned int dstSize, const char* src) {
    char codePage[kCodePageBytes] = {};
    BX_GetCodePage(codePage, sizeof(codePage));
    return BX_ConvertUTF8ToStr(dst, dstSize, src, codePage);
}

char* BX_ConvertLocalStrToUTF8(char* dst, unsigned int dstSize, const char* src) {
    char codePage[kCodePageBytes] = {};
    BX_GetCodePage(codePage, sizeof(codePage));
    return BX_ConvertStrToUTF8(dst, dstSize, src, codePage);
}
