#include "soft_decoder.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <numeric>

#include "belief_messages.h"
#include "kernels.h"
#include "sign_code.h"
#include "sign_op.h"

namespace {

constexpr int kWeightSteps = 2000;  // soft values as whole numbers, for the comparison of many texts
constexpr int kBestKept = 8;        // texts looked at until one can be a sign
// What turning over two bits may add to an agreement that is followed: of 2,400 random texts under normal noise of 0.8
// to 1.2 tones none that was read rightly was further from 8.2 before, and nine in ten decodings of noise are.
constexpr double kSlack = 0.7;
// Most cells that are no sign's are known by their words and by the cells that are always 0, before more is done with
// them. In mean lengths of a cell's soft value, what these must come to beyond chance; less if of the cells that are
// always 0 none is seen. To be decoded: a fifth of noise comes to so much. Of 50,000 random texts that are read rightly
// from all cells or some two thirds of them with an agreement of 9.5 or more none is lost.
struct SSurplus {
    double withZeros;
    double withoutZeros;
};
constexpr SSurplus kLeastSurplus = {3.0, -1.0};
// To be a sign's though not decoded yet: a tenth of noise comes to this, and of carriers with an agreement of 7 three
// quarters, of 8 nine in ten.
constexpr SSurplus kSurplusOfHope = {5.0, 0.0};
constexpr double kSurenessOfHope = 420.0;
// What messages must make the data bits of what is to be decoded: two thirds of the noise that came so far stay below,
// and of 134,000 random texts that agree by 9.5 or more, most of their cells seen, none comes below 519; of 14,650 that
// a third of the cells are missing of 6 do, which agree by less than what is reported.
constexpr double kLeastSureness = 500.0;
constexpr double kWeightOfZeros = 2.0;  // against the words
constexpr int kZeroCells = kCellCount - kFrameBits;
constexpr float kMostSoft = 16.0f;  // times kWeightSteps it is a whole number of 16 bits

// The code in terms of its surest independent data bits: row i has a 1 at pivot i and at no other pivot.
struct SBasis {
    std::array<SBxCodeRow, kTextBits> rows;
    int pivots[kTextBits];
};

void MakeBasis(SBasis& basis, const CBxBeliefMessages& messages) {
    // The bits of floats that are not negative stand in the order of the floats.
    std::uint64_t order[kBlockBits];
    for (int bit = 0; bit < kBlockBits; ++bit) {
        const std::uint32_t sureness = std::bit_cast<std::uint32_t>(std::fabs(messages.Belief(bit)));
        order[bit] = static_cast<std::uint64_t>(~sureness) << 32 | static_cast<std::uint64_t>(bit);
    }
    std::sort(order, order + kBlockBits);
    basis.rows = BX_GetSignCode().generator;
    int rank = 0;
    for (int i = 0; i < kBlockBits && rank < kTextBits; ++i) {
        const auto bit = static_cast<int>(order[i] & 0xFFFFFFFFU);
        int found = rank;
        while (found < kTextBits && !basis.rows[found].HasData(bit)) {
            ++found;
        }
        if (found == kTextBits) {
            continue;
        }
        std::swap(basis.rows[rank], basis.rows[found]);
        const SBxCodeRow pivot = basis.rows[rank];
        for (SBxCodeRow& row : basis.rows) {
            row.AddIf(pivot, row.HasData(bit));
        }
        basis.rows[rank] = pivot;
        basis.pivots[rank++] = bit;
    }
}

// One of the texts compared: the base with up to two pivots turned over.
struct SCandidate {
    int agreement;
    int first;   // pivot index, or -1
    int second;  // pivot index, or -1
};

// The best few, best first.
class CBestCandidates {
public:
    void Offer(int agreement, int first, int second) {
        if (m_iCount == kBestKept && agreement <= m_Best[kBestKept - 1].agreement) {
            return;
        }
        int place = m_iCount < kBestKept ? m_iCount++ : kBestKept - 1;
        while (place > 0 && m_Best[place - 1].agreement < agreement) {
            m_Best[place] = m_Best[place - 1];
            --place;
        }
        m_Best[place] = {agreement, first, second};
    }
    int Count() const { return m_iCount; }
    const SCandidate& operator[](int index) const { return m_Best[index]; }

private:
    SCandidate m_Best[kBestKept] = {};
    int m_iCount = 0;
};

// Eight bits as eight whole numbers.
struct SSpreadBytes {
    std::int16_t of[256][8];
    SSpreadBytes() {
        for (int byte = 0; byte < 256; ++byte) {
            for (int bit = 0; bit < 8; ++bit) {
                of[byte][bit] = static_cast<std::int16_t>((byte >> bit) & 1);
            }
        }
    }
};

void SpreadCells(std::int16_t* cells, const SBxCodeRow& row) {
    static const SSpreadBytes kSpread;
    for (int byte = 0; byte < kCellCount / 8; ++byte) {
        const auto bits = static_cast<unsigned int>(row.cells[byte / 8] >> (byte % 8 * 8)) & 255U;
        std::memcpy(cells + byte * 8, kSpread.of[bits], sizeof kSpread.of[bits]);
    }
}

// The agreement of many texts, in whole numbers: the base, with rows turned over. What turning over two does follows
// from the sums over each and over the cells that they share.
class CComparison {
public:
    CComparison(const SBasis& basis, const SBxCodeRow& base, const float* soft) : m_Basis(basis) {
        for (int cell = 0; cell < kCellCount; ++cell) {
            const auto weight = static_cast<std::int16_t>(kWeightSteps * soft[cell]);
            m_Weights[cell] = static_cast<std::int16_t>(base.HasCell(cell) ? -weight : weight);
            m_iBase += m_Weights[cell];
        }
    }

