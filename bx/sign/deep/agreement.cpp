// How well texts and cells agree, and what that proves.
#include <algorithm>
#include <cmath>

#include "sign_block.h"
#include "sign_code.h"
#include "soft_decoder.h"

namespace {

constexpr int kFarthestDisplacement = 12;  // cells
constexpr int kFewestCompared = 48;        // pairs of cells
constexpr int kMostRepetitions = 4;        // of a character in a row
constexpr double kMostRegularity = 5.5;    // of cells that a sign may be read from
constexpr double kRegularityOfNoise = 0.7;

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

bool BX_RepeatsItself(const char* text) {
    int run = 0;
    for (const char* character = text; *character != 0; ++character) {
        run = character > text && *character == character[-1] ? run + 1 : 1;
        if (run == kMostRepetitions + 1) {
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
