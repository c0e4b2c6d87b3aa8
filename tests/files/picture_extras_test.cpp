#include "picture_extras.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libexif/exif-entry.h>

#include <QColorSpace>
#include <QImage>
#include <algorithm>

#include "convert_picture.h"
#include "owned_pic.h"
#include "picture_transparency.h"
#include "temporary_folder.h"
#include "test_pictures.h"

namespace {

// The header of a profile for pixels of this kind, padded to `size` bytes. No reader makes sense of what follows it.
QByteArray MakeProfile(const char* colours, int size) {
    QByteArray profile(size, 'x');
    const char length[] = {static_cast<char>(size >> 24), static_cast<char>(size >> 16), static_cast<char>(size >> 8),
                           static_cast<char>(size)};
    profile.replace(0, 4, QByteArray(length, 4));
    profile.replace(16, 4, colours);
    profile.replace(36, 4, "acsp");
    return profile;
}

// Sampling factors of the three components in the frame header of a baseline JPEG: "22 11 11" halves both colours.
std::string SamplingOf(const std::string& jpeg) {
    const std::size_t frame = jpeg.find("\xFF\xC0");
    std::string factors;
    for (std::size_t component = 0; frame != std::string::npos && component < 3; ++component) {
        const auto factor = static_cast<unsigned char>(jpeg.at(frame + 11 + 3 * component));
        factors.append(component == 0 ? 0 : 1, ' ');
        factors.push_back(static_cast<char>('0' + (factor >> 4)));
        factors.push_back(static_cast<char>('0' + (factor & 15)));
    }
    return factors;
}

ExifData* MakeExifWithResolution(ExifLong dots, ExifShort unit) {
    ExifData* const exif = exif_data_new();
    for (const ExifTag tag : {EXIF_TAG_X_RESOLUTION, EXIF_TAG_Y_RESOLUTION, EXIF_TAG_RESOLUTION_UNIT}) {
        ExifEntry* const entry = exif_entry_new();
        exif_content_add_entry(exif->ifd[EXIF_IFD_0], entry);
        exif_entry_initialize(entry, tag);
        if (tag == EXIF_TAG_RESOLUTION_UNIT) {
            exif_set_short(entry->data, exif_data_get_byte_order(exif), unit);
        } else {
            exif_set_rational(entry->data, exif_data_get_byte_order(exif), {dots, 1});
        }
        exif_entry_unref(entry);
    }
    return exif;
}

class PictureExtras : public testing::Test {
protected:
    CBxPicBufHolder Read(const std::string& name, SBxPictureExtras& extras, const SBxReadOptions& options = {}) {
        SBxPicBuf* picture = nullptr;
        SBxFileReport report;
        CBxConvertPicture::ReadInputFile(picture, (m_Folder / name).c_str(), options, extras, report);
        EXPECT_NE(picture, nullptr) << name << ": " << report.m_szReason;
        return CBxPicBufHolder(picture);
    }

    SBxFileReport Write(const std::string& name, const SBxPictureExtras* extras, EBxChroma chroma = EBxChroma::k420) {
        SBxWriteOptions options;
        options.extras = extras;
        options.chroma = chroma;
        SBxFileReport report;
        EXPECT_EQ(CBxConvertPicture::WriteOutputFile(&m_Picture.Pic(), (m_Folder / name).c_str(), options, report), 0)
            << name << ": " << report.m_szReason;
        return report;
    }

    CTemporaryFolder m_Folder;
    CBxOwnedPic m_Picture = MakeTexturedPicture(61, 40, 5);
};

}  // namespace

