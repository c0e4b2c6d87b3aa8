// The deep search as its callers use it: on photographs that were changed after they had been signed, and on pictures
// in which nothing may be found.
#include "deep_search.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>
#include <memory>
#include <random>
#include <string>

#include "deep_run.h"
#include "image_changes.h"
#include "image_pictures.h"
#include "picture_changes.h"
#include "result.h"
#include "second_look.h"
#include "sign_op.h"
#include "test_pictures.h"

namespace {

constexpr char kText[] = "Veri-2026x";
constexpr unsigned int kThreads = 2;

QImage Sample(const char* name) {
    return QImage(QString(VERIDANE_SAMPLES "/") + name).convertToFormat(QImage::Format_RGB888);
}

const QImage& SignedSample(const char* name) {
    static std::map<std::string, QImage> images;
    QImage& image = images[name];
    if (image.isNull()) {
        CBxOwnedPic picture = PictureOfImage(Sample(name));
        char text[CBxSignOp::kTextBytes] = "";
        std::strcpy(text, kText);
        SBxSignRun run;
        EXPECT_EQ(CBxSignOp::InsertTextIntoPicture(run, &picture.Pic(), text), kBxSuccess);
        image = ImageOfPicture(picture.Pic());
    }
    return image;
}

struct SSearch {
    unsigned char ordinary;
    unsigned char deep = kBxFailure;
    SBxDeepFinding finding;
};

SSearch Search(SBxPicBuf& picture) {
    SSearch search{};
    const auto archive = std::make_unique<CBxCornerArchive>();
    SBxSignRun run;
    run.m_pCorners = archive.get();
    char text[CBxSignOp::kTextBytes] = "";
    search.ordinary = CBxSignOp::ExtractTextFromPicture(run, &picture, text, kThreads);
    search.deep = BX_SearchDeep(run, picture, *archive, kThreads, search.finding, nullptr);
    return search;
}

SSearch SearchChanged(const char* sample, const std::string& change) {
    for (const SPictureChange& known : PictureChanges()) {
        if (change == known.name) {
            CBxOwnedPic picture = PictureOfImage(known.apply(SignedSample(sample)));
            return Search(picture.Pic());
        }
    }
    ADD_FAILURE() << "no such change: " << change;
    return {};
}

// A stage alone, as others may find the place, too.
bool SearchByOneStage(SBxDeepFinding& finding, SBxPicBuf& picture, unsigned char (*stage)(CBxDeepRun& run)) {
    const auto archive = std::make_unique<CBxCornerArchive>();
    SBxSignRun run;
    run.m_pCorners = archive.get();
    char text[CBxSignOp::kTextBytes] = "";
    CBxSignOp::ExtractTextFromPicture(run, &picture, text, kThreads);
    const auto deep = std::make_unique<CBxDeepRun>(run, picture, *archive, kThreads);
    EXPECT_EQ(deep->PutBack(), kBxSuccess);
    EXPECT_EQ(deep->AddFurtherCorners(), kBxSuccess);
    EXPECT_EQ(deep->Prepare(), kBxSuccess);
    EXPECT_EQ(stage(*deep), kBxSuccess);
    finding = deep->Finding();
    return deep->HasReading();
}

}  // namespace

// Each by a stage of its own; the ordinary search reads none of them.
TEST(DeepSearch, ReadsWhatTheOrdinarySearchDoesNotAndTellsWhatWasDone) {
    const struct {
        const char* sample;
        const char* change;
        double turned;
        bool mirrored;
        double gain;
    } kRows[] = {
        {"astronaut.png", "turned by 1", 1.0, false, 1.0},   {"coffee.png", "turned by 10", 10.0, false, 1.0},
        {"astronaut.png", "turned by 90", 90.0, false, 1.0}, {"coffee.png", "turned by 180", 180.0, false, 1.0},
        {"coffee.png", "turned by 270", 270.0, false, 1.0},  {"astronaut.png", "mirrored", 0.0, true, 1.0},
        {"coffee.png", "brightness x 0.8", 0.0, false, 0.8}, {"astronaut.png", "offset 10", 0.0, false, 1.0},
        {"cat.png", "contrast x 1.25", 0.0, false, 1.25},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(std::string(row.sample) + ", " + row.change);
        const SSearch search = SearchChanged(row.sample, row.change);
        EXPECT_EQ(search.ordinary, kBxFailure) << search.finding.m_Reading.m_szText;
        ASSERT_EQ(search.deep, kBxSuccess);
        EXPECT_STREQ(search.finding.m_Reading.m_szText, kText);
        EXPECT_TRUE(search.finding.m_bCertain);
        EXPECT_NEAR(search.finding.m_dTurned, row.turned, 0.3);
        EXPECT_EQ(search.finding.m_bMirrored, row.mirrored);
        EXPECT_NEAR(search.finding.m_Tone.gain, row.gain, 0.02);
    }
}

