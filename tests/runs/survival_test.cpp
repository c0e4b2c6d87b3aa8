#include "survival.h"

#include <cmath>

#include "image_changes.h"
#include "picture_reader.h"
#include "runs_fixture.h"
#include "survival_page.h"

using testing::HasSubstr;
using testing::Not;

namespace {

double MeanOf(const QImage& picture) {
    double sum = 0.0;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < 3 * picture.width(); ++x) {
            sum += picture.constScanLine(y)[x];
        }
    }
    return sum / (3.0 * picture.width() * picture.height());
}

QImage Ramp() {
    QImage picture(200, 100, QImage::Format_RGB888);
    for (int y = 0; y < 100; ++y) {
        for (int x = 0; x < 200; ++x) {
            picture.setPixelColor(x, y, QColor(x, 2 * y, (x + y) / 2));
        }
    }
    return picture;
}

// The picture that a page carries in itself.
QImage ShownPicture(const std::string& page) {
    const std::string start = "data:image/jpeg;base64,";
    const std::size_t from = page.find(start) + start.size();
    const QByteArray encoded = QByteArray::fromStdString(page.substr(from, page.find('"', from) - from));
    return QImage::fromData(QByteArray::fromBase64(encoded), "JPG").convertToFormat(QImage::Format_RGB888);
}

double MeanDifference(const QImage& one, const QImage& other) {
    double sum = 0.0;
    for (int y = 0; y < one.height(); ++y) {
        for (int x = 0; x < 3 * one.width(); ++x) {
            sum += std::abs(one.constScanLine(y)[x] - other.constScanLine(y)[x]);
        }
    }
    return sum / (3.0 * one.width() * one.height());
}

class Survival : public CRunsTest {
protected:
    void SetUp() override {
        BX_LoadPictureDecoders();
        QImage piece = Piece(pieces::kGood);
        m_Picture.reset(CBxConvertPicture::GetPicBufFromQImage(&piece));
        ASSERT_NE(m_Picture, nullptr);
    }

    SBxSurvivalOutcome Run(const std::string& sign, const std::vector<SBxTrial>& trials) {
        return BX_RunSurvival(Context(2), *m_Picture, "piece", sign, nullptr, trials);
    }

    CBxPicBufHolder m_Picture;
};

const std::vector<SBxTrial> kFewTrials = {
    {EBxTrialKind::Grid, 95, 100}, {EBxTrialKind::Grid, 10, 30}, {EBxTrialKind::Brightness, 95, 0.9}};

}  // namespace

TEST(ImageChanges, AreWhatTheirNamesSay) {
    BX_LoadPictureDecoders();
    const QImage ramp = Ramp();
    for (const double factor : {0.5, 0.77, 1.1, 2.0}) {
        const QImage scaled = BX_ScaleImage(ramp, factor);
        ASSERT_EQ(scaled.size(), QSize(std::lround(200 * factor), std::lround(100 * factor)));
        for (const double x : {0.0, 0.3, 0.7, 0.99}) {  // corners and inner places keep their colours
            const QColor was = ramp.pixelColor(static_cast<int>(200 * x), 50);
            const QColor is = scaled.pixelColor(static_cast<int>(scaled.width() * x), scaled.height() / 2);
            EXPECT_NEAR(is.red(), was.red(), 2) << factor << " " << x;
            EXPECT_NEAR(is.green(), was.green(), 2) << factor << " " << x;
            EXPECT_NEAR(is.blue(), was.blue(), 2) << factor << " " << x;
        }
    }
    EXPECT_EQ(BX_CropImage(ramp, 0.1, 0.2, 0.3, 0.4), ramp.copy(20, 20, 120, 40));
    EXPECT_NEAR(MeanOf(BX_ToneImage(ramp, 0.5, 0.0, 1.0)), 0.5 * MeanOf(ramp), 0.5);
    EXPECT_NEAR(MeanOf(BX_ToneImage(ramp, 1.0, 10.0, 1.0)), MeanOf(ramp) + 10.0, 0.5);
    const QImage turned = BX_TurnImage(ramp, 90.0);  // what was at the left is at the top
    EXPECT_NEAR(turned.pixelColor(100, 0).red(), ramp.pixelColor(50, 50).red(), 2);
    EXPECT_EQ(turned.size(), ramp.size());
    const QImage saved = BX_SaveAsJpeg(ramp, 95);
    EXPECT_EQ(saved.format(), QImage::Format_RGB888);
    EXPECT_NE(saved, ramp);
    EXPECT_NEAR(saved.pixelColor(77, 33).red(), 77, 4);
    EXPECT_TRUE(BX_ScaleImage(QImage(), 0.5).isNull());
    EXPECT_TRUE(BX_SaveAsJpeg(QImage(), 90).isNull());
}