    void CompareSingles(CBestCandidates& best) {
        for (int row = 0; row < kTextBits; ++row) {
            SpreadCells(m_Masks[row], m_Basis.rows[row]);
        }
        BX_Kernels().DotProducts(m_iSums, m_Weights, kCellCount, m_Masks[0], kCellCount, kTextBits);
        best.Offer(m_iBase, -1, -1);
        for (int row = 0; row < kTextBits; ++row) {
            best.Offer(m_iBase - 2 * m_iSums[row], row, -1);
        }
    }

    // After CompareSingles.
    void ComparePairs(CBestCandidates& best) {
        for (int first = 0; first + 1 < kTextBits; ++first) {
            alignas(64) std::int16_t masked[kCellCount];
            for (int cell = 0; cell < kCellCount; ++cell) {
                masked[cell] = static_cast<std::int16_t>(m_Weights[cell] * m_Masks[first][cell]);
            }
            int shared[kTextBits];
            const int count = kTextBits - 1 - first;
            BX_Kernels().DotProducts(shared, masked, kCellCount, m_Masks[first + 1], kCellCount,
                                     static_cast<std::size_t>(count));
            for (int i = 0; i < count; ++i) {
                const int second = first + 1 + i;
                best.Offer(m_iBase - 2 * (m_iSums[first] + m_iSums[second]) + 4 * shared[i], first, second);
            }
        }
    }

private:
    const SBasis& m_Basis;
    int m_iBase = 0;
    int m_iSums[kTextBits];
    alignas(64) std::int16_t m_Weights[kCellCount];
    alignas(64) std::int16_t m_Masks[kTextBits][kCellCount];
};

// The text of a row, or false when it cannot be a sign: too short, or with characters behind its end.
bool TextOfRow(char* text, const SBxCodeRow& row) {
    bool hasEnded = false;
    int length = 0;
    for (int position = 0; position < kTextCodes; ++position) {
        char code = 0;
        for (int bit = 0; bit < kBitsPerCode; ++bit) {
            code = static_cast<char>(code | (row.HasData(kCheckBits + position * kBitsPerCode + bit) ? 1 << bit : 0));
        }
        if (code != 0 && hasEnded) {
            return false;
        }
        hasEnded = code == 0;
        text[length] = CBxSignOp::Map6BitToChar(code);
        length += hasEnded ? 0 : 1;
    }
    text[length] = 0;
    return length >= kShortestFoundText;
}

// What the pivots are believed to be.
SBxCodeRow RowOfBeliefs(const SBasis& basis, const CBxBeliefMessages& messages) {
    SBxCodeRow row;
    for (int i = 0; i < kTextBits; ++i) {
        row.AddIf(basis.rows[i], messages.Belief(basis.pivots[i]) < 0.0f);
    }
    return row;
}

SBxCodeRow RowOfCandidate(const SBasis& basis, const SBxCodeRow& base, const SCandidate& candidate) {
    SBxCodeRow row = base;
    for (const int turned : {candidate.first, candidate.second}) {
        if (turned >= 0) {
            row.Add(basis.rows[turned]);
        }
    }
    return row;
}

bool CanBeDecoded(const float* soft, double length) {
    return length >= 1e-6 &&
           std::all_of(soft, soft + kCellCount, [](float value) { return std::fabs(value) <= kMostSoft; });
}

// Whether words and cells that are always 0 add up to so much beyond chance.
bool HasSurplus(const CBxBeliefMessages& messages, const float* soft, double length, const SSurplus& least) {
    const float* const zeros = soft + kFrameBits;
    const float sum = std::accumulate(zeros, zeros + kZeroCells, 0.0f);
    const auto unseen = static_cast<double>(std::count(zeros, zeros + kZeroCells, 0.0f));
    const double asked = least.withZeros + (least.withoutZeros - least.withZeros) * unseen / kZeroCells;
    return (messages.SurplusOfWords() + kWeightOfZeros * sum) * kGridSide >= asked * length;
}

// Whether messages have made the data bits so sure.
bool AreSure(const CBxBeliefMessages& messages, double length, double least) {
    return messages.Sureness() * kGridSide >= least * length;
}

}  // namespace