// What the ordinary decoder may end at in a damaged carrier is a neighbour of the text that was written.
TEST(DeepSearch, ASecondLookTellsTheTextThatWasWrittenFromItsNeighbours) {
    CBxOwnedPic picture = PictureOfImage(SignedSample("cat.png"));
    SBxSignRun run;
    char text[CBxSignOp::kTextBytes] = "";
    ASSERT_EQ(CBxSignOp::ExtractTextFromPicture(run, &picture.Pic(), text, kThreads), kBxSuccess);
    SBxSoftReading reading;
    ASSERT_EQ(BX_LookAgain(reading, picture.Pic(), run.m_Finding, text), kBxSuccess);
    EXPECT_STREQ(reading.m_szText, kText);
    EXPECT_GT(reading.m_dAgreement, 14.0);
    EXPECT_GT(reading.m_dGap, kLeadOfOrdinary);
    text[3] ^= 1;
    ASSERT_EQ(BX_LookAgain(reading, picture.Pic(), run.m_Finding, text), kBxSuccess);
    EXPECT_STREQ(reading.m_szText, text);
    EXPECT_LT(reading.m_dGap, 0.0);
}

// These leave some cells wrong: the text is what counts, certain or not.
TEST(DeepSearch, ReadsDamagedPictures) {
    const struct {
        const char* sample;
        const char* change;
    } kRows[] = {{"coffee.png", "gamma 0.8"},
                 {"astronaut.png", "turned by 1, scaled 75 %"},
                 {"coffee.png", "cropped by 5 %, brightness x 1.1"},
                 {"coffee.png", "scaled 33 %"},
                 {"coffee.png", "cropped by 10 %"}};
    for (const auto& row : kRows) {
        const SSearch search = SearchChanged(row.sample, row.change);
        ASSERT_EQ(search.deep, kBxSuccess) << row.change;
        EXPECT_STREQ(search.finding.m_Reading.m_szText, kText) << row.change;
    }
}

// Ten percent were cut off: of the two corners that the carrier lies between one is gone.
TEST(DeepSearch, ReadsACarrierThatReachesBeyondThePictureFromItsOneCorner) {
    CBxOwnedPic picture = PictureOfImage(BX_CropImage(SignedSample("astronaut.png"), 0.06, 0.06, 0.04, 0.04));
    SBxDeepFinding finding;
    ASSERT_TRUE(SearchByOneStage(finding, picture.Pic(), BX_SearchOneCorner));
    EXPECT_STREQ(finding.m_Reading.m_szText, kText);
    EXPECT_EQ(finding.m_eStage, EBxDeepStage::OneCorner);
    EXPECT_LT(finding.m_Pose.origin.x, -5.0);
    EXPECT_LT(finding.m_Pose.origin.y, -5.0);
}

