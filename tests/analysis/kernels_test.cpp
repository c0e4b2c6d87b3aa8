#include "kernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include "kernel_forms.h"

namespace {

const float kTaps7[7] = {0.0441f, 0.1217f, 0.1788f, 0.3109f, 0.1788f, 0.1217f, 0.0441f};

}  // namespace

TEST_P(KernelForms, FilterTheSame) {
    const std::vector<float> a = RandomRow<float>(1);
    std::vector<std::vector<float>> sources;
    for (unsigned int i = 0; i < 7; ++i) {
        sources.push_back(RandomRow<float>(10 + i));
    }
    for (const int taps : {5, 7}) {
        ExpectSameBits([&](const SBxKernels& kernels, std::size_t offset, std::size_t count) {
            std::vector<float> out(kRoom, -1.0f);
            kernels.FilterAlong(out.data() + offset, a.data() + offset / 2, count, kTaps7, taps);
            return out;
        });
        ExpectSameBits([&](const SBxKernels& kernels, std::size_t offset, std::size_t count) {
            std::vector<float> out(kRoom, -1.0f);
            const float* rows[7];
            for (int i = 0; i < 7; ++i) {
                rows[i] = sources[i].data() + (offset + i) % kMostOffset;
            }
            kernels.FilterAcross(out.data() + offset, rows, count, kTaps7, taps);
            return out;
        });
    }
}

TEST_P(KernelForms, CalculateTheSame) {
    const std::vector<float> a = RandomRow<float>(2);
    const std::vector<float> b = RandomRow<float>(3);
    const std::vector<float> c = RandomRow<float>(4);
    const auto three = [&](auto call) {
        ExpectSameBits([&](const SBxKernels& kernels, std::size_t offset, std::size_t count) {
            std::vector<float> out(3 * kRoom, 0.5f);
            call(kernels, out.data() + offset, a.data() + offset, b.data() + offset / 2, count);
            return out;
        });
    };
    three([](const SBxKernels& k, float* out, const float* x, const float* y, std::size_t n) {
        k.Subtract(out, x, y, n);
    });
    three([](const SBxKernels& k, float* out, const float* x, const float* y, std::size_t n) {
        k.Multiply(out, x, y, n);
    });
    three([&](const SBxKernels& k, float* out, const float* x, const float* y, std::size_t n) {
        k.Harris(out, x, y, c.data(), n);
    });
}

