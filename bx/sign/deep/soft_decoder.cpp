#include "soft_decoder.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "bch157.h"
#include "interleaving.h"
#include "sign_block.h"
#include "sign_op.h"

namespace {

constexpr int kTextBits = kTextCodes * kBitsPerCode;    // 60
constexpr int kCheckBits = kCheckCodes * kBitsPerCode;  // 48
constexpr int kBlockBits = kCheckBits + kTextBits;      // 108
constexpr int kWordBits = 15;
constexpr int kWordData = 7;
constexpr int kWordTexts = 1 << kWordData;           // 128
constexpr int kStreamBits = kCodeWords * kWordData;  // 112
constexpr int kCellBlocks = kCellCount / 64;

constexpr int kRounds = 4;          // of messages
constexpr float kSureness = 3.0f;   // log-likelihood ratio of a cell with soft value 1
constexpr float kDamping = 0.75f;   // maxima instead of sums overrate what they pass on
constexpr float kKnown = 30.0f;     // of a bit that is always 0
constexpr int kWeightSteps = 2000;  // soft values as whole numbers, for the comparison of many texts
constexpr int kBestKept = 8;        // texts looked at until one can be a sign
constexpr double kSlack = 3.5;      // what turning over two bits can add to an agreement worth following

constexpr int kFarthestDisplacement = 12;  // cells
constexpr int kFewestCompared = 48;        // pairs of cells
constexpr double kMostRegularity = 5.5;    // of cells that a sign may be read from
constexpr double kRegularityOfNoise = 0.7;

// A code word of the whole sign: its data bits and its cells, one bit each.
struct SRow {
    std::uint64_t data[2] = {};
    std::uint64_t cells[kCellBlocks] = {};

    void Add(const SRow& other) {
        data[0] ^= other.data[0];
        data[1] ^= other.data[1];
        for (int i = 0; i < kCellBlocks; ++i) {
            cells[i] ^= other.cells[i];
        }
    }
    bool HasData(int bit) const { return ((data[bit / 64] >> (bit % 64)) & 1) != 0; }
    bool HasCell(int cell) const { return ((cells[cell / 64] >> (cell % 64)) & 1) != 0; }
};

// One bit of a check equation; the message is what the equation last told it.
struct SMember {
    int bit;
    float message;
};

// Everything about the code that does not depend on the cells.
struct SCode {
    int placeOfWordBit[kWordBits];          // the data bits that a bit of a word is the sum of
    std::array<SRow, kTextBits> generator;  // of each text bit alone
    int cellOfFrameBit[kCodeWords * kWordBits];
    int equationStart[kCheckBits + 1];  // in `members`
    std::array<SMember, 4 * kBlockBits> members;

    SCode() {
        MakeWords();
        MakeGenerator();
        MakeEquations();
        for (int bit = 0; bit < kCodeWords * kWordBits; ++bit) {
            cellOfFrameBit[bit] = puiBitChangeInv[bit];
        }
    }

    void MakeWords() {
        CBxBCH157 coder;
        coder.read_p();
        coder.generate_gf();
        coder.gen_poly();
        std::fill(placeOfWordBit, placeOfWordBit + kWordBits, 0);
        for (int data = 0; data < kWordData; ++data) {
            std::fill(coder.data, coder.data + kWordData, 0);
            coder.data[data] = 1;
            coder.GetBCHCodeFromData();
            for (int bit = 0; bit < kWordBits; ++bit) {
                placeOfWordBit[bit] |= coder.recd[bit] << data;
            }
        }
    }

    void MakeGenerator() {
        for (int bit = 0; bit < kTextBits; ++bit) {
            int codes[kTextCodes] = {};
            codes[bit / kBitsPerCode] = 1 << (bit % kBitsPerCode);
            int cells[kCellCount];
            BX_EncodeTextCodes(cells, codes);
            SRow& row = generator[bit];
            for (int cell = 0; cell < kCellCount; ++cell) {
                row.cells[cell / 64] |= static_cast<std::uint64_t>(cells[cell]) << (cell % 64);
            }
            for (int data = 0; data < kBlockBits; ++data) {
                const int frameBit = data / kWordData * kWordBits + (kWordBits - kWordData) + data % kWordData;
                row.data[data / 64] |= static_cast<std::uint64_t>(cells[puiBitChangeInv[frameBit]]) << (data % 64);
            }
        }
    }

