// The engine's ways of searching a zoom against the plain ones: the same corners and candidates, the same means.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "cell_reader.h"
#include "corner_search.h"
#include "kernels.h"
#include "plain_engine.h"
#include "scaled_rows.h"
#include "sign_op.h"
#include "sign_probe.h"
#include "test_pictures.h"

namespace {

struct SCase {
    int width;
    int height;
    std::uint32_t seed;
    double zoom;
};

// Odd sizes around the seams of tiles, strips and blocks.
const SCase kCases[] = {{333, 401, 1, 0.9}, {523, 347, 2, 1.0},   {641, 359, 3, 1.35},  {517, 389, 4, 2.05},
                        {1101, 77, 5, 1.0}, {70, 700, 6, 0.95},   {41, 43, 7, 1.7},     {19, 300, 8, 1.0},
                        {9, 9, 9, 2.0},     {1300, 340, 10, 0.9}, {1700, 130, 11, 1.2}, {1017, 50, 12, 1.0}};

class SearchForms : public testing::TestWithParam<EBxKernelForm> {
protected:
    void SetUp() override { m_bRuns = BX_SelectKernelForm(GetParam()); }
    void TearDown() override {
        if (!BX_SelectKernelForm(EBxKernelForm::Avx512) && !BX_SelectKernelForm(EBxKernelForm::Avx2)) {
            BX_SelectKernelForm(EBxKernelForm::Portable);
        }
    }
    bool m_bRuns = false;  // else the form in use before is tested once more
};

// A picture without calm parts, so that nothing can be left out, or one with plenty of them.
CBxOwnedPic MakePicture(const SCase& test, bool calm) {
    CBxOwnedPic picture = MakeTexturedPicture(test.width, test.height, test.seed);
    if (calm) {
        CBxPicBufAPI::SetConst(picture.Pic(), {0, 0, test.width / 2, test.height}, 100);
        CBxPicBufAPI::SetConst(picture.Pic(), {0, test.height / 2, test.width, test.height}, 200);
    }
    return picture;
}

// What all searches of a picture at one zoom share.
struct SShared {
    CBxOwnedPic picture;
    CBxSearchPicture planes;
    CBxColumnWeights columns;

    SShared(const SCase& test, bool calm) : picture(MakePicture(test, calm)) {
        EXPECT_TRUE(planes.Prepare(picture.Pic()) && columns.Prepare(test.width, test.zoom));
    }
    CBxScaledRows Rows(const SCase& test, CBxScaledRows::EChannel channel) const {
        return {planes, columns, test.zoom, channel};
    }
};

void ExpectSameCorners(const SPlainCorners& plain, const SBxCornerList& found) {
    ASSERT_EQ(found.m_uiCount, plain.points.size());
    for (unsigned int i = 0; i < found.m_uiCount; ++i) {
        EXPECT_EQ(found.m_Points[i], plain.points[i]) << i;
        EXPECT_NEAR(found.m_fStrengths[i], plain.strengths[i], 1e-5 * plain.strengths[i]) << i;
    }
}

}  // namespace

TEST_P(SearchForms, FindTheCornersAndCandidatesOfThePlainForm) {
    for (const SCase& test : kCases) {
        for (const bool calm : {false, true}) {
            SCOPED_TRACE(testing::Message() << test.width << " x " << test.height << " at " << test.zoom << calm);
            const CBxOwnedPic picture = MakePicture(test, calm);
            const CBxOwnedPic scaled = PlainScale(picture.Pic(), test.zoom);
            const CBxOwnedPic mean = PlainMean(scaled.Pic());

            CBxSearchPicture shared;
            CBxColumnWeights columns;
            ASSERT_TRUE(shared.Prepare(picture.Pic()) && columns.Prepare(test.width, test.zoom));
            CBxScaledRows rows(shared, columns, test.zoom, CBxScaledRows::EChannel::MeanOfGreenAndRed);
            ASSERT_TRUE(rows.Prepare());
            const SPlainCorners plain[2] = {PlainCorners(mean.Pic(), 0, test.zoom),
                                            PlainCorners(mean.Pic(), 1, test.zoom)};
            // Without a guess, with the strengths themselves, and with guesses far too high.
            SBxCornerBars bars;
            for (const float factor : {0.0f, 1.0f, 1e9f}) {
                bars = {factor * bars.m_fDark, factor * bars.m_fBright};
                SBxCornerList halves[2];
                ASSERT_EQ(BX_FindCornersOfHalves(halves[0], halves[1], rows, rows.Width(), rows.Height(), test.zoom,
                                                 bars, nullptr),
                          0);
                ExpectSameCorners(plain[0], halves[0]);
                ExpectSameCorners(plain[1], halves[1]);
                EXPECT_EQ(bars.m_fDark, plain[0].points.size() == 50 ? halves[0].m_fStrengths[49] : 0.0f);
            }
        }
    }
}

