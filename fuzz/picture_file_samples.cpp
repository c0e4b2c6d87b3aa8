#include <QBuffer>
#include <QColorSpace>
#include <QImage>

#include "fuzz_target.h"
#include "jpeg_corpus.h"
#include "picture_encoder.h"
#include "test_pictures.h"

namespace {

std::string Encode(SBxPicBuf& picture, const char* fileName, const SBxWriteOptions& options = {}) {
    QByteArray bytes;
    SBxFileReport report;
    Require(BX_EncodePicture(bytes, picture, fileName, options, report));
    return bytes.toStdString();
}

std::string Save(const QImage& image, const char* format) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    Require(image.save(&buffer, format));
    return bytes.toStdString();
}

QImage MakeImage(QImage::Format format) {
    QImage image(19, 13, QImage::Format_ARGB32);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            image.setPixel(x, y, qRgba(x * 13, y * 19, 255 - x * y, x % 4 == 0 ? 100 : 255));
        }
    }
    return image.convertToFormat(format);
}

void AddWhole(std::vector<SFuzzSample>& samples) {
    CBxOwnedPic textured = MakeTexturedPicture(48, 40, 1);
    CBxOwnedPic small = MakeTexturedPicture(9, 7, 2);
    SBxWriteOptions fine;
    fine.quality = 95;
    fine.chroma = EBxChroma::k444;
    SBxWriteOptions coarse;
    coarse.quality = 40;
    samples.push_back({"textured.jpg", Encode(textured.Pic(), "p.jpg", coarse)});
    samples.push_back({"fine.jpg", Encode(small.Pic(), "p.jpg", fine)});
    for (const char* name : {"small.png", "small.bmp", "small.tif"}) {
        samples.push_back({name, Encode(small.Pic(), name)});
    }
    CBxOwnedPic searched = MakeTexturedPicture(100, 90, 3);
    samples.push_back({"searched.jpg", Encode(searched.Pic(), "p.jpg", coarse)});
}

void AddForms(std::vector<SFuzzSample>& samples) {
    QImage withProfile = MakeImage(QImage::Format_RGB32);
    withProfile.setColorSpace(QColorSpace(QColorSpace::AdobeRgb));
    withProfile.setDotsPerMeterX(11811);
    withProfile.setDotsPerMeterY(5906);
    samples.push_back({"profile.png", Save(withProfile, "png")});
    samples.push_back({"transparent.png", Save(MakeImage(QImage::Format_ARGB32), "png")});
    samples.push_back({"deep.png", Save(MakeImage(QImage::Format_RGBA64), "png")});
    samples.push_back({"grey.png", Save(MakeImage(QImage::Format_Grayscale8), "png")});
    samples.push_back({"indexed.png", Save(MakeImage(QImage::Format_Indexed8), "png")});
    samples.push_back({"two_colours.png", Save(MakeImage(QImage::Format_Mono), "png")});
    samples.push_back({"indexed.bmp", Save(MakeImage(QImage::Format_Indexed8), "bmp")});
    samples.push_back({"pixels.ppm", Save(MakeImage(QImage::Format_RGB888), "ppm")});
}

// The sizes that these declare are far from what they hold.
void AddDamaged(std::vector<SFuzzSample>& samples) {
    const std::string jpeg = samples[1].bytes;
    const std::string exif = MakeJpegSegment(0xE1, MakeExifBody());
    samples.push_back({"exif.jpg", jpeg.substr(0, 2) + exif + jpeg.substr(2)});
    for (std::size_t index = 0; index < 5; ++index) {
        const std::string bytes = samples[index].bytes;
        samples.push_back({"cut_" + samples[index].name, bytes.substr(0, bytes.size() * 2 / 3)});
    }
    std::string bmp = samples[3].bytes;
    bmp.replace(18, 8, "\xFF\xFF\xFF\x7F\xFF\xFF\xFF\x7F");
    samples.push_back({"huge.bmp", bmp});
    samples.push_back({"header.ppm", "P6 100000 100000 255\n"});
    samples.push_back({"nothing", ""});
    samples.push_back({"text", "no picture at all"});
}

}  // namespace

std::vector<SFuzzSample> FuzzSamples() {
    std::vector<SFuzzSample> samples;
    AddWhole(samples);
    AddDamaged(samples);
    AddForms(samples);
    return samples;
}
