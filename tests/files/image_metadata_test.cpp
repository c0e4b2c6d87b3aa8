#include "image_metadata.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "metadata_fixtures.h"
#include "temporary_folder.h"

namespace {

class ImageMetadata : public testing::Test {
protected:
    std::string MakeFile(const std::string& name, const std::string& bytes) const {
        WriteBytes(m_Folder / name, bytes);
        return m_Folder / name;
    }

    CTemporaryFolder m_Folder;
    CBxOwnedMetadata m_Md;
};

}  // namespace

TEST_F(ImageMetadata, IsTheSameInTheCopy) {
    const std::string source = MakeFile("source.jpg", MakePhoto(true, true));
    const std::string photo = MakePhoto();
    const std::string target = MakeFile("target.jpg", photo);
    ASSERT_EQ(CBxImageMetadata::LoadMetadata(source.c_str(), m_Md), 0);
    ASSERT_EQ(CBxImageMetadata::SaveMetadata(target.c_str(), m_Md), 0);
    const std::string written = ReadBytes(target);
    EXPECT_TRUE(HasSamePixels(written, photo));
    EXPECT_EQ(MarkersOf(written).substr(0, 12), "d8 e1 e0 ed ");
    CBxOwnedMetadata again;
    ASSERT_EQ(CBxImageMetadata::LoadMetadata(target.c_str(), again), 0);
    EXPECT_EQ(MakerOf(again), kMaker);
    EXPECT_EQ(OrientationOf(again), 6);
    EXPECT_EQ(CaptionOf(again), kCaption);
    // Once more over what is there: replaced, not added.
    ASSERT_EQ(CBxImageMetadata::SaveMetadata(target.c_str(), again), 0);
    EXPECT_EQ(ReadBytes(target), written);
    EXPECT_EQ(m_Folder.Count(), 2);
}

TEST_F(ImageMetadata, GoesIntoTheCopyByTheRule) {
    struct SCase {
        EBxMetadataRule rule;
        bool carriesExif, carriesIptc;
    };
    for (const bool hasExif : {false, true}) {
        for (const bool hasIptc : {false, true}) {
            const std::string source = MakeFile("source.jpg", MakePhoto(hasExif, hasIptc));
            EXPECT_EQ(CBxImageMetadata::LoadMetadata(source.c_str(), m_Md), hasExif && hasIptc ? 0 : 1);
            const bool both = hasExif && hasIptc;
            for (const SCase& expected :
                 {SCase{EBxMetadataRule::kNone, false, false}, SCase{EBxMetadataRule::kAny, hasExif, hasIptc},
                  SCase{EBxMetadataRule::kBoth, both, both}}) {
                const std::string photo = MakePhoto();
                const std::string target = MakeFile("target.jpg", photo);
                SBxMetadataBlocks leftBehind;
                EXPECT_EQ(CBxImageMetadata::LoadByRule(source.c_str(), expected.rule, m_Md, leftBehind), 0);
                EXPECT_EQ(CBxImageMetadata::SaveHeld(target.c_str(), m_Md, leftBehind), 0);
                EXPECT_EQ(leftBehind.exif, hasExif && !expected.carriesExif);
                EXPECT_EQ(leftBehind.iptc, hasIptc && !expected.carriesIptc);
                CBxOwnedMetadata copy;
                CBxImageMetadata::LoadMetadata(target.c_str(), copy);
                EXPECT_EQ(MakerOf(copy), expected.carriesExif ? kMaker : "");
                EXPECT_EQ(CaptionOf(copy), expected.carriesIptc ? kCaption : "");
                EXPECT_EQ(ReadBytes(target) == photo, !expected.carriesExif && !expected.carriesIptc);
            }
        }
    }
}

TEST_F(ImageMetadata, OfABlockThatDoesNotFitIsLeftBehindAlone) {
    const std::string target = MakeFile("target.jpg", MakePhoto());
    m_Md.exif = MakeExif(70000);
    m_Md.iptc = MakeIptc(0);
    SBxMetadataBlocks leftBehind;
    EXPECT_EQ(CBxImageMetadata::SaveHeld(target.c_str(), m_Md, leftBehind), 1);
    EXPECT_TRUE(leftBehind.exif);
    EXPECT_FALSE(leftBehind.iptc);
    CBxOwnedMetadata copy;
    EXPECT_EQ(CBxImageMetadata::LoadIptc(target.c_str(), copy), 0);
    EXPECT_EQ(CaptionOf(copy), kCaption);
}