// The loops of the corner search, against their definition. Few different values, so that plateaus occur.
TEST_P(KernelForms, SearchCornersTheSame) {
    constexpr std::size_t kRows = 10;
    constexpr std::size_t kWidth = 7 * SBxKernels::kGroup;
    std::mt19937 random(9);
    std::vector<std::vector<float>> rows(kRows, std::vector<float>(kWidth));
    const float* starts[kRows];
    int found = 0;
    for (std::size_t groups = 0; groups <= 4; ++groups) {
        const std::size_t count = groups * SBxKernels::kGroup;
        for (std::size_t offset = 0; offset < SBxKernels::kGroup; ++offset) {
            for (std::size_t row = 0; row < kRows; ++row) {
                std::generate(rows[row].begin(), rows[row].end(),
                              [&random] { return static_cast<float>(random() % 9); });
                rows[row][random() % kWidth] = 11.0f;
                starts[row] = rows[row].data() + offset;
            }
            std::vector<float> out(count);
            std::vector<float> xx(count);
            std::vector<float> xy(count);
            std::vector<float> yy(count);
            const std::vector<float> zeros(6);
            m_pForm->SmoothAlong(out.data(), starts[0], groups, kTaps7, 2.0f, 6.0f);
            float* const products[3] = {xx.data(), xy.data(), yy.data()};
            m_pForm->TensorAlong(products, starts[0], starts[1], groups, kTaps7);
            for (std::size_t i = 0; i < count; ++i) {
                float smooth = 0.0f;
                float sums[3] = {};
                for (std::size_t tap = 0; tap < 7; ++tap) {
                    smooth += kTaps7[tap] * std::clamp(starts[0][i + tap], 2.0f, 6.0f);
                }
                for (std::size_t tap = 0; tap < 5; ++tap) {
                    const float dx = starts[0][i + tap + 1] - starts[0][i + tap];
                    const float dy = starts[1][i + tap] - starts[0][i + tap];
                    sums[0] += kTaps7[tap] * (dx * dx);
                    sums[1] += kTaps7[tap] * (dx * dy);
                    sums[2] += kTaps7[tap] * (dy * dy);
                }
                ASSERT_EQ(out[i], smooth);
                ASSERT_EQ(xx[i], sums[0]);
                ASSERT_EQ(xy[i], sums[1]);
                ASSERT_EQ(yy[i], sums[2]);
            }
            m_pForm->ResponseAcross(out.data(), starts, starts + 2, starts + 4, groups, kTaps7);
            for (std::size_t i = 0; i < count; ++i) {
                float sums[3] = {};
                for (std::size_t part = 0; part < 3; ++part) {
                    for (std::size_t tap = 0; tap < 5; ++tap) {
                        sums[part] += kTaps7[tap] * starts[2 * part + tap][i];
                    }
                }
                const float trace = sums[0] + sums[2];
                ASSERT_EQ(out[i], sums[0] * sums[2] - sums[1] * sums[1] - 0.08f * (trace * trace));
            }
            for (const int rowCount : {1, 3, 8}) {
                std::vector<float> bounds[3] = {std::vector<float>(kWidth), std::vector<float>(kWidth),
                                                std::vector<float>(kWidth)};
                m_pForm->LargestGradients({bounds[0].data(), bounds[1].data(), bounds[2].data()}, starts, rowCount,
                                          groups);
                for (std::size_t x = 0; x < count; ++x) {
                    float largest[3] = {};
                    for (int row = 0; row < rowCount; ++row) {
                        const float dx = starts[row][x + 1] - starts[row][x];
                        const float dy = starts[row + 1][x] - starts[row][x];
                        largest[0] = std::max(largest[0], dx * dx);
                        largest[1] = std::max(largest[1], dy * dy);
                        largest[2] = std::max(largest[2], dx * dx + dy * dy);
                    }
                    for (int part = 0; part < 3; ++part) {
                        ASSERT_EQ(bounds[part][x], largest[part]);
                    }
                }
                std::vector<float> blocks(groups);
                m_pForm->LargestOfBlocks(blocks.data(), starts, rowCount, groups);
                for (std::size_t block = 0; block < groups; ++block) {
                    float largest = 0.0f;
                    for (int row = 0; row < rowCount; ++row) {
                        const float* first = starts[row] + 16 * block;
                        largest = std::max(largest, *std::max_element(first, first + 23));
                    }
                    ASSERT_EQ(blocks[block], largest);
                }
            }
            std::vector<unsigned short> flags(groups);
            m_pForm->StrictMaxima(flags.data(), starts[0], starts[1], starts[2], groups, 5.0f);
            for (std::size_t i = 0; i < count; ++i) {
                const float value = starts[1][i + 1];
                bool expected = value > 5.0f;
                for (std::size_t row = 0; row < 3; ++row) {
                    for (std::size_t x = i; x < i + 3; ++x) {
                        expected = expected && (value > starts[row][x] || (row == 1 && x == i + 1));
                    }
                }
                ASSERT_EQ((flags[i / 16] >> (i % 16)) & 1, static_cast<int>(expected));
                found += expected;
            }
        }
    }
    EXPECT_GT(found, 100);
}