TEST_F(PictureExtras, ResolutionAndProfileComeThroughEveryFormatThatHoldsThemWithoutChangingAPixel) {
    SBxPictureExtras extras;
    extras.iccProfile = QColorSpace(QColorSpace::AdobeRgb).iccProfile();
    extras.dotsPerMeterX = 11811;  // 300 dots per inch
    extras.dotsPerMeterY = 5906;   // 150
    ASSERT_FALSE(extras.iccProfile.isEmpty());
    for (const EBxChroma chroma : {EBxChroma::k420, EBxChroma::k444}) {
        for (const char* name : {"a.jpg", "a.png", "a.tif"}) {
            Write(std::string("plain-") + name, nullptr, chroma);
            EXPECT_FALSE(Write(name, &extras, chroma).m_bLacksProfile);
            SBxPictureExtras plain;
            SBxPictureExtras read;
            const CBxPicBufHolder expected = Read(std::string("plain-") + name, plain);
            const CBxPicBufHolder picture = Read(name, read);
            ASSERT_TRUE(expected != nullptr && picture != nullptr);
            EXPECT_EQ(plain.iccProfile, QByteArray());
            EXPECT_EQ(read.iccProfile, extras.iccProfile) << name;
            EXPECT_NEAR(read.dotsPerMeterX, 11811, 1) << name;
            EXPECT_NEAR(read.dotsPerMeterY, 5906, 1) << name;
            EXPECT_TRUE(std::equal(picture->m_pData, picture->m_pData + picture->m_uiByteSize, expected->m_pData));
        }
    }
    EXPECT_TRUE(Write("a.bmp", &extras).m_bLacksProfile);
}

TEST_F(PictureExtras, AResolutionThatTheFileDoesNotSayIsNotMadeUp) {
    const SBxPictureExtras none;
    for (const char* name : {"a.jpg", "a.png"}) {
        Write(name, &none);
        SBxPictureExtras read;
        Read(name, read);
        EXPECT_FALSE(read.HasResolution()) << name << ": " << read.dotsPerMeterX;
    }
}

TEST_F(PictureExtras, TheResolutionInExifCountsWhereTheFileHasNoOther) {
    const SBxPictureExtras none;
    for (const bool isPerInch : {true, false}) {
        Write("camera.jpg", &none);
        CBxOwnedMetadata metadata;
        metadata.exif = MakeExifWithResolution(isPerInch ? 300 : 120, isPerInch ? 2 : 3);
        ASSERT_EQ(CBxImageMetadata::SaveExif((m_Folder / "camera.jpg").c_str(), metadata), 0);
        SBxPictureExtras read;
        Read("camera.jpg", read);
        EXPECT_EQ(read.dotsPerMeterX, isPerInch ? 11811 : 12000);
        EXPECT_EQ(read.dotsPerMeterY, isPerInch ? 11811 : 12000);
        Write("a.jpg", &read);
        SBxPictureExtras carried;
        Read("a.jpg", carried);
        EXPECT_NEAR(carried.dotsPerMeterX, read.dotsPerMeterX, 1);
    }
}