    // Check bit j plus the text bits that are added to it is 0.
    void MakeEquations() {
        int count = 0;
        for (int check = 0; check < kCheckBits; ++check) {
            equationStart[check] = count;
            members[count++] = {check, 0.0f};
            for (int bit = 0; bit < kTextBits; ++bit) {
                if (generator[bit].HasData(check)) {
                    members[count++] = {kCheckBits + bit, 0.0f};
                }
            }
        }
        equationStart[kCheckBits] = count;
    }
};

const SCode& Code() {
    static const SCode kCode;
    return kCode;
}

// One value for each word; added and compared side by side, four at a time.
struct SLanes {
    typedef float CFour __attribute__((vector_size(4 * sizeof(float))));
    CFour fours[kCodeWords / 4];

    float& operator[](int word) { return reinterpret_cast<float*>(fours)[word]; }
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

// What the words and the equations come to think of the data bits; above 0 for a 0.
class CMessages {
public:
    explicit CMessages(const float* soft) : m_Code(Code()), m_Members(m_Code.members) {
        for (int bit = 0; bit < kCodeWords * kWordBits; ++bit) {
            m_Received[bit] = kSureness * soft[m_Code.cellOfFrameBit[bit]];
        }
        std::fill(m_FromEquations, m_FromEquations + kBlockBits, 0.0f);
        std::fill(m_FromEquations + kBlockBits, m_FromEquations + kStreamBits, kKnown);
    }

    void Exchange() {
        for (int round = 0; round < kRounds; ++round) {
            WeighWords();
            if (round + 1 < kRounds) {
                WeighEquations();
            }
        }
    }

    float Belief(int dataBit) const { return m_FromWords[dataBit] + m_FromEquations[dataBit]; }

private:
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
        for (int data = 0; data < kWordData; ++data) {
            const int step = 1 << data;
            SLanes zero = weights[0];
            SLanes one = weights[step];
            for (int block = 0; block < kWordTexts; block += 2 * step) {
                for (int text = block; text < block + step; ++text) {
                    zero.Raise(weights[text]);
                    one.Raise(weights[text + step]);
                }
            }
            for (int word = 0; word < kCodeWords; ++word) {
                const int bit = word * kWordData + data;
                m_FromWords[bit] = zero[word] - one[word] - m_FromEquations[bit];
            }
        }
    }

    // An equation tells each of its bits what the others make it, as surely as the least sure of them is.
    void WeighEquations() {
        float total[kBlockBits] = {};
        for (int check = 0; check < kCheckBits; ++check) {
            const int start = m_Code.equationStart[check];
            const int end = m_Code.equationStart[check + 1];
            float smallest = 1e30f;
            float second = 1e30f;
            int smallestAt = start;
            bool isOdd = false;
            for (int i = start; i < end; ++i) {
                const float belief = Heard(i);
                const float size = std::fabs(belief);
                isOdd ^= belief < 0.0f;
                if (size < smallest) {
                    second = smallest;
                    smallest = size;
                    smallestAt = i;
                } else if (size < second) {
                    second = size;
                }
            }
            for (int i = start; i < end; ++i) {
                const bool others = isOdd ^ (Heard(i) < 0.0f);
                const float size = kDamping * (i == smallestAt ? second : smallest);
                m_Next[i] = others ? -size : size;
            }
        }
        for (int i = 0; i < m_Code.equationStart[kCheckBits]; ++i) {
            m_Members[i].message = m_Next[i];
            total[m_Members[i].bit] += m_Next[i];
        }
        std::copy(total, total + kBlockBits, m_FromEquations);
    }

    // What a member brings to its equation: its belief without what that equation told it.
    float Heard(int member) const { return Belief(m_Members[member].bit) - m_Members[member].message; }