TEST_P(KernelForms, ResampleTheSame) {
    std::mt19937 random(5);
    std::vector<unsigned char> bytes(3 * kRoom);
    std::generate(bytes.begin(), bytes.end(), [&random] { return static_cast<unsigned char>(random()); });
    const std::vector<double> weights[4] = {RandomRow<double>(6), RandomRow<double>(7), RandomRow<double>(8),
                                            RandomRow<double>(9)};
    // Steps of an enlargement, of the slight and of a strong reduction.
    for (const double step : {0.49, 1.0, 1.11, 2.6}) {
        std::vector<int> first(kRoom);
        for (std::size_t i = 0; i < kRoom; ++i) {
            first[i] = static_cast<int>(static_cast<double>(i) * step / 2);
        }
        for (const int taps : {2, 3, 4}) {
            ExpectSameBits([&](const SBxKernels& kernels, std::size_t offset, std::size_t count) {
                std::vector<double> out(kRoom, -1.0);
                const double* rows[4];
                for (int tap = 0; tap < 4; ++tap) {
                    rows[tap] = weights[tap].data() + offset;
                }
                kernels.ResampleAlong(out.data() + offset, bytes.data(), first.data() + offset, rows, taps, count);
                return out;
            });
        }
    }
    std::vector<unsigned int> shares(kRoom);
    std::generate(shares.begin(), shares.end(), [&random] {
        const auto second = static_cast<unsigned int>(random() % 1001);
        return (1000 - second) | second << 16;
    });
    for (const double step : {0.49, 0.7, 1.0}) {
        std::vector<int> first(kRoom);
        for (std::size_t i = 0; i < kRoom; ++i) {
            first[i] = static_cast<int>(static_cast<double>(i) * step);
        }
        ExpectSameBits([&](const SBxKernels& kernels, std::size_t offset, std::size_t count) {
            std::vector<double> out(kRoom, -1.0);
            kernels.EnlargeAlong(out.data() + offset, bytes.data(), first.data() + offset, shares.data() + offset,
                                 count);
            return out;
        });
    }
    for (const int rowCount : {2, 3, 4}) {
        ExpectSameBits([&](const SBxKernels& kernels, std::size_t offset, std::size_t count) {
            std::vector<float> out(kRoom, -1.0f);
            const double* rows[4];
            for (int row = 0; row < 4; ++row) {
                rows[row] = weights[row].data() + offset;
            }
            const double rowWeights[4] = {0.31, 0.4, 0.29, 0.123};
            kernels.ResampleAcross(out.data() + offset, rows, rowWeights, rowCount, count);
            return out;
        });
        ExpectSameBits([&](const SBxKernels& kernels, std::size_t offset, std::size_t count) {
            std::vector<float> out(kRoom, -1.0f);
            const double* first[4];
            const double* second[4];
            std::vector<float> samples[2] = {std::vector<float>(kRoom), std::vector<float>(kRoom)};
            for (int row = 0; row < 4; ++row) {
                first[row] = weights[row].data() + offset;
                second[row] = weights[3 - row].data() + offset / 2;
            }
            const double rowWeights[4] = {0.31, 0.4, 0.29, 0.123};
            kernels.ResampleMeanAcross(out.data() + offset, first, second, rowWeights, rowCount, count);
            kernels.ResampleAcross(samples[0].data(), first, rowWeights, rowCount, count);
            kernels.ResampleAcross(samples[1].data(), second, rowWeights, rowCount, count);
            for (std::size_t i = 0; i < count; ++i) {
                EXPECT_EQ(out[offset + i], (samples[0][i] + samples[1][i]) / 2);
            }
            return out;
        });
    }
}

TEST_P(KernelForms, SumSmoothedRowsUpTheSame) {
    std::vector<std::vector<float>> values;
    for (unsigned int i = 0; i < 10; ++i) {
        values.push_back(RandomRow<float>(20 + i));
    }
    const float taps[7] = {0.05f, 0.1f, 0.2f, 0.31f, 0.19f, 0.1f, 0.05f};
    ExpectSameBits([&](const SBxKernels& kernels, std::size_t offset, std::size_t count) {
        const std::size_t room = (kRoom / 16 + 3) * 16;
        std::vector<double> sums(4 * room, -1.0);
        double* out[4];
        for (std::size_t i = 0; i < 4; ++i) {
            out[i] = sums.data() + i * room;
        }
        std::vector<std::vector<float>> padded = values;
        const float* in[10];
        for (std::size_t i = 0; i < 10; ++i) {
            padded[i].resize(padded[i].size() + 16);
            in[i] = padded[i].data() + (offset + i) % kMostOffset;
        }
        kernels.SmoothedSums4(out, in, count, taps);
        std::vector<double> used;
        for (std::size_t row = 0; row < 4; ++row) {
            double plain = 0.0;
            for (std::size_t i = 0; i <= count; ++i) {
                EXPECT_NEAR(out[row][i], plain, 1e-9 * (1.0 + plain));
                used.push_back(out[row][i]);
                float smooth = 0.0f;
                for (std::size_t tap = 0; tap < 7; ++tap) {
                    smooth += taps[tap] * in[row + tap][i];
                }
                plain += smooth;
            }
        }
        return used;
    });
}

