#include "sign_block.h"

#include <algorithm>
#include <cstring>

#include "bch157.h"
#include "interleaving.h"
#include "sign_format.h"
#include "sign_op.h"

namespace {

constexpr int kTextBits = kTextCodes * kBitsPerCode;    // 60
constexpr int kCheckBits = kCheckCodes * kBitsPerCode;  // 48
constexpr int kStreamBits = kCodeWords * 7;             // 112: 108 block bits and 4 zeros

// Bit `bit` of a run of 6-bit codes, the least significant bit of each first.
int BitOfCodes(const int* codes, int bit) {
    return (codes[bit / kBitsPerCode] >> (bit % kBitsPerCode)) & 1;
}

// The 8 check codes of 10 text codes: each text bit is added to three check bits. A triple that names one check bit
// twice leaves it unchanged.
void CheckCodes(int* checkCodes, const int* textCodes) {
    int checkBits[kCheckBits] = {};
    for (int bit = 0; bit < kTextBits; ++bit) {
        for (const int position : CBxSignOp::hashpole[bit]) {
            checkBits[position] ^= BitOfCodes(textCodes, bit);
        }
    }
    for (int code = 0; code < kCheckCodes; ++code) {
        checkCodes[code] = 0;
        for (int bit = 0; bit < kBitsPerCode; ++bit) {
            checkCodes[code] |= checkBits[code * kBitsPerCode + bit] << bit;
        }
    }
}

}  // namespace

void BX_EncodeSign(int* cells, const char* text) {
    int codes[kTextCodes] = {};
    for (int position = 0; position < kTextCodes && text[position] != 0; ++position) {
        char character = text[position];
        codes[position] = CBxSignOp::MapCharTo6Bit(character);  // NOLINT(bugprone-signed-char-misuse): 0 to 63
    }
    BX_EncodeTextCodes(cells, codes);
}

void BX_EncodeTextCodes(int* cells, const int* textCodes) {
    CBxSignOp::GenerateHashPole();
    int codes[kBlockCodes];
    std::copy(textCodes, textCodes + kTextCodes, codes + kCheckCodes);
    CheckCodes(codes, textCodes);

    CBxBCH157 coder = BX_MakeCoder();
    int frame[kFrameBits] = {};
    for (int word = 0; word < kCodeWords; ++word) {
        for (int i = 0; i < coder.k; ++i) {
            const int bit = word * coder.k + i;
            coder.data[i] = bit < kBlockCodes * kBitsPerCode ? BitOfCodes(codes, bit) : 0;
        }
        coder.GetBCHCodeFromData();
        std::copy(coder.recd, coder.recd + coder.length, frame + word * coder.length);
    }
    std::fill(cells, cells + kCellCount, 0);
    for (int cell = 0; cell < kFrameBits; ++cell) {
        cells[cell] = frame[puiBitChange[cell]];
    }
}

SBxReadBlock BX_DecodeSign(const int* cells) {
    CBxSignOp::GenerateHashPole();
    SBxReadBlock read{};
    static const CBxBCH157 kCoder = BX_MakeCoder();
    CBxBCH157 coder = kCoder;
    int stream[kStreamBits];
    for (int word = 0; word < kCodeWords; ++word) {
        for (int i = 0; i < coder.length; ++i) {
            coder.recd[i] = cells[puiBitChangeInv[word * coder.length + i]];
        }
        read.m_uiCorrectedBits += static_cast<unsigned int>(coder.GetDataFromBCHCode());
        std::copy(coder.data, coder.data + coder.k, stream + word * coder.k);
    }
    int codes[kBlockCodes] = {};
    for (int bit = 0; bit < kBlockCodes * kBitsPerCode; ++bit) {
        codes[bit / kBitsPerCode] |= stream[bit] << (bit % kBitsPerCode);
    }
    for (int position = 0; position < kBlockCodes; ++position) {
        char code = static_cast<char>(codes[position]);
        read.m_szCharacters[position] = CBxSignOp::Map6BitToChar(code);
    }
    int checkCodes[kCheckCodes];
    CheckCodes(checkCodes, codes + kCheckCodes);
    read.m_bAccepted = std::equal(checkCodes, checkCodes + kCheckCodes, codes) &&
                       std::strlen(read.m_szCharacters + kCheckCodes) >= static_cast<std::size_t>(kShortestFoundText);
    return read;
}
