#include <gmock/gmock.h>
#include <signal.h>
#include <unistd.h>

#include <QImage>

#include "image_metadata.h"
#include "vrd_fixture.h"

using testing::HasSubstr;

namespace {

class VrdSign : public CVrdTest {};

}  // namespace

TEST_F(VrdSign, ReportsWhereTheSignWasWrittenAndDetectFindsItThere) {
    const nlohmann::json record = OneLine(m_SigningRun);
    EXPECT_EQ(record["file"], Photo());
    EXPECT_EQ(record["output"], Signed());
    EXPECT_EQ(record["sign"], kSign);
    EXPECT_EQ(record["quality"], 90);
    EXPECT_TRUE(record["corrected_bits"].is_number_unsigned());
    ASSERT_GE(record["carriers"].size(), 1U);
    for (const nlohmann::json& carrier : record["carriers"]) {
        EXPECT_LT(carrier[0], carrier[2]);
        EXPECT_LE(carrier[2], 420);
        EXPECT_LT(carrier[1], carrier[3]);
        EXPECT_LE(carrier[3], 380);
    }

    const SProgramRun run = RunVrd({"detect", "--json", Signed()});
    EXPECT_EQ(run.status, 0);
    const nlohmann::json found = OneLine(run);
    EXPECT_EQ(found["sign"], kSign);
    EXPECT_GE(found["zoom"], 0.9);
    // The finding is one of the carriers, or the like of it: corners are found again to a few pixels.
    bool isCarrier = false;
    for (const nlohmann::json& carrier : record["carriers"]) {
        bool isNear = true;
        for (int side = 0; side < 4; ++side) {
            isNear = isNear && std::abs(carrier[side].get<int>() - found["rectangle"][side].get<int>()) <= 4;
        }
        isCarrier = isCarrier || isNear;
    }
    EXPECT_TRUE(isCarrier) << m_SigningRun.out << run.out;
}

TEST_F(VrdSign, RefusesAPictureThatIsSignedAndNamesTheSign) {
    const SProgramRun text = RunVrd({"sign", Signed(), "-s", "other-one", "-o", m_Folder / "again.png"});
    EXPECT_EQ(text.status, 1);
    EXPECT_THAT(text.err, HasSubstr(kSign));
    EXPECT_EQ(text.out, "");
    const SProgramRun json = RunVrd({"sign", Signed(), "-s", "other-one", "-o", m_Folder / "again.png", "--json"});
    EXPECT_EQ(json.status, 1);
    EXPECT_EQ(OneLine(json)["already_signed"], kSign);
    EXPECT_EQ(m_Folder.Count(), 0);
}

TEST_F(VrdSign, ASignLostInSavingIsAnErrorThatKeepsTheOldFile) {
    const std::string out = m_Folder / "out.jpg";
    WriteBytes(out, "precious");
    const SProgramRun run = RunVrd({"sign", Photo(), "-s", kSign, "-o", out, "-q", "1", "--force"});
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.err, HasSubstr("higher quality"));
    EXPECT_EQ(ReadBytes(out), "precious");
    EXPECT_EQ(m_Folder.Count(), 1);

    const SProgramRun unchecked = RunVrd({"sign", Photo(), "-s", kSign, "-o", out, "-q", "1", "--force", "--no-check"});
    EXPECT_EQ(unchecked.status, 0) << unchecked.err;
    EXPECT_EQ(ReadBytes(out).substr(0, 2), "\xFF\xD8");
    EXPECT_EQ(m_Folder.Count(), 1);
}

TEST_F(VrdSign, RefusesTextsThatWouldNotComeBackAndTellsWhatTheyWouldBecome) {
    const auto refusal = [&](const std::string& sign) {
        const SProgramRun run = RunVrd({"sign", Photo(), "-s", sign, "-o", m_Folder / "out.png", "--json"});
        EXPECT_EQ(run.status, 2) << sign;
        EXPECT_NE(OneLine(run)["error"].get<std::string>(), "");
        return OneLine(run)["would_become"].get<std::string>();
    };
    EXPECT_EQ(refusal("abc-5"), "abc-5");
    EXPECT_EQ(refusal("abcdefghijk"), "abcdefghij");
    EXPECT_EQ(refusal("my sign!"), "my-sign-");
    EXPECT_EQ(refusal("Gr\xC3\xBCn2026"), "Gr--n2026");
    EXPECT_EQ(refusal(""), "");
    EXPECT_EQ(m_Folder.Count(), 0);
}

