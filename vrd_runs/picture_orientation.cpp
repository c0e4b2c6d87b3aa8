#include "picture_orientation.h"

#include <libexif/exif-data.h>

#include <cstddef>

#include "image_metadata.h"
#include "result.h"

namespace {

constexpr int kLastOrientation = 8;

// Where the upright picture is read in the stored one: its first pixel, and the bytes from a pixel to the next one to
// the right and to the one below.
struct SWalk {
    const unsigned char* first;
    std::ptrdiff_t right;
    std::ptrdiff_t down;
};

SWalk WalkOf(const SBxPicBuf& stored, int orientation) {
    const std::ptrdiff_t column = 3;
    const std::ptrdiff_t row = stored.m_iStride;
    const unsigned char* const topLeft = stored.m_pData;
    const unsigned char* const topRight = topLeft + (stored.m_iWidth - 1) * column;
    const unsigned char* const bottomLeft = topLeft + (stored.m_iHeight - 1) * row;
    const unsigned char* const bottomRight = bottomLeft + (stored.m_iWidth - 1) * column;
    switch (orientation) {
        case 2:
            return {topRight, -column, row};
        case 3:
            return {bottomRight, -column, -row};
        case 4:
            return {bottomLeft, column, -row};
        case 5:
            return {topLeft, row, column};
        case 6:
            return {bottomLeft, -row, column};
        case 7:
            return {bottomRight, -row, -column};
        case 8:
            return {topRight, row, -column};
        default:
            return {topLeft, column, row};
    }
}

}  // namespace

int BX_ReadOrientation(const char* fileName) {
    CBxOwnedMetadata metadata;
    if (CBxImageMetadata::LoadExif(fileName, metadata) != 0 || metadata.exif == nullptr) {
        return kUpright;
    }
    const ExifEntry* const entry = exif_content_get_entry(metadata.exif->ifd[EXIF_IFD_0], EXIF_TAG_ORIENTATION);
    if (entry == nullptr || entry->format != EXIF_FORMAT_SHORT || entry->components != 1 || entry->data == nullptr ||
        entry->size < 2) {
        return kUpright;
    }
    const int orientation = exif_get_short(entry->data, exif_data_get_byte_order(metadata.exif));
    return orientation >= kUpright && orientation <= kLastOrientation ? orientation : kUpright;
}

bool BX_SwapsSides(int orientation) {
    return orientation >= 5 && orientation <= kLastOrientation;
}

unsigned char BX_PutUpright(CBxOwnedPic& target, const SBxPicBuf& stored, int orientation) {
    const bool swaps = BX_SwapsSides(orientation);
    const int width = swaps ? stored.m_iHeight : stored.m_iWidth;
    const int height = swaps ? stored.m_iWidth : stored.m_iHeight;
    if (target.Allocate(width, height, 3, 8) != kBxSuccess) {
        return kBxOutOfMemory;
    }
    const SWalk walk = WalkOf(stored, orientation);
    for (int y = 0; y < height; ++y) {
        unsigned char* to = BX_PicRow<unsigned char>(target.Pic(), y);
        const unsigned char* from = walk.first + y * walk.down;
        for (int x = 0; x < width; ++x, to += 3, from += walk.right) {
            to[0] = from[0];
            to[1] = from[1];
            to[2] = from[2];
        }
    }
    return kBxSuccess;
}

CBxPoint<double> BX_PutUpright(const CBxPoint<double>& point, CBxSize<int> stored, int orientation) {
    const CBxPoint<double> mirrored{stored.width - point.x, stored.height - point.y};
    switch (orientation) {
        case 2:
            return {mirrored.x, point.y};
        case 3:
            return mirrored;
        case 4:
            return {point.x, mirrored.y};
        case 5:
            return {point.y, point.x};
        case 6:
            return {mirrored.y, point.x};
        case 7:
            return {mirrored.y, mirrored.x};
        case 8:
            return {point.y, mirrored.x};
        default:
            return point;
    }
}
