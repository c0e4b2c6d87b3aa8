// Reads cells that say how sure they are, numbers of any kind among them.
//
// The first byte tells what follows: 256 numbers of 4 bytes (even), or the ten codes of a text (odd) and then a byte
// for each of its cells, how sure it is and whether it is turned over.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

#include "fuzz_target.h"
#include "plain_sign_code.h"
#include "soft_decoder.h"

namespace {

using CSoftCells = std::array<float, 256>;

CSoftCells AnyNumbers(CFuzzBytes& bytes) {
    CSoftCells soft;
    for (float& value : soft) {
        std::uint32_t bits = 0;
        for (int shift = 0; shift < 32; shift += 8) {
            bits |= bytes.Byte() << shift;
        }
        std::memcpy(&value, &bits, sizeof(value));
    }
    return soft;
}

// A byte of 0 leaves a cell sure and right.
CSoftCells DoubtedText(CFuzzBytes& bytes) {
    CPlainCodes codes;
    for (int& code : codes) {
        code = static_cast<int>(bytes.Byte() % 64);
    }
    const CPlainCells cells = PlainCellsOfCodes(codes);
    CSoftCells soft;
    for (std::size_t cell = 0; cell < cells.size(); ++cell) {
        const auto right = static_cast<float>(127 - std::min(254, static_cast<int>(bytes.Byte()))) / 127.0f;
        soft[cell] = cells[cell] ? -right : right;
    }
    return soft;
}

CPlainCells CellsOfText(const char* text) {
    CPlainCodes codes = {};
    for (std::size_t position = 0; text[position] != 0; ++position) {
        Require(position < codes.size());
        while (PlainCharacterOfCode(codes[position]) != text[position]) {
            Require(++codes[position] < 64);
        }
    }
    return PlainCellsOfCodes(codes);
}

// The agreement is what it is said to be, as far as soft values in 2000 steps allow.
void RequireHonest(const SBxSoftReading& reading, const CSoftCells& soft) {
    Require(std::isfinite(reading.m_dAgreement) && std::isfinite(reading.m_dGap));
    const std::size_t length = std::strlen(reading.m_szText);
    Require(length >= 6 && length <= 10);
    const CPlainCells cells = CellsOfText(reading.m_szText);
    double product = 0.0;
    double squares = 0.0;
    for (std::size_t cell = 0; cell < cells.size(); ++cell) {
        const double value = soft[cell];
        product += cells[cell] ? -value : value;
        squares += value * value;
    }
    const double size = std::sqrt(squares);
    Require(std::fabs(reading.m_dAgreement - product / size) <= 256.0 / 2000.0 / size + 1e-6);
    Require(std::fabs(BX_AgreementOfText(soft.data(), reading.m_szText) - product / size) < 1e-4);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* input, std::size_t inputSize) {
    CFuzzBytes bytes(input, inputSize);
    const bool isText = bytes.Byte() % 2 != 0;
    const CSoftCells soft = isText ? DoubtedText(bytes) : AnyNumbers(bytes);
    const SBxSoftReading reading = BX_DecodeSoft(soft.data(), 0.0);
    if (reading.m_szText[0] != 0) {
        RequireHonest(reading, soft);
        BX_IsTooRegular(soft.data(), reading.m_szText);
    }
    return 0;
}
