#include "cell_map.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "box_mean.h"

namespace {

// Boxes and crosses of boxes instead of ellipses, half sides in cells.
constexpr double kHalfOfCell = 0.33;
constexpr double kLongHalfOfCross = 0.36;
constexpr double kShortHalfOfCross = 0.23;
constexpr double kHalfOfGround = 0.5;
constexpr double kHalfOfUnrest = 0.5;
constexpr float kShareOfGround = 1.8f;  // what of a box of ground is not the cell's, inverted
constexpr float kMostContrast = 4.0f;   // tones; more comes from the picture, not from a sign
constexpr float kMostUnrest = 100.0f;   // tones squared
constexpr float kLeastUnrest = 0.1f;
constexpr float kUnrestOfSign = 1.2f;
constexpr float kAlignedVariance = 2.6f;  // of the contrasts of a sign's cells
constexpr float kElsewhereVariance = 0.5f;
constexpr float kMostWorth = 1.5f;  // of a contrast; one cell is not to speak for a grid
constexpr float kWeightOfComb = 0.35f;
constexpr double kLargestCosine = 1.1;
constexpr double kLargestContrast = 16.0;  // in natural logarithms
constexpr int kReachOfPlace = 1;           // pixels by which a centre may be off
constexpr float kPi = 3.14159265f;
constexpr double kRadiansOfTone = 2.0 * 3.141592653589793 / (kPeriod / 2);

int HalfSide(double cell, double share) {
    return std::max(1, static_cast<int>(std::lround(cell * share - 0.5)));
}

// Adds so much of the sum over a box.
bool AddBox(CBxHeapArray<float>& sums, CBxHeapArray<float>& scratch, const CBxPatternPlane& planes, int reachX,
            int reachY, float share) {
    if (!BX_BoxMean(scratch.Data(), planes.Pattern(), planes.Width(), planes.Height(), reachX, reachY,
                    CBxPatternPlane::kLargest)) {
        return false;
    }
    const float factor = share * static_cast<float>((2 * reachX + 1) * (2 * reachY + 1));
    for (std::size_t i = 0; i < sums.Size(); ++i) {
        sums[i] += factor * scratch[i];
    }
    return true;
}

// The mean of the pattern over a cross of two boxes, which is nearly the ellipse of a cell.
bool MeanOfCross(CBxHeapArray<float>& mean, CBxHeapArray<float>& scratch, const CBxPatternPlane& planes,
                 double cellWidth, double cellHeight) {
    const int longX = HalfSide(cellWidth, kLongHalfOfCross);
    const int longY = HalfSide(cellHeight, kLongHalfOfCross);
    const int shortX = HalfSide(cellWidth, kShortHalfOfCross);
    const int shortY = HalfSide(cellHeight, kShortHalfOfCross);
    const auto area = [](int x, int y) { return (2 * x + 1) * (2 * y + 1); };
    const float share = 1.0f / static_cast<float>(area(longX, shortY) + area(shortX, longY) - area(shortX, shortY));
    std::fill(mean.Data(), mean.Data() + mean.Size(), 0.0f);
    return AddBox(mean, scratch, planes, longX, shortY, share) && AddBox(mean, scratch, planes, shortX, longY, share) &&
           AddBox(mean, scratch, planes, shortX, shortY, -share);
}

// Minus the cosine of any angle from 0 up to some hundreds, to two thousandths, without a call: the loops over it run
// on several pixels at a time.
float MinusCosine(float angle) {
    const float turns = angle * (0.5f / kPi);
    const float rest = turns - static_cast<float>(static_cast<int>(turns)) - 0.5f;  // of a turn, -0.5 .. 0.5
    const float square = rest * rest * (4.0f * kPi * kPi);
    const float tail = 1.0f / 720.0f - square * (1.0f / 40320.0f - square / 3628800.0f);
    return 1.0f - square * (0.5f - square * (1.0f / 24.0f - square * tail));
}

// The logarithm of a quotient between a fifth and 1, to some thousandths; also without a call.
float LogOfQuotient(float numerator, float denominator) {
    const float z = (numerator - denominator) / (numerator + denominator);
    const float square = z * z;
    return 2.0f * z * (1.0f + square * (1.0f / 3.0f + square * (1.0f / 5.0f + square / 7.0f)));
}

}  // namespace

SBxCellPlaces::SBxCellPlaces(double first, double last, int size) : inside(0) {
    for (int cell = 0; cell < kGridSide; ++cell) {
        const double centre = first + (cell + 0.5) * (last - first) / kGridSide;
        const bool isInside = centre >= 0.0 && centre < size;
        places[cell] = isInside ? static_cast<int>(centre) : size;
        inside += isInside ? 1 : 0;
    }
}

bool CBxCellMap::MakeRoom() {
    const std::size_t count = static_cast<std::size_t>(m_iWidth) * m_iHeight;
    for (CBxHeapArray<float>* plane : {&m_Worth, &m_Contrast, &m_Scratch[0], &m_Scratch[1]}) {
        if (plane->Size() != count && !plane->Allocate(count)) {
            return false;
        }
    }
    return true;
}

