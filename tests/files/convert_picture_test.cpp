#include "convert_picture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <QBuffer>
#include <QByteArray>
#include <QImage>
#include <algorithm>
#include <cstring>
#include <memory>

#include "owned_pic.h"
#include "pic_buf_api.h"
#include "temporary_folder.h"
#include "test_pictures.h"

using testing::HasSubstr;
using testing::Not;

namespace {

std::string Encoded(const SBxPicBuf& picture, const char* format, int quality = -1) {
    SBxPicBuf source = picture;
    const std::unique_ptr<QImage> image(CBxConvertPicture::GetQImageFromPicBuf(&source));
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image->save(&buffer, format, quality);
    return bytes.toStdString();
}

CBxPicBufHolder Read(const std::string& path, SBxFileReport& report) {
    SBxPicBuf* picture = nullptr;
    const int result = CBxConvertPicture::ReadInputFile(picture, path.c_str(), report);
    EXPECT_EQ(result, picture == nullptr ? 1 : 0);
    return CBxPicBufHolder(picture);
}

CBxPicBufHolder Read(const std::string& path) {
    SBxFileReport report;
    CBxPicBufHolder picture = Read(path, report);
    EXPECT_STREQ(report.m_szReason, "");
    EXPECT_STREQ(report.m_szWarning, "");
    return picture;
}

// Why a file was refused.
std::string ReasonFor(const std::string& path) {
    SBxFileReport report;
    EXPECT_EQ(Read(path, report), nullptr) << path;
    return report.m_szReason;
}

void ExpectSamePixels(const SBxPicBuf& picture, const SBxPicBuf& expected) {
    ASSERT_EQ(picture.m_iWidth, expected.m_iWidth);
    ASSERT_EQ(picture.m_iHeight, expected.m_iHeight);
    for (int row = 0; row < expected.m_iHeight; ++row) {
        ASSERT_EQ(std::memcmp(BX_PicRow<unsigned char>(picture, row), BX_PicRow<unsigned char>(expected, row),
                              static_cast<std::size_t>(expected.m_iWidth) * 3),
                  0)
            << "row " << row;
    }
}

std::uint32_t Crc(const std::string& bytes) {
    std::uint32_t crc = 0xFFFFFFFFU;
    for (const char byte : bytes) {
        crc ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc >> 1) ^ ((crc & 1U) != 0 ? 0xEDB88320U : 0U);
        }
    }
    return ~crc;
}

std::string BigEndian(std::uint32_t value) {
    return {static_cast<char>(value >> 24), static_cast<char>(value >> 16), static_cast<char>(value >> 8),
            static_cast<char>(value)};
}

// A PNG that declares 60,000 x 60,000 pixels in under a hundred bytes, with the right checksums.
std::string HugePng() {
    const std::string header = "IHDR" + BigEndian(60000) + BigEndian(60000) + std::string("\x08\x02\0\0\0", 5);
    const std::string data = "IDAT" + std::string("\x78\x9c\x03\0\0\0\0\x01", 8);
    return "\x89PNG\r\n\x1a\n" + BigEndian(13) + header + BigEndian(Crc(header)) + BigEndian(8) + data +
           BigEndian(Crc(data));
}

// The same JPEG with another size in its frame header.
std::string WithJpegSize(std::string bytes, int width, int height) {
    const std::size_t frame = bytes.find("\xFF\xC0");
    EXPECT_NE(frame, std::string::npos);
    bytes[frame + 5] = static_cast<char>(height >> 8);
    bytes[frame + 6] = static_cast<char>(height);
    bytes[frame + 7] = static_cast<char>(width >> 8);
    bytes[frame + 8] = static_cast<char>(width);
    return bytes;
}

class PictureFile : public testing::Test {
protected:
    int Write(const SBxPicBuf& picture, const std::string& name, int quality = -1) {
        SBxPicBuf source = picture;
        return CBxConvertPicture::WriteOutputFile(&source, (m_Folder / name).c_str(), quality, nullptr);
    }

