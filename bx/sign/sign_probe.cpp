#include "sign_probe.h"

#include <algorithm>
#include <bit>
#include <cstdint>

#include "bch157.h"
#include "interleaving.h"
#include "sign_format.h"
#include "sign_op.h"

namespace {

// Of all sets of four words, the one that leaves least work: its cells stand in few groups of four of a row of cells,
// and in photographs hardly a carrier passes it.
constexpr int kWords[] = {4, 5, 11, 12};
constexpr int kWordBits = 15;
constexpr int kDataBits = 7;
constexpr int kCheckBits = kCheckCodes * kBitsPerCode;
constexpr int kTextBits = kTextCodes * kBitsPerCode;

// Bits of the block that the words hold: bit 7 i + b is bit b of the i-th word.
using TProbeBits = std::uint32_t;

// No bit when the words do not hold that bit of the block.
TProbeBits MaskOfBlockBit(int bit) {
    const auto* word = std::find(std::begin(kWords), std::end(kWords), bit / kDataBits);
    return word == std::end(kWords) ? 0U : TProbeBits{1} << ((word - kWords) * kDataBits + bit % kDataBits);
}

struct SProbe {
    SBxCellChoice cells;
    TProbeBits sums[kCheckBits];  // bits that sum to 0 in every sign
    int sumCount;
    TProbeBits characters[kShortestFoundText];  // bits that are not all 0 in a text that is long enough
    int characterCount;
};

void AddCells(SProbe& probe) {
    bool isChosen[kCellCount] = {};
    for (const int word : kWords) {
        for (int bit = 0; bit < kWordBits; ++bit) {
            isChosen[puiBitChangeInv[word * kWordBits + bit]] = true;
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
        TProbeBits sum = MaskOfBlockBit(check);
        bool isWhole = sum != 0;
        for (int bit = 0; bit < kTextBits; ++bit) {
            if ((flippedBy[check] >> bit & 1U) != 0) {
                const TProbeBits mask = MaskOfBlockBit(kCheckBits + bit);
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
            bits |= MaskOfBlockBit(kCheckBits + character * kBitsPerCode + bit);
        }
        if (std::popcount(bits) == kBitsPerCode) {
            probe.characters[probe.characterCount++] = bits;
        }
    }
}

const SProbe& Probe() {
    static const SProbe kProbe = [] {
        SProbe probe{};
        AddCells(probe);
        AddSums(probe);
        AddCharacters(probe);
        return probe;
    }();
    return kProbe;
}

TProbeBits ReadBits(const int* cells) {
    static const CBxBCH157 kCoder = BX_MakeCoder();
    CBxBCH157 coder = kCoder;
    TProbeBits bits = 0;
    int shift = 0;
    for (const int word : kWords) {
        for (int bit = 0; bit < kWordBits; ++bit) {
            coder.recd[bit] = cells[puiBitChangeInv[word * kWordBits + bit]];
        }
        coder.GetDataFromBCHCode();
        for (const int dataBit : coder.data) {
            bits |= static_cast<TProbeBits>(dataBit) << shift++;
        }
    }
    return bits;
}

}  // namespace

const SBxCellChoice& BX_ProbeCells() {
    return Probe().cells;
}

bool BX_ProbeRefuses(const int* cells) {
    const SProbe& probe = Probe();
    const TProbeBits bits = ReadBits(cells);
    return std::any_of(probe.sums, probe.sums + probe.sumCount,
                       [bits](TProbeBits sum) { return std::popcount(bits & sum) % 2 != 0; }) ||
           std::any_of(probe.characters, probe.characters + probe.characterCount,
                       [bits](TProbeBits character) { return (bits & character) == 0; });
}
