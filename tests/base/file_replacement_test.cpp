#include "file_replacement.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>

#include "temporary_folder.h"
#include "writer_faults.h"

namespace {

namespace fs = std::filesystem;

unsigned char Replace(const std::string& path, const std::string& bytes) {
    CBxFileReplacement replacement;
    if (replacement.Begin(path.c_str()) != 0 || replacement.Write(bytes.data(), bytes.size()) != 0) {
        return 1;
    }
    return replacement.Commit();
}

mode_t ModeOf(const std::string& path) {
    struct stat status = {};
    EXPECT_EQ(stat(path.c_str(), &status), 0);
    return status.st_mode & 07777;
}

class FileReplacement : public testing::Test {
protected:
    CTemporaryFolder m_Folder;
    const std::string m_Path = m_Folder / "photo.jpg";
};

}  // namespace

TEST_F(FileReplacement, KeepsTheOldFileUntilTheCommit) {
    WriteBytes(m_Path, "old");
    CBxFileReplacement replacement;
    ASSERT_EQ(replacement.Begin(m_Path.c_str()), 0);
    const std::string temporary = replacement.TemporaryPath();
    EXPECT_THAT(temporary, testing::MatchesRegex(m_Folder.Path() + "/\\.veridane-[0-9a-f]{16}\\.jpg"));
    EXPECT_NE(fcntl(replacement.Descriptor(), F_GETFD) & FD_CLOEXEC, 0);
    EXPECT_EQ(replacement.Begin(m_Path.c_str()), 1);
    ASSERT_EQ(replacement.Write("new contents", 12), 0);
    EXPECT_EQ(ReadBytes(m_Path), "old");
    ASSERT_EQ(replacement.Commit(), 0) << replacement.Reason();
    EXPECT_EQ(ReadBytes(m_Path), "new contents");
    EXPECT_EQ(m_Folder.Count(), 1);
    // The object can be used again.
    ASSERT_EQ(replacement.Begin((m_Folder / "plain").c_str()), 0);
    ASSERT_EQ(replacement.Commit(), 0);
    EXPECT_EQ(ReadBytes(m_Folder / "plain"), "");
}

TEST_F(FileReplacement, LeavesNothingBehindWithoutACommit) {
    WriteBytes(m_Path, "old");
    {
        CBxFileReplacement replacement;
        ASSERT_EQ(replacement.Begin(m_Path.c_str()), 0);
        ASSERT_EQ(replacement.Write("new", 3), 0);
    }
    EXPECT_EQ(ReadBytes(m_Path), "old");
    EXPECT_EQ(m_Folder.Count(), 1);
}

TEST_F(FileReplacement, LetsOthersRewriteTheClosedTemporaryFile) {
    CBxFileReplacement replacement;
    ASSERT_EQ(replacement.Begin(m_Path.c_str()), 0);
    const mode_t fresh = ModeOf(replacement.TemporaryPath());
    ASSERT_EQ(replacement.Write("first", 5), 0);
    ASSERT_EQ(replacement.Close(), 0);
    EXPECT_EQ(replacement.Write("late", 4), 1);
    // As a program does that writes a file of its own and renames it.
    WriteBytes(m_Folder / "rewritten", "second");
    chmod((m_Folder / "rewritten").c_str(), 0600);
    fs::rename(m_Folder / "rewritten", replacement.TemporaryPath());
    ASSERT_EQ(replacement.Commit(), 0) << replacement.Reason();
    EXPECT_EQ(ReadBytes(m_Path), "second");
    EXPECT_EQ(ModeOf(m_Path), fresh);
}

TEST_F(FileReplacement, KeepsThePermissionsOfItsPredecessor) {
    const mode_t mask = umask(027);
    EXPECT_EQ(Replace(m_Path, "new"), 0);
    EXPECT_EQ(ModeOf(m_Path), 0640u);
    for (const mode_t mode : {0600u, 0664u, 0755u}) {
        ASSERT_EQ(chmod(m_Path.c_str(), mode), 0);
        EXPECT_EQ(Replace(m_Path, "newer"), 0);
        EXPECT_EQ(ModeOf(m_Path), mode);
    }
    CBxFileReplacement secret;
    ASSERT_EQ(secret.Begin((m_Folder / "secret").c_str()), 0);
    EXPECT_EQ(secret.LimitPermissions(0604), 0);
    EXPECT_EQ(ModeOf(secret.TemporaryPath()), 0600u);
    EXPECT_EQ(secret.Commit(), 0);
    EXPECT_EQ(ModeOf(m_Folder / "secret"), 0600u);
    umask(mask);
}

