// The loops that make maps of cells, against what they are to calculate; that all forms of them do the same is held by
// the tests of the forms.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "kernels.h"

namespace {

constexpr std::size_t kCount = 37;

// Boxes with known sums, behind other sums that run over.
class CKnownBoxes {
public:
    CKnownBoxes(unsigned int seed, int least, int most) : m_Sums(kCount) {
        std::mt19937 random(seed);
        for (std::vector<unsigned int>& side : m_Sides) {
            side.resize(kCount);
            std::generate(side.begin(), side.end(), random);
        }
        for (std::size_t i = 0; i < kCount; ++i) {
            m_Sums[i] = least + static_cast<int>(random() % static_cast<unsigned int>(most - least));
            m_Sides[0][i] = static_cast<unsigned int>(m_Sums[i]) + m_Sides[1][i] + (m_Sides[2][i] - m_Sides[3][i]);
        }
    }
    SBxBoxes Boxes() const { return {m_Sides[0].data(), m_Sides[1].data(), m_Sides[2].data(), m_Sides[3].data()}; }
    double operator[](std::size_t i) const { return m_Sums[i]; }

private:
    std::vector<unsigned int> m_Sides[4];
    std::vector<int> m_Sums;
};

std::vector<float> Shares(float first) {
    std::vector<float> shares(kCount);
    for (std::size_t i = 0; i < kCount; ++i) {
        shares[i] = first / (1.0f + 0.1f * static_cast<float>(i));
    }
    return shares;
}

}  // namespace

// A cross is both boxes without what they share; the ground is taken off it.
TEST(MapKernels, ContrastsAreThoseOfACrossAgainstItsGround) {
    const CKnownBoxes wide(1, -900, 900);
    const CKnownBoxes high(2, -900, 900);
    const CKnownBoxes middle(3, -900, 900);
    const CKnownBoxes ground(4, -900, 900);
    const std::vector<float> shares = Shares(0.01f);
    const std::vector<float> sharesOfGround = Shares(0.003f);
    const SBxCellBoxes cells{wide.Boxes(),   high.Boxes(),  middle.Boxes(),
                             ground.Boxes(), shares.data(), sharesOfGround.data()};
    std::vector<float> squares(kCount);
    std::vector<float> added(kCount, 2.0f);
    BX_Kernels().ContrastsOfCells(squares.data(), cells, 1.8f, 150.0f, kCount);
    BX_Kernels().AddContrasts(added.data(), cells, 0.35f, kCount);
    for (std::size_t i = 0; i < kCount; ++i) {
        const double below = ground[i] * sharesOfGround[i];
        const double contrast = 1.8 * ((wide[i] + high[i] - middle[i]) * shares[i] - below);
        EXPECT_NEAR(squares[i], std::min(150.0, contrast * contrast), 1e-3) << i;
        EXPECT_NEAR(added[i], 2.0 + 0.35 * (middle[i] * shares[i] - below), 1e-5) << i;
    }
    EXPECT_EQ(*std::max_element(squares.begin(), squares.end()), 150.0f);
}

// With normal contrasts of these variances, the unrest of the ground added to both.
TEST(MapKernels, EvidenceIsTheLogarithmOfALikelihoodRatio) {
    const CKnownBoxes around(5, 0, 4000);
    const std::vector<float> shares = Shares(0.01f);
    constexpr SBxCellOdds kOdds{16.0f, 0.1f, 1.2f, 2.6f, 0.5f};
    std::vector<float> values(kCount);
    for (std::size_t i = 0; i < kCount; ++i) {
        values[i] = 0.6f * static_cast<float>(i);
    }
    BX_Kernels().EvidenceOfCells(values.data(), around.Boxes(), shares.data(), kOdds, kCount);
    for (std::size_t i = 0; i < kCount; ++i) {
        const double unrest = std::max(0.1, around[i] * shares[i] - 1.2);
        const double square = std::min(16.0, 0.6 * static_cast<double>(i));
        const auto logarithmOfDensity = [square, unrest](double variance) {
            return -0.5 * (std::log(variance + unrest) + square / (variance + unrest));
        };
        EXPECT_NEAR(values[i], logarithmOfDensity(2.6) - logarithmOfDensity(0.5), 0.02) << i;
    }
}

TEST(MapKernels, MeansAreTakenOffAndTheRestIsBounded) {
    const CKnownBoxes around(6, -400, 400);
    const std::vector<float> shares = Shares(0.01f);
    std::vector<float> values(kCount, 0.5f);
    BX_Kernels().TakeOffMeans(values.data(), around.Boxes(), shares.data(), 1.5f, kCount);
    for (std::size_t i = 0; i < kCount; ++i) {
        EXPECT_NEAR(values[i], std::clamp(0.5 - around[i] * shares[i], -1.5, 1.5), 1e-5) << i;
    }
    EXPECT_EQ(*std::max_element(values.begin(), values.end()), 1.5f);
    EXPECT_EQ(*std::min_element(values.begin(), values.end()), -1.5f);
}

// Lines of the comb are where the cosine is -1.
TEST(MapKernels, CosinesAreMinusThoseOfAllAngles) {
    const CKnownBoxes means(7, 0, 25500);
    const std::vector<float> shares = Shares(0.01f);
    std::vector<float> values(kCount);
    BX_Kernels().CosinesOfBoxes(values.data(), means.Boxes(), shares.data(), 2.0943951f, kCount);
    for (std::size_t i = 0; i < kCount; ++i) {
        const double angle = 2.0943951 * means[i] * shares[i];
        EXPECT_NEAR(values[i], -std::cos(angle), 3e-3) << angle;
    }
}