TEST_P(KernelForms, FindTheSameSurfaceMaximum) {
    std::mt19937 random(12);
    for (int round = 0; round < 2000; ++round) {
        double c[9];
        std::generate(c, c + 9, [&random, round] {
            const int value = static_cast<int>(random() % 2001) - 1000;
            return round % 4 == 0 ? value / 500 : value / 7.0;  // whole numbers make ties
        });
        // The definition: the grid of eighths, x outside, y inside, the first of equal values.
        double best = -1e300;
        int bestX = 8;
        int bestY = 8;
        for (int i = 0; i <= 16; ++i) {
            for (int j = 0; j <= 16; ++j) {
                const double x = i / 8.0;
                const double y = j / 8.0;
                const double value = c[0] * x * x * y * y + c[1] * x * x * y + c[2] * x * x + c[3] * x * y * y +
                                     c[4] * x * y + c[5] * x + c[6] * y * y + c[7] * y + c[8];
                if (value > best) {
                    best = value;
                    bestX = i;
                    bestY = j;
                }
            }
        }
        int x = -1;
        int y = -1;
        EXPECT_EQ(m_pForm->SurfaceMaximum(&x, &y, c), best);
        EXPECT_EQ(x, bestX) << round;
        EXPECT_EQ(y, bestY) << round;
    }
}

TEST_P(KernelForms, AddTheSameEllipseRows) {
    const std::vector<double> values = RandomRow<double>(40, 2000);
    std::vector<double> prefix(values.size() + 8, 0.0);
    for (std::size_t i = 0; i < values.size(); ++i) {
        prefix[i + 1] = prefix[i] + values[i];
    }
    std::mt19937 random(41);
    for (int round = 0; round < 3000; ++round) {
        const double cell = 20.0 + random() % 90 + (random() % 8) / 8.0;
        double centres[16];
        double lefts[16];
        double visible[16];
        for (int i = 0; i < 16; ++i) {
            lefts[i] = 3.0 * std::floor(i * cell);
            visible[i] = 3.0 * (std::ceil(cell) - random() % 2);
            centres[i] = 3.0 * (i + 0.5) * cell - 0.5;
        }
        const double rim = random() % static_cast<unsigned int>(cell / 3);
        const double width = std::ceil(cell);
        const double inner = random() % 3 == 0 ? width - rim : rim + 3;
        const auto reach = [&random, cell] { return 0.5 + random() % 4000 / 4000.0 * 1.2 * cell; };
        const int cells = 1 + static_cast<int>(random() % 16);
        const SBxEllipseRow row{prefix.data(),
                                cells,
                                centres,
                                lefts,
                                visible,
                                {reach(), reach(), random() % 8 == 0 ? 0.0 : reach()},
                                3 * rim,
                                3 * inner,
                                3 * std::max(inner, width - rim - 3),
                                3 * std::max(inner, width - rim)};
        const auto run = [&row](const SBxKernels& kernels) {
            std::vector<double> result(32, 100.0);
            unsigned char undecided[48] = {};
            const bool any = kernels.AddEllipseRow(row, result.data(), result.data() + 16, undecided);
            EXPECT_EQ(std::count(result.begin() + (row.cells + 3) / 4 * 4, result.begin() + 16, 100.0),
                      16 - (row.cells + 3) / 4 * 4);
            EXPECT_EQ(any, std::count(undecided, undecided + 48, 1) > 0);
            result.insert(result.end(), undecided, undecided + 48);
            return result;
        };
        ASSERT_TRUE(SameBits(run(*m_pPortable), run(*m_pForm))) << round;
    }
}

INSTANTIATE_TEST_SUITE_P(Kernels, KernelForms,
                         testing::Values(EBxKernelForm::Portable, EBxKernelForm::Avx2, EBxKernelForm::Avx512));