    CTemporaryFolder m_Folder;
};

}  // namespace

TEST_F(PictureFile, LosslessFormatsGiveEveryPixelBackWhateverTheRowPadding) {
    for (const int width : {1, 3, 4, 5, 64}) {
        const CBxOwnedPic picture = MakeTexturedPicture(width, 7, 3);
        for (const char* name : {"a.png", "a.BMP", "a.tif", "a.TIFF"}) {
            ASSERT_EQ(Write(picture.Pic(), name, 90), 0) << name;
            const CBxPicBufHolder read = Read(m_Folder / name);
            ASSERT_NE(read, nullptr) << name;
            EXPECT_EQ(read->m_iStride, 3 * width);
            ExpectSamePixels(*read, picture.Pic());
        }
    }
}

TEST_F(PictureFile, EndingsInAnyCaseChooseTheFormatAndQualityTheSizeOfAJpeg) {
    const CBxOwnedPic picture = MakeTexturedPicture(64, 48, 3);
    ASSERT_EQ(Write(picture.Pic(), "fine.JPG", 95), 0);
    ASSERT_EQ(Write(picture.Pic(), "coarse.jpeg", 20), 0);
    EXPECT_EQ(ReadBytes(m_Folder / "fine.JPG").substr(0, 3), "\xFF\xD8\xFF");
    EXPECT_GT(ReadBytes(m_Folder / "fine.JPG").size(), 2 * ReadBytes(m_Folder / "coarse.jpeg").size());
    ASSERT_EQ(Write(picture.Pic(), "picture.PnG", 5), 0);
    EXPECT_EQ(ReadBytes(m_Folder / "picture.PnG").substr(1, 3), "PNG");
}

// Writers of several formats crash on a grey picture without a colour table.
TEST_F(PictureFile, GreyPicturesAreWrittenInEveryFormat) {
    CBxOwnedPic grey;
    ASSERT_EQ(grey.Allocate(33, 9, 1, 8), 0);
    for (int row = 0; row < 9; ++row) {
        for (int column = 0; column < 33; ++column) {
            BX_PicRow<unsigned char>(grey.Pic(), row)[column] = static_cast<unsigned char>(7 * column + row);
        }
    }
    for (const char* name : {"grey.jpg", "grey.png", "grey.tif", "grey.bmp"}) {
        ASSERT_EQ(Write(grey.Pic(), name, 100), 0) << name;
        const CBxPicBufHolder read = Read(m_Folder / name);
        ASSERT_NE(read, nullptr) << name;
        for (int component = 0; component < 3; ++component) {
            EXPECT_NEAR(BX_PicRow<unsigned char>(*read, 4)[3 * 20 + component], 144, 2) << name;
        }
    }
}

TEST_F(PictureFile, AViewIsWrittenWithoutWhatLiesBesideIt) {
    CBxOwnedPic picture = MakeTexturedPicture(40, 30, 9);
    SBxPicBuf view = {};
    CBxPicBufAPI::SubPic(view, picture.Pic(), CBxRect<int>{3, 2, 14, 12});
    ASSERT_EQ(Write(view, "view.png"), 0);
    const CBxPicBufHolder read = Read(m_Folder / "view.png");
    ASSERT_NE(read, nullptr);
    ExpectSamePixels(*read, view);
}

