// What leaves the machine with a picture says nothing of where it came from, and nothing else remembers it.
#include <gmock/gmock.h>

#include <QImage>
#include <filesystem>

#include "pdf_document.h"
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

// The settings are the window's; the command neither writes them nor keeps any of its own.
TEST_F(VrdPrivacy, TheHomeFolderStaysAsItWas) {
    const std::string home = m_Folder / "home";
    const std::string settings = home + "/.Veridane/veridaneapp.conf";
    const std::string values = "[General]\nlatest_folder=\"/of/the/window\"\n";
    const std::string pictures = m_Folder / "pictures";
    std::filesystem::create_directories(home + "/.Veridane");
    std::filesystem::create_directory(pictures);
    std::filesystem::copy_file(Photo(), pictures + "/a.png");
    WriteBytes(settings, values);
    const QImage signedPhoto(QString::fromStdString(Signed()));
    CPdfDocument document;
    document.AddPage(AddPdfJpeg(document, ReadBytes(Signed()), signedPhoto.width(), signedPhoto.height()));
    WriteBytes(m_Folder / "a.pdf", document.Bytes());
    const std::vector<std::vector<std::string>> uses = {
        {"sign", pictures + "/a.png", "-s", kSign, "-o", m_Folder / "a.jpg"},
        {"detect", m_Folder / "a.jpg"},
        {"batch-sign", pictures, "-s", kSign},
        {"batch-detect", pictures + "/signed"},
        {"pdf-detect", m_Folder / "a.pdf"}};
    for (const std::vector<std::string>& use : uses) {
        std::vector<std::string> words = {"/usr/bin/env", "HOME=" + home, "XDG_CONFIG_HOME=", VERIDANE_BIN "/vrd"};
        words.insert(words.end(), use.begin(), use.end());
        const SProgramRun run = RunProgram(words);
        EXPECT_EQ(run.status, 0) << use[0] << run.out << run.err;
    }
    EXPECT_EQ(ReadBytes(settings), values);
    std::vector<std::string> places;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(home)) {
        places.push_back(entry.path());
    }
    EXPECT_THAT(places, testing::UnorderedElementsAre(home + "/.Veridane", settings));
}
