#include <gmock/gmock.h>

#include <QImage>

#include "vrd_fixture.h"

using testing::HasSubstr;

namespace {

class VrdSurvive : public CVrdTest {};

}  // namespace

TEST_F(VrdSurvive, ShowsATableAndWritesThePageOnlyWhereNothingIs) {
    const std::string page = m_Folder / "page.html";
    const std::string photo = m_Folder / "small.png";
    const QImage piece = QImage(VERIDANE_SAMPLES "/coffee.png").copy(60, 20, 220, 200);
    ASSERT_TRUE(piece.save(QString::fromStdString(photo)));
    const std::string before = ReadBytes(photo);
    const SProgramRun run = RunVrd({"survive", "--quick", photo, "-s", kSign, "--html", page});
    ASSERT_EQ(run.status, 0) << run.err << run.out;
    EXPECT_THAT(run.out, HasSubstr(std::string("tried with ") + kSign + " in "));
    EXPECT_THAT(run.out, HasSubstr("        \x20 100 %   70 %   50 %\nJPEG 90       #"));
    EXPECT_THAT(run.out, HasSubstr("JPEG 50       "));
    EXPECT_THAT(run.out, HasSubstr("of 13 copies read by the ordinary search"));
    EXPECT_EQ(ReadBytes(photo), before);
    EXPECT_THAT(ReadBytes(page), HasSubstr("small.png"));

    WriteBytes(page, "mine");
    const SProgramRun again = RunVrd({"survive", "--quick", photo, "--html", page});
    EXPECT_EQ(again.status, 2);
    EXPECT_THAT(again.err, HasSubstr("it exists already; --force replaces it"));
    EXPECT_EQ(ReadBytes(page), "mine");
}

TEST_F(VrdSurvive, JsonTellsOfEachCopyAndNothingReadIsStatusOne) {
    WritePlain(m_Folder / "plain.png");
    const SProgramRun run = RunVrd({"survive", "--quick", "--json", m_Folder / "plain.png", "-s", "abc-Z9"});
    EXPECT_EQ(run.status, 1) << run.err;
    const nlohmann::json object = OneLine(run);
    EXPECT_EQ(object["sign"], "abc-Z9");
    EXPECT_EQ(object["signed_before"], false);
    EXPECT_EQ(object["read"], 0);
    ASSERT_EQ(object["trials"].size(), 13U);
    EXPECT_EQ(object["trials"][4]["change"], "JPEG 70, scale 70 %");
    EXPECT_EQ(object["trials"][4]["read"], "lost");
    EXPECT_TRUE(object["trials"][4]["sign"].is_null());
}

TEST_F(VrdSurvive, RefusesBeforeItWorks) {
    const std::string photo = m_Folder / "photo.png";
    std::filesystem::copy_file(Photo(), photo);
    const std::string before = ReadBytes(photo);
    EXPECT_THAT(RunVrd({"survive", photo, "--html", photo, "--force"}).err, HasSubstr("must end with .html"));
    EXPECT_EQ(ReadBytes(photo), before);
    EXPECT_EQ(RunVrd({"survive", photo, "-s", "a b"}).status, 2);
    EXPECT_EQ(RunVrd({"survive", m_Folder / "missing.png"}).status, 2);
    const SProgramRun other = RunVrd({"survive", Signed(), "-s", "abc-Z9"});
    EXPECT_EQ(other.status, 1);
    EXPECT_THAT(other.err, HasSubstr(std::string("it is signed with ") + kSign + " already"));
}
