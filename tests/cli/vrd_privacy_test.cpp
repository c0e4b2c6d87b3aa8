// What leaves the machine with a picture says nothing of where it came from.
#include "vrd_fixture.h"

class VrdPrivacy : public CVrdTest {};

TEST_F(VrdPrivacy, NoWrittenFileNamesTheFoldersOfItsUser) {
    const std::string home = m_Folder / "home-of-somebody";
    std::filesystem::create_directory(home);
    std::filesystem::copy_file(Photo(), home + "/private-title.png");
    const auto expectSilence = [&](const std::string& file, bool alsoOfTheTitle) {
        const std::string bytes = ReadBytes(home + "/" + file);
        EXPECT_GT(bytes.size(), 1000U) << file;
        EXPECT_EQ(bytes.find("home-of-somebody"), std::string::npos) << file;
        EXPECT_EQ(bytes.find(m_Folder.Path()), std::string::npos) << file;
        if (alsoOfTheTitle) {
            EXPECT_EQ(bytes.find("private-title"), std::string::npos) << file;
        }
    };
    for (const char* const name : {"a.jpg", "b.png", "c.tif", "d.bmp"}) {
        const SProgramRun run = RunVrd({"sign", home + "/private-title.png", "-s", kSign, "-o", home + "/" + name});
        ASSERT_EQ(run.status, 0) << run.err;
        expectSilence(name, true);
    }
    // The page is headed by the name of the photograph, not by its folder.
    const std::string page = home + "/survives.html";
    const SProgramRun run = RunVrd({"survive", "--quick", home + "/private-title.png", "--html", page});
    ASSERT_EQ(run.status, 0) << run.err;
    expectSilence("survives.html", false);
}
