#include <gmock/gmock.h>

#include "vrd_fixture.h"

using testing::HasSubstr;

namespace {

class VrdInspect : public CVrdTest {
protected:
    static void ExpectCornersInside(const nlohmann::json& corners, double width, double height) {
        EXPECT_GE(corners.size(), 10U);
        double strength = std::numeric_limits<double>::infinity();
        for (const nlohmann::json& corner : corners) {
            EXPECT_LT(corner[0], width);
            EXPECT_LT(corner[1], height);
            EXPECT_LE(corner[2].get<double>(), strength);
            strength = corner[2];
        }
    }
};

}  // namespace

TEST_F(VrdInspect, ShowsTheCarriersThatSigningUses) {
    const SProgramRun run = RunVrd({"inspect", "--json", Photo()});
    ASSERT_EQ(run.status, 0) << run.err;
    const nlohmann::json record = OneLine(run);
    EXPECT_EQ(record["width"], 420);
    EXPECT_EQ(record["height"], 380);
    EXPECT_EQ(record["zoom"], 1.0);
    ExpectCornersInside(record["dark"], 420, 380);
    ExpectCornersInside(record["bright"], 420, 380);
    const nlohmann::json written = OneLine(m_SigningRun)["carriers"];
    ASSERT_EQ(record["carriers"].size(), written.size());
    for (std::size_t index = 0; index < written.size(); ++index) {
        const nlohmann::json& carrier = record["carriers"][index];
        EXPECT_EQ(written[index],
                  nlohmann::json({std::floor(carrier[0].get<double>()), std::floor(carrier[1].get<double>()),
                                  std::ceil(carrier[2].get<double>()), std::ceil(carrier[3].get<double>())}));
        EXPECT_THAT(record["rectangles"], testing::Contains(carrier));
    }
}

TEST_F(VrdInspect, DetectionSeesTheScaledPictureAndTheWholeOfItLast) {
    const SProgramRun run = RunVrd({"inspect", Photo(), "--detect", "--zoom", "1.3", "--json"});
    ASSERT_EQ(run.status, 0) << run.err;
    const nlohmann::json record = OneLine(run);
    EXPECT_EQ(record["width"], 546);
    EXPECT_EQ(record["height"], 494);
    EXPECT_EQ(record["zoom"], 1.3);
    ExpectCornersInside(record["dark"], 546, 494);
    EXPECT_EQ(record["rectangles"].back(), nlohmann::json({0.0, 0.0, 546.0, 494.0}));
    EXPECT_FALSE(record.contains("carriers"));
    EXPECT_EQ(RunVrd({"inspect", Photo(), "--zoom", "1.3"}).status, 2);
    EXPECT_EQ(RunVrd({"inspect", Photo(), "--detect", "--zoom", "0.01"}).status, 2);
}

TEST_F(VrdInspect, TheOverlayIsAMarkedCopyAndReplacesNothingUnasked) {
    const std::string overlay = m_Folder / "overlay.png";
    ASSERT_EQ(RunVrd({"inspect", Photo(), "--overlay", overlay}).status, 0);
    SBxPicBuf* read = nullptr;
    ASSERT_EQ(CBxConvertPicture::ReadInputFile(read, overlay.c_str()), 0);
    const CBxPicBufHolder marked(read);
    ASSERT_EQ(CBxConvertPicture::ReadInputFile(read, Photo().c_str()), 0);
    const CBxPicBufHolder photo(read);
    ASSERT_EQ(marked->m_iWidth, photo->m_iWidth);
    ASSERT_EQ(marked->m_iHeight, photo->m_iHeight);
    EXPECT_NE(std::memcmp(marked->m_pData, photo->m_pData, photo->m_uiByteSize), 0);

    const std::string before = ReadBytes(overlay);
    EXPECT_EQ(RunVrd({"inspect", Photo(), "--overlay", overlay, "--detect"}).status, 2);
    EXPECT_EQ(ReadBytes(overlay), before);
    const SProgramRun same = RunVrd({"inspect", Photo(), "--overlay", Photo()});
    EXPECT_EQ(same.status, 2);
    EXPECT_THAT(same.err, HasSubstr("the photograph itself"));
}
