// How well texts and cells agree, and what that proves.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>

#include "kernels.h"
#include "sign_block.h"
#include "sign_code.h"
#include "soft_decoder.h"

namespace {

constexpr int kFarthestDisplacement = 12;  // cells
constexpr int kFewestCompared = 48;        // pairs of cells
constexpr int kMostRepetitions = 4;        // of a character in a row,
constexpr int kMostHyphens = 3;            // of the one that screens and pages decode to
constexpr double kRegularityOfNoise = 0.7;

// The cells as 1, -1 and 0 for those that say nothing, with as many zeros behind each row as cells are displaced at
// most: the sum over all pairs that lie so far apart is then one product of rows, and none of two ends of a row.
class CSignedCells {
public:
    // Of the signs, or of their sizes: then the sums are the numbers of pairs.
    CSignedCells(const float* soft, bool withSigns) {
        for (int cell = 0; cell < kCellCount; ++cell) {
            const float value = soft[cell];
            const int sign = value < 0.0f && withSigns ? -1 : value != 0.0f ? 1 : 0;
            m_Cells[kFarthestDisplacement + cell / kGridSide * kPitch + cell % kGridSide] =
                static_cast<std::int16_t>(sign);
        }
    }
    // sums[i]: cells `down` rows further, from kFarthestDisplacement columns to the left to as many to the right.
    void SumPairs(int* sums, int down) const {
        const std::int16_t* cells = m_Cells + kFarthestDisplacement;
        BX_Kernels().DotProducts(sums, cells, static_cast<std::size_t>((kGridSide - down) * kPitch),
                                 cells + down * kPitch - kFarthestDisplacement, 1, kAcross);
    }
    static constexpr int kAcross = 2 * kFarthestDisplacement + 1;

private:
    static constexpr int kPitch = kGridSide + kFarthestDisplacement;
    alignas(64) std::int16_t m_Cells[(kGridSide + 1) * kPitch + kFarthestDisplacement] = {};
};

}  // namespace

double BX_LengthOfSoft(const float* soft) {
    double squares = 0.0;
    for (int cell = 0; cell < kCellCount; ++cell) {
        squares += static_cast<double>(soft[cell]) * soft[cell];
    }
    return std::sqrt(squares);
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
    const double length = BX_LengthOfSoft(soft);
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
    const CSignedCells signs(soft, true);
    const CSignedCells sizes(soft, false);
    const bool allSpeak = std::none_of(soft, soft + kCellCount, [](float value) { return value == 0.0f; });
    double worst = 0.0;
    for (int down = 0; down <= kFarthestDisplacement; ++down) {
        int surplus[CSignedCells::kAcross];  // of pairs that say the same
        int pairs[CSignedCells::kAcross];
        signs.SumPairs(surplus, down);
        if (allSpeak) {
            for (int i = 0; i < CSignedCells::kAcross; ++i) {
                pairs[i] = (kGridSide - down) * (kGridSide - std::abs(i - kFarthestDisplacement));
            }
        } else {
            sizes.SumPairs(pairs, down);
        }
        for (int i = down == 0 ? kFarthestDisplacement + 1 : 0; i < CSignedCells::kAcross; ++i) {
            if (pairs[i] >= kFewestCompared) {
                worst = std::max(worst, std::abs(surplus[i]) / std::sqrt(static_cast<double>(pairs[i])));
            }
        }
    }
    return worst;
}

bool BX_RepeatsItself(const char* text) {
    int run = 0;
    for (const char* character = text; *character != 0; ++character) {
        run = character > text && *character == character[-1] ? run + 1 : 1;
        if (run > (*character == '-' ? kMostHyphens : kMostRepetitions)) {
            return true;
        }
    }
    return false;
}

bool BX_IsTooRegular(const float* soft, const char* text) {
    const double regularity = BX_Regularity(soft);
    if (regularity <= kMostRegularity) {
        return false;
    }
    int cells[kCellCount];
    float ofText[kCellCount];
    BX_EncodeSign(cells, text);
    for (int cell = 0; cell < kCellCount; ++cell) {
        ofText[cell] = soft[cell] == 0.0f ? 0.0f : cells[cell] == 0 ? 1.0f : -1.0f;
    }
    return regularity > BX_Regularity(ofText) + kRegularityOfNoise;
}
