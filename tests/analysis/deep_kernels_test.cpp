// The loops of the deep search, in every form.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <numeric>
#include <random>
#include <vector>

#include "kernel_forms.h"

TEST_P(KernelForms, AddFourRowsUpTheSame) {
    std::mt19937 random(17);
    std::vector<short> row(4 * kRoom);
    std::generate(row.begin(), row.end(), [&random] { return static_cast<short>(random() % 16000 - 8000); });
    ExpectSameBits([&](const SBxKernels& kernels, std::size_t offset, std::size_t count) {
        const short* in[4];
        for (std::size_t i = 0; i < 4; ++i) {
            in[i] = row.data() + i * (offset + 3);  // they overlap
        }
        std::vector<short> out(kRoom, 7);
        const short largest = kernels.SumFour(out.data() + offset, in[0], in[1], in[2], in[3], count);
        short expected = -32768;
        for (std::size_t i = 0; i < count; ++i) {
            EXPECT_EQ(out[offset + i], in[0][i] + in[1][i] + in[2][i] + in[3][i]);
            expected = std::max(expected, out[offset + i]);
        }
        EXPECT_EQ(largest, expected);
        EXPECT_EQ(kernels.LargestOfFour(in[0], in[1], in[2], in[3], count), expected);
        return out;
    });
}

// The loops that make maps of cells. Sums over both axes, which run over, are those of pixels around zero.
TEST_P(KernelForms, MakeMapsOfCellsTheSame) {
    constexpr float kScale = 65536.0f;
    std::vector<float> plane = RandomRow<float>(21);
    std::transform(plane.begin(), plane.end(), plane.begin(), [](float sample) { return sample - 60.0f; });
    const std::vector<float> squares = RandomRow<float>(22);
    const std::vector<float> shares = RandomRow<float>(23);
    ExpectSameBits([&](const SBxKernels& kernels, std::size_t offset, std::size_t count) {
        std::vector<unsigned int> above(kRoom, 4294967000U);
        std::vector<unsigned int> below(kRoom, 77U);
        kernels.SumBothAxes(below.data() + offset, above.data(), plane.data() + offset / 2, kScale, count);
        unsigned int sum = above[0];
        for (std::size_t i = 0; i < count; ++i) {
            sum += static_cast<unsigned int>(static_cast<int>(plane[offset / 2 + i] * kScale));
            EXPECT_EQ(below[offset + i], sum);
        }
        return below;
    });
    std::vector<unsigned int> sums[4];
    for (unsigned int row = 0; row < 4; ++row) {
        std::mt19937 random(30 + row);
        sums[row].resize(kRoom);
        std::generate(sums[row].begin(), sums[row].end(), random);
    }
    const auto boxesAt = [&sums](std::size_t offset) {
        return SBxBoxes{sums[0].data() + offset + 5, sums[1].data() + offset, sums[2].data() + offset + 5,
                        sums[3].data() + offset};
    };
    const auto each = [&](auto call) {
        ExpectSameBits([&](const SBxKernels& kernels, std::size_t offset, std::size_t count) {
            std::vector<float> out = squares;
            const SBxBoxes boxes = boxesAt(offset / 2);
            const SBxCellBoxes cells{boxes,           boxesAt(offset / 3), boxesAt(offset / 5),
                                     boxesAt(offset), shares.data(),       shares.data() + 1};
            call(kernels, out.data() + offset, cells, count);
            return out;
        });
    };
    constexpr float kTiny = 1e-11f;  // makes angles and squares of such sums that occur
    each([](const SBxKernels& k, float* out, const SBxCellBoxes& cells, std::size_t count) {
        k.MeansOfBoxes(out, cells.ground, cells.shares, count);
    });
    each([](const SBxKernels& k, float* out, const SBxCellBoxes& cells, std::size_t count) {
        k.ContrastsOfCells(out, cells, kTiny, 3.0f, count);
    });
    each([](const SBxKernels& k, float* out, const SBxCellBoxes& cells, std::size_t count) {
        k.EvidenceOfCells(out, cells.ground, cells.shares, {16.0f, 0.1f, 1.2f, 2.6f, 0.5f}, count);
    });
    each([](const SBxKernels& k, float* out, const SBxCellBoxes& cells, std::size_t count) {
        k.TakeOffMeans(out, cells.ground, cells.shares, 1e10f, count);
    });
    each([](const SBxKernels& k, float* out, const SBxCellBoxes& cells, std::size_t count) {
        k.CosinesOfBoxes(out, cells.ground, cells.shares, 100.0f * kTiny, count);
    });
    each([](const SBxKernels& k, float* out, const SBxCellBoxes& cells, std::size_t count) {
        k.AddContrasts(out, cells, 0.35f, count);
    });
}

