// The loops that prepare a picture for searches, in every form, against what they are defined to do.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <random>
#include <vector>

#include "kernels.h"

namespace {

constexpr std::size_t kMostPixels = 200;

class PictureKernels : public testing::TestWithParam<EBxKernelForm> {
protected:
    void SetUp() override {
        m_pForm = BX_KernelsOfForm(GetParam());
        if (m_pForm == nullptr) {
            m_pForm = &BX_Kernels();  // the form in use is tested once more
        }
        std::mt19937 random(6);
        m_Bytes.resize(3 * kMostPixels + 2);
        std::generate(m_Bytes.begin(), m_Bytes.end(), [&random] { return static_cast<unsigned char>(random()); });
    }
    const SBxKernels* m_pForm = nullptr;
    std::vector<unsigned char> m_Bytes;
};

}  // namespace

TEST_P(PictureKernels, TakeTheComponentsOfPixelsApartAndWriteNoMore) {
    constexpr unsigned char kUntouched = 7;
    for (std::size_t count = 0; count <= kMostPixels; ++count) {
        std::vector<unsigned char> parts[3];
        for (auto& part : parts) {
            part.assign(kMostPixels + 1, kUntouched);
        }
        m_pForm->Split3(parts[0].data(), parts[1].data(), parts[2].data(), m_Bytes.data() + 1, count);
        for (std::size_t component = 0; component < 3; ++component) {
            for (std::size_t i = 0; i < count; ++i) {
                ASSERT_EQ(parts[component][i], m_Bytes[1 + 3 * i + component]) << count << ", " << i;
            }
            ASSERT_EQ(parts[component][count], kUntouched) << count;
        }
    }
}

TEST_P(PictureKernels, AddBytesAndWidenTheBoundsOfColumns) {
    for (const std::size_t count : {0, 1, 15, 31, 32, 33, 64, 199}) {
        std::vector<unsigned short> sums[2];
        for (std::size_t row = 0; row < 2; ++row) {
            sums[row].resize(count + 1);
            m_pForm->AddBytes(sums[row].data(), m_Bytes.data() + row, m_Bytes.data() + kMostPixels, count + 1);
            for (std::size_t i = 0; i <= count; ++i) {
                ASSERT_EQ(sums[row][i], m_Bytes[row + i] + m_Bytes[kMostPixels + i]);
            }
        }
        std::vector<unsigned short> low(count, 200);
        std::vector<unsigned short> others[3];
        for (auto& bound : others) {
            bound.assign(count, 90);
        }
        m_pForm->WidenBounds({low.data(), others[0].data(), others[1].data(), others[2].data()}, sums[0].data(),
                             sums[1].data(), count);
        for (std::size_t i = 0; i < count; ++i) {
            ASSERT_EQ(low[i], std::min<int>(200, sums[0][i]));
            ASSERT_EQ(others[0][i], std::max<int>(90, sums[0][i]));
            ASSERT_EQ(others[1][i], std::max(90, std::abs(sums[0][i + 1] - sums[0][i])));
            ASSERT_EQ(others[2][i], std::max(90, std::abs(sums[1][i] - sums[0][i])));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Kernels, PictureKernels,
                         testing::Values(EBxKernelForm::Portable, EBxKernelForm::Avx2, EBxKernelForm::Avx512));
