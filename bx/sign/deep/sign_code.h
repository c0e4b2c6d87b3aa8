// The linear code that the 256 cells of a carrier are, for decoders.
#pragma once

#include <array>
#include <cstdint>

#include "sign_format.h"

inline constexpr int kTextBits = kTextCodes * kBitsPerCode;    // 60
inline constexpr int kCheckBits = kCheckCodes * kBitsPerCode;  // 48
inline constexpr int kBlockBits = kCheckBits + kTextBits;      // 108
inline constexpr int kWordBits = 15;
inline constexpr int kWordData = 7;
inline constexpr int kWordParity = kWordBits - kWordData;   // stand in front of the data
inline constexpr int kWordTexts = 1 << kWordData;           // 128
inline constexpr int kStreamBits = kCodeWords * kWordData;  // 112
inline constexpr int kCellBlocks = kCellCount / 64;

// A code word of the whole sign: its data bits and its cells, one bit each.
struct SBxCodeRow {
    std::uint64_t data[2] = {};
    std::uint64_t cells[kCellBlocks] = {};

    void Add(const SBxCodeRow& other) {
        data[0] ^= other.data[0];
        data[1] ^= other.data[1];
        for (int i = 0; i < kCellBlocks; ++i) {
            cells[i] ^= other.cells[i];
        }
    }
    // The same if `wanted`, without a branch: whether it is, is as good as chance.
    void AddIf(const SBxCodeRow& other, bool wanted) {
        const std::uint64_t mask = -static_cast<std::uint64_t>(wanted);
        data[0] ^= other.data[0] & mask;
        data[1] ^= other.data[1] & mask;
        for (int i = 0; i < kCellBlocks; ++i) {
            cells[i] ^= other.cells[i] & mask;
        }
    }
    bool HasData(int bit) const { return ((data[bit / 64] >> (bit % 64)) & 1) != 0; }
    bool HasCell(int cell) const { return ((cells[cell / 64] >> (cell % 64)) & 1) != 0; }
};

// One bit of a check equation; the message is what the equation last told it.
struct SBxEquationMember {
    int place;  // of the data bit
    float message;
};

// Everything about the code that does not depend on the cells. Decoders work on all words side by side: first comes one
// bit of each word, then the next bit of each.
struct SBxSignCode {
    int placeOfWordBit[kWordBits];                // the data bits that a bit of a word is the sum of
    std::array<SBxCodeRow, kTextBits> generator;  // of each text bit alone
    int cells[kCodeWords * kWordBits];            // side by side
    int equationStart[kCheckBits + 1];            // in `members`
    std::array<SBxEquationMember, 4 * kBlockBits> members;

    SBxSignCode();

    // Where a data bit stands, 0 .. kStreamBits - 1, when the words lie side by side.
    static constexpr int PlaceOfDataBit(int bit) { return bit % kWordData * kCodeWords + bit / kWordData; }

private:
    void MakeWords();
    void MakeGenerator();
    // Check bit j plus the text bits that are added to it is 0.
    void MakeEquations();
};

// Made when it is first asked for.
const SBxSignCode& BX_GetSignCode();