TEST_F(VrdSign, ReplacesNoFileUnasked) {
    const std::string photo = m_Folder / "photo.png";
    const std::string hardLink = m_Folder / "hard.png";
    const std::string softLink = m_Folder / "soft.png";
    const std::string other = m_Folder / "other.png";
    WriteBytes(photo, ReadBytes(Photo()));
    WriteBytes(other, "other");
    ASSERT_EQ(::link(photo.c_str(), hardLink.c_str()), 0);
    ASSERT_EQ(::symlink(photo.c_str(), softLink.c_str()), 0);
    const std::string before = ReadBytes(photo);
    const auto refusal = [&](const std::string& output) {
        const SProgramRun run = RunVrd({"sign", photo, "-s", kSign, "-o", output});
        EXPECT_EQ(run.status, 2) << output;
        EXPECT_EQ(run.out, "");
        return run.err;
    };
    for (const std::string& same : {photo, hardLink, softLink, m_Folder / "./photo.png"}) {
        EXPECT_THAT(refusal(same), HasSubstr("the photograph itself"));
    }
    EXPECT_THAT(refusal(other), HasSubstr("exists already"));
    EXPECT_THAT(refusal(m_Folder / "out.gif"), HasSubstr("must end with"));
    EXPECT_THAT(refusal(m_Folder / "missing/out.png"), HasSubstr("folder"));
    EXPECT_EQ(ReadBytes(photo), before);
    EXPECT_EQ(ReadBytes(other), "other");
    EXPECT_EQ(m_Folder.Count(), 4);

    EXPECT_EQ(RunVrd({"sign", photo, "-s", kSign, "-o", softLink, "--force", "--no-check"}).status, 0);
    EXPECT_NE(ReadBytes(photo), before);
    EXPECT_EQ(ReadBytes(hardLink), before);
    EXPECT_EQ(m_Folder.Count(), 4);
}

TEST_F(VrdSign, TellsWhichSizeWouldDoForAPhotographTooLargeToSign) {
    WritePlain(m_Folder / "large.png", 8000, 5001);
    const SProgramRun run = RunVrd({"sign", m_Folder / "large.png", "-s", kSign, "-o", m_Folder / "out.png"});
    EXPECT_EQ(run.status, 2);
    EXPECT_THAT(run.err, HasSubstr("8000 x 5001"));
    EXPECT_THAT(run.err, HasSubstr("7999 x 5000"));
}

TEST_F(VrdSign, AnInterruptionStopsItAndLeavesNothing) {
    // As soon as the bar is on the terminal, the search is under way; it takes long enough to be met there.
    CBxOwnedPic large = MakeTexturedPicture(2200, 1800, 12);
    CTemporaryFolder photos;
    const std::string photo = photos / "large.bmp";
    ASSERT_EQ(CBxConvertPicture::WriteOutputFile(&large.Pic(), photo.c_str(), -1, nullptr), 0);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        const SProgramRun run = InterruptProgram(
            {VERIDANE_BIN "/vrd", "sign", photo, "-s", kSign, "-o", m_Folder / "out.png", "-t", "1"}, "%", signal);
        EXPECT_EQ(run.status, 128 + signal) << run.out;
        EXPECT_THAT(run.out, HasSubstr("interrupted"));
        EXPECT_EQ(m_Folder.Count(), 0);
    }
}

