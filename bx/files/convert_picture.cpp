#include "convert_picture.h"

#include <cstring>
#include <new>

#include "image_conversion.h"
#include "memory_shortage.h"
#include "pic_buf_api.h"
#include "result.h"

namespace {

constexpr int kRgb888 = static_cast<int>(QImage::Format_RGB888);
static_assert(kRgb888 == 13 && QImage::Format_Indexed8 == 3, "these numbers stand in users' logs");

using Log = CBxConvertPicture;

CBxPicBufHolder MakeRecord(int width, int height) {
    CBxPicBufHolder record(new (std::nothrow) SBxPicBuf);
    if (record != nullptr) {
        CBxPicBufAPI::Init(*record);
        if (CBxPicBufAPI::ReinitHeap(*record, width, height, 3, 8) != kBxSuccess) {
            record.reset();
        }
    }
    return record;
}

// Copies the pixels of an image that has the record's size and component order already.
bool CopyPixels(SBxPicBuf& record, const QImage& image) {
    const qsizetype imageStride = image.bytesPerLine();
    if (record.m_iStride == imageStride) {
        Log::LogInfoDetail("CBxConvertPicture: stride==QImage->bytesPerLine");
        std::memcpy(record.m_pData, image.constBits(), record.m_uiByteSize);
        return true;
    }
    if (record.m_iStride > imageStride) {
        Log::LogErrorDetail("CBxConvertPicture: Unexpected error.");
        return false;
    }
    Log::LogInfoDetail("CBxConvertPicture: stride is < than QImage->bytesPerLine. Converting..");
    for (int row = 0; row < record.m_iHeight; ++row) {
        std::memcpy(BX_PicRow<unsigned char>(record, row), image.constScanLine(row),
                    static_cast<std::size_t>(record.m_iStride));
    }
    return true;
}

SBxPicBuf* RecordFromRgb(const QImage& image) {
    CBxPicBufHolder record = MakeRecord(image.width(), image.height());
    const QImage swapped = record != nullptr ? image.rgbSwapped() : QImage();
    if (swapped.isNull() || !CopyPixels(*record, swapped)) {
        Log::LogErrorDetail("CBxConvertPicture: Image was not converted from QImage to PicBuf!");
        return nullptr;
    }
    Log::LogInfoDetail("CBxConvertPicture: Image was successfully converted from QImage to PicBuf");
    return record.release();
}

QList<QRgb> GreyTable() {
    QList<QRgb> table(256);
    for (int grey = 0; grey < 256; ++grey) {
        table[grey] = qRgb(grey, grey, grey);
    }
    return table;
}

bool IsConvertible(const SBxPicBuf& picture) {
    return picture.m_iBitsPerComponent == 8 && (picture.m_iComponents == 1 || picture.m_iComponents == 3) &&
           picture.m_pData != nullptr && picture.m_iWidth > 0 && picture.m_iHeight > 0;
}

// The image's copy of a picture, components in the order red, green, blue. Null without memory.
QImage SwappedCopy(const SBxPicBuf& picture) {
    const QImage::Format format = picture.m_iComponents == 3 ? QImage::Format_RGB888 : QImage::Format_Indexed8;
    const int paddedStride = (picture.m_iWidth * picture.m_iComponents + 3) / 4 * 4;
    Log::LogInfoDetail(paddedStride != picture.m_iStride
                           ? "CBxConvertPicture: QImage->bytesPerLine!=stride. Converting.."
                           : "CBxConvertPicture: QImage->bytesPerLine==stride");
    // Wrapped with the record's own stride, so that rows need no padded copy; the swapped image pads them itself.
    const QImage wrapper(static_cast<const uchar*>(picture.m_pData), picture.m_iWidth, picture.m_iHeight,
                         picture.m_iStride, format);
    QImage copy = wrapper.rgbSwapped();
    if (!copy.isNull() && format == QImage::Format_Indexed8) {
        copy.setColorTable(GreyTable());  // the writers of several formats crash without one
    }
    return copy;
}

}  // namespace

void SBxPicBufDeleter::operator()(SBxPicBuf* picture) const {
    CBxPicBufAPI::DoneHeap(*picture);
    delete picture;
}

SBxPicBuf* CBxConvertPicture::GetPicBufFromQImage(QImage* image) {
    if (image == nullptr) {
        return nullptr;
    }
    try {
        if (image->format() != QImage::Format_RGB888) {
            LogInfo("Unsupported format detected (%d), convering to RGB888 (%d)", static_cast<int>(image->format()),
                    kRgb888);
            *image = BX_ConvertImage(*image, QImage::Format_RGB888);
        }
        if (image->format() != QImage::Format_RGB888) {
            LogError("Unsupported image format (%d)!", static_cast<int>(image->format()));
            return nullptr;
        }
        return RecordFromRgb(*image);
    } catch (const std::bad_alloc&) {
        BX_NoteMemoryShortage();
        LogErrorDetail("CBxConvertPicture: Image was not converted from QImage to PicBuf!");
        return nullptr;
    }
}

QImage* CBxConvertPicture::GetQImageFromPicBuf(SBxPicBuf* picture) {
    if (picture == nullptr || !IsConvertible(*picture)) {
        return nullptr;
    }
    try {
        QImage copy = SwappedCopy(*picture);
        if (!copy.isNull()) {
            auto owned = std::make_unique<QImage>(std::move(copy));
            LogInfoDetail("CBxConvertPicture:Image was successfully converted from PicBuf to QImage");
            return owned.release();
        }
    } catch (const std::bad_alloc&) {
        BX_NoteMemoryShortage();
    }
    LogInfoDetail("CBxConvertPicture:Image was not converted from PicBuf to QImage");
    return nullptr;
}
