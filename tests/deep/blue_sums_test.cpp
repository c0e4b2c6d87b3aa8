// Means of cells that lie anyhow, against sampling every cell point by point.
#include "blue_sums.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>

#include "kernels.h"
#include "test_pictures.h"

namespace {

constexpr int kWidth = 700;
constexpr int kHeight = 560;
constexpr int kPoints = 96;  // a cell, in each direction

// The mean over the points of a fine lattice inside the ellipse; NaN when one lies outside the picture.
double NaiveMean(const SBxPicBuf& picture, const SBxGridPose& pose, int cell) {
    double sum = 0.0;
    int count = 0;
    for (int row = 0; row < kPoints; ++row) {
        for (int column = 0; column < kPoints; ++column) {
            const double u = (column + 0.5) / kPoints - 0.5;
            const double v = (row + 0.5) / kPoints - 0.5;
            if (u * u + v * v >= kEllipseShare * kEllipseShare) {
                continue;
            }
            const CBxPoint<double> point = pose.PointAt(cell % kGridSide + 0.5 + u, cell / kGridSide + 0.5 + v);
            if (point.x < 0 || point.y < 0 || point.x >= picture.m_iWidth || point.y >= picture.m_iHeight) {
                return NAN;
            }
            sum += BX_PicRow<unsigned char>(picture, static_cast<int>(point.y))[3 * static_cast<int>(point.x)];
            ++count;
        }
    }
    return sum / count;
}

SBxGridPose TurnedPose(double x, double y, double width, double height, double degrees) {
    const double angle = degrees * 3.14159265358979 / 180.0;
    return {{x, y},
            {width / kGridSide * std::cos(angle), width / kGridSide * std::sin(angle)},
            {-height / kGridSide * std::sin(angle), height / kGridSide * std::cos(angle)}};
}

}  // namespace

TEST(BlueSums, MeansOfUprightAndTurnedGridsAreThoseOfPointByPointSampling) {
    const CBxOwnedPic picture = MakeTexturedPicture(kWidth, kHeight, 5);
    CBxBlueSums sums;
    ASSERT_TRUE(sums.Prepare(picture.Pic()));
    for (const double degrees : {0.0, 1.0, -10.0, 33.0, 90.0, 180.0}) {
        const double angle = degrees * 3.14159265358979 / 180.0;
        const double width = 330.0;
        const double height = 340.0;
        // Turned about the middle of the picture.
        const SBxGridPose pose =
            TurnedPose(350.3 - (width * std::cos(angle) - height * std::sin(angle)) / 2,
                       280.6 - (width * std::sin(angle) + height * std::cos(angle)) / 2, width, height, degrees);
        float means[kCellCount];
        ASSERT_EQ(sums.Means(means, pose, 0.0), kCellCount);
        double squares = 0.0;
        for (int cell = 0; cell < kCellCount; ++cell) {
            const double difference = static_cast<double>(means[cell]) - NaiveMean(picture.Pic(), pose, cell);
            squares += difference * difference;
        }
        // A bit's middle is 1.5 tones from its edge.
        EXPECT_LT(std::sqrt(squares / kCellCount), 0.4) << degrees << " degrees";
    }
}

TEST(BlueSums, LargeCellsAreReadFromReducedPlanesAlike) {
    const CBxOwnedPic picture = MakeTexturedPicture(1400, 1200, 6);
    CBxBlueSums sums;
    ASSERT_TRUE(sums.Prepare(picture.Pic()));
    const SBxGridPose pose = BX_PoseOfRectangle({20.4, 15.7, 1380.2, 1190.1});
    float means[kCellCount];
    ASSERT_EQ(sums.Means(means, pose, 0.0), kCellCount);
    for (int cell = 0; cell < kCellCount; cell += 7) {
        EXPECT_NEAR(means[cell], NaiveMean(picture.Pic(), pose, cell), 1.0) << "cell " << cell;
    }
}

