#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QBuffer>
#include <QImage>

#include "image_metadata.h"
#include "jpeg_corpus.h"
#include "metadata_fixtures.h"
#include "temporary_folder.h"
#include "writer_faults.h"

namespace {

namespace fs = std::filesystem;

std::string MakePicture(const char* format) {
    QImage image(20, 10, QImage::Format_RGB888);
    image.fill(Qt::darkBlue);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    image.save(&buffer, format);
    return bytes.toStdString();
}

class MetadataTarget : public testing::Test {
protected:
    MetadataTarget() {
        m_Md.exif = MakeExif(5000);
        m_Md.iptc = MakeIptc(5000);
    }

    int SaveExif() { return CBxImageMetadata::SaveExif(m_Path.c_str(), m_Md); }
    int SaveIptc() { return CBxImageMetadata::SaveIptc(m_Path.c_str(), m_Md); }

    // Files that a killed program left in the folder.
    int RemoveLeftOver() {
        int count = 0;
        for (const fs::directory_entry& entry : fs::directory_iterator(m_Folder.Path())) {
            if (entry.path() != m_Path) {
                EXPECT_THAT(entry.path().filename().string(), testing::StartsWith(".veridane-"));
                fs::remove(entry.path());
                ++count;
            }
        }
        return count;
    }

    CTemporaryFolder m_Folder;
    const std::string m_Path = m_Folder / "photo.jpg";
    const std::string m_Photo = MakePhoto();
    CBxOwnedMetadata m_Md;
};

}  // namespace

TEST_F(MetadataTarget, ThatIsNoWholeJpegStaysAsItIs) {
    std::vector<std::string> targets = {MakePicture("PNG"),
                                        MakePicture("BMP"),
                                        MakePicture("PPM"),
                                        "text",
                                        std::string("\xFF\xFE"
                                                    "t\0e\0x\0t\0",
                                                    10),
                                        std::string(70000, '\xFF')};
    ASSERT_FALSE(targets[0].empty());
    for (const SJpegSample& sample : MakeJpegSamples()) {
        if (!sample.isWhole && sample.bytes.find("Exif") == std::string::npos) {
            targets.push_back(sample.bytes);
        }
    }
    for (std::size_t cut = 0; cut < m_Photo.size() - 100; cut += 7) {
        targets.push_back(m_Photo.substr(0, cut));
    }
    int refused = 0;
    for (const std::string& target : targets) {
        for (const bool isExif : {true, false}) {
            WriteBytes(m_Path, target);
            if ((isExif ? SaveExif() : SaveIptc()) != 0) {
                EXPECT_EQ(ReadBytes(m_Path), target);
                ++refused;
                continue;
            }
            // Cut in its image data or between two segments: every byte is there still, behind the new segment.
            const std::string written = ReadBytes(m_Path);
            EXPECT_GT(written.size(), target.size() + 5000);
            EXPECT_EQ(written.substr(written.size() - target.size() / 2),
                      target.substr(target.size() - target.size() / 2));
        }
    }
    EXPECT_GT(refused, 100);
    EXPECT_EQ(m_Folder.Count(), 1);
}

TEST_F(MetadataTarget, ThatIsNoRegularFileDoesNotHoldTheProgram) {
    ASSERT_EQ(mkfifo(m_Path.c_str(), 0600), 0);
    EXPECT_EQ(SaveExif(), 1);
    EXPECT_EQ(SaveIptc(), 1);
    CBxOwnedMetadata md;
    EXPECT_EQ(CBxImageMetadata::LoadMetadata(m_Path.c_str(), md), 1);
    EXPECT_EQ(CBxImageMetadata::LoadMetadata(m_Folder.Path().c_str(), md), 1);
    EXPECT_EQ(CBxImageMetadata::SaveMetadata(m_Folder.Path().c_str(), m_Md), 1);
    EXPECT_EQ(m_Folder.Count(), 1);
}

