// What the words and the check equations of a sign come to think of its data bits (belief propagation).
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>

#include "kernels.h"
#include "sign_code.h"

static_assert(kCodeWords == SBxKernels::kWords && kWordData == SBxKernels::kWordData);

// From the soft values of 256 cells; beliefs are above 0 for a 0.
class CBxBeliefMessages {
public:
    // Lets the words weigh the cells, once.
    explicit CBxBeliefMessages(const float* soft) : m_Code(BX_GetSignCode()) {
        for (int i = 0; i < kCodeWords * kWordBits; ++i) {
            m_Received[i] = kSureness * soft[m_Code.cells[i]];
        }
        std::fill_n(m_FromEquations, kStreamBits, 0.0f);
        TellKnownBits();
        WeighWords();
    }

    // What the cells of the words add up to if each word is the best that they allow, less what the best of 128 words
    // comes to by chance; in soft values.
    float SurplusOfWords() const {
        float squares[kCodeWords] = {};
        int seen[kCodeWords] = {};
        for (int i = 0; i < kCodeWords * kWordBits; ++i) {
            squares[i % kCodeWords] += m_Received[i] * m_Received[i];
            seen[i % kCodeWords] += m_Received[i] != 0.0f ? 1 : 0;
        }
        float surplus = 0.0f;
        for (int word = 0; word < kCodeWords; ++word) {
            surplus += m_Best[word] - 0.5f * kBestByChance[seen[word]] * std::sqrt(squares[word]);
        }
        return (surplus - 0.5f * kKnown * (kStreamBits - kBlockBits)) * (2.0f / kSureness);
    }

    // To be called once.
    void Exchange() {
        m_Members = m_Code.members;
        for (int round = 1; round < kRounds; ++round) {
            WeighEquations();
            WeighWords();
        }
    }

    // How sure all data bits are together.
    float Sureness() const {
        float sum = 0.0f;
        for (int bit = 0; bit < kBlockBits; ++bit) {
            sum += std::fabs(Belief(bit));
        }
        return sum;
    }
    float Belief(int dataBit) const {
        const int place = SBxSignCode::PlaceOfDataBit(dataBit);
        return m_FromWords[place] + m_FromEquations[place];
    }

private:
    static constexpr int kRounds = 4;         // of messages
    static constexpr float kSureness = 3.0f;  // log-likelihood ratio of a cell with soft value 1
    static constexpr float kDamping = 0.75f;  // maxima instead of sums overrate what they pass on
    static constexpr float kKnown = 30.0f;    // of a bit that is always 0
    // The mean of what the best of 128 words comes to where so many of its bits are seen, against the length of their
    // soft values: of 20,000 random ones each, sines of random angles.
    static constexpr float kBestByChance[kWordBits + 1] = {0.0f,   1.0f,   1.329f, 1.599f, 1.832f, 2.031f,
                                                           2.201f, 2.33f,  2.412f, 2.456f, 2.482f, 2.508f,
                                                           2.528f, 2.539f, 2.546f, 2.561f};

    void TellKnownBits() {
        for (int bit = kBlockBits; bit < kStreamBits; ++bit) {
            m_FromEquations[SBxSignCode::PlaceOfDataBit(bit)] = kKnown;
        }
    }

    // For each data bit: the best word with a 0 there against the best with a 1, without what the equations said of it.
    // The weight of a text is the sum of its word's bits, each with the sign of the bit.
    void WeighWords() {
        alignas(64) float weights[kWordTexts * kCodeWords] = {};
        alignas(64) float ones[kStreamBits];
        for (int bit = 0; bit < kWordBits; ++bit) {
            const float* const received = m_Received + bit * kCodeWords;
            const float* const told =
                bit < kWordParity ? kNothingTold : m_FromEquations + (bit - kWordParity) * kCodeWords;
            float* const place = weights + m_Code.placeOfWordBit[bit] * kCodeWords;
            for (int word = 0; word < kCodeWords; ++word) {
                place[word] += 0.5f * (received[word] + told[word]);
            }
        }
        BX_Kernels().WeighWords(m_FromWords, ones, weights);
        for (int word = 0; word < kCodeWords; ++word) {
            m_Best[word] = std::max(m_FromWords[word], ones[word]);
        }
        for (int i = 0; i < kStreamBits; ++i) {
            m_FromWords[i] = m_FromWords[i] - ones[i] - m_FromEquations[i];
        }
    }

    // An equation tells each of its bits what the others make it, as surely as the least sure of them is. Signs are
    // added without branches, as they are as good as chance.
    void WeighEquations() {
        float beliefs[kStreamBits];
        for (int i = 0; i < kStreamBits; ++i) {
            beliefs[i] = m_FromWords[i] + m_FromEquations[i];
        }
        const int members = m_Code.equationStart[kCheckBits];
        for (int i = 0; i < members; ++i) {
            // Without what that equation told it.
            m_Next[i] = beliefs[m_Members[i].place] - m_Members[i].message;
        }
        for (int check = 0; check < kCheckBits; ++check) {
            WeighEquation(m_Next + m_Code.equationStart[check], m_Next + m_Code.equationStart[check + 1]);
        }
        float total[kStreamBits] = {};
        for (int i = 0; i < members; ++i) {
            m_Members[i].message = m_Next[i];
            total[m_Members[i].place] += m_Next[i];
        }
        std::copy(total, total + kStreamBits, m_FromEquations);
        TellKnownBits();
    }

    // Replaces what the bits of an equation bring to it by what it tells them.
    static void WeighEquation(float* begin, const float* end) {
        constexpr std::uint32_t kSign = 0x80000000U;
        float smallest = 1e30f;
        float second = 1e30f;
        std::uint32_t signs = 0;
        for (const float* heard = begin; heard != end; ++heard) {
            const float size = std::fabs(*heard);
            signs ^= std::bit_cast<std::uint32_t>(*heard);
            second = std::min(second, std::max(size, smallest));
            smallest = std::min(size, smallest);
        }
        for (float* told = begin; told != end; ++told) {
            // Of several smallest ones the second is as small.
            const float size = kDamping * (std::fabs(*told) == smallest ? second : smallest);
            const std::uint32_t sign = (signs ^ std::bit_cast<std::uint32_t>(*told)) & kSign;
            *told = std::bit_cast<float>(std::bit_cast<std::uint32_t>(size) | sign);
        }
    }

    static constexpr float kNothingTold[kCodeWords] = {};

    const SBxSignCode& m_Code;
    std::array<SBxEquationMember, 4 * kBlockBits> m_Members;
    float m_Next[4 * kBlockBits];
    // Word by word side by side, as in SBxSignCode.
    alignas(64) float m_Received[kCodeWords * kWordBits];
    alignas(64) float m_FromEquations[kStreamBits];
    alignas(64) float m_FromWords[kStreamBits];
    float m_Best[kCodeWords];  // of the texts of each word
};