// The logarithm of how much likelier a contrast is for a sign's cell than for another place. The unrest is what the
// contrasts around have, squared and averaged, less what a sign adds to it. What the places around are worth is taken
// off: a cell stands on a grid, and between two cells there is none.
bool CBxCellMap::Make(const CBxPatternPlane& planes, double cellWidth, double cellHeight) {
    m_iWidth = planes.Width();
    m_iHeight = planes.Height();
    m_dCellWidth = cellWidth;
    m_dCellHeight = cellHeight;
    const float* pattern = planes.Pattern();

    CBxHeapArray<float>& cell = m_Scratch[0];
    CBxHeapArray<float>& ground = m_Scratch[1];
    if (!MakeRoom() || !MeanOfCross(cell, ground, planes, cellWidth, cellHeight) ||
        !BX_BoxMean(ground.Data(), pattern, m_iWidth, m_iHeight, HalfSide(cellWidth, kHalfOfGround),
                    HalfSide(cellHeight, kHalfOfGround), CBxPatternPlane::kLargest)) {
        return false;
    }
    for (std::size_t i = 0; i < m_Worth.Size(); ++i) {
        const float contrast = kShareOfGround * (cell[i] - ground[i]);
        cell[i] = std::min(contrast * contrast, kMostUnrest);
    }
    if (!BX_BoxMean(ground.Data(), cell.Data(), m_iWidth, m_iHeight, HalfSide(cellWidth, kHalfOfUnrest),
                    HalfSide(cellHeight, kHalfOfUnrest), kMostUnrest)) {
        return false;
    }
    for (std::size_t i = 0; i < m_Worth.Size(); ++i) {
        const float unrest = std::max(kLeastUnrest, ground[i] - kUnrestOfSign);
        const float aligned = kAlignedVariance + unrest;
        const float elsewhere = kElsewhereVariance + unrest;
        const float square = std::min(cell[i], kMostContrast * kMostContrast);
        m_Contrast[i] =
            0.5f * (LogOfQuotient(elsewhere, aligned) + square * (aligned - elsewhere) / (aligned * elsewhere));
    }
    if (!BX_BoxMean(ground.Data(), m_Contrast.Data(), m_iWidth, m_iHeight, HalfSide(cellWidth, kHalfOfGround),
                    HalfSide(cellHeight, kHalfOfGround), kLargestContrast)) {
        return false;
    }
    for (std::size_t i = 0; i < m_Worth.Size(); ++i) {
        m_Worth[i] = m_Contrast[i] = std::clamp(m_Contrast[i] - ground[i], -kMostWorth, kMostWorth);
    }
    return true;
}

// 1 for a mean on a line of the comb, -1 halfway, averaged over where the centre may really be: restless ground, where
// neighbouring places have unlike means, averages to nothing. What places around have is taken off, for calm ground
// that was not signed.
bool CBxCellMap::SetComb(const CBxPatternPlane& planes, const SBxTone& tone) {
    CBxHeapArray<float>& means = m_Scratch[0];
    CBxHeapArray<float>& around = m_Scratch[1];
    if (!BX_BoxMean(means.Data(), planes.Blue(), m_iWidth, m_iHeight, HalfSide(m_dCellWidth, kHalfOfCell),
                    HalfSide(m_dCellHeight, kHalfOfCell), CBxPatternPlane::kLargest)) {
        return false;
    }
    // Whole periods keep the angles positive.
    const auto perTone = static_cast<float>(kRadiansOfTone / tone.gain);
    const auto first = static_cast<float>(kPeriod * std::ceil(std::fabs(tone.offset)) - tone.offset / tone.gain);
    for (std::size_t i = 0; i < m_Worth.Size(); ++i) {
        means[i] = MinusCosine(means[i] * perTone + first * static_cast<float>(kRadiansOfTone));
    }
    if (!BX_BoxMean(around.Data(), means.Data(), m_iWidth, m_iHeight, kReachOfPlace, kReachOfPlace, kLargestCosine)) {
        return false;
    }
    for (std::size_t i = 0; i < m_Worth.Size(); ++i) {
        m_Worth[i] = m_Contrast[i] + kWeightOfComb * around[i];
    }
    if (!BX_BoxMean(around.Data(), means.Data(), m_iWidth, m_iHeight, HalfSide(m_dCellWidth, kHalfOfGround),
                    HalfSide(m_dCellHeight, kHalfOfGround), kLargestCosine)) {
        return false;
    }
    for (std::size_t i = 0; i < m_Worth.Size(); ++i) {
        m_Worth[i] -= kWeightOfComb * around[i];
    }
    return true;
}

// Four rows at a time: the sums are written less often.
void CBxCellMap::SumRows(float* sums, const SBxCellPlaces& rows, int from, int to) const {
    std::fill(sums + from, sums + to, 0.0f);
    sums[m_iWidth] = 0.0f;
    const float* inside[kGridSide];
    int count = 0;
    for (const int row : rows.places) {
        if (row < m_iHeight) {
            inside[count++] = m_Worth.Data() + static_cast<std::ptrdiff_t>(row) * m_iWidth;
        }
    }
    int i = 0;
    for (; i + 4 <= count; i += 4) {
        const float* const a = inside[i];
        const float* const b = inside[i + 1];
        const float* const c = inside[i + 2];
        const float* const d = inside[i + 3];
        for (int x = from; x < to; ++x) {
            sums[x] += (a[x] + b[x]) + (c[x] + d[x]);
        }
    }
    for (; i < count; ++i) {
        for (int x = from; x < to; ++x) {
            sums[x] += inside[i][x];
        }
    }
}

float CBxCellMap::Worth(const CBxRect<double>& frame) const {
    const SBxCellPlaces rows(frame.top, frame.bottom, m_iHeight);
    const SBxCellPlaces columns(frame.left, frame.right, m_iWidth);
    float sum = 0.0f;
    for (const int row : rows.places) {
        const float* worth = m_Worth.Data() + static_cast<std::ptrdiff_t>(row) * m_iWidth;
        for (const int column : columns.places) {
            sum += row < m_iHeight && column < m_iWidth ? worth[column] : 0.0f;
        }
    }
    return sum;
}