    const SCode& m_Code;
    std::array<SMember, 4 * kBlockBits> m_Members;
    float m_Next[4 * kBlockBits] = {};
    float m_Received[kCodeWords * kWordBits];
    float m_FromEquations[kStreamBits];
    float m_FromWords[kStreamBits] = {};
};

// The code in terms of its surest independent data bits: row i has a 1 at pivot i and at no other pivot.
struct SBasis {
    std::array<SRow, kTextBits> rows;
    int pivots[kTextBits];
};

void MakeBasis(SBasis& basis, const CMessages& messages) {
    int order[kBlockBits];
    float sureness[kBlockBits];
    for (int bit = 0; bit < kBlockBits; ++bit) {
        order[bit] = bit;
        sureness[bit] = std::fabs(messages.Belief(bit));
    }
    std::sort(order, order + kBlockBits,
              [&sureness](int a, int b) { return sureness[a] != sureness[b] ? sureness[a] > sureness[b] : a < b; });
    basis.rows = Code().generator;
    int rank = 0;
    for (int i = 0; i < kBlockBits && rank < kTextBits; ++i) {
        const int bit = order[i];
        int found = rank;
        while (found < kTextBits && !basis.rows[found].HasData(bit)) {
            ++found;
        }
        if (found == kTextBits) {
            continue;
        }
        std::swap(basis.rows[rank], basis.rows[found]);
        for (int row = 0; row < kTextBits; ++row) {
            if (row != rank && basis.rows[row].HasData(bit)) {
                basis.rows[row].Add(basis.rows[rank]);
            }
        }
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
    SCandidate m_Best[kBestKept];
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

void SpreadCells(std::int16_t* cells, const SRow& row) {
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
    CComparison(const SBasis& basis, const SRow& base, const float* soft) : m_Basis(basis) {
        for (int cell = 0; cell < kCellCount; ++cell) {
            const auto weight = static_cast<std::int16_t>(kWeightSteps * soft[cell]);
            m_Weights[cell] = static_cast<std::int16_t>(base.HasCell(cell) ? -weight : weight);
            m_iBase += m_Weights[cell];
        }
    }

    void CompareSingles(CBestCandidates& best) {
        best.Offer(m_iBase, -1, -1);
        for (int row = 0; row < kTextBits; ++row) {
            m_iSums[row] = 0;
            for (int block = 0; block < kCellBlocks; ++block) {
                for (std::uint64_t bits = m_Basis.rows[row].cells[block]; bits != 0; bits &= bits - 1) {
                    m_iSums[row] += m_Weights[64 * block + std::countr_zero(bits)];
                }
            }
            best.Offer(m_iBase - 2 * m_iSums[row], row, -1);
        }
    }

    // After CompareSingles.
    void ComparePairs(CBestCandidates& best) {
        for (int row = 0; row < kTextBits; ++row) {
            SpreadCells(m_Masks[row], m_Basis.rows[row]);
            for (int cell = 0; cell < kCellCount; ++cell) {
                m_Masked[row][cell] = static_cast<std::int16_t>(m_Weights[cell] * m_Masks[row][cell]);
            }
        }
        for (int first = 0; first < kTextBits; ++first) {
            for (int second = first + 1; second < kTextBits; ++second) {
                int shared = 0;
                for (int cell = 0; cell < kCellCount; ++cell) {
                    shared += static_cast<int>(m_Masked[first][cell]) * m_Masks[second][cell];
                }
                best.Offer(m_iBase - 2 * (m_iSums[first] + m_iSums[second]) + 4 * shared, first, second);
            }
        }
    }

private:
    const SBasis& m_Basis;
    int m_iBase = 0;
    int m_iSums[kTextBits];
    alignas(64) std::int16_t m_Weights[kCellCount];
    alignas(64) std::int16_t m_Masked[kTextBits][kCellCount];
    alignas(64) std::int16_t m_Masks[kTextBits][kCellCount];
};

// The text of a row, or false when it cannot be a sign: too short, or with characters behind its end.
bool TextOfRow(char* text, const SRow& row) {
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

SRow RowOfCandidate(const SBasis& basis, const SRow& base, const SCandidate& candidate) {
    SRow row = base;
    for (const int turned : {candidate.first, candidate.second}) {
        if (turned >= 0) {
            row.Add(basis.rows[turned]);
        }
    }
    return row;
}

double LengthOf(const float* soft) {
    double squares = 0.0;
    for (int cell = 0; cell < kCellCount; ++cell) {
        squares += static_cast<double>(soft[cell]) * soft[cell];
    }
    return std::sqrt(squares);
}

}  // namespace

SBxSoftReading BX_DecodeSoft(const float* soft, double leastAgreement) {
    SBxSoftReading reading;
    const double length = LengthOf(soft);
    if (length < 1e-6) {
        return reading;
    }
    CMessages messages(soft);
    messages.Exchange();
    SBasis basis;
    MakeBasis(basis, messages);
    SRow base;
    for (int i = 0; i < kTextBits; ++i) {
        if (messages.Belief(basis.pivots[i]) < 0.0f) {
            base.Add(basis.rows[i]);
        }
    }
    CComparison comparison(basis, base, soft);
    CBestCandidates best;
    comparison.CompareSingles(best);
    const double toAgreement = 1.0 / (kWeightSteps * length);
    if (best[0].agreement * toAgreement < leastAgreement - kSlack) {
        return reading;
    }
    comparison.ComparePairs(best);
    for (int i = 0; i + 1 < best.Count(); ++i) {
        const SRow row = RowOfCandidate(basis, base, best[i]);
        if (TextOfRow(reading.m_szText, row)) {
            reading.m_dAgreement = best[i].agreement * toAgreement;
            const int runnerUp = i == 0 ? 1 : 0;
            reading.m_dGap = (best[i].agreement - best[runnerUp].agreement) * toAgreement;
            return reading;
        }
    }
    reading.m_szText[0] = 0;
    return reading;
}

double BX_AgreementOfText(const float* soft, const char* text) {
    int cells[kCellCount];
    BX_EncodeSign(cells, text);
    return BX_AgreementOfCells(soft, cells);
}

double BX_AgreementOfCells(const float* soft, const int* cells) {
    double agreement = 0.0;
    for (int cell = 0; cell < kCellCount; ++cell) {
        agreement += cells[cell] == 0 ? soft[cell] : -soft[cell];
    }
    const double length = LengthOf(soft);
    return length > 0.0 ? agreement / length : 0.0;
}

double BX_BitsOfAgreement(double agreement) {
    constexpr double kLog2OfE = 1.4426950408889634;
    return agreement > 0.0 ? 0.5 * agreement * agreement * kLog2OfE : 0.0;
}

double BX_ChanceOfAgreement(double agreement) {
    return kTextBits - BX_BitsOfAgreement(agreement);
}

double BX_Regularity(const float* soft) {
    double worst = 0.0;
    for (int down = 0; down <= kFarthestDisplacement; ++down) {
        for (int right = down == 0 ? 1 : -kFarthestDisplacement; right <= kFarthestDisplacement; ++right) {
            int equal = 0;
            int all = 0;
            for (int row = 0; row + down < kGridSide; ++row) {
                for (int column = std::max(0, -right); column < std::min(kGridSide, kGridSide - right); ++column) {
                    const float here = soft[row * kGridSide + column];
                    const float there = soft[(row + down) * kGridSide + column + right];
                    if (here != 0.0f && there != 0.0f) {
                        ++all;
                        equal += (here < 0.0f) == (there < 0.0f) ? 1 : 0;
                    }
                }
            }
            if (all >= kFewestCompared) {
                worst = std::max(worst, std::fabs(2.0 * equal - all) / std::sqrt(static_cast<double>(all)));
            }
        }
    }
    return worst;
}

bool BX_IsTooRegular(const float* soft, const char* text) {
    int cells[kCellCount];
    float ofText[kCellCount];
    BX_EncodeSign(cells, text);
    for (int cell = 0; cell < kCellCount; ++cell) {
        ofText[cell] = soft[cell] == 0.0f ? 0.0f : cells[cell] == 0 ? 1.0f : -1.0f;
    }
    return BX_Regularity(soft) > std::max(kMostRegularity, BX_Regularity(ofText) + kRegularityOfNoise);
}
