#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <set>

#include "convert_picture.h"
#include "metadata_fixtures.h"
#include "temporary_folder.h"
#include "test_pictures.h"
#include "writer_faults.h"

namespace {

namespace fs = std::filesystem;

constexpr char kOld[] = "the older file";

// Writes a picture over an older file, with the metadata of a source in another folder.
class PictureSaving : public testing::Test {
protected:
    PictureSaving() {
        WriteBytes(m_Source, MakePhoto(true, true));
        WriteBytes(m_Path, kOld);
    }

    int Save(const std::string& path) {
        return CBxConvertPicture::WriteOutputFile(&m_Picture.Pic(), path.c_str(), 90, m_Source.c_str());
    }

    // The bytes of a whole new file. Writing it here also loads what the encoders need, before there are children.
    std::string MakeNew() {
        EXPECT_EQ(Save(m_Elsewhere / "new.jpg"), 0);
        return ReadBytes(m_Elsewhere / "new.jpg");
    }

    SBxFileReport SaveByRule(const char* name, EBxMetadataRule rule) {
        SBxWriteOptions options;
        options.metadataSource = m_Source.c_str();
        options.metadataRule = rule;
        SBxFileReport report;
        EXPECT_EQ(CBxConvertPicture::WriteOutputFile(&m_Picture.Pic(), (m_Folder / name).c_str(), options, report), 0);
        return report;
    }

    CTemporaryFolder m_Folder;
    CTemporaryFolder m_Elsewhere;
    const std::string m_Path = m_Folder / "photo.jpg";
    const std::string m_Source = m_Elsewhere / "source.jpg";
    CBxOwnedPic m_Picture = MakeTexturedPicture(80, 60, 21);
};

}  // namespace

TEST_F(PictureSaving, AProgramKilledAtAnyPointLeavesTheOldFileOrTheNewOne) {
    if (!CanTraceChildren()) {
        GTEST_SKIP() << "no child can be traced here";
    }
    const std::string whole = MakeNew();
    std::set<std::string> seen;
    int stop = 0;
    const auto work = [&] { return Save(m_Path); };
    while (IsKilledAtSystemCall(stop, work)) {
        const std::string left = ReadBytes(m_Path);
        ASSERT_TRUE(left == kOld || left == whole) << "killed at " << stop << ", " << left.size() << " bytes left";
        seen.insert(left);
        for (const fs::directory_entry& entry : fs::directory_iterator(m_Folder.Path())) {
            if (entry.path() != m_Path) {
                EXPECT_THAT(entry.path().filename().string(), testing::StartsWith(".veridane-"));
                fs::remove(entry.path());
            }
        }
        WriteBytes(m_Path, kOld);
        stop += 3;
    }
    EXPECT_GT(stop, 100);
    EXPECT_EQ(seen.size(), 2U);  // it was killed before and after the file took its name
    EXPECT_EQ(ReadBytes(m_Path), whole);
}

TEST_F(PictureSaving, ADiskThatIsFullAtAnyByteLeavesTheOldFileAndNothingElse) {
    const std::string whole = MakeNew();
    for (std::size_t part = 0; part < 24; ++part) {
        const rlim_t bytes = part < 23 ? whole.size() * part / 23 : whole.size() - 1;
        EXPECT_FALSE(SucceedsWithDiskOf(bytes, [&] { return Save(m_Path); })) << bytes;
        ASSERT_EQ(ReadBytes(m_Path), kOld) << bytes;
        ASSERT_EQ(m_Folder.Count(), 1) << bytes;
    }
    EXPECT_TRUE(SucceedsWithDiskOf(whole.size(), [&] { return Save(m_Path); }));
    EXPECT_EQ(ReadBytes(m_Path), whole);
}

TEST_F(PictureSaving, ALinkStaysAndTheFileThatItNamesIsReplaced) {
    const std::string link = m_Elsewhere / "link.jpg";
    ASSERT_EQ(symlink(m_Path.c_str(), link.c_str()), 0);
    ASSERT_EQ(Save(link), 0);
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_EQ(ReadBytes(m_Path), MakeNew());
    EXPECT_EQ(m_Folder.Count(), 1);
}

TEST_F(PictureSaving, TheSourceOfTheMetadataMayBeTheTarget) {
    const std::string whole = MakeNew();
    ASSERT_EQ(Save(m_Source), 0);
    EXPECT_EQ(ReadBytes(m_Source), whole);
}

TEST_F(PictureSaving, WhatMayNotBeWrittenStaysAsItIs) {
    MakeNew();
    ASSERT_EQ(chmod(m_Elsewhere.Path().c_str(), 0755), 0);
    const auto isSaved = [&] {
        const auto work = [&] { return Save(m_Path); };
        return geteuid() == 0 ? SucceedsAsNobody(work) : work() == 0;
    };
    const struct {
        mode_t folder;
        mode_t file;
    } kCases[] = {{0777, 0444}, {0555, 0666}};
    for (const auto& modes : kCases) {
        ASSERT_EQ(chmod(m_Folder.Path().c_str(), modes.folder), 0);
        ASSERT_EQ(chmod(m_Path.c_str(), modes.file), 0);
        EXPECT_FALSE(isSaved());
        EXPECT_EQ(ReadBytes(m_Path), kOld);
        EXPECT_EQ(m_Folder.Count(), 1);
    }
    ASSERT_EQ(chmod(m_Folder.Path().c_str(), 0777), 0);
    EXPECT_TRUE(isSaved());
}

TEST_F(PictureSaving, TheRuleChoosesTheMetadataOfAJpegAndTheReportTellsWhatWasLeftBehind) {
    for (const bool withIptc : {true, false}) {
        WriteBytes(m_Source, MakePhoto(true, withIptc));
        for (const EBxMetadataRule rule : {EBxMetadataRule::kAny, EBxMetadataRule::kBoth, EBxMetadataRule::kNone}) {
            const bool isCarried = rule == EBxMetadataRule::kAny || (rule == EBxMetadataRule::kBoth && withIptc);
            const SBxFileReport report = SaveByRule("photo.jpg", rule);
            CBxOwnedMetadata written;
            CBxImageMetadata::LoadMetadata(m_Path.c_str(), written);
            EXPECT_EQ(MakerOf(written), isCarried ? kMaker : "");
            EXPECT_EQ(CaptionOf(written), isCarried && withIptc ? kCaption : "");
            EXPECT_EQ(report.m_bLacksExif, !isCarried);
            EXPECT_EQ(report.m_bLacksIptc, !isCarried && withIptc);
        }
        const SBxFileReport png = SaveByRule("photo.png", EBxMetadataRule::kAny);
        EXPECT_TRUE(png.m_bLacksExif);
        EXPECT_EQ(png.m_bLacksIptc, withIptc);
    }
}

TEST_F(PictureSaving, TheLogTellsOfTheMetadata) {
    CBxLogger logger;
    ASSERT_EQ(logger.OpenNewLog((m_Elsewhere / "log").c_str(), false, true), 0);
    ASSERT_EQ(CBxConvertPicture::SetLogger(&logger), 0);
    Save(m_Path);
    CBxConvertPicture::UnsetLogger();
    logger.CloseLog();
    EXPECT_THAT(ReadBytes(m_Elsewhere / "log"),
                testing::ContainsRegex("Loading metadata from [^\n]*source.jpg\n[^\n]*Saving the image to [^\n]*\n"
                                       "[^\n]*Transferring the image metadata..\n[^\n]*Image was successfully saved."));
}