// A length of 16 bits that wraps around makes the whole picture unreadable.
TEST_F(ImageMetadata, FillsASegmentToItsLastByteAndNoFurther) {
    const std::string photo = MakePhoto();
    int written = 0;
    int refused = 0;
    for (unsigned int bytes = 65380; bytes <= 65560; ++bytes) {
        for (const bool isExif : {true, false}) {
            const std::string target = MakeFile("target.jpg", photo);
            CBxOwnedMetadata md;
            if (isExif) {
                md.exif = MakeExif(bytes);
            } else {
                md.iptc = MakeIptc(bytes);
            }
            const bool saved = (isExif ? CBxImageMetadata::SaveExif(target.c_str(), md)
                                       : CBxImageMetadata::SaveIptc(target.c_str(), md)) == 0;
            ++(saved ? written : refused);
            if (!saved) {
                ASSERT_EQ(ReadBytes(target), photo) << bytes;
                continue;
            }
            ASSERT_TRUE(HasSamePixels(ReadBytes(target), photo)) << bytes;
            CBxOwnedMetadata again;
            CBxImageMetadata::LoadMetadata(target.c_str(), again);
            ASSERT_TRUE(isExif ? MakerOf(again) == kMaker : CaptionOf(again) == std::string(bytes, 'c')) << bytes;
        }
    }
    EXPECT_GT(written, 100);
    EXPECT_GT(refused, 100);
}

TEST_F(ImageMetadata, IsFoundUnderNamesThatAreNotUtf8) {
    const std::string source = MakeFile("\xE4\xF6\\\xFF.jpg", MakePhoto(true, true));
    const std::string target = MakeFile("\xFC\\.jpg", MakePhoto());
    ASSERT_EQ(CBxImageMetadata::LoadMetadata(source.c_str(), m_Md), 0);
    ASSERT_EQ(CBxImageMetadata::SaveMetadata(target.c_str(), m_Md), 0);
    CBxOwnedMetadata again;
    ASSERT_EQ(CBxImageMetadata::LoadMetadata(target.c_str(), again), 0);
    EXPECT_EQ(MakerOf(again), kMaker);
    EXPECT_EQ(m_Folder.Count(), 2);
}

TEST_F(ImageMetadata, TellsTheLogWhatWasDone) {
    const CTemporaryFolder logs;
    const std::string photo = MakeFile("photo.jpg", MakePhoto());
    const std::string source = MakeFile("source.jpg", MakePhoto(true, true));
    const std::string text = MakeFile("text", "text");
    const std::string missing = m_Folder / "missing.jpg";
    CBxLogger logger;
    ASSERT_EQ(logger.OpenNewLog((logs / "log").c_str(), false, true), 0);
    ASSERT_EQ(CBxImageMetadata::SetLogger(&logger), 0);
    EXPECT_EQ(CBxImageMetadata::LoadMetadata(nullptr, m_Md), 1);
    EXPECT_EQ(CBxImageMetadata::LoadExif(nullptr, m_Md), 1);
    EXPECT_EQ(CBxImageMetadata::LoadIptc(nullptr, m_Md), 1);
    EXPECT_EQ(CBxImageMetadata::LoadMetadata(photo.c_str(), m_Md), 1);
    EXPECT_EQ(CBxImageMetadata::SaveMetadata(photo.c_str(), m_Md), 1);
    EXPECT_EQ(CBxImageMetadata::LoadMetadata(source.c_str(), m_Md), 0);
    EXPECT_EQ(CBxImageMetadata::SaveMetadata(photo.c_str(), m_Md), 0);
    EXPECT_EQ(CBxImageMetadata::SaveMetadata(text.c_str(), m_Md), 1);
    EXPECT_EQ(CBxImageMetadata::SaveMetadata(missing.c_str(), m_Md), 1);
    CBxImageMetadata::FreeMetadata(m_Md);
    m_Md.iptc = MakeIptc(65520);
    EXPECT_EQ(CBxImageMetadata::SaveIptc(photo.c_str(), m_Md), 1);
    CBxImageMetadata::UnsetLogger();
    logger.CloseLog();
    const char* const expected[] = {
        "ERROR| Image metadata loading failed due to NULL pointer.\n",
        "ERROR| Exif load failed due to NULL pointer.\n",
        "ERROR| IPTC data load failed due to NULL pointer.\n",
        "ERROR| Exif load failed. No exif data in %s found.\n",
        "ERROR| Iptc load failed. No iptc data found in %s.\n",
        "ERROR| Exif save failed due to NULL pointer.\n",
        "ERROR| IPTC data load failed due to NULL pointer.\n",
        "INFO | Exif successfully loaded.\n",
        "INFO | Iptc successfully loaded.\n",
        "INFO | Exif successfully saved.\n",
        "INFO | IPTC data successfully saved.\n",
        "ERROR| Exif save to %s failed.\n",
        "ERROR| Failed to save IPTC data\n",
        "ERROR| Exif save to %s failed.\n",
        "ERROR| Can't open %s\n",
        "ERROR| Failed to generate PS3 header.\n",
    };
    const std::string names[] = {"", "", "", photo, photo, "", "", "", "", "", "", text, "", missing, missing, ""};
    const std::string log = ReadBytes(logs / "log");
    std::size_t place = 0;
    for (std::size_t line = 0; line < std::size(expected); ++line) {
        std::string wanted = expected[line];
        if (!names[line].empty()) {
            wanted.replace(wanted.find("%s"), 2, names[line]);
        }
        const std::size_t found = log.find(wanted, place);
        ASSERT_NE(found, std::string::npos) << wanted << "is not in the rest of\n" << log.substr(place);
        place = found + wanted.size();
    }
}
