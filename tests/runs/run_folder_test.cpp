#include "run_folder.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "temporary_folder.h"
#include "writer_faults.h"

namespace fs = std::filesystem;

namespace {

mode_t ModeOf(const std::string& path) {
    struct stat facts = {};
    return ::lstat(path.c_str(), &facts) == 0 ? facts.st_mode : 0;
}

class RunFolder : public testing::Test {
protected:
    std::string Parent() { return m_Folder.Path() + "/"; }

    CTemporaryFolder m_Folder;
    std::string m_strReason;
};

}  // namespace

TEST_F(RunFolder, IsPrivateAndGoesWithItsFiles) {
    {
        CBxRunFolder first;
        CBxRunFolder second;
        ASSERT_TRUE(first.Create(Parent(), m_strReason) && second.Create(Parent(), m_strReason));
        EXPECT_NE(first.Path(), second.Path());
        EXPECT_EQ(ModeOf(first.Path().substr(0, first.Path().size() - 1)), S_IFDIR | 0700u);
        WriteBytes(first.Path() + "images-000.ppm", "P6");
        EXPECT_EQ(m_Folder.Count(), 2);
    }
    EXPECT_EQ(m_Folder.Count(), 0);
    CBxRunFolder none;
    EXPECT_FALSE(none.Create(m_Folder / "missing/", m_strReason));
    EXPECT_THAT(m_strReason, testing::HasSubstr("No such file"));
}

TEST_F(RunFolder, OnlyLeftoversThatAreProvedOwnAreRemoved) {
    CTemporaryFolder elsewhere;
    WriteBytes(elsewhere / "precious", "precious");
    CBxRunFolder living;
    ASSERT_TRUE(living.Create(Parent(), m_strReason));
    WriteBytes(living.Path() + "1_tmp.jpg", "being written");
    const std::string dead = m_Folder / ".veridane-run-0123456789abcdef";
    fs::create_directory(dead);
    WriteBytes(dead + "/1_tmp.jpg", "half written");
    const std::string full = m_Folder / ".veridane-run-00000000000000aa";
    fs::create_directories(full + "/folder");
    const std::string link = m_Folder / ".veridane-run-ffffffffffffffff";
    fs::create_directory_symlink(elsewhere.Path(), link);
    const std::string otherName = m_Folder / ".veridane-run-0123456789ABCDEF";
    fs::create_directory(otherName);
    WriteBytes(m_Folder / ".veridane-run-0000000000000000", "a file");

    CBxRunFolder::RemoveLeftovers(Parent());
    EXPECT_FALSE(fs::exists(dead));
    EXPECT_TRUE(fs::exists(full + "/folder"));
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_EQ(ReadBytes(elsewhere / "precious"), "precious");
    EXPECT_TRUE(fs::exists(otherName));
    EXPECT_TRUE(fs::exists(m_Folder / ".veridane-run-0000000000000000"));
    EXPECT_EQ(ReadBytes(living.Path() + "1_tmp.jpg"), "being written");
}

TEST_F(RunFolder, OfAKilledRunIsRemovedByTheNext) {
    const pid_t child = ::fork();
    if (child == 0) {
        CBxRunFolder folder;
        std::string reason;
        folder.Create(Parent(), reason);
        WriteBytes(folder.Path() + "1_tmp.jpg", "half written");
        ::kill(::getpid(), SIGKILL);
    }
    ::waitpid(child, nullptr, 0);
    EXPECT_EQ(m_Folder.Count(), 1);
    CBxRunFolder::RemoveLeftovers(Parent());
    EXPECT_EQ(m_Folder.Count(), 0);
}

TEST_F(RunFolder, OfOtherUsersIsLeftAlone) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "needs the superuser, to make a folder of another user";
    }
    const std::string theirs = m_Folder / ".veridane-run-0123456789abcdef";
    fs::create_directory(theirs);
    ASSERT_EQ(::chown(theirs.c_str(), 65534, 65534), 0);
    CBxRunFolder::RemoveLeftovers(Parent());
    EXPECT_TRUE(fs::exists(theirs));
}

TEST_F(RunFolder, ThePrivateFolderIsSharedByTheRunsOfAUserAndClosedToOthers) {
    for (int run = 0; run < 2; ++run) {
        CBxPrivateFolder folder;
        ASSERT_TRUE(folder.Open(m_Folder / "Veridane_Temp/", m_strReason)) << m_strReason;
        EXPECT_EQ(folder.Path(), m_Folder / "Veridane_Temp/");
        EXPECT_EQ(ModeOf(m_Folder / "Veridane_Temp"), S_IFDIR | 0700u);
        ::chmod((m_Folder / "Veridane_Temp").c_str(), 0777);
    }
    CBxPrivateFolder none;
    EXPECT_FALSE(none.Open(m_Folder / "missing/Veridane_Temp/", m_strReason));
}

TEST_F(RunFolder, AnotherNameIsTakenWhenThePrivateOneIsNotOurs) {
    CTemporaryFolder elsewhere;
    fs::create_directory_symlink(elsewhere.Path(), m_Folder / "Veridane_Temp");
    const std::string second = m_Folder / "Veridane_Temp-" + std::to_string(::geteuid());
    {
        CBxPrivateFolder folder;
        ASSERT_TRUE(folder.Open(m_Folder / "Veridane_Temp/", m_strReason));
        EXPECT_EQ(folder.Path(), second + "/");
    }
    fs::remove(second);
    WriteBytes(second, "in the way");
    {
        CBxPrivateFolder folder;
        ASSERT_TRUE(folder.Open(m_Folder / "Veridane_Temp/", m_strReason));
        EXPECT_EQ(ModeOf(folder.Path().substr(0, folder.Path().size() - 1)), S_IFDIR | 0700u);
        EXPECT_EQ(m_Folder.Count(), 3);
    }
    EXPECT_EQ(m_Folder.Count(), 2) << "a name that nobody finds again is not left behind";
    EXPECT_EQ(elsewhere.Count(), 0);
}

TEST_F(RunFolder, AFolderOfAnotherUserIsNotUsed) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "needs the superuser, to work as somebody without rights";
    }
    fs::create_directory(m_Folder / "Veridane_Temp");
    ::chmod((m_Folder / "Veridane_Temp").c_str(), 0777);
    ::chmod(m_Folder.Path().c_str(), 0777);
    EXPECT_TRUE(SucceedsAsNobody([this] {
        CBxPrivateFolder folder;
        return folder.Open(m_Folder / "Veridane_Temp/", m_strReason) &&
                       folder.Path() == m_Folder / "Veridane_Temp-65534/"
                   ? 0
                   : 1;
    }));
}
