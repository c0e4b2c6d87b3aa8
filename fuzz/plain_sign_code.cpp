#include "plain_sign_code.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <vector>

#include "interleaving.h"

namespace {

constexpr int kTextBitCount = 60;
constexpr int kCheckBitCount = 48;
constexpr int kWords = 16;
constexpr int kBitsOfWord = 15;
constexpr int kDataOfWord = 7;
constexpr unsigned int kGenerator = 0x1D1;  // x^8 + x^7 + x^6 + x^4 + 1

using CTriple = std::array<int, 3>;

// The check bits that each text bit is added to: the triples i < j < k below 96, modulo 48, in ascending order, without
// those that hold every entry of an earlier one.
std::vector<CTriple> MakeTriples() {
    std::vector<CTriple> triples;
    for (int i = 0; i < 96; ++i) {
        for (int j = i + 1; j < 96; ++j) {
            for (int k = j + 1; k < 96 && triples.size() < kTextBitCount; ++k) {
                const CTriple triple = {i % 48, j % 48, k % 48};
                const bool holdsEarlier = std::any_of(triples.begin(), triples.end(), [&](const CTriple& earlier) {
                    return std::all_of(earlier.begin(), earlier.end(),
                                       [&](int entry) { return std::count(triple.begin(), triple.end(), entry) > 0; });
                });
                if (!holdsEarlier) {
                    triples.push_back(triple);
                }
            }
        }
    }
    return triples;
}

std::bitset<kCheckBitCount> CheckBitsOf(const CPlainCodes& codes) {
    static const std::vector<CTriple> kTriples = MakeTriples();
    std::bitset<kCheckBitCount> checkBits;
    for (int bit = 0; bit < kTextBitCount; ++bit) {
        if ((codes[bit / 6] >> (bit % 6) & 1) != 0) {
            for (const int place : kTriples[bit]) {
                checkBits.flip(place);
            }
        }
    }
    return checkBits;
}

// Data in the upper 7 bits, the remainder of the division by the generator in the lower 8.
unsigned int WordOfData(unsigned int data) {
    unsigned int remainder = data << 8;
    for (int bit = 14; bit >= 8; --bit) {
        if ((remainder >> bit & 1U) != 0) {
            remainder ^= kGenerator << (bit - 8);
        }
    }
    return data << 8 | remainder;
}

// The data of the word within two bits; of a word that has none, its own.
unsigned int MendedData(unsigned int word, unsigned int& correctedBits) {
    for (unsigned int data = 0; data < 1U << kDataOfWord; ++data) {
        const int distance = std::popcount(WordOfData(data) ^ word);
        if (distance <= 2) {
            correctedBits += static_cast<unsigned int>(distance);
            return data;
        }
    }
    return word >> 8;
}

}  // namespace

CPlainCells PlainCellsOfCodes(const CPlainCodes& codes) {
    const std::bitset<kCheckBitCount> checkBits = CheckBitsOf(codes);
    CPlainCells cells;
    for (int word = 0; word < kWords; ++word) {
        unsigned int data = 0;
        for (int i = 0; i < kDataOfWord; ++i) {
            const int bit = word * kDataOfWord + i;
            const int textBit = bit - kCheckBitCount;
            const bool isText = textBit >= 0 && textBit < kTextBitCount;
            const bool isSet = textBit < 0 ? checkBits[bit] : isText && (codes[textBit / 6] >> (textBit % 6) & 1) != 0;
            data |= static_cast<unsigned int>(isSet) << i;
        }
        const unsigned int encoded = WordOfData(data);
        for (int i = 0; i < kBitsOfWord; ++i) {
            cells[puiBitChangeInv[word * kBitsOfWord + i]] = (encoded >> i & 1U) != 0;
        }
    }
    return cells;
}

SPlainReading PlainReadingOfCells(const CPlainCells& cells) {
    SPlainReading reading;
    std::bitset<kWords * kDataOfWord> stream;
    for (int word = 0; word < kWords; ++word) {
        unsigned int read = 0;
        for (int i = 0; i < kBitsOfWord; ++i) {
            read |= static_cast<unsigned int>(cells[puiBitChangeInv[word * kBitsOfWord + i]]) << i;
        }
        const unsigned int data = MendedData(read, reading.correctedBits);
        for (int i = 0; i < kDataOfWord; ++i) {
            stream[word * kDataOfWord + i] = (data >> i & 1U) != 0;
        }
    }
    for (int bit = 0; bit < kTextBitCount; ++bit) {
        reading.codes[bit / 6] |= static_cast<int>(stream[kCheckBitCount + bit]) << (bit % 6);
    }
    const std::bitset<kCheckBitCount> checkBits = CheckBitsOf(reading.codes);
    reading.isAccepted = std::count(reading.codes.begin(), reading.codes.begin() + 6, 0) == 0;
    for (int bit = 0; bit < kCheckBitCount; ++bit) {
        reading.isAccepted = reading.isAccepted && stream[bit] == checkBits[bit];
    }
    return reading;
}

char PlainCharacterOfCode(int code) {
    constexpr char kCharacters[] = "\0abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-";
    return kCharacters[code];
}