TEST_F(FileReplacement, FollowsLinksToTheFileTheyName) {
    ASSERT_TRUE(fs::create_directory(m_Folder / "deep"));
    WriteBytes(m_Folder / "deep/real.jpg", "old");
    fs::create_symlink("deep/second.jpg", m_Path);
    fs::create_symlink("real.jpg", m_Folder / "deep/second.jpg");
    EXPECT_EQ(Replace(m_Path, "new"), 0);
    EXPECT_EQ(ReadBytes(m_Folder / "deep/real.jpg"), "new");
    EXPECT_TRUE(fs::is_symlink(m_Path));
    EXPECT_TRUE(fs::is_symlink(m_Folder / "deep/second.jpg"));

    fs::create_symlink(m_Folder / "deep/absent.jpg", m_Folder / "dangling.jpg");
    EXPECT_EQ(Replace(m_Folder / "dangling.jpg", "made"), 0);
    EXPECT_TRUE(fs::is_symlink(m_Folder / "dangling.jpg"));
    EXPECT_EQ(ReadBytes(m_Folder / "deep/absent.jpg"), "made");

    fs::create_symlink("round.jpg", m_Folder / "round.jpg");
    CBxFileReplacement round;
    EXPECT_EQ(round.Begin((m_Folder / "round.jpg").c_str()), 1);
    EXPECT_THAT(round.Reason(), testing::HasSubstr(strerror(ELOOP)));
}

TEST_F(FileReplacement, RefusesWhatIsNoRegularFileAndSaysWhy) {
    ASSERT_EQ(mkfifo((m_Folder / "pipe").c_str(), 0600), 0);
    CBxFileReplacement replacement;
    EXPECT_EQ(replacement.Begin((m_Folder / "pipe").c_str()), 1);
    EXPECT_EQ(replacement.Begin("/dev/null"), 1);
    EXPECT_EQ(replacement.Begin(m_Folder.Path().c_str()), 1);
    EXPECT_THAT(replacement.Reason(), testing::HasSubstr(strerror(EISDIR)));
    EXPECT_EQ(replacement.Begin((m_Folder / "none/photo.jpg").c_str()), 1);
    EXPECT_THAT(replacement.Reason(), testing::HasSubstr(strerror(ENOENT)));
    EXPECT_EQ(replacement.Begin((m_Folder / std::string(300, 'n')).c_str()), 1);
    EXPECT_EQ(replacement.Begin(""), 1);
    EXPECT_EQ(replacement.Begin(nullptr), 1);
    EXPECT_EQ(replacement.Commit(), 1);
    EXPECT_EQ(m_Folder.Count(), 1);
}

TEST_F(FileReplacement, RefusesATargetThatBecameAFolderMeanwhile) {
    CBxFileReplacement replacement;
    ASSERT_EQ(replacement.Begin(m_Path.c_str()), 0);
    ASSERT_TRUE(fs::create_directory(m_Path));
    EXPECT_EQ(replacement.Commit(), 1);
    replacement.Discard();
    EXPECT_TRUE(fs::is_directory(m_Path));
    EXPECT_EQ(m_Folder.Count(), 1);
}

TEST_F(FileReplacement, CommitsANewFileOnlyWhereThereIsNone) {
    CBxFileReplacement replacement;
    ASSERT_EQ(replacement.Begin(m_Path.c_str()), 0);
    ASSERT_EQ(replacement.Write("mine", 4), 0);
    WriteBytes(m_Path, "theirs");
    EXPECT_EQ(replacement.CommitNew(), 1);
    EXPECT_EQ(ReadBytes(m_Path), "theirs");
    fs::remove(m_Path);
    ASSERT_EQ(replacement.CommitNew(), 0) << replacement.Reason();
    EXPECT_EQ(ReadBytes(m_Path), "mine");
    EXPECT_EQ(m_Folder.Count(), 1);
}