// Nearly a third of the carrier is gone, half as much as is left of the picture: eleven of its columns, or rows,
// remain.
TEST(DeepSearch, ReadsFromOneCornerWhatReachesHalfAsFarAgainBeyondThePicture) {
    constexpr double kBeyond = 0.47;  // of what is left
    constexpr int kMargin = 12;       // pixels of the picture that stay around the corner
    constexpr int kHeight = 420;
    const struct {
        int width;
        std::uint32_t seed;
        bool isRightGone;  // or else the top
    } kRows[] = {{700, 21, true}, {680, 8, false}};
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.isRightGone ? "the right is gone" : "the top is gone");
        CBxOwnedPic whole = MakeTexturedPicture(row.width, kHeight, row.seed);
        char text[CBxSignOp::kTextBytes] = "";
        std::strcpy(text, kText);
        SBxSignRun run;
        ASSERT_EQ(CBxSignOp::InsertTextIntoPicture(run, &whole.Pic(), text), kBxSuccess);
        const CBxRect<int>& carrier = run.m_siRect[0];
        const int side = kMargin + (row.isRightGone ? carrier.Width() : carrier.Height());
        const int rest = static_cast<int>(side / (1.0 + kBeyond));
        const QRect kept = row.isRightGone ? QRect(carrier.left - kMargin, 0, rest, kHeight)
                                           : QRect(0, carrier.bottom + kMargin - rest, row.width, rest);
        CBxOwnedPic picture = PictureOfImage(ImageOfPicture(whole.Pic()).copy(kept));
        SBxDeepFinding finding;
        ASSERT_TRUE(SearchByOneStage(finding, picture.Pic(), BX_SearchOneCorner));
        EXPECT_STREQ(finding.m_Reading.m_szText, kText);
        const double beyond =
            row.isRightGone ? finding.m_Pose.PointAt(kGridSide, kGridSide).x - rest : -finding.m_Pose.origin.y;
        EXPECT_NEAR(beyond / rest, kBeyond, 0.03);
    }
}

TEST(DeepSearch, StagesReadByThemselvesWhatTheyAreFor) {
    const struct {
        const char* change;
        unsigned char (*stage)(CBxDeepRun& run);
        EBxDeepStage told;
    } kRows[] = {{"scaled 150 %", BX_SearchPairs, EBxDeepStage::Pairs},
                 {"turned by 1", BX_SearchTurned, EBxDeepStage::Turned},
                 {"turned by 180", BX_SearchOrientations, EBxDeepStage::Orientations}};
    for (const auto& row : kRows) {
        for (const SPictureChange& change : PictureChanges()) {
            if (change.name == std::string(row.change)) {
                CBxOwnedPic picture = PictureOfImage(change.apply(SignedSample("astronaut.png")));
                SBxDeepFinding finding;
                ASSERT_TRUE(SearchByOneStage(finding, picture.Pic(), row.stage)) << row.change;
                EXPECT_STREQ(finding.m_Reading.m_szText, kText) << row.change;
                EXPECT_EQ(finding.m_eStage, row.told) << row.change;
            }
        }
    }
}

// Such carriers have far more places than larger ones, which are looked at before.
TEST(DeepSearch, ReadsACarrierThatIsSmallAgainstThePicture) {
    constexpr int kLeft = 20;
    constexpr int kTop = 10;
    CBxOwnedPic picture = MakeTexturedPicture(900, 720, 9);
    CBxOwnedPic sample = PictureOfImage(SignedSample("astronaut.png"));
    for (int y = 0; y < sample.Pic().m_iHeight; ++y) {
        std::memcpy(BX_PicRow<unsigned char>(picture.Pic(), kTop + y) + 3 * kLeft,
                    BX_PicRow<unsigned char>(sample.Pic(), y), 3 * static_cast<std::size_t>(sample.Pic().m_iWidth));
    }
    SBxDeepFinding finding;
    ASSERT_TRUE(SearchByOneStage(finding, picture.Pic(), BX_SearchAnywhere));
    EXPECT_STREQ(finding.m_Reading.m_szText, kText);
}

// Neither of the carrier's corners is strong any more.
TEST(DeepSearch, ReadsTurnedAndReducedCarriersWithoutTheirCorners) {
    for (const char* change : {"turned by 3", "scaled 33 %"}) {
        const SSearch search = SearchChanged("astronaut.png", change);
        EXPECT_EQ(search.ordinary, kBxFailure) << change;
        ASSERT_EQ(search.deep, kBxSuccess) << change;
        EXPECT_STREQ(search.finding.m_Reading.m_szText, kText) << change;
        EXPECT_EQ(search.finding.m_eStage, EBxDeepStage::Anywhere) << change;
    }
}