TEST_P(SearchForms, ReadTheMeansOfThePlainForm) {
    for (const SCase& test : kCases) {
        SCOPED_TRACE(testing::Message() << test.width << " x " << test.height << " at " << test.zoom);
        const CBxOwnedPic picture = MakePicture(test, false);
        const CBxOwnedPic blue = PlainSmoothBlue(PlainScale(picture.Pic(), test.zoom).Pic(), test.zoom);
        const double width = blue->m_iWidth;
        const double height = blue->m_iHeight;
        // The whole picture, awkward fractions, cells smaller than their rims, long and flat ones.
        const CBxRect<double> candidates[] = {{0, 0, width, height},
                                              {width * 0.25, 0.125, width - 0.375, height},
                                              {1.875, height / 3, width / 2 + 0.25, height - 1.125},
                                              {0.5, 0.625, width * 0.6, height * 0.2 + 1},
                                              {width / 2, 2.25, width / 2 + 8.5, height - 0.5}};
        CBxSearchPicture shared;
        CBxColumnWeights columns;
        ASSERT_TRUE(shared.Prepare(picture.Pic()) && columns.Prepare(test.width, test.zoom));
        CBxScaledRows rows(shared, columns, test.zoom, CBxScaledRows::EChannel::Blue);
        CBxCellReader cells;
        ASSERT_TRUE(rows.Prepare() && cells.Prepare(candidates, 5, rows.Width(), rows.Height(), BX_AllCells()));
        ASSERT_EQ(cells.Read(rows, test.zoom, nullptr), 0);
        for (unsigned int i = 0; i < 5; ++i) {
            const std::vector<double> plain = PlainMeans(blue.Pic(), candidates[i]);
            double means[256];
            cells.Means(means, i);
            for (int cell = 0; cell < 256; ++cell) {
                ASSERT_EQ(std::isnan(means[cell]), std::isnan(plain[cell])) << i << ", " << cell;
                if (!std::isnan(means[cell])) {
                    EXPECT_NEAR(means[cell], plain[cell], 1e-6) << i << ", " << cell;
                }
            }
        }
    }
}

// A cell behind the edge would be looked up behind the sums.
TEST_P(SearchForms, ReadNothingOfACandidateThatLeavesThePlane) {
    const CBxOwnedPic picture = MakePicture(kCases[5], false);
    CBxSearchPicture shared;
    CBxColumnWeights columns;
    ASSERT_TRUE(shared.Prepare(picture.Pic()) && columns.Prepare(picture->m_iWidth, 1.0));
    CBxScaledRows rows(shared, columns, 1.0, CBxScaledRows::EChannel::Blue);
    ASSERT_TRUE(rows.Prepare());
    const double width = rows.Width();
    const double height = rows.Height();
    const CBxRect<double> candidates[] = {
        {0, 0, 40 * width, height}, {0, 0, width, height + 1}, {-2, 0, width, height}, {0, 0, width, height}};
    CBxCellReader cells;
    ASSERT_TRUE(cells.Prepare(candidates, 4, rows.Width(), rows.Height(), BX_AllCells()));
    ASSERT_EQ(cells.Read(rows, 1.0, nullptr), 0);
    for (unsigned int i = 0; i < 4; ++i) {
        double means[256];
        cells.Means(means, i);
        EXPECT_EQ(std::isnan(means[0]) && std::isnan(means[255]), i < 3) << i;
    }
}

TEST_P(SearchForms, MakeTheMarkedSpansOfARowAndNoMore) {
    constexpr float kUntouched = -1.0f;
    std::mt19937_64 random(4);
    for (const SCase& test : kCases) {
        SCOPED_TRACE(testing::Message() << test.width << " x " << test.height << " at " << test.zoom);
        const SShared shared(test, false);
        CBxScaledRows whole = shared.Rows(test, CBxScaledRows::EChannel::MeanOfGreenAndRed);
        CBxScaledRows parts = shared.Rows(test, CBxScaledRows::EChannel::MeanOfGreenAndRed);
        ASSERT_TRUE(whole.Prepare() && parts.Prepare());
        const int width = whole.Width();
        std::vector<float> wholeRow(static_cast<std::size_t>(width));
        whole.BeginStrip(0, width);
        constexpr int kLeft = -8;
        parts.BeginStrip(kLeft, 1024);
        for (int row = 0; row < std::min(whole.Height(), 60); ++row) {
            whole.Row(wholeRow.data(), row);
            std::vector<float> part(1024, kUntouched);
            const std::uint64_t half = random();
            const std::uint64_t spans = half & random();
            parts.Spans(part.data(), row, spans);
            for (int i = 0; i < 1024; ++i) {
                const int x = kLeft + i;
                const bool made = ((spans >> (i / 16)) & 1) != 0 && x >= 0 && x < width;
                ASSERT_EQ(part[static_cast<std::size_t>(i)], made ? wholeRow[static_cast<std::size_t>(x)] : kUntouched)
                    << x << ", " << row;
            }
        }
    }
}

