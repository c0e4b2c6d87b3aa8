#include "qt_files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <set>
#include <string>

#include "qt_text.h"
#include "temporary_folder.h"

namespace {

namespace fs = std::filesystem;

std::set<std::string> Texts(const std::vector<QString>& names) {
    std::set<std::string> texts;
    for (const QString& name : names) {
        texts.insert(name.toStdString());
    }
    return texts;
}

mode_t ModeOf(const std::string& path) {
    struct stat status = {};
    EXPECT_EQ(stat(path.c_str(), &status), 0);
    return status.st_mode & 07777;
}

}  // namespace

TEST(QtText, CopiesUtf8WithinTheBuffer) {
    char text[8];
    std::memset(text, '#', sizeof(text));
    EXPECT_EQ(BX_QStringToUTF8(text, 4, QStringLiteral("abcdef")), text);
    EXPECT_EQ(std::string(text, 8), "abcd####");
    BX_QStringToUTF8(text, 8, QString(QChar(0xE4)));
    EXPECT_EQ(std::string(text, 8), std::string("\xC3\xA4\0\0\0\0\0\0", 8));
    EXPECT_EQ(BX_QStringToUTF8(nullptr, 4, QString()), nullptr);
    EXPECT_EQ(BX_QStringToUTF8(text, 0, QString()), nullptr);
    EXPECT_EQ(BX_UTF8ToQString("\xC3\xA4"), QString(QChar(0xE4)));
}

TEST(QtText, TakesPathsApart) {
    EXPECT_EQ(BX_ExtractPath("C:\\x\\y.jpg"), "C:/x");
    EXPECT_EQ(BX_ExtractFileName(QString("C:\\x\\y.jpg")), "y.jpg");
    EXPECT_EQ(BX_ExtractPath("y.jpg"), "");
    EXPECT_EQ(BX_ExtractFileName(QString("y.jpg")), "y.jpg");
    EXPECT_EQ(BX_ExtractPath("/a/b/"), "/a/b");
    char name[6] = {};
    EXPECT_EQ(BX_ExtractFileName(name, sizeof(name), "a/y.jpg"), 0);
    EXPECT_STREQ(name, "y.jpg");
    EXPECT_EQ(BX_ExtractFileName(name, sizeof(name), "a/yy.jpg"), 1);
    EXPECT_STREQ(name, "yy.jp");
}

TEST(QtFiles, CopiesWithoutTouchingAnExistingTargetUnlessAsked) {
    CTemporaryFolder folder;
    const std::string bytes = std::string(600000, 'x') + "end";
    WriteBytes(folder / "from", bytes);
    chmod((folder / "from").c_str(), 0600);
    EXPECT_EQ(BX_CopyFile((folder / "from").c_str(), (folder / "to").c_str(), false), 0);
    EXPECT_EQ(ReadBytes(folder / "to"), bytes);
    EXPECT_EQ(ModeOf(folder / "to"), 0600u);

    WriteBytes(folder / "other", "other");
    EXPECT_EQ(BX_CopyFile((folder / "other").c_str(), (folder / "to").c_str(), false), 1);
    EXPECT_EQ(ReadBytes(folder / "to"), bytes);
    EXPECT_EQ(BX_CopyFile((folder / "other").c_str(), (folder / "to").c_str(), true), 0);
    EXPECT_EQ(ReadBytes(folder / "to"), "other");
    EXPECT_EQ(folder.Count(), 3);
}

