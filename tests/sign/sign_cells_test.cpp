#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include "candidate_cells.h"
#include "cell_grid.h"
#include "owned_pic.h"
#include "sign_op.h"

namespace {

// A frame's labels, centres and random values.
struct SCells {
    SBxCellGrid grid;
    CBxOwnedPic labels;
    CBxOwnedPic values;
    std::vector<CBxPoint<double>> centres;

    explicit SCells(const CBxRect<double>& carrier) : grid(carrier), centres(256) {
        EXPECT_EQ(BX_BuildLabelMap(labels, grid), 0);
        EXPECT_EQ(values.Allocate(grid.m_Frame.Width(), grid.m_Frame.Height(), 1, 32), 0);
        std::mt19937 random(3);
        for (int y = 0; y < values->m_iHeight; ++y) {
            std::generate_n(BX_PicRow<float>(values.Pic(), y), values->m_iWidth,
                            [&random] { return static_cast<float>(random() % 256); });
        }
        grid.Centres(centres.data());
    }

    std::vector<double> Means() {
        std::vector<double> means(256);
        CBxSignOp::GetAllMeansFloat(means.data(), &values.Pic(), &labels.Pic(), centres.data(), grid.m_dCellWidth,
                                    grid.m_dCellHeight);
        return means;
    }
};

// Area of the ellipse inside a pixel, from the nine sample points.
int SamplesIn(const CBxPoint<double>& centre, double a, double b, int x, int y) {
    int inside = 0;
    for (const double dy : {1.0 / 6, 0.5, 5.0 / 6}) {
        for (const double dx : {1.0 / 6, 0.5, 5.0 / 6}) {
            inside += std::pow((x + dx - centre.x) / a, 2) + std::pow((y + dy - centre.y) / b, 2) < 1 ? 1 : 0;
        }
    }
    return inside;
}

}  // namespace

TEST(CellGrid, TruncatesTheFrameAndKeepsTheFractions) {
    const SBxCellGrid grid({10.25, 20.75, 346.5, 404.875});
    EXPECT_EQ(grid.m_Frame, (CBxRect<int>{10, 20, 347, 405}));
    EXPECT_DOUBLE_EQ(grid.m_dCellWidth, 336.25 / 16);
    EXPECT_DOUBLE_EQ(grid.m_dCellHeight, 384.125 / 16);
    EXPECT_DOUBLE_EQ(grid.CentreOfCell(17).x, 1.5 * 336.25 / 16 + 0.25);
    EXPECT_DOUBLE_EQ(grid.CentreOfCell(17).y, 1.5 * 384.125 / 16 + 0.75);
}

TEST(CellStamp, HasAnInnerEllipseAndARim) {
    CBxOwnedPic stamp;
    ASSERT_EQ(CBxSignOp::GenerateSmallWhat(stamp.Pic(), 31.5, 24.0), 0);
    ASSERT_EQ(stamp->m_iWidth, 32);
    ASSERT_EQ(stamp->m_iHeight, 24);
    const auto label = [&stamp](int x, int y) { return BX_PicRow<std::uint16_t>(stamp.Pic(), y)[x]; };
    EXPECT_EQ(label(15, 12), 2);
    EXPECT_EQ(label(0, 0), 0);
    // On the middle row the semi-axis is 11.8125 about 15.75: inner to 9.8, rim to 13.8 pixels.
    EXPECT_EQ(label(25, 12), 2);
    EXPECT_EQ(label(26, 12), 1);
    EXPECT_EQ(label(29, 12), 1);
    EXPECT_EQ(label(30, 12), 0);
    CBxSignOp::AddNonZeroBy2(stamp.Pic());
    EXPECT_EQ(label(15, 12), 4);
    EXPECT_EQ(label(26, 12), 3);
    EXPECT_EQ(label(0, 0), 0);
}

// Row by row, for whole and broken sizes down to cells that are smaller than the rim.
TEST(CellStamp, HasRowsThatAreFoundWithoutDrawingIt) {
    std::mt19937 random(5);
    for (int round = 0; round < 300; ++round) {
        const auto size = [&random, round] { return random() % 4000 / (round % 3 == 0 ? 100.0 : 17.0) + 0.3; };
        const double width = round % 7 == 0 ? std::ceil(size()) : size();
        const double height = size();
        CBxOwnedPic stamp;
        ASSERT_EQ(CBxSignOp::GenerateSmallWhat(stamp.Pic(), width, height), 0) << width << " x " << height;
        for (int y = 0; y < stamp->m_iHeight; ++y) {
            const auto* labels = BX_PicRow<std::uint16_t>(stamp.Pic(), y);
            const SBxStampRow row = BX_StampRow(width, height, y);
            for (int x = 0; x < stamp->m_iWidth; ++x) {
                const int expected = x >= row.innerLeft && x < row.innerRight ? 2
                                     : x >= row.rimLeft && x < row.rimRight   ? 1
                                                                              : 0;
                ASSERT_EQ(labels[x], expected) << width << " x " << height << " at " << x << ", " << y;
            }
        }
    }
}

TEST(CellMeans, WeighThePixelsByTheEllipsesShare) {
    SCells cells({0, 0, 400, 368});
    const double a = 0.375 * cells.grid.m_dCellWidth;
    const double b = 0.375 * cells.grid.m_dCellHeight;
    const std::vector<double> means = cells.Means();
    for (int cell = 0; cell < 256; ++cell) {
        double sum = 0;
        double weight = 0;
        for (int y = 0; y < cells.values->m_iHeight; ++y) {
            for (int x = 0; x < cells.values->m_iWidth; ++x) {
                const int samples = SamplesIn(cells.centres[cell], a, b, x, y);
                sum += samples * BX_PicRow<float>(cells.values.Pic(), y)[x];
                weight += samples;
            }
        }
        // The stamp is centred to the pixel only, so a few pixels on the rim's outer edge may be missed.
        EXPECT_NEAR(means[cell], sum / weight, 0.5) << cell;
    }
}