TEST_P(KernelForms, WeighChoicesOfRowsAndColumnsTheSame) {
    constexpr std::size_t kRows = SBxKernels::kRowChoices;
    constexpr int kColumns = 16;
    const std::vector<float> plane = RandomRow<float>(41, 2 * kRoom);
    const float* rows[kRows];
    for (std::size_t row = 0; row < kRows; ++row) {
        rows[row] = plane.data() + 5 * row;
    }
    ExpectSameBits([&](const SBxKernels& kernels, std::size_t offset, std::size_t count) {
        std::vector<float> out(kRoom, 7.0f);
        const int rowCount = static_cast<int>(offset) + 1;
        kernels.SumRows(out.data() + offset, rows, rowCount, count);
        for (std::size_t i = 0; i < count; ++i) {
            float sum = 0.0f;
            std::for_each(rows, rows + rowCount, [&sum, i](const float* row) { sum += row[i]; });
            EXPECT_NEAR(out[offset + i], sum, 1e-2f);
        }
        return out;
    });
    ExpectSameBits([&](const SBxKernels& kernels, std::size_t offset, std::size_t count) {
        std::vector<float> out(kRows * kRoom, 7.0f);
        kernels.LaySideBySide(out.data() + offset, rows, count);
        for (std::size_t i = 0; i < kRows * count; ++i) {
            EXPECT_EQ(out[offset + i], rows[i % kRows][i / kRows]);
        }
        return out;
    });
    constexpr std::size_t kPitch = 17;
    const std::vector<float> sums = RandomRow<float>(42, kRows * (kRoom + 1));
    std::vector<int> columns(kPitch * kMostCount);
    std::mt19937 random(43);
    std::generate(columns.begin(), columns.end(), [&random] { return static_cast<int>(random() % kRoom); });
    ExpectSameBits([&](const SBxKernels& kernels, std::size_t offset, std::size_t count) {
        std::vector<float> found(2 * kRows, 900.0f);
        int choices[kRows];
        std::fill(choices, choices + kRows, -1);
        kernels.BestColumns(found.data(), choices, sums.data() + offset % 3, columns.data(), kPitch,
                            static_cast<int>(count));
        for (std::size_t row = 0; row < kRows; ++row) {
            float best = 900.0f;
            int choice = -1;
            for (std::size_t i = 0; i < count; ++i) {
                float sum = 0.0f;
                for (std::size_t k = 0; k < kColumns; ++k) {
                    sum += sums[offset % 3 + kRows * static_cast<std::size_t>(columns[kPitch * i + k]) + row];
                }
                choice = sum > best ? static_cast<int>(i) : choice;
                best = std::max(best, sum);
            }
            EXPECT_EQ(found[row], best);
            EXPECT_EQ(choices[row], choice);
        }
        return found;
    });
}

TEST_P(KernelForms, MultiplyRowsTheSame) {
    constexpr std::size_t kRows = 3;
    std::mt19937 random(19);
    std::vector<short> numbers((kRows + 1) * kRoom);
    std::generate(numbers.begin(), numbers.end(), [&random] { return static_cast<short>(random() % 64000 - 32000); });
    ExpectSameBits([&](const SBxKernels& kernels, std::size_t offset, std::size_t count) {
        const short* rows = numbers.data() + kRoom + offset;
        std::vector<int> sums(kRows + 1, 7);
        std::vector<short> vector(numbers.begin(), numbers.begin() + static_cast<std::ptrdiff_t>(count));
        std::for_each(vector.begin(), vector.end(), [](short& value) { value = static_cast<short>(value / 1000); });
        kernels.DotProducts(sums.data(), vector.data(), count, rows, offset, kRows);
        for (std::size_t row = 0; row < kRows; ++row) {
            EXPECT_EQ(sums[row], std::inner_product(vector.begin(), vector.end(), rows + row * offset, 0));
        }
        EXPECT_EQ(sums[kRows], 7);
        return sums;
    });
}

// Walks that begin and end outside, and one along the last rows and columns.
TEST_P(KernelForms, WalkAcrossAPlaneTheSame) {
    constexpr int kWidth = 29;
    constexpr int kHeight = 23;
    const std::vector<float> plane = RandomRow<float>(51, kWidth * kHeight);
    for (const auto& [x, y, stepX, stepY] : {std::array{-3.2, 4.9, 1.31, 0.27},
                                             {35.5, 30.0, -1.2, -0.9},
                                             {0.0, 21.75, 0.75, 0.01},
                                             {27.9, -8.0, 0.0, 1.0}}) {
        const SBxPlaneWalk walk{plane.data(), kWidth, kHeight, x, y, stepX, stepY, 30.0f};
        ExpectSameBits([&](const SBxKernels& kernels, std::size_t offset, std::size_t count) {
            std::vector<short> out(kRoom, 7);
            kernels.SampleAlong(out.data() + offset, walk, count);
            return out;
        });
    }
    // Of a plane that rises evenly the values between the pixels are known.
    std::vector<float> slope(kWidth * kHeight);
    for (std::size_t i = 0; i < slope.size(); ++i) {
        slope[i] = static_cast<float>(i % kWidth) + 2.0f * static_cast<float>(i / kWidth);
    }
    short out[kMostCount];
    m_pForm->SampleAlong(out, {slope.data(), kWidth, kHeight, -4.0, 3.0, 1.25, 0.5, 100.0f}, kMostCount);
    for (std::size_t i = 0; i < kMostCount; ++i) {
        const double x = -4.0 + 1.25 * static_cast<double>(i);
        const double y = 3.0 + 0.5 * static_cast<double>(i);
        const bool isInside = x >= 0.0 && x < kWidth - 1 && y < kHeight - 1;
        EXPECT_NEAR(out[i], isInside ? 100.0 * (x + 2.0 * y) : 0.0, 1.0) << i;
    }
}

