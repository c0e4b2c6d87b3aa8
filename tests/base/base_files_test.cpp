#include "base_files.h"

#include <errno.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include "temporary_folder.h"

TEST(BaseFiles, NormaliseSeparators) {
    char path[] = "a\\b/c";
    EXPECT_STREQ(BX_GetOSFilePath(path), "a/b/c");
    char empty[] = "";
    EXPECT_EQ(BX_GetOSFilePath(empty), nullptr);
    EXPECT_EQ(BX_GetOSFilePath(nullptr), nullptr);
    wchar_t wide[] = L"x.y.z";
    EXPECT_STREQ(BX_Replace(wide, 1, L'.', L','), L"x,y,z");
    EXPECT_EQ(BX_Replace(path, 0, 'a', 'b'), nullptr);
}

TEST(BaseFiles, OpenANameWithBackslashesInItsFolder) {
    CTemporaryFolder folder;
    std::FILE* file = BX_fopen((folder.Path() + "\\new.txt").c_str(), "w");
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(BX_fclose(file), 0);
    EXPECT_TRUE(std::filesystem::exists(folder / "new.txt"));
    EXPECT_TRUE(BX_ExistsFile((folder.Path() + "\\new.txt").c_str()));
    EXPECT_FALSE(BX_ExistsFile((folder / "other.txt").c_str()));
}

// A name cut to the size of a buffer would be another file.
TEST(BaseFiles, RefuseANameThatIsTooLong) {
    CTemporaryFolder folder;
    std::string name = folder.Path();
    while (name.size() < kBxPathBytes) {
        name += "/.";
    }
    name += "/x";
    EXPECT_EQ(BX_fopen(name.c_str(), "w"), nullptr);
    EXPECT_EQ(errno, ENAMETOOLONG);
    EXPECT_EQ(folder.Count(), 0);
    EXPECT_EQ(BX_fopen((folder / "x").c_str(), ""), nullptr);
    EXPECT_EQ(BX_fopen(nullptr, "r"), nullptr);
    EXPECT_EQ(folder.Count(), 0);
}

TEST(BaseFiles, ReadAWholeFileAndNothingElse) {
    CTemporaryFolder folder;
    const std::string bytes = std::string(200000, 'a') + std::string(1, '\0') + "end";
    WriteBytes(folder / "file", bytes);
    CBxHeapArray<char> contents;
    ASSERT_EQ(BX_ReadWholeFile((folder / "file").c_str(), bytes.size(), contents), 0);
    EXPECT_EQ(std::string(contents.Data(), contents.Size()), bytes);

    EXPECT_EQ(BX_ReadWholeFile((folder / "file").c_str(), bytes.size() - 1, contents), 1);
    EXPECT_EQ(errno, EFBIG);
    EXPECT_EQ(contents.Size(), 0u);
    EXPECT_EQ(BX_ReadWholeFile((folder / "none").c_str(), 10, contents), 1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(BX_ReadWholeFile(folder.Path().c_str(), 10, contents), 1);
}

// Opening a pipe for reading waits for a writer unless one asks not to.
TEST(BaseFiles, DoNotWaitForAPipe) {
    CTemporaryFolder folder;
    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
    CBxHeapArray<char> contents;
    EXPECT_EQ(BX_ReadWholeFile((folder / "pipe").c_str(), 10, contents), 1);
    EXPECT_TRUE(BX_ExistsFile((folder / "pipe").c_str()));
}
