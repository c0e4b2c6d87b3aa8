#include "metadata_fixtures.h"

#include <libexif/exif-entry.h>
#include <libiptcdata/iptc-dataset.h>
#include <libiptcdata/iptc-jpeg.h>

#include <QBuffer>
#include <QImage>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "jpeg_corpus.h"
#include "jpeg_segments.h"

namespace {

using namespace std::string_literals;

// A new entry with `bytes` bytes of zero.
unsigned char* AddEntry(ExifData* exif, ExifIfd directory, ExifTag tag, ExifFormat format, unsigned int bytes) {
    ExifEntry* const entry = exif_entry_new();
    exif_content_add_entry(exif->ifd[directory], entry);
    entry->tag = tag;
    entry->format = format;
    entry->size = bytes;
    entry->components = bytes / exif_format_get_size(format);
    entry->data = static_cast<unsigned char*>(std::calloc(1, bytes));
    exif_entry_unref(entry);
    return entry->data;
}

std::string ExifSegment() {
    ExifData* const exif = MakeExif(0);
    unsigned char* bytes = nullptr;
    unsigned int size = 0;
    exif_data_save_data(exif, &bytes, &size);
    const std::string segment = MakeJpegSegment(0xE1, std::string(reinterpret_cast<char*>(bytes), size));
    std::free(bytes);
    exif_data_unref(exif);
    return segment;
}

std::string IptcSegment() {
    IptcData* const iptc = MakeIptc(0);
    unsigned char* bytes = nullptr;
    unsigned int size = 0;
    iptc_data_save(iptc, &bytes, &size);
    unsigned char ps3[1000];
    const int length = iptc_jpeg_ps3_save_iptc(nullptr, 0, bytes, size, ps3, sizeof(ps3));
    iptc_data_free_buf(iptc, bytes);
    iptc_data_unref(iptc);
    return MakeJpegSegment(0xED, std::string(reinterpret_cast<char*>(ps3), static_cast<std::size_t>(length)));
}

}  // namespace

std::string MakePhoto() {
    QImage image(40, 30, QImage::Format_RGB888);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            image.setPixel(x, y, qRgb(6 * x, 8 * y, (x * y) % 256));
        }
    }
    QByteArray bytes;
    QBuffer buffer(&bytes);
    image.save(&buffer, "JPEG", 90);
    return bytes.toStdString();
}

std::string MakePhoto(bool withExif, bool withIptc) {
    std::string photo = MakePhoto();
    return photo.insert(2, (withExif ? ExifSegment() : ""s) + (withIptc ? IptcSegment() : ""s));
}

ExifData* MakeExif(unsigned int commentBytes) {
    ExifData* const exif = exif_data_new();
    exif_data_set_byte_order(exif, EXIF_BYTE_ORDER_INTEL);
    std::memcpy(AddEntry(exif, EXIF_IFD_0, EXIF_TAG_MAKE, EXIF_FORMAT_ASCII, sizeof(kMaker)), kMaker, sizeof(kMaker));
    AddEntry(exif, EXIF_IFD_0, EXIF_TAG_ORIENTATION, EXIF_FORMAT_SHORT, 2)[0] = 6;
    if (commentBytes != 0) {
        std::memset(AddEntry(exif, EXIF_IFD_EXIF, EXIF_TAG_USER_COMMENT, EXIF_FORMAT_UNDEFINED, commentBytes), 'c',
                    commentBytes);
    }
    return exif;
}

IptcData* MakeIptc(unsigned int captionBytes) {
    IptcData* const iptc = iptc_data_new();
    IptcDataSet* const dataSet = iptc_dataset_new();
    iptc_dataset_set_tag(dataSet, IPTC_RECORD_APP_2, IPTC_TAG_CAPTION);
    const std::string caption = captionBytes == 0 ? kCaption : std::string(captionBytes, 'c');
    iptc_dataset_set_data(dataSet, reinterpret_cast<const unsigned char*>(caption.data()),
                          static_cast<unsigned int>(caption.size()), IPTC_DONT_VALIDATE);
    iptc_data_add_dataset(iptc, dataSet);
    iptc_dataset_unref(dataSet);
    return iptc;
}

std::string MakerOf(const CBxImageMetadata& md) {
    const ExifEntry* const entry =
        md.exif != nullptr ? exif_content_get_entry(md.exif->ifd[EXIF_IFD_0], EXIF_TAG_MAKE) : nullptr;
    return entry != nullptr ? reinterpret_cast<const char*>(entry->data) : "";
}

int OrientationOf(const CBxImageMetadata& md) {
    const ExifEntry* const entry =
        md.exif != nullptr ? exif_content_get_entry(md.exif->ifd[EXIF_IFD_0], EXIF_TAG_ORIENTATION) : nullptr;
    return entry != nullptr ? exif_get_short(entry->data, exif_data_get_byte_order(md.exif)) : 0;
}

std::string CaptionOf(const CBxImageMetadata& md) {
    IptcDataSet* const dataSet =
        md.iptc != nullptr ? iptc_data_get_dataset(md.iptc, IPTC_RECORD_APP_2, IPTC_TAG_CAPTION) : nullptr;
    if (dataSet == nullptr) {
        return "";
    }
    std::string caption(reinterpret_cast<const char*>(dataSet->data), dataSet->size);
    iptc_dataset_unref(dataSet);
    return caption;
}

bool HasSamePixels(const std::string& jpeg, const std::string& other) {
    const QImage image = QImage::fromData(QByteArray::fromStdString(jpeg), "JPEG");
    return !image.isNull() && image == QImage::fromData(QByteArray::fromStdString(other), "JPEG");
}

std::string MarkersOf(const std::string& jpeg) {
    JPEGData* const data = jpeg_data_new_from_data(reinterpret_cast<const unsigned char*>(jpeg.data()),
                                                   static_cast<unsigned int>(jpeg.size()));
    std::string markers;
    for (unsigned int index = 0; index < data->count; ++index) {
        char text[8];
        std::snprintf(text, sizeof(text), "%s%02x", index == 0 ? "" : " ", data->sections[index].marker);
        markers += text;
    }
    jpeg_data_unref(data);
    return markers;
}