// What an ordinary user meets in a folder that is shared: files of others, and groups that are not hers.
TEST_F(FileReplacement, RespectsFilesOfOtherUsers) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only the superuser can become two users";
    }
    const std::string shared = m_Folder / "shared.jpg";
    WriteBytes(m_Path, "theirs");
    WriteBytes(shared, "shared");
    chmod(m_Folder.Path().c_str(), 0777);
    chmod(m_Path.c_str(), 0644);
    chmod(shared.c_str(), 0662);
    const pid_t child = fork();
    if (child == 0) {
        constexpr uid_t kNobody = 65534;
        const bool changed = setgroups(0, nullptr) == 0 && setegid(kNobody) == 0 && seteuid(kNobody) == 0;
        _exit(changed && Replace(m_Path, "mine") == 1 && Replace(shared, "mine") == 0 ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(ReadBytes(m_Path), "theirs");
    EXPECT_EQ(ReadBytes(shared), "mine");
    // The group is another one now: it gets no more than everybody.
    EXPECT_EQ(ModeOf(shared), 0622u);
    EXPECT_EQ(m_Folder.Count(), 2);
}

TEST_F(FileReplacement, TakesABackslashForAPartOfTheName) {
    EXPECT_EQ(Replace(m_Folder / "a\\b.jpg", "x"), 0);
    EXPECT_EQ(ReadBytes(m_Folder / "a\\b.jpg"), "x");
}

TEST_F(FileReplacement, LeavesTheOldFileOnAFullDisk) {
    WriteBytes(m_Path, "old");
    // The first fails in the middle of writing, the second when the buffered bytes are flushed at the end.
    EXPECT_FALSE(SucceedsWithDiskOf(5000, [this] { return Replace(m_Path, std::string(100000, 'n')); }));
    EXPECT_FALSE(SucceedsWithDiskOf(50, [this] { return Replace(m_Path, std::string(100, 'n')); }));
    // A writer who looks at no result until the end.
    EXPECT_FALSE(SucceedsWithDiskOf(5000, [this] {
        CBxFileReplacement replacement;
        replacement.Begin(m_Path.c_str());
        // Unbuffered, so that no left-over fails once more at the end: only the mark in the stream remains.
        setvbuf(replacement.Stream(), nullptr, _IONBF, 0);
        for (int part = 0; part < 100 && replacement.Stream() != nullptr; ++part) {
            std::fputs(std::string(1000, 'n').c_str(), replacement.Stream());
        }
        return replacement.Commit();
    }));
    EXPECT_EQ(ReadBytes(m_Path), "old");
    EXPECT_EQ(m_Folder.Count(), 1);
    EXPECT_TRUE(SucceedsWithDiskOf(5000, [this] { return Replace(m_Path, "fits"); }));
    EXPECT_EQ(ReadBytes(m_Path), "fits");
}

TEST_F(FileReplacement, OfAKilledProgramIsClearedAwayAndNothingElseIs) {
    for (const char* const name :
         {".veridane-0123456789abcdef.conf", ".veridane-fedcba9876543210", ".veridane-0123456789abcde.conf",
          ".veridane-0123456789abcdef0", "veridane-0123456789abcdef", "veridaneapp.conf"}) {
        WriteBytes(m_Folder / name, "x");
    }
    ASSERT_TRUE(fs::create_directory(m_Folder / ".veridane-1111111111111111"));
    fs::create_symlink("veridaneapp.conf", m_Folder / ".veridane-2222222222222222");
    BX_RemoveLeftoverFiles(m_Folder.Path().c_str());
    EXPECT_FALSE(fs::exists(m_Folder / ".veridane-0123456789abcdef.conf"));
    EXPECT_FALSE(fs::exists(m_Folder / ".veridane-fedcba9876543210"));
    EXPECT_EQ(m_Folder.Count(), 6);
    BX_RemoveLeftoverFiles((m_Folder / "none").c_str());
}

// What a handler does that ends the process without unwinding.
TEST_F(FileReplacement, LeavesNothingWhenTheProgramEndsAtOnce) {
    CBxFileReplacement replacement;
    ASSERT_EQ(replacement.Begin(m_Path.c_str()), 0);
    ASSERT_EQ(replacement.Write("new", 3), 0);
    const std::string folder = m_Folder / "run/";
    ASSERT_TRUE(fs::create_directory(folder));
    for (int i = 0; i < 300; ++i) {
        WriteBytes(folder + std::to_string(i) + "_a_name_that_takes_some_room.ppm", "x");
    }
    const CBxTemporaryPlace place(folder.c_str(), CBxTemporaryPlace::EKind::FolderWithFiles);
    BX_RemoveTemporaryPlaces();
    EXPECT_EQ(m_Folder.Count(), 0);
}

TEST_F(FileReplacement, LeavesAWholeFileWhereverItIsKilled) {
    if (!CanTraceChildren()) {
        GTEST_SKIP() << "this machine does not let a process trace its child";
    }
    const std::string oldBytes(3000, 'o');
    const std::string newBytes(20000, 'n');
    int oldFiles = 0;
    int newFiles = 0;
    bool killed = true;
    for (int stop = 0; killed; ++stop) {
        WriteBytes(m_Path, oldBytes);
        killed = IsKilledAtSystemCall(stop, [this, &newBytes] { Replace(m_Path, newBytes); });
        const std::string found = ReadBytes(m_Path);
        ASSERT_TRUE(found == oldBytes || found == newBytes) << "at stop " << stop << ": " << found.size() << " bytes";
        oldFiles += found == oldBytes ? 1 : 0;
        newFiles += found == newBytes ? 1 : 0;
        int leftOver = 0;
        for (const fs::directory_entry& entry : fs::directory_iterator(m_Folder.Path())) {
            if (entry.path() != m_Path) {
                EXPECT_THAT(entry.path().filename().string(), testing::StartsWith(".veridane-"));
                fs::remove(entry.path());
                ++leftOver;
            }
        }
        EXPECT_LE(leftOver, killed ? 1 : 0) << "at stop " << stop;
    }
    // Kills fell before and after the renaming, and the last run was whole.
    EXPECT_GT(oldFiles, 10);
    EXPECT_GT(newFiles, 1);
    EXPECT_EQ(ReadBytes(m_Path), newBytes);
}