TEST(BlueSums, CellsBeyondTheEdgeAreNoNumbersAndTheOthersAreRight) {
    const CBxOwnedPic picture = MakeTexturedPicture(kWidth, kHeight, 7);
    CBxBlueSums sums;
    ASSERT_TRUE(sums.Prepare(picture.Pic()));
    const SBxGridPose pose = BX_PoseOfRectangle({-100.0, -60.0, 500.0, 800.0});
    float means[kCellCount];
    int numbers = 0;
    for (const int seen = sums.Means(means, pose, 0.0); const float mean : means) {
        numbers += std::isnan(mean) ? 0 : 1;
        ASSERT_GT(seen, 0);
    }
    EXPECT_GT(numbers, 100);
    EXPECT_LT(numbers, 200);
    for (int cell = 0; cell < kCellCount; ++cell) {
        const double expected = NaiveMean(picture.Pic(), pose, cell);
        if (!std::isnan(expected)) {
            EXPECT_NEAR(means[cell], expected, 2.5) << "cell " << cell;
        }
    }
    EXPECT_EQ(sums.Means(means, BX_PoseOfRectangle({5000.0, 5000.0, 5400.0, 5400.0}), 1.1), 0);
}

TEST(BlueSums, AllFormsOfTheLoopGiveTheSameBits) {
    const CBxOwnedPic picture = MakeTexturedPicture(kWidth, kHeight, 8);
    CBxBlueSums sums;
    ASSERT_TRUE(sums.Prepare(picture.Pic()));
    std::mt19937 random(9);
    const auto form = EBxKernelForm::Portable;
    for (int i = 0; i < 50; ++i) {
        const SBxGridPose pose = TurnedPose(random() % 300, random() % 200, 330.0 + random() % 200, 330.0,
                                            static_cast<double>(random() % 40) - 20.0);
        float expected[kCellCount];
        float means[kCellCount];
        ASSERT_TRUE(BX_SelectKernelForm(form));
        sums.Means(expected, pose, 1.1);
        for (const EBxKernelForm other : {EBxKernelForm::Avx2, EBxKernelForm::Avx512}) {
            if (BX_SelectKernelForm(other)) {
                sums.Means(means, pose, 1.1);
                EXPECT_EQ(std::memcmp(means, expected, sizeof means), 0);
            }
        }
    }
}

namespace {

// Stops after it was asked some times.
class CStopAfter : public CBxStopCheck {
public:
    explicit CStopAfter(int times) : m_iLeft(times) {}
    bool Stopped() const override { return --m_iLeft < 0; }
    int Left() const { return m_iLeft; }

private:
    mutable int m_iLeft;
};

}  // namespace

TEST(BlueSums, ATableHalvingAndThreadsGiveTheMeansOfThePictureThatTheTableMakes) {
    const CBxOwnedPic picture = MakeTexturedPicture(kWidth, kHeight, 9);
    unsigned char table[256];
    CBxOwnedPic replaced;
    ASSERT_EQ(replaced.AllocateLike(picture.Pic()), 0);
    for (int value = 0; value < 256; ++value) {
        table[value] = static_cast<unsigned char>(255 - value / 2);
    }
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < 3 * kWidth; ++x) {
            BX_PicRow<unsigned char>(replaced.Pic(), y)[x] = table[BX_PicRow<unsigned char>(picture.Pic(), y)[x]];
        }
    }
    const SBxGridPose pose = TurnedPose(60.0, 30.0, 500.0, 480.0, 2.0);
    CBxBlueSums expected;
    ASSERT_TRUE(expected.Prepare(replaced.Pic()));
    float means[kCellCount];
    ASSERT_EQ(expected.Means(means, pose, 1.1), kCellCount);
    CBxBlueSums sums;
    ASSERT_TRUE(sums.Prepare(picture.Pic(), table, {3, nullptr, true}));
    float halved[kCellCount];
    ASSERT_EQ(sums.Means(halved, pose, 1.1), kCellCount);
    ASSERT_TRUE(sums.Prepare(picture.Pic(), table, {3}));
    float tabled[kCellCount];
    float rough[kCellCount];
    ASSERT_EQ(sums.Means(tabled, pose, 1.1), kCellCount);
    ASSERT_EQ(sums.RoughMeans(rough, pose), kCellCount);
    for (int cell = 0; cell < kCellCount; ++cell) {
        EXPECT_EQ(tabled[cell], means[cell]) << cell;
        EXPECT_NEAR(halved[cell], means[cell], 1.0) << cell;
        EXPECT_NEAR(rough[cell], means[cell], 2.0) << cell;
    }
}

TEST(BlueSums, AreNoLongerMadeOnceToldToStop) {
    const CBxOwnedPic picture = MakeTexturedPicture(kWidth, kHeight, 9);
    const CStopAfter stop(2);
    CBxBlueSums sums;
    ASSERT_TRUE(sums.Prepare(picture.Pic(), nullptr, {1, &stop}));
    // Once for each plane after the first, which has nine slices of rows.
    EXPECT_GT(stop.Left(), -9);
}