TEST_F(PictureFile, WhatIsNoPictureIsRefusedWithTheReason) {
    const std::string jpeg = Encoded(MakeTexturedPicture(80, 60, 2).Pic(), "JPG", 90);
    const std::string png = Encoded(MakeTexturedPicture(80, 60, 2).Pic(), "PNG");
    WriteBytes(m_Folder / "empty.jpg", "");
    WriteBytes(m_Folder / "text.jpg", "This is not a picture at all.\n");
    WriteBytes(m_Folder / "cut.png", png.substr(0, png.size() / 3));
    WriteBytes(m_Folder / "huge.png", HugePng());
    WriteBytes(m_Folder / "huge.jpg", WithJpegSize(jpeg, 65000, 65000));
    ASSERT_EQ(::mkfifo((m_Folder / "pipe.jpg").c_str(), 0600), 0);

    EXPECT_THAT(ReasonFor(m_Folder / "missing.jpg"), HasSubstr("No such file"));
    EXPECT_THAT(ReasonFor(m_Folder / "empty.jpg"), HasSubstr("empty"));
    EXPECT_THAT(ReasonFor(m_Folder / "text.jpg"), HasSubstr("not a picture"));
    EXPECT_THAT(ReasonFor(m_Folder / "cut.png"), HasSubstr("damaged or cut off"));
    EXPECT_THAT(ReasonFor(m_Folder / "huge.png"), HasSubstr("60000 x 60000"));
    EXPECT_THAT(ReasonFor(m_Folder / "huge.jpg"), HasSubstr("65000 x 65000"));
    EXPECT_THAT(ReasonFor(m_Folder / "pipe.jpg"), HasSubstr("not a regular file"));
    EXPECT_THAT(ReasonFor(m_Folder.Path()), HasSubstr("folder"));
    SBxPicBuf* picture = nullptr;
    EXPECT_EQ(CBxConvertPicture::ReadInputFile(picture, nullptr), 1);
}

TEST_F(PictureFile, ACutOffPictureThatStillDecodesIsReadWithAWarningAndGreyWhereItEnds) {
    const CBxOwnedPic picture = MakeTexturedPicture(160, 120, 8);
    for (const char* format : {"JPG", "BMP"}) {
        const std::string whole = Encoded(picture.Pic(), format, 90);
        WriteBytes(m_Folder / "whole", whole);
        WriteBytes(m_Folder / "cut", whole.substr(0, whole.size() / 2));
        SBxFileReport report;
        const CBxPicBufHolder cut = Read(m_Folder / "cut", report);
        const CBxPicBufHolder expected = Read(m_Folder / "whole");
        ASSERT_NE(cut, nullptr) << format;
        ASSERT_NE(expected, nullptr) << format;
        EXPECT_THAT(report.m_szWarning, HasSubstr("cut off")) << format;

        // BMP files begin with the lowest row.
        const int goodRow = std::string(format) == "BMP" ? 110 : 10;
        EXPECT_EQ(
            std::memcmp(BX_PicRow<unsigned char>(*cut, goodRow), BX_PicRow<unsigned char>(*expected, goodRow), 480), 0);
        EXPECT_EQ(BX_PicRow<unsigned char>(*cut, 119 - goodRow)[30], 128) << format;
    }
}

TEST_F(PictureFile, ContentDecidesBeforeTheEndingAndNamesAreBytes) {
    const CBxOwnedPic picture = MakeTexturedPicture(20, 10, 4);
    const std::string name = "na\xEFve \n\xC3\xA4.jpg";  // no UTF-8, a control character, UTF-8
    WriteBytes(m_Folder / name, Encoded(picture.Pic(), "PNG"));
    CBxPicBufHolder read = Read(m_Folder / name);
    ASSERT_NE(read, nullptr);
    ExpectSamePixels(*read, picture.Pic());

    ASSERT_EQ(Write(picture.Pic(), "out-" + name + ".png"), 0);
    read = Read(m_Folder / ("out-" + name + ".png"));
    ASSERT_NE(read, nullptr);
}