TEST_F(Survival, TellsWhatTheSearchesReadOfChangedCopies) {
    const SBxSurvivalOutcome outcome = Run(kSign, kFewTrials);
    ASSERT_FALSE(outcome.hasFailed) << outcome.reason;
    EXPECT_FALSE(outcome.wasSigned);
    EXPECT_FALSE(outcome.carriers.empty());
    ASSERT_EQ(outcome.trials.size(), kFewTrials.size());
    EXPECT_EQ(outcome.trials[0].survival, EBxSurvival::Ordinary);
    EXPECT_EQ(outcome.trials[0].text, kSign);
    EXPECT_EQ(outcome.trials[1].survival, EBxSurvival::Lost) << "nothing can be left of it";
    EXPECT_EQ(outcome.trials[1].text, "");
    EXPECT_EQ(outcome.trials[2].survival, EBxSurvival::Deep) << "the ordinary search cannot undo a gain";
    EXPECT_EQ(outcome.Count(EBxSurvival::Ordinary) + outcome.Count(EBxSurvival::Deep) +
                  outcome.Count(EBxSurvival::Uncertain) + outcome.Count(EBxSurvival::Lost),
              kFewTrials.size());
}

TEST_F(Survival, TriesTheSignThatIsThereAndRefusesAnother) {
    const std::vector<SBxTrial> one = {{EBxTrialKind::Grid, 95, 100}};
    ASSERT_FALSE(Run("", one).hasFailed);
    const SBxSurvivalOutcome again = Run("", one);
    EXPECT_TRUE(again.wasSigned);
    EXPECT_EQ(again.sign, kTrialSign);
    EXPECT_EQ(again.carriers.size(), 1U);
    EXPECT_EQ(again.trials.at(0).survival, EBxSurvival::Ordinary);
    const SBxSurvivalOutcome other = Run(kSign, one);
    EXPECT_TRUE(other.hasFailed);
    EXPECT_THAT(other.reason, HasSubstr(kTrialSign));
    EXPECT_TRUE(other.trials.empty());
}

TEST_F(Survival, ACancelEndsItWithoutAResult) {
    int reported = 0;
    const SBxSurvivalOutcome outcome = BX_RunSurvival(
        Context(1), *m_Picture, "piece", kSign,
        [&](const SBxTrialOutcome&) {
            ++reported;
            m_Progress.Cancel();
        },
        kFewTrials);
    EXPECT_TRUE(outcome.hasFailed);
    EXPECT_TRUE(outcome.wasCancelled);
    EXPECT_EQ(reported, 1);
}

TEST_F(Survival, ThePageNeedsNoOtherFileAndBelievesNoName) {
    const SBxSurvivalOutcome outcome = Run(kSign, kFewTrials);
    const std::string page = BX_MakeSurvivalPage(outcome, *m_Picture, 1, "<b>\n&\"'.jpg");
    EXPECT_THAT(page, HasSubstr("&lt;b&gt;\\n&amp;&quot;'.jpg"));
    EXPECT_THAT(page, Not(HasSubstr("http")));
    EXPECT_THAT(page, HasSubstr("JPEG 10, scale 30 %: lost"));
    EXPECT_THAT(page, HasSubstr("brightness x 0.9: read only by searching harder"));
    const QImage shown = ShownPicture(page);
    ASSERT_EQ(shown.size(), QSize(m_Picture->m_iWidth, m_Picture->m_iHeight));
    const CBxRect<int> frame = outcome.carriers.at(0);
    const QColor line = shown.pixelColor(frame.left + (frame.right - frame.left) / 2, std::max(frame.top, 2));
    EXPECT_GT(line.red() + line.green() - 2 * line.blue(), 200) << "its carriers are framed in yellow";
}

TEST_F(Survival, ThePageShowsAPhotographUprightTogetherWithItsFrames) {
    SBxSurvivalOutcome outcome;
    outcome.carriers = {{10, 20, 150, 60}};  // in a picture of 200 x 100
    QImage ramp = Ramp();
    const CBxPicBufHolder stored(CBxConvertPicture::GetPicBufFromQImage(&ramp));
    ASSERT_NE(stored, nullptr);
    const QImage lying = ShownPicture(BX_MakeSurvivalPage(outcome, *stored, 1, "a.jpg"));
    const std::string page = BX_MakeSurvivalPage(outcome, *stored, 6, "a.jpg");
    EXPECT_THAT(page, HasSubstr("100 &times; 200"));
    const QImage upright = ShownPicture(page);
    const QImage turned = lying.transformed(QTransform().rotate(90.0)).convertToFormat(QImage::Format_RGB888);
    ASSERT_EQ(upright.size(), turned.size());
    EXPECT_LT(MeanDifference(upright, turned), 5.0);
    EXPECT_GT(MeanDifference(upright, turned.mirrored(true, true)), 20.0);
}

TEST_F(Survival, ThePageMarksATextThatIsNotTheSignAndNamesIt) {
    SBxSurvivalOutcome outcome;
    outcome.sign = kSign;
    outcome.trials.resize(1);
    outcome.trials[0].trial = kFewTrials[0];
    outcome.trials[0].survival = EBxSurvival::OtherText;
    outcome.trials[0].text = "wrong<1>";
    const std::string page = BX_MakeSurvivalPage(outcome, *m_Picture, 1, "a.jpg");
    EXPECT_THAT(page, HasSubstr("title=\"JPEG 95, scale 100 %: another text is read: wrong&lt;1&gt;\">&times;</td>"));
    EXPECT_THAT(page, HasSubstr("<td>another text is read: wrong&lt;1&gt;</td><td align=\"right\">1</td>"));
    EXPECT_THAT(page, Not(HasSubstr("<td>read</td>")));
}