// A profile of several segments, which Qt's own reader refuses, is carried all the same.
TEST_F(PictureExtras, AJpegKeepsProfilesThatNobodyCanReadByteForByte) {
    SBxPictureExtras extras;
    extras.iccProfile = MakeProfile("RGB ", 150'000);
    extras.iccProfile[70'000] = 'y';
    for (const EBxChroma chroma : {EBxChroma::k420, EBxChroma::k444}) {
        EXPECT_FALSE(Write("a.jpg", &extras, chroma).m_bLacksProfile);
        SBxPictureExtras read;
        Read("a.jpg", read);
        EXPECT_TRUE(read.iccProfile == extras.iccProfile);
        EXPECT_FALSE(read.hasUnusedProfile);
    }
    EXPECT_TRUE(Write("a.png", &extras).m_bLacksProfile);
}

TEST_F(PictureExtras, ProfilesForOtherPixelsThanRgbAndCutOffOnesAreNotTaken) {
    QByteArray cutOff = MakeProfile("RGB ", 400);
    cutOff.chop(1);
    for (const QByteArray& profile : {MakeProfile("GRAY", 400), MakeProfile("CMYK", 400), cutOff}) {
        SBxPictureExtras wrong;
        wrong.iccProfile = profile;  // a writer writes what it is given
        Write("a.jpg", &wrong);
        SBxPictureExtras read;
        Read("a.jpg", read);
        EXPECT_TRUE(read.iccProfile.isEmpty());
        EXPECT_TRUE(read.hasUnusedProfile);
    }
    // And an RGB profile is put on no grey picture.
    ASSERT_EQ(m_Picture.Allocate(20, 10, 1, 8), 0);
    CBxPicBufAPI::SetConst(m_Picture.Pic(), 90);
    SBxPictureExtras extras;
    extras.iccProfile = QColorSpace(QColorSpace::SRgb).iccProfile();
    for (const char* name : {"grey.jpg", "grey.png", "grey.tif"}) {
        EXPECT_TRUE(Write(name, &extras).m_bLacksProfile) << name;
        SBxPictureExtras read;
        Read(name, read);
        EXPECT_TRUE(read.iccProfile.isEmpty()) << name;
    }
}

TEST_F(PictureExtras, ChromaChoosesTheSamplingOfAJpegAndFullColourIsNearerToThePicture) {
    const auto errorOf = [&](EBxChroma chroma, const char* sampling) {
        Write("a.jpg", nullptr, chroma);
        EXPECT_EQ(SamplingOf(ReadBytes(m_Folder / "a.jpg")), sampling);
        SBxPictureExtras ignored;
        const CBxPicBufHolder read = Read("a.jpg", ignored);
        double sum = 0.0;
        for (std::uint32_t index = 0; read != nullptr && index < read->m_uiByteSize; ++index) {
            const double difference = read->m_pData[index] - m_Picture.Pic().m_pData[index];
            sum += difference * difference;
        }
        return sum;
    };
    const double halved = errorOf(EBxChroma::k420, "22 11 11");
    const double full = errorOf(EBxChroma::k444, "11 11 11");
    EXPECT_GT(full, 0.0);
    EXPECT_LT(full, 0.6 * halved);
}

TEST_F(PictureExtras, OnlyPixelsThatLetThroughMakeAPictureTransparentAndABackgroundShowsThere) {
    QImage image(4, 2, QImage::Format_ARGB32);
    image.fill(qRgba(200, 100, 50, 255));
    ASSERT_TRUE(image.save(QString::fromStdString(m_Folder / "opaque.png")));
    image.setPixel(2, 1, qRgba(200, 100, 50, 0));
    image.setPixel(3, 1, qRgba(200, 100, 50, 128));
    ASSERT_TRUE(image.save(QString::fromStdString(m_Folder / "clear.png")));
    ASSERT_TRUE(image.convertToFormat(QImage::Format_RGBA64).save(QString::fromStdString(m_Folder / "deep.png")));
    QImage palette(4, 2, QImage::Format_Indexed8);
    palette.setColorTable({qRgba(200, 100, 50, 255), qRgba(200, 100, 50, 0), qRgba(200, 100, 50, 128)});
    palette.fill(0);
    palette.setPixel(2, 1, 1);
    palette.setPixel(3, 1, 2);
    ASSERT_TRUE(palette.save(QString::fromStdString(m_Folder / "palette.png")));

    SBxPictureExtras extras;
    Read("opaque.png", extras);
    EXPECT_FALSE(extras.isTransparent);
    for (const char* name : {"clear.png", "deep.png", "palette.png"}) {
        const CBxPicBufHolder dropped = Read(name, extras);
        ASSERT_NE(dropped, nullptr);
        EXPECT_TRUE(extras.isTransparent) << name;
        EXPECT_EQ(BX_PicRow<unsigned char>(*dropped, 1)[3 * 2 + 2], 200) << name;
        const CBxPicBufHolder flat = Read(name, extras, {qRgb(0, 20, 255)});
        ASSERT_NE(flat, nullptr);
        const unsigned char* row = BX_PicRow<unsigned char>(*flat, 1);
        const auto bytes = std::vector<int>(row, row + 12);
        // Opaque, opaque, wholly transparent, half: 50 x 128 / 255 + 255 x 127 / 255 = 152.1 and so on.
        EXPECT_THAT(bytes, testing::ElementsAre(50, 100, 200, 50, 100, 200, 255, 20, 0, 152, 60, 100)) << name;
    }
}

TEST_F(PictureExtras, ColoursAreSixDigitsOrNames) {
    QRgb colour = 0;
    EXPECT_TRUE(BX_ParseColour("#0a14FF", colour));
    EXPECT_EQ(colour, qRgb(10, 20, 255));
    EXPECT_TRUE(BX_ParseColour("White", colour));
    EXPECT_EQ(colour, qRgb(255, 255, 255));
    for (const char* text : {"", "#fff", "#80ffffff", "#12345g", "transparent", "whit", "0a14ff"}) {
        EXPECT_FALSE(BX_ParseColour(text, colour)) << text;
    }
}
