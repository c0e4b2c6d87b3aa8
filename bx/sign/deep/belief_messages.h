// What the words and the check equations of a sign come to think of its data bits (belief propagation).
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>

#include "sign_code.h"

// One value for each word; added and compared side by side, four at a time.
struct SLanes {
    typedef float CFour __attribute__((vector_size(4 * sizeof(float))));
    CFour fours[kCodeWords / 4];

    float& operator[](int word) { return reinterpret_cast<float*>(fours)[word]; }
    float operator[](int word) const { return reinterpret_cast<const float*>(fours)[word]; }
    // Both become their sum and their difference.
    void Butterfly(SLanes& other) {
        for (int i = 0; i < kCodeWords / 4; ++i) {
            const CFour difference = fours[i] - other.fours[i];
            fours[i] += other.fours[i];
            other.fours[i] = difference;
        }
    }
    void Raise(const SLanes& other) {
        for (int i = 0; i < kCodeWords / 4; ++i) {
            fours[i] = fours[i] < other.fours[i] ? other.fours[i] : fours[i];
        }
    }
};

// From the soft values of 256 cells; beliefs are above 0 for a 0.
class CBxBeliefMessages {
public:
    // Lets the words weigh the cells, once.
    explicit CBxBeliefMessages(const float* soft) : m_Code(BX_GetSignCode()) {
        for (int bit = 0; bit < kCodeWords * kWordBits; ++bit) {
            m_Received[bit] = kSureness * soft[m_Code.cellOfFrameBit[bit]];
        }
        std::fill(m_FromEquations, m_FromEquations + kBlockBits, 0.0f);
        std::fill(m_FromEquations + kBlockBits, m_FromEquations + kStreamBits, kKnown);
        WeighWords();
    }

    // What the cells of the words add up to if each word is the best that they allow, less what the best of 128 words
    // comes to by chance; in soft values.
    float SurplusOfWords() const {
        float surplus = 0.0f;
        for (int word = 0; word < kCodeWords; ++word) {
            float squares = 0.0f;
            int seen = 0;
            for (int bit = word * kWordBits; bit < (word + 1) * kWordBits; ++bit) {
                squares += m_Received[bit] * m_Received[bit];
                seen += m_Received[bit] != 0.0f ? 1 : 0;
            }
            surplus += m_Best[word] - 0.5f * kBestByChance[seen] * std::sqrt(squares);
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
    float Belief(int dataBit) const { return m_FromWords[dataBit] + m_FromEquations[dataBit]; }

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

    // For each data bit: the best word with a 0 there against the best with a 1, without what the equations said of it.
    // All 16 words side by side. The weight of a text is the sum of its word's bits, each with the sign of the bit; bit
    // i of the word of text x is the parity of x & place(i), so the weights are a Walsh-Hadamard transform.
    void WeighWords() {
        SLanes weights[kWordTexts] = {};
        for (int bit = 0; bit < kWordBits; ++bit) {
            const int data = bit - (kWordBits - kWordData);
            SLanes& place = weights[m_Code.placeOfWordBit[bit]];
            for (int word = 0; word < kCodeWords; ++word) {
                const float told = data >= 0 ? m_FromEquations[word * kWordData + data] : 0.0f;
                place[word] += 0.5f * (m_Received[word * kWordBits + bit] + told);
            }
        }
        for (int step = 1; step < kWordTexts; step *= 2) {
            for (int block = 0; block < kWordTexts; block += 2 * step) {
                for (int text = block; text < block + step; ++text) {
                    weights[text].Butterfly(weights[text + step]);
                }
            }
        }
        // The highest bit first; then its two halves become the better of both.
        for (int data = kWordData - 1; data >= 0; --data) {
            const int step = 1 << data;
            SLanes zero = weights[0];
            SLanes one = weights[step];
            weights[0].Raise(weights[step]);
            for (int text = 1; text < step; ++text) {
                zero.Raise(weights[text]);
                one.Raise(weights[text + step]);
                weights[text].Raise(weights[text + step]);
            }
            for (int word = 0; word < kCodeWords; ++word) {
                const int bit = word * kWordData + data;
                m_FromWords[bit] = zero[word] - one[word] - m_FromEquations[bit];
            }
        }
        m_Best = weights[0];
    }

    // An equation tells each of its bits what the others make it, as surely as the least sure of them is. Signs are
    // added without branches, as they are as good as chance.
    void WeighEquations() {
        float beliefs[kBlockBits];
        for (int bit = 0; bit < kBlockBits; ++bit) {
            beliefs[bit] = Belief(bit);
        }
        const int members = m_Code.equationStart[kCheckBits];
        for (int i = 0; i < members; ++i) {
            // Without what that equation told it.
            m_Next[i] = beliefs[m_Members[i].bit] - m_Members[i].message;
        }
        for (int check = 0; check < kCheckBits; ++check) {
            WeighEquation(m_Next + m_Code.equationStart[check], m_Next + m_Code.equationStart[check + 1]);
        }
        float total[kBlockBits] = {};
        for (int i = 0; i < members; ++i) {
            m_Members[i].message = m_Next[i];
            total[m_Members[i].bit] += m_Next[i];
        }
        std::copy(total, total + kBlockBits, m_FromEquations);
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

    const SBxSignCode& m_Code;
    std::array<SBxEquationMember, 4 * kBlockBits> m_Members;
    float m_Next[4 * kBlockBits];
    float m_Received[kCodeWords * kWordBits];
    float m_FromEquations[kStreamBits];
    float m_FromWords[kStreamBits] = {};
    SLanes m_Best;  // of the texts of each word
};