// Whoever removes the target first has nothing left to copy, or a target lost.
TEST(QtFiles, KeepTheTargetOfACopyThatCannotBe) {
    CTemporaryFolder folder;
    WriteBytes(folder / "kept", "kept");
    fs::create_symlink("kept", folder / "link");
    fs::create_hard_link(folder / "kept", folder / "second");
    for (const char* same : {"kept", "link", "second"}) {
        EXPECT_EQ(BX_CopyFile((folder / "kept").c_str(), (folder / same).c_str(), true), 1) << same;
    }
    EXPECT_EQ(BX_CopyFile((folder / "none").c_str(), (folder / "kept").c_str(), true), 1);
    EXPECT_EQ(BX_CopyFile(folder.Path().c_str(), (folder / "kept").c_str(), true), 1);
    EXPECT_EQ(BX_CopyFile(nullptr, (folder / "kept").c_str(), true), 1);
    EXPECT_EQ(ReadBytes(folder / "kept"), "kept");

    WriteBytes(folder / "large", std::string(600000, 'x'));
    const pid_t child = fork();
    if (child == 0) {
        signal(SIGXFSZ, SIG_IGN);
        const struct rlimit limit = {5000, 5000};
        _exit(setrlimit(RLIMIT_FSIZE, &limit) == 0 &&
                      BX_CopyFile((folder / "large").c_str(), (folder / "kept").c_str(), true) == 1
                  ? 0
                  : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(ReadBytes(folder / "kept"), "kept");
    EXPECT_EQ(folder.Count(), 4);
}

TEST(QtFiles, CopyAndDeleteLists) {
    CTemporaryFolder folder;
    WriteBytes(folder / "1", "one");
    WriteBytes(folder / "2", "two");
    const auto at = [&folder](const char* name) { return QString::fromStdString(folder / name); };
    EXPECT_EQ(BX_CopyFiles({at("1"), at("none"), at("2")}, {at("a"), at("b"), at("c")}, false), 1);
    EXPECT_EQ(ReadBytes(folder / "a"), "one");
    EXPECT_EQ(ReadBytes(folder / "c"), "two");
    EXPECT_EQ(BX_CopyFiles({at("1")}, {}, false), 1);
    EXPECT_EQ(BX_DeleteFiles({at("1"), at("none"), at("2"), at("a")}), 1);
    EXPECT_EQ(folder.Count(), 1);
    EXPECT_EQ(BX_DeleteFile((folder / "c").c_str()), 0);
    EXPECT_EQ(BX_DeleteFile(folder.Path().c_str()), 1);
    EXPECT_EQ(BX_DeleteFile(nullptr), 1);
}

TEST(QtFiles, MakeAndRemoveFolders) {
    CTemporaryFolder folder;
    WriteBytes(folder / "stays", "");
    const std::string deep = folder / "a/b/c";
    EXPECT_EQ(BX_CreateDirectory(deep.c_str()), 0);
    EXPECT_EQ(BX_CreateDirectory(deep.c_str()), 0);
    EXPECT_TRUE(BX_ExistDirectory(deep.c_str()));
    EXPECT_TRUE(BX_ExistDirectory(QString::fromStdString(deep)));
    EXPECT_EQ(BX_RemoveDirectory(deep.c_str()), 0);
    EXPECT_FALSE(BX_ExistDirectory((folder / "a").c_str()));
    EXPECT_TRUE(BX_ExistDirectory(folder.Path().c_str()));
    EXPECT_EQ(BX_CreateDirectory((folder / "stays/x").c_str()), 1);
    EXPECT_FALSE(BX_ExistDirectory(static_cast<const char*>(nullptr)));
}

TEST(QtFiles, ListTheFilesOfAFolder) {
    CTemporaryFolder folder;
    fs::create_directory(folder / "folder.jpg");
    for (const char* name : {"a.jpg", "b.JPG", "c.png", "d"}) {
        WriteBytes(folder / name, "");
    }
    std::vector<QString> found{QStringLiteral("old")};
    EXPECT_EQ(BX_GetFilesInDirectory(found, folder.Path().c_str()), 0);
    EXPECT_THAT(Texts(found),
                testing::UnorderedElementsAre(folder / "a.jpg", folder / "b.JPG", folder / "c.png", folder / "d"));
    EXPECT_EQ(BX_GetFilesInDirectory(found, folder.Path().c_str(), "*.jpg;*.JPG"), 0);
    EXPECT_EQ(found.size(), 2u);
    EXPECT_THAT(Texts(found), testing::UnorderedElementsAre(folder / "a.jpg", folder / "b.JPG"));
    EXPECT_EQ(BX_GetFilesInDirectory(found, (folder / "none").c_str()), 1);
    EXPECT_TRUE(found.empty());
    EXPECT_EQ(BX_GetFilesInDirectory(found, nullptr), 1);
}

TEST(QtFiles, TellFoldersOnlyAsAWhole) {
    char folder[2048] = {};
    EXPECT_EQ(BX_GetAppDirectory(folder, sizeof(folder)), 0);
    EXPECT_EQ(fs::path(folder), fs::current_path());
    char small[2] = "x";
    EXPECT_EQ(BX_GetAppDirectory(small, sizeof(small)), 1);
    EXPECT_STREQ(small, "");
    EXPECT_EQ(BX_GetTmpDirectory(folder, sizeof(folder)), 0);
    EXPECT_TRUE(BX_ExistDirectory(folder));
}
