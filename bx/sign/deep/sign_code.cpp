#include "sign_code.h"

#include <algorithm>

#include "bch157.h"
#include "interleaving.h"
#include "sign_block.h"

SBxSignCode::SBxSignCode() {
    MakeWords();
    MakeGenerator();
    MakeEquations();
    for (int i = 0; i < kCodeWords * kWordBits; ++i) {
        cells[i] = puiBitChangeInv[i % kCodeWords * kWordBits + i / kCodeWords];
    }
}

void SBxSignCode::MakeWords() {
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

void SBxSignCode::MakeGenerator() {
    for (int bit = 0; bit < kTextBits; ++bit) {
        int codes[kTextCodes] = {};
        codes[bit / kBitsPerCode] = 1 << (bit % kBitsPerCode);
        int codedCells[kCellCount];
        BX_EncodeTextCodes(codedCells, codes);
        SBxCodeRow& row = generator[bit];
        for (int cell = 0; cell < kCellCount; ++cell) {
            row.cells[cell / 64] |= static_cast<std::uint64_t>(codedCells[cell]) << (cell % 64);
        }
        for (int data = 0; data < kBlockBits; ++data) {
            const int frameBit = data / kWordData * kWordBits + kWordParity + data % kWordData;
            row.data[data / 64] |= static_cast<std::uint64_t>(codedCells[puiBitChangeInv[frameBit]]) << (data % 64);
        }
    }
}

void SBxSignCode::MakeEquations() {
    int count = 0;
    for (int check = 0; check < kCheckBits; ++check) {
        equationStart[check] = count;
        members[count++] = {PlaceOfDataBit(check), 0.0f};
        for (int bit = 0; bit < kTextBits; ++bit) {
            if (generator[bit].HasData(check)) {
                members[count++] = {PlaceOfDataBit(kCheckBits + bit), 0.0f};
            }
        }
    }
    equationStart[kCheckBits] = count;
}

const SBxSignCode& BX_GetSignCode() {
    static const SBxSignCode kCode;
    return kCode;
}