// Corners half a pixel off would leave it to the maps of cells.
TEST(DeepSearch, ReadsReducedCarriersBetweenTheirCorners) {
    const SSearch search = SearchChanged("astronaut.png", "scaled 50 %");
    EXPECT_EQ(search.ordinary, kBxFailure);
    ASSERT_EQ(search.deep, kBxSuccess);
    EXPECT_STREQ(search.finding.m_Reading.m_szText, kText);
    EXPECT_EQ(search.finding.m_eStage, EBxDeepStage::Pairs);
}

TEST(DeepSearch, FindsNothingInUnsignedPictures) {
    for (const char* sample : {"astronaut.png", "coffee.png", "cat.png"}) {
        CBxOwnedPic picture = PictureOfImage(Sample(sample));
        EXPECT_EQ(Search(picture.Pic()).deep, kBxFailure) << sample;
    }
}

// Calm and repetitive ground gives cells that agree with each other: what an unguarded decoder takes for a text.
TEST(DeepSearch, FindsNothingInCalmAndRepetitivePictures) {
    constexpr int kWidth = 720;
    constexpr int kHeight = 480;
    std::mt19937 random(3);
    for (int kind = 0; kind < 7; ++kind) {
        CBxOwnedPic picture;
        ASSERT_EQ(picture.Allocate(kWidth, kHeight, 3, 8), 0);
        for (int y = 0; y < kHeight; ++y) {
            unsigned char* row = BX_PicRow<unsigned char>(picture.Pic(), y);
            for (int x = 0; x < 3 * kWidth; ++x) {
                const int column = x / 3;
                const int values[] = {
                    128,
                    column * 255 / kWidth,
                    (column + y) / 5 % 256,
                    (column / 45 + y / 30) % 2 * 3 + 100,  // a board of the size of cells and the step of a bit
                    static_cast<int>(random() % 256),
                    static_cast<int>(120.0 + 60.0 * std::sin(column * 0.05) + 1.5 * std::sin(y * 0.21)),
                    (column / 8 % 2 == 0 && y / 14 % 2 == 0) ? 20 : 250,  // lines of text from afar
                };
                row[x] = static_cast<unsigned char>(values[kind]);
            }
        }
        EXPECT_EQ(Search(picture.Pic()).deep, kBxFailure) << "kind " << kind;
    }
}

TEST(DeepSearch, EndsSoonAfterAnAbort) {
    CBxOwnedPic picture = MakeTexturedPicture(900, 700, 4);
    CBxCornerArchive archive;
    SBxSignRun run;
    run.AbortDetecting();
    SBxDeepFinding finding;
    SBxDeepCosts costs;
    EXPECT_EQ(BX_SearchDeep(run, picture.Pic(), archive, kThreads, finding, &costs), kBxFailure);
    for (const SBxDeepCost& cost : costs.m_Stages) {
        EXPECT_EQ(cost.m_ulDecodings, 0U);
    }
}

TEST(DeepSearch, TheOrientationsUndoAllQuarterTurnsAndMirrorings) {
    const SBxGridPose upright = BX_PoseOfRectangle({0.0, 0.0, 16.0, 16.0});
    for (int index = 0; index < kGridOrientations; ++index) {
        const SBxGridOrientation orientation = BX_GridOrientation(index);
        const SBxGridPose pose = BX_Reorient(upright, orientation);
        // The middle of cell (2, 5) of a picture of 16 x 16, mirrored and then turned clockwise by quarters.
        double x = orientation.Mirrored() ? 16.0 - 2.5 : 2.5;
        double y = 5.5;
        for (int quarter = 0; quarter < orientation.QuarterTurns(); ++quarter) {
            const double turned = 16.0 - y;
            y = x;
            x = turned;
        }
        const CBxPoint<double> centre = pose.PointAt(2.5, 5.5);
        EXPECT_NEAR(centre.x, x, 1e-9) << index;
        EXPECT_NEAR(centre.y, y, 1e-9) << index;
    }
}