TEST_P(SearchForms, BoundTheSamplesOfWindowsAndTheirDifferences) {
    for (const SCase& test : kCases) {
        SCOPED_TRACE(testing::Message() << test.width << " x " << test.height << " at " << test.zoom);
        const SShared shared(test, true);
        CBxScaledRows rows = shared.Rows(test, CBxScaledRows::EChannel::MeanOfGreenAndRed);
        ASSERT_TRUE(rows.Prepare());
        const int width = rows.Width();
        const int height = std::min(rows.Height(), 90);
        std::vector<std::vector<float>> plane(static_cast<std::size_t>(height),
                                              std::vector<float>(static_cast<std::size_t>(width)));
        rows.BeginStrip(0, width);
        for (int row = 0; row < height; ++row) {
            rows.Row(plane[static_cast<std::size_t>(row)].data(), row);
        }
        const auto at = [&](int x, int y) { return plane[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)]; };
        for (int top = 3; top + 29 <= height; top += 7) {
            CBxRowSource::SRange ranges[80];
            const CBxRect<int> area{3, top, std::min(width - 1, 1200), top + 29};
            rows.Ranges(ranges, area, -6, 29, 80);
            for (int window = 0; window < 80; ++window) {
                const int left = std::max(3, 16 * window - 6);
                const int right = std::min(area.right, 16 * window + 23);
                // Sums of a hundred thousandths, rounded to floats.
                constexpr float kRounding = 1e-4f;
                for (int y = top; y < area.bottom; ++y) {
                    for (int x = left; x < right; ++x) {
                        ASSERT_GE(at(x, y) + kRounding, ranges[window].low) << x << ", " << y;
                        ASSERT_LE(at(x, y) - kRounding, ranges[window].high) << x << ", " << y;
                        if (x + 1 < right) {
                            ASSERT_LE(std::fabs(at(x + 1, y) - at(x, y)) - kRounding, ranges[window].alongRows);
                        }
                        if (y + 1 < area.bottom) {
                            ASSERT_LE(std::fabs(at(x, y + 1) - at(x, y)) - kRounding, ranges[window].alongColumns);
                        }
                    }
                }
            }
        }
    }
}

// What passes the probe is read once more, alone: a cell on the edge between two bits must not change its mind.
TEST_P(SearchForms, ReadTheSameOfFewCellsAndOfFewCandidates) {
    for (const SCase& test : kCases) {
        SCOPED_TRACE(testing::Message() << test.width << " x " << test.height << " at " << test.zoom);
        const SShared shared(test, false);
        CBxScaledRows rows = shared.Rows(test, CBxScaledRows::EChannel::Blue);
        ASSERT_TRUE(rows.Prepare());
        const double width = rows.Width();
        const double height = rows.Height();
        const CBxRect<double> candidates[] = {{0, 0, width, height},
                                              {1.875, height / 3, width / 2 + 0.25, height - 1.125},
                                              {width / 4, 2.25, width / 2 + 8.5, height / 2}};
        CBxCellReader all;
        CBxCellReader few;
        ASSERT_TRUE(all.Prepare(candidates, 3, rows.Width(), rows.Height(), BX_AllCells()) &&
                    few.Prepare(candidates, 3, rows.Width(), rows.Height(), BX_ProbeCells(EBxProbe::Narrow)));
        ASSERT_EQ(all.Read(rows, test.zoom, nullptr), 0);
        ASSERT_EQ(few.Read(rows, test.zoom, nullptr), 0);
        for (unsigned int i = 0; i < 3; ++i) {
            CBxCellReader alone;
            ASSERT_TRUE(alone.Prepare(&candidates[i], 1, rows.Width(), rows.Height(), BX_AllCells()));
            ASSERT_EQ(alone.Read(rows, test.zoom, nullptr), 0);
            double means[3][256];
            all.Means(means[0], i);
            few.Means(means[1], i);
            alone.Means(means[2], 0);
            EXPECT_EQ(std::memcmp(means[0], means[2], sizeof means[0]), 0) << i;
            double expected[256];
            std::fill_n(expected, 256, std::numeric_limits<double>::quiet_NaN());
            for (int place = 0; place < 256; ++place) {
                if (place % 16 < BX_ProbeCells(EBxProbe::Narrow).counts[place / 16]) {
                    const int cell = place / 16 * 16 + BX_ProbeCells(EBxProbe::Narrow).columns[place / 16][place % 16];
                    expected[cell] = means[0][cell];
                }
            }
            for (int cell = 0; cell < 256; ++cell) {
                EXPECT_TRUE(means[1][cell] == expected[cell] ||
                            (std::isnan(means[1][cell]) && std::isnan(expected[cell])))
                    << i << ", " << cell;
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Search, SearchForms,
                         testing::Values(EBxKernelForm::Portable, EBxKernelForm::Avx2, EBxKernelForm::Avx512));
