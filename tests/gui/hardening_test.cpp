// What a damaged or foreign file may do to the window.
#include "gui_text.h"
#include "printable_text.h"
#include "window_fixture.h"

namespace {

class Hardening : public CWindowTest {};

}  // namespace

TEST_F(Hardening, ALocalizationFileWithWrongPlacesForValuesIsHarmless) {
    const std::string path = m_Folder / "loc.ini";
    WriteBytes(path,
               "[General]\nEncoding=\"UTF-8\"\nVersion=\"3.0\"\nLanguagesNo=\"2\"\n"
               "[0]\nLanguage=\"English\"\nAcronym=\"eng\"\nstring1=\"%d of %d\"\nstring2=\"The file %s\"\n"
               "string3=\"Detecting a signature\"\n"
               "[1]\nLanguage=\"Damaged\"\nAcronym=\"dam\"\nstring1=\"%n%n%s %d %d %d %*d %\"\nstring2=\"%5$s%n\"\n"
               "string3=\"%s%s%s%n\"\n");
    CBxLocalization::Init(false);
    ASSERT_EQ(CBxLocalization::ReadLocalization(path.c_str(), "dam"), 0);
    EXPECT_EQ(BX_FilledText("%d of %d", {"1", "2"}), "%n%n1 2 %d %d %*d %");
    EXPECT_EQ(BX_FilledText("The file %s", {"a%n.jpg"}), "%5$s%n");
    EXPECT_EQ(BX_FillNumbers(CBxLocalization::Translate("%d of %d"), {3, 4}), "%n%n%s 3 4 %d %*d %");
    SProgressData progress;
    progress.SetText(CBxLocalization::Translate("Detecting a signature"));
    char step[SProgressData::kTextBytes] = "";
    progress.GetText(step);
    EXPECT_STREQ(step, "%s%s%s%n");
    CBxLocalization::Free();
}