TEST_F(VrdSign, ATransparentPhotographIsSignedBeforeABackgroundOnly) {
    QImage image(QString::fromStdString(Photo()));
    image = image.convertToFormat(QImage::Format_ARGB32);
    image.setPixelColor(3, 3, QColor(1, 2, 3, 254));
    const std::string photo = m_Folder / "clear.png";
    const std::string out = m_Folder / "out.png";
    ASSERT_TRUE(image.save(QString::fromStdString(photo)));

    const SProgramRun refused = RunVrd({"sign", photo, "-s", kSign, "-o", out});
    EXPECT_EQ(refused.status, 2);
    EXPECT_THAT(refused.err, HasSubstr("--flatten"));
    const SProgramRun wrong = RunVrd({"sign", photo, "-s", kSign, "-o", out, "--flatten", "whit"});
    EXPECT_EQ(wrong.status, 2);
    EXPECT_THAT(wrong.err, HasSubstr("\"whit\" is no colour"));
    EXPECT_EQ(m_Folder.Count(), 1);

    EXPECT_EQ(RunVrd({"sign", photo, "-s", kSign, "-o", out, "--flatten", "#203040"}).status, 0);
    image = QImage(QString::fromStdString(out)).convertToFormat(QImage::Format_ARGB32);
    image.setPixelColor(3, 3, QColor(1, 2, 3, 0));
    ASSERT_TRUE(image.save(QString::fromStdString(photo)));
    EXPECT_EQ(OneLine(RunVrd({"detect", "--json", photo}))["sign"], kSign);
}

TEST_F(VrdSign, AJpegGetsTheMetadataThatThePhotographHasUnlessToldOtherwise) {
    const std::string photo = m_Folder / "camera.jpg";
    const std::string out = m_Folder / "out.jpg";
    ASSERT_EQ(RunVrd({"sign", Photo(), "-s", "other-one", "-o", photo, "-q", "30", "--no-check"}).status, 0);
    CBxOwnedMetadata metadata;
    metadata.exif = exif_data_new();
    exif_data_fix(metadata.exif);
    ASSERT_EQ(CBxImageMetadata::SaveExif(photo.c_str(), metadata), 0);

    const auto leftBehind = [&](const std::string& output, const char* rule) {
        std::vector<std::string> words = {"sign", photo, "-s", kSign, "-o", output, "--json", "--force", "--no-check"};
        if (rule != nullptr) {
            words.insert(words.end(), {"--metadata", rule});
        }
        const SProgramRun run = RunVrd(words);
        EXPECT_EQ(run.status, 0) << run.out;
        const bool isTold = run.err.find("EXIF data were left out") != std::string::npos;
        EXPECT_EQ(isTold,
                  OneLine(run)["left_behind"].size() == 1 && std::string(rule == nullptr ? "" : rule) != "none");
        CBxOwnedMetadata written;
        EXPECT_EQ(CBxImageMetadata::LoadExif(output.c_str(), written) == 0, OneLine(run)["left_behind"].empty());
        return OneLine(run)["left_behind"].dump();
    };
    EXPECT_EQ(leftBehind(out, nullptr), "[]");
    EXPECT_EQ(leftBehind(out, "both"), "[\"exif\"]");
    EXPECT_EQ(leftBehind(out, "none"), "[\"exif\"]");
    EXPECT_EQ(leftBehind(m_Folder / "out.png", nullptr), "[\"exif\"]");
}

TEST_F(VrdSign, FullColourKeepsASignThatHalvedColourLoses) {
    const std::string out = m_Folder / "out.jpg";
    const auto quality = [&](const char* chroma) {
        for (int tried = 90; tried > 0; tried -= 10) {
            const SProgramRun run = RunVrd({"sign", Photo(), "-s", kSign, "-o", out, "-q", std::to_string(tried),
                                            "--chroma", chroma, "--force", "--json"});
            if (run.status != 0) {
                EXPECT_EQ(run.status, 1) << run.out;
                return tried;
            }
            EXPECT_EQ(std::to_string(OneLine(run)["chroma"].get<int>()), chroma);
        }
        return 0;
    };
    EXPECT_LT(quality("444"), quality("420"));
    EXPECT_EQ(RunVrd({"sign", Photo(), "-s", kSign, "-o", out, "--chroma", "422", "--force"}).status, 2);
}