TEST_F(PictureFile, AFailedWriteLeavesTheOldFileAndNothingElse) {
    CBxOwnedPic picture = MakeTexturedPicture(20, 10, 4);
    WriteBytes(m_Folder / "old.png", "old contents");
    const auto writeWith = [&](const char* name, const SBxWriteOptions& options) {
        SBxFileReport report;
        EXPECT_EQ(CBxConvertPicture::WriteOutputFile(&picture.Pic(), (m_Folder / name).c_str(), options, report), 1);
        EXPECT_EQ(ReadBytes(m_Folder / "old.png"), "old contents");
        EXPECT_EQ(m_Folder.Count(), 1);
        return std::string(report.m_szReason);
    };

    SBxWriteOptions careful;
    careful.replaceExisting = false;
    EXPECT_THAT(writeWith("old.png", careful), HasSubstr("already"));

    SBxWriteOptions unwanted;
    unwanted.accept = [&](SBxPicBuf& asWritten, SBxFileReport& report) {
        ExpectSamePixels(asWritten, picture.Pic());
        report.SetReason("not wanted");
        return false;
    };
    EXPECT_EQ(writeWith("old.png", unwanted), "not wanted");
    EXPECT_THAT(writeWith("new.xyz", {}), HasSubstr("ending"));
    EXPECT_THAT(writeWith("no ending", {}), HasSubstr("ending"));
    EXPECT_THAT(writeWith("missing/new.png", {}), HasSubstr("No such file"));

    EXPECT_EQ(CBxConvertPicture::WriteOutputFile(nullptr, (m_Folder / "old.png").c_str(), 90, nullptr), 1);
    EXPECT_EQ(CBxConvertPicture::WriteOutputFile(&picture.Pic(), nullptr, 90, nullptr), 1);
}

TEST_F(PictureFile, OnlyEightBitPicturesOfOneOrThreeComponentsAreConverted) {
    for (const CBxSize<int> format : {CBxSize<int>{1, 16}, {3, 32}, {1, 64}, {2, 8}, {4, 8}}) {
        CBxOwnedPic picture;
        ASSERT_EQ(picture.Allocate(8, 8, format.width, format.height), 0);
        EXPECT_EQ(CBxConvertPicture::GetQImageFromPicBuf(&picture.Pic()), nullptr);
        EXPECT_EQ(Write(picture.Pic(), "picture.png"), 1);
    }
    CBxOwnedPic empty;
    EXPECT_EQ(CBxConvertPicture::GetQImageFromPicBuf(&empty.Pic()), nullptr);
    EXPECT_EQ(CBxConvertPicture::GetPicBufFromQImage(nullptr), nullptr);
    EXPECT_EQ(m_Folder.Count(), 0);
}

TEST_F(PictureFile, TheLogTellsEachStepInItsOrder) {
    CBxLogger logger;
    ASSERT_EQ(logger.OpenNewLog((m_Folder / "log").c_str(), false, true), 0);
    logger.EnableLogging(true, true, false, false);
    ASSERT_EQ(CBxConvertPicture::SetLogger(&logger), 0);
    const CBxOwnedPic picture = MakeTexturedPicture(5, 4, 4);
    Write(picture.Pic(), "five.png");
    Read(m_Folder / "five.png");
    SBxFileReport ignored;
    Read(m_Folder / "missing", ignored);
    CBxConvertPicture::UnsetLogger();
    logger.CloseLog();

    const std::string log = ReadBytes(m_Folder / "log");
    std::size_t position = 0;
    for (const char* message :
         {"CBxConvertPicture: QImage->bytesPerLine!=stride. Converting..",
          "CBxConvertPicture:Image was successfully converted from PicBuf to QImage", "Saving the image to ",
          "Image was successfully saved.",
          "Reading the image: ", "Unsupported format detected (4), convering to RGB888 (13)",
          "CBxConvertPicture: stride is < than QImage->bytesPerLine. Converting..",
          "CBxConvertPicture: Image was successfully converted from QImage to PicBuf", "Image was successfully read.",
          "Reading the image: ", "Unsupported format detected (0), convering to RGB888 (13)",
          "Unsupported image format (0)!", "Image was not read!"}) {
        const std::size_t found = log.find(message, position);
        ASSERT_NE(found, std::string::npos) << message << " is missing in\n" << log;
        position = found + std::strlen(message);
    }
}