TEST(CellMeans, SettleTheRimOnceAndStayTheSame) {
    SCells cells({3.5, 7.25, 403.75, 375.5});
    const std::vector<double> first = cells.Means();
    const std::vector<unsigned char> settled(cells.labels->m_pData, cells.labels->m_pData + cells.labels->m_uiByteSize);
    EXPECT_EQ(cells.Means(), first);
    EXPECT_TRUE(std::equal(settled.begin(), settled.end(), cells.labels->m_pData));
}

TEST(CellSizes, CountPixelCentresInsideTheEllipse) {
    SCells cells({0, 0, 400, 368});
    unsigned int sizes[256];
    CBxSignOp::JustCropImageElipsesAndGetSizes(&cells.labels.Pic(), cells.centres.data(), sizes,
                                               cells.grid.m_dCellWidth, cells.grid.m_dCellHeight);
    const double area = 3.14159265 * 0.375 * 0.375 * cells.grid.m_dCellWidth * cells.grid.m_dCellHeight;
    for (const unsigned int size : sizes) {
        EXPECT_NEAR(size, area, 0.03 * area);
    }
}

TEST(CellMeans, SurviveCellsWithoutPixels) {
    SCells cells({0, 0, 9, 5});
    const std::vector<double> means = cells.Means();
    EXPECT_TRUE(std::any_of(means.begin(), means.end(), [](double mean) { return std::isnan(mean); }));
    CBxOwnedPic carrier;
    ASSERT_EQ(carrier.Allocate(9, 5, 1, 8), 0);
    CBxPicBufAPI::SetConst(carrier.Pic(), 100);
    std::vector<double> changes(256, std::nan(""));
    unsigned int sizes[256] = {};
    CBxSignOp::ModifyAllHistogram(&carrier.Pic(), &cells.labels.Pic(), sizes, changes.data());
    EXPECT_TRUE(std::all_of(carrier->m_pData, carrier->m_pData + 45, [](unsigned char byte) { return byte == 100; }));
}

TEST(CellChange, GoesTheShorterWayExceptNearTheEndsOfTheScale) {
    const auto change = [](double mean, int bit) {
        return CBxSignOp::GetdChange(std::fmod(mean, 6.0), static_cast<unsigned char>(bit), mean);
    };
    EXPECT_DOUBLE_EQ(change(60.5, 0), 1.0);
    EXPECT_DOUBLE_EQ(change(62.5, 0), -1.0);
    EXPECT_DOUBLE_EQ(change(62.5, 1), 2.0);
    EXPECT_DOUBLE_EQ(change(60.5, 1), -2.0);
    EXPECT_DOUBLE_EQ(change(61.5, 1), -3.0) << "a tie goes down for a 1";
    EXPECT_DOUBLE_EQ(change(64.5, 0), 3.0) << "a tie goes up for a 0";
    EXPECT_DOUBLE_EQ(change(65.5, 0), 2.0);
    EXPECT_DOUBLE_EQ(change(63.5, 0), -2.0);
    EXPECT_DOUBLE_EQ(change(63.5, 1), 1.0);
    EXPECT_DOUBLE_EQ(change(0.5, 1), 4.0) << "below 6 always up";
    EXPECT_DOUBLE_EQ(change(251.5, 0), -4.0) << "above 250 always down";
    EXPECT_DOUBLE_EQ(change(61.0, 7), 3.5 - 6.0) << "an odd bit value counts as 1 below 3";
    EXPECT_DOUBLE_EQ(change(64.0, 7), -2.5) << "and as 0 from 3 up";
}

TEST(CellDither, MovesTheMeanByTheChange) {
    SCells cells({0, 0, 640, 640});
    cells.Means();
    CBxOwnedPic carrier;
    ASSERT_EQ(carrier.Allocate(640, 640, 1, 8), 0);
    CBxPicBufAPI::SetConst(carrier.Pic(), 100);
    std::vector<double> changes(256);
    for (int cell = 0; cell < 256; ++cell) {
        changes[cell] = (cell - 128) / 50.0;
    }
    unsigned int sizes[256] = {};
    CBxSignOp::ModifyAllHistogram(&carrier.Pic(), &cells.labels.Pic(), sizes, changes.data());
    std::vector<double> sums(256);
    std::vector<int> counts(256);
    for (int y = 0; y < 640; ++y) {
        for (int x = 0; x < 640; ++x) {
            const int cell = BX_PicRow<std::uint16_t>(cells.labels.Pic(), y)[x] / 2 - 1;
            const int moved = BX_PicRow<unsigned char>(carrier.Pic(), y)[x] - 100;
            if (cell < 0) {
                EXPECT_EQ(moved, 0);
                continue;
            }
            EXPECT_LT(std::fabs(moved - changes[cell]), 1.0) << "a pixel moves to one of the two steps around";
            sums[cell] += moved;
            ++counts[cell];
        }
    }
    for (int cell = 0; cell < 256; ++cell) {
        const double expected = std::fabs(changes[cell]) < 0.02 ? 0.0 : changes[cell];
        EXPECT_NEAR(sums[cell] / counts[cell], expected, 0.12) << cell;
    }
}