// Some reach beyond the plane on every side, one row of them lies far from it.
TEST_P(KernelForms, SumEllipsesTheSame) {
    constexpr int kWidth = 60;
    constexpr int kHeight = 40;
    constexpr std::size_t kPitch = kWidth + 2;
    std::vector<unsigned int> ones(kPitch * kHeight);
    for (std::size_t i = 0; i < ones.size(); ++i) {
        ones[i] = static_cast<unsigned int>(std::min<std::size_t>(i % kPitch, kWidth)) + 4294967290U;
    }
    std::vector<unsigned int> any(ones.size());
    std::mt19937 random(61);
    std::generate(any.begin(), any.end(), [&random] { return random() % 16000; });
    for (const auto& [firstX, firstY, stepX, stepY, top] : {std::array{-4.0, 20.0, 4.6, 0.0, 3.3},
                                                            {30.0, -5.5, 0.25, 3.5, 6.0},
                                                            {-3e9, 1e9, 4e8, -1e8, 2.0},
                                                            {9.25, 9.75, 2.5, 1.25, 8.4}}) {
        SBxEllipses cells{ones.data(), kWidth, kHeight, kPitch, firstX, firstY, stepX, stepY, top, 0.2f, 5.5f};
        ExpectSameBits([&](const SBxKernels& kernels, std::size_t offset, std::size_t) {
            std::vector<float> out(2 * SBxEllipses::kColumns);
            cells.sums = offset % 2 == 0 ? ones.data() : any.data();
            kernels.SumEllipses(cells, out.data(), out.data() + SBxEllipses::kColumns);
            for (std::size_t i = 0; offset % 2 == 0 && i < SBxEllipses::kColumns; ++i) {
                EXPECT_NEAR(out[i], out[i + SBxEllipses::kColumns], 1e-3f);  // each pixel is a one
            }
            const float areaOfSeventh = out[SBxEllipses::kColumns + 6];
            if (firstX < -SBxEllipses::kFarthest) {
                EXPECT_EQ(areaOfSeventh, 0.0f);
            } else if (firstX < 0.0) {
                EXPECT_NEAR(areaOfSeventh, 3.14159 * top * 5.5, 2.0);  // whole
            }
            return out;
        });
    }
}

TEST_P(KernelForms, WeighAllTextsOfWordsTheSame) {
    constexpr int kWords = SBxKernels::kWords;
    constexpr int kData = SBxKernels::kWordData;
    constexpr int kTexts = SBxKernels::kWordTexts;
    std::mt19937 random(67);
    std::vector<float> given(kWords * kTexts);
    std::generate(given.begin(), given.end(), [&random] { return static_cast<float>(random() % 2001) - 1000.0f; });
    std::vector<float> expected(2 * kData * kWords, -1e9f);
    for (int text = 0; text < kTexts; ++text) {
        for (int word = 0; word < kWords; ++word) {
            float weight = 0.0f;
            for (int place = 0; place < kTexts; ++place) {
                const bool isOdd = std::popcount(static_cast<unsigned int>(place & text)) % 2 != 0;
                weight += isOdd ? -given[place * kWords + word] : given[place * kWords + word];
            }
            for (int data = 0; data < kData; ++data) {
                float& best = expected[((text >> data & 1) * kData + data) * kWords + word];
                best = std::max(best, weight);
            }
        }
    }
    for (const SBxKernels* kernels : {m_pPortable, m_pForm}) {
        std::vector<float> weights = given;
        std::vector<float> found(expected.size());
        kernels->WeighWords(found.data(), found.data() + kData * kWords, weights.data());
        EXPECT_TRUE(SameBits(found, expected)) << kernels->m_szName;
    }
    // Fractions are rounded alike.
    std::transform(given.begin(), given.end(), given.begin(), [](float weight) { return weight / 7.0f; });
    std::vector<float> found[2] = {expected, expected};
    for (const auto& [kernels, out] : {std::pair{m_pPortable, &found[0]}, std::pair{m_pForm, &found[1]}}) {
        std::vector<float> weights = given;
        kernels->WeighWords(out->data(), out->data() + kData * kWords, weights.data());
    }
    EXPECT_TRUE(SameBits(found[0], found[1]));
}
