#include "sign_probe.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "bch157.h"
#include "interleaving.h"
#include "sign_format.h"
#include "sign_op.h"

namespace {

constexpr int kWordBits = 15;
constexpr int kDataBits = 7;
constexpr int kCheckBits = kCheckCodes * kBitsPerCode;
constexpr int kTextBits = kTextCodes * kBitsPerCode;

// Of all sets of four and five words, those that leave least work: their cells stand in few groups of four of a row of
// cells, and in photographs hardly a carrier passes them. Of three sums of the second set the words hold an odd number
// of bits, so that not all can be 1.
constexpr int kMostWords = 5;
constexpr int kNarrowWords[] = {4, 5, 11, 12};
constexpr int kWideWords[] = {0, 6, 7, 12, 13};

// Bits of the block that the words hold: bit 7 i + b is bit b of the i-th word.
using TProbeBits = std::uint64_t;

struct SProbe {
    int words[kMostWords];
    int wordCount;
    SBxCellChoice cells;
    TProbeBits sums[kCheckBits];  // bits that sum to 0 in every sign
    int sumCount;
    TProbeBits characters[kShortestFoundText];  // bits that are not all 0 in a text that is long enough
    int characterCount;

    // No bit when the words do not hold that bit of the block.
    TProbeBits MaskOfBlockBit(int bit) const {
        for (int i = 0; i < kMostWords; ++i) {
            if (i < wordCount && words[i] == bit / kDataBits) {
                return TProbeBits{1} << (i * kDataBits + bit % kDataBits);
            }
        }
        return 0;
    }
};

void AddCells(SProbe& probe) {
    bool isChosen[kCellCount] = {};
    for (int i = 0; i < probe.wordCount; ++i) {
        for (int bit = 0; bit < kWordBits; ++bit) {
            isChosen[puiBitChangeInv[probe.words[i] * kWordBits + bit]] = true;
        }
    }
    for (int cell = 0; cell < kCellCount; ++cell) {
        if (isChosen[cell]) {
            probe.cells.Add(cell);
        }
    }
}

// Keeps those check bits of which the words hold everything: the bit itself and the text bits that flip it.
void AddSums(SProbe& probe) {
    CBxSignOp::GenerateHashPole();
    std::uint64_t flippedBy[kCheckBits] = {};
    for (int bit = 0; bit < kTextBits; ++bit) {
        for (const int position : CBxSignOp::hashpole[bit]) {
            flippedBy[position] ^= std::uint64_t{1} << bit;
        }
    }
    for (int check = 0; check < kCheckBits; ++check) {
        TProbeBits sum = probe.MaskOfBlockBit(check);
        bool isWhole = sum != 0;
        for (int bit = 0; bit < kTextBits; ++bit) {
            if ((flippedBy[check] >> bit & 1U) != 0) {
                const TProbeBits mask = probe.MaskOfBlockBit(kCheckBits + bit);
                isWhole = isWhole && mask != 0;
                sum |= mask;
            }
        }
        if (isWhole) {
            probe.sums[probe.sumCount++] = sum;
        }
    }
}

void AddCharacters(SProbe& probe) {
    for (int character = 0; character < kShortestFoundText; ++character) {
        TProbeBits bits = 0;
        for (int bit = 0; bit < kBitsPerCode; ++bit) {
            bits |= probe.MaskOfBlockBit(kCheckBits + character * kBitsPerCode + bit);
        }
        if (std::popcount(bits) == kBitsPerCode) {
            probe.characters[probe.characterCount++] = bits;
        }
    }
}

template <std::size_t Count>
SProbe MakeProbe(const int (&words)[Count]) {
    static_assert(Count <= kMostWords);
    SProbe probe{};
    std::copy(words, words + Count, probe.words);
    probe.wordCount = Count;
    AddCells(probe);
    AddSums(probe);
    AddCharacters(probe);
    return probe;
}

const SProbe& ProbeOf(EBxProbe probe) {
    static const SProbe kNarrow = MakeProbe(kNarrowWords);
    static const SProbe kWide = MakeProbe(kWideWords);
    return probe == EBxProbe::Narrow ? kNarrow : kWide;
}

TProbeBits ReadBits(const int* cells, const SProbe& probe) {
    static const CBxBCH157 kCoder = BX_MakeCoder();
    CBxBCH157 coder = kCoder;
    TProbeBits bits = 0;
    int shift = 0;
    for (int i = 0; i < probe.wordCount; ++i) {
        for (int bit = 0; bit < kWordBits; ++bit) {
            coder.recd[bit] = cells[puiBitChangeInv[probe.words[i] * kWordBits + bit]];
        }
        coder.GetDataFromBCHCode();
        for (const int dataBit : coder.data) {
            bits |= static_cast<TProbeBits>(dataBit) << shift++;
        }
    }
    return bits;
}

}  // namespace

const SBxCellChoice& BX_ProbeCells(EBxProbe probe) {
    return ProbeOf(probe).cells;
}

bool BX_ProbeRefuses(const int* cells, EBxProbe probe) {
    const SProbe& looked = ProbeOf(probe);
    const TProbeBits bits = ReadBits(cells, looked);
    return std::any_of(looked.sums, looked.sums + looked.sumCount,
                       [bits](TProbeBits sum) { return std::popcount(bits & sum) % 2 != 0; }) ||
           std::any_of(looked.characters, looked.characters + looked.characterCount,
                       [bits](TProbeBits character) { return (bits & character) == 0; });
}
