// What the tests of the loops in all their forms share.
//
// Every form of every loop against the portable one: the same bits, for every count up to more than two of the widest
// vectors and for every misalignment. A wide form that adds in another order or fuses a product and a sum shows here.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

#include "kernels.h"

inline constexpr std::size_t kMostCount = 40;
inline constexpr std::size_t kMostOffset = 16;
inline constexpr std::size_t kRoom = kMostCount + kMostOffset + 64;

template <typename T>
std::vector<T> RandomRow(unsigned int seed, std::size_t count = kRoom) {
    std::mt19937 random(seed);
    std::vector<T> row(count);
    std::generate(row.begin(), row.end(),
                  [&random] { return static_cast<T>(static_cast<double>(random() % 100000) / 777.0); });
    return row;
}

template <typename T>
::testing::AssertionResult SameBits(const std::vector<T>& first, const std::vector<T>& second) {
    if (std::memcmp(first.data(), second.data(), first.size() * sizeof(T)) == 0) {
        return ::testing::AssertionSuccess();
    }
    const auto at = std::mismatch(first.begin(), first.end(), second.begin(),
                                  [](const T& a, const T& b) { return std::memcmp(&a, &b, sizeof(T)) == 0; })
                        .first -
                    first.begin();
    return ::testing::AssertionFailure() << "element " << at << ": " << +first[at] << " and " << +second[at];
}

// Runs `body(kernels, offset, count)`, which returns what it wrote, in the portable and in another form.
class KernelForms : public testing::TestWithParam<EBxKernelForm> {
protected:
    void SetUp() override {
        m_pPortable = BX_KernelsOfForm(EBxKernelForm::Portable);
        m_pForm = BX_KernelsOfForm(GetParam());
        if (m_pForm == nullptr) {
            m_pForm = m_pPortable;  // this machine has no such form: compares the portable one with itself
        }
    }

    template <typename Body>
    void ExpectSameBits(Body body) {
        for (std::size_t count = 0; count <= kMostCount; ++count) {
            for (std::size_t offset = 0; offset < kMostOffset; ++offset) {
                ASSERT_TRUE(SameBits(body(*m_pPortable, offset, count), body(*m_pForm, offset, count)))
                    << m_pForm->m_szName << ", offset " << offset << ", count " << count;
            }
        }
    }

    const SBxKernels* m_pPortable = nullptr;
    const SBxKernels* m_pForm = nullptr;
};