TEST_F(MetadataTarget, KeepsItsLinksAndItsNeighbours) {
    WriteBytes(m_Folder / "photo.jpg", m_Photo);
    WriteBytes(m_Folder / "photo.jpg.000", "the user's own");
    const std::string link = m_Folder / "link.jpg";
    fs::create_symlink("photo.jpg", link);
    EXPECT_EQ(CBxImageMetadata::SaveMetadata(link.c_str(), m_Md), 0);
    EXPECT_TRUE(fs::is_symlink(link));
    CBxOwnedMetadata md;
    EXPECT_EQ(CBxImageMetadata::LoadMetadata(m_Path.c_str(), md), 0);
    EXPECT_EQ(ReadBytes(m_Folder / "photo.jpg.000"), "the user's own");
    EXPECT_EQ(m_Folder.Count(), 3);
}

TEST_F(MetadataTarget, ThatMustNotBeWrittenStaysAsItIs) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only the superuser can become another user";
    }
    WriteBytes(m_Path, m_Photo);
    chmod(m_Folder.Path().c_str(), 0755);
    chmod(m_Path.c_str(), 0666);
    EXPECT_FALSE(SucceedsAsNobody([this] { return SaveExif(); })) << "the folder is read-only";
    EXPECT_FALSE(SucceedsAsNobody([this] { return SaveIptc(); })) << "the folder is read-only";
    chmod(m_Folder.Path().c_str(), 0777);
    chmod(m_Path.c_str(), 0444);
    EXPECT_FALSE(SucceedsAsNobody([this] { return SaveExif(); })) << "the file is read-only";
    EXPECT_FALSE(SucceedsAsNobody([this] { return SaveIptc(); })) << "the file is read-only";
    EXPECT_EQ(ReadBytes(m_Path), m_Photo);
    EXPECT_EQ(m_Folder.Count(), 1);
    chmod(m_Path.c_str(), 0666);
    EXPECT_TRUE(SucceedsAsNobody([this] { return SaveExif(); }));
}

TEST_F(MetadataTarget, StaysAsItIsOnAFullDisk) {
    for (const bool isExif : {true, false}) {
        WriteBytes(m_Path, m_Photo);
        int failures = 0;
        bool saved = false;
        for (rlim_t mostBytes = 0; !saved; mostBytes += 200) {
            saved = SucceedsWithDiskOf(mostBytes, [&] { return isExif ? SaveExif() : SaveIptc(); });
            failures += saved ? 0 : 1;
            ASSERT_TRUE(saved || ReadBytes(m_Path) == m_Photo) << mostBytes;
            ASSERT_EQ(m_Folder.Count(), 1) << mostBytes;
        }
        EXPECT_GT(failures, 20);
        EXPECT_GT(ReadBytes(m_Path).size(), m_Photo.size() + 5000);
        EXPECT_TRUE(HasSamePixels(ReadBytes(m_Path), m_Photo));
    }
}

TEST_F(MetadataTarget, IsWholeWhereverItsWriterIsKilled) {
    if (!CanTraceChildren()) {
        GTEST_SKIP() << "this machine does not let a process trace its child";
    }
    WriteBytes(m_Path, m_Photo);
    ASSERT_EQ(SaveExif(), 0);
    const std::string withExif = ReadBytes(m_Path);
    ASSERT_EQ(SaveIptc(), 0);
    const std::string withBoth = ReadBytes(m_Path);
    int counts[3] = {};
    bool killed = true;
    for (int stop = 0; killed; ++stop) {
        WriteBytes(m_Path, m_Photo);
        killed = IsKilledAtSystemCall(stop, [this] { CBxImageMetadata::SaveMetadata(m_Path.c_str(), m_Md); });
        const std::string found = ReadBytes(m_Path);
        ASSERT_TRUE(found == m_Photo || found == withExif || found == withBoth) << "at stop " << stop;
        ++counts[found == m_Photo ? 0 : found == withExif ? 1 : 2];
        ASSERT_LE(RemoveLeftOver(), killed ? 1 : 0) << "at stop " << stop;
    }
    EXPECT_GT(counts[0], 5);
    EXPECT_GT(counts[1], 5);
    EXPECT_GT(counts[2], 0);
}