bool BX_MayBeSign(const float* soft) {
    const double length = BX_LengthOfSoft(soft);
    if (!CanBeDecoded(soft, length)) {
        return false;
    }
    CBxBeliefMessages messages(soft);
    if (!HasSurplus(messages, soft, length, kSurplusOfHope)) {
        return false;
    }
    messages.Exchange();
    return AreSure(messages, length, kSurenessOfHope);
}

SBxSoftReading BX_DecodeSoft(const float* soft, double leastAgreement) {
    SBxSoftReading reading;
    const double length = BX_LengthOfSoft(soft);
    if (!CanBeDecoded(soft, length)) {
        return reading;
    }
    CBxBeliefMessages messages(soft);
    if (leastAgreement > 0.0 && !HasSurplus(messages, soft, length, kLeastSurplus)) {
        return reading;
    }
    messages.Exchange();
    if (leastAgreement > 0.0 && !AreSure(messages, length, kLeastSureness)) {
        return reading;
    }
    SBasis basis;
    MakeBasis(basis, messages);
    const SBxCodeRow base = RowOfBeliefs(basis, messages);
    CComparison comparison(basis, base, soft);
    CBestCandidates best;
    comparison.CompareSingles(best);
    const double toAgreement = 1.0 / (kWeightSteps * length);
    if (best[0].agreement * toAgreement < leastAgreement - kSlack) {
        return reading;
    }
    comparison.ComparePairs(best);
    for (int i = 0; i + 1 < best.Count(); ++i) {
        if (TextOfRow(reading.m_szText, RowOfCandidate(basis, base, best[i]))) {
            reading.m_dAgreement = best[i].agreement * toAgreement;
            const int runnerUp = i == 0 ? 1 : 0;
            reading.m_dGap = (best[i].agreement - best[runnerUp].agreement) * toAgreement;
            return reading;
        }
    }
    reading.m_szText[0] = 0;
    return reading;
}
