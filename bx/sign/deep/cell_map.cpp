#include "cell_map.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "box_sums.h"

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
constexpr float kWorthless = -1e30f;
constexpr auto kRadiansOfTone = static_cast<float>(2.0 * 3.141592653589793 / (kPeriod / 2));

SBxReach ReachOf(double cellWidth, double cellHeight, double shareX, double shareY) {
    const auto halfSide = [](double cell, double share) {
        return std::max(1, static_cast<int>(std::lround(cell * share - 0.5)));
    };
    return {halfSide(cellWidth, shareX), halfSide(cellHeight, shareY)};
}

SBxReach ReachOf(double cellWidth, double cellHeight, double share) {
    return ReachOf(cellWidth, cellHeight, share, share);
}

// Whole rows of samples of a plane become sums as they are needed.
void AddRowsFor(CBxBoxSums& sums, const float* plane, int width, int y, int reach) {
    while (sums.Rows() < sums.RowsFor(y, reach)) {
        sums.AddRow(plane + static_cast<std::ptrdiff_t>(sums.Rows()) * width);
    }
}

// Makes the worth of cells by their contrast, in one walk down the plane: each row is first the squared contrasts, then
// what they say as soon as the unrest around is known, then that less what the places around say.
//
//      y              worth
//      .. + ground    what the contrasts say
//      .. + unrest    contrasts squared
//      .. + ground    sums of the pattern
class CContrastRows {
public:
    CContrastRows(float* worth, const CBxPatternPlane& planes, double cellWidth, double cellHeight)
        : m_pWorth(worth),
          m_Planes(planes),
          m_Wide(ReachOf(cellWidth, cellHeight, kLongHalfOfCross, kShortHalfOfCross)),
          m_High(ReachOf(cellWidth, cellHeight, kShortHalfOfCross, kLongHalfOfCross)),
          m_Ground(ReachOf(cellWidth, cellHeight, kHalfOfGround)),
          m_Unrest(ReachOf(cellWidth, cellHeight, kHalfOfUnrest)) {}

    bool Make() {
        const int width = m_Planes.Width();
        const int height = m_Planes.Height();
        if (!m_Pattern.Prepare(width, height, m_Ground, CBxPatternPlane::kLargest) ||
            !m_Squares.Prepare(width, height, m_Unrest, kMostUnrest) ||
            !m_Evidence.Prepare(width, height, m_Ground, kLargestContrast) ||
            !m_SharesOfCross.Prepare(width, height, m_Pattern.Scale(), m_Wide, m_High) ||
            !m_SharesOfGround.Prepare(width, height, m_Pattern.Scale(), m_Ground) ||
            !m_SharesOfUnrest.Prepare(width, height, m_Squares.Scale(), m_Unrest) ||
            !m_SharesAround.Prepare(width, height, m_Evidence.Scale(), m_Ground)) {
            return false;
        }
        for (int y = 0; y < height; ++y) {
            while (m_Evidence.Rows() < m_Evidence.RowsFor(y, m_Ground.y)) {
                AddEvidence(m_Evidence.Rows());
            }
            BX_Kernels().TakeOffMeans(RowOf(y), m_Evidence.Boxes(y, m_Ground), m_SharesAround.OfRow(y), kMostWorth,
                                      Count());
        }
        return true;
    }

private:
    float* RowOf(int y) { return m_pWorth + static_cast<std::ptrdiff_t>(y) * m_Planes.Width(); }
    std::size_t Count() const { return static_cast<std::size_t>(m_Planes.Width()); }

    void AddSquares(int y) {
        AddRowsFor(m_Pattern, m_Planes.Pattern(), m_Planes.Width(), y, m_Ground.y);
        const SBxReach middle{m_High.x, m_Wide.y};
        const SBxCellBoxes cells{m_Pattern.Boxes(y, m_Wide),   m_Pattern.Boxes(y, m_High), m_Pattern.Boxes(y, middle),
                                 m_Pattern.Boxes(y, m_Ground), m_SharesOfCross.OfRow(y),   m_SharesOfGround.OfRow(y)};
        BX_Kernels().ContrastsOfCells(RowOf(y), cells, kShareOfGround, kMostUnrest, Count());
        m_Squares.AddRow(RowOf(y));
    }

    void AddEvidence(int y) {
        constexpr SBxCellOdds kOdds{kMostContrast * kMostContrast, kLeastUnrest, kUnrestOfSign, kAlignedVariance,
                                    kElsewhereVariance};
        while (m_Squares.Rows() < m_Squares.RowsFor(y, m_Unrest.y)) {
            AddSquares(m_Squares.Rows());
        }
        BX_Kernels().EvidenceOfCells(RowOf(y), m_Squares.Boxes(y, m_Unrest), m_SharesOfUnrest.OfRow(y), kOdds, Count());
        m_Evidence.AddRow(RowOf(y));
    }

    float* m_pWorth;
    const CBxPatternPlane& m_Planes;
    const SBxReach m_Wide;
    const SBxReach m_High;
    const SBxReach m_Ground;
    const SBxReach m_Unrest;
    CBxBoxSums m_Pattern;
    CBxBoxSums m_Squares;
    CBxBoxSums m_Evidence;
    CBxBoxShares m_SharesOfCross;
    CBxBoxShares m_SharesOfGround;
    CBxBoxShares m_SharesOfUnrest;
    CBxBoxShares m_SharesAround;
};

}  // namespace

SBxCellPlaces::SBxCellPlaces(double first, double last, int size) : inside(0) {
    for (int cell = 0; cell < kGridSide; ++cell) {
        const double centre = first + (cell + 0.5) * (last - first) / kGridSide;
        const bool isInside = centre >= 0.0 && centre < size;
        places[cell] = isInside ? static_cast<int>(centre) : size;
        inside += isInside ? 1 : 0;
    }
}

// The logarithm of how much likelier a contrast is for a sign's cell than for another place. The unrest is what the
// contrasts around have, squared and averaged, less what a sign adds to it. What the places around are worth is taken
// off: a cell stands on a grid, and between two cells there is none.
bool CBxCellMap::Make(const CBxPatternPlane& planes, double cellWidth, double cellHeight) {
    m_iWidth = planes.Width();
    m_iHeight = planes.Height();
    m_dCellWidth = cellWidth;
    m_dCellHeight = cellHeight;
    const std::size_t count = static_cast<std::size_t>(m_iWidth) * m_iHeight;
    return (m_Worth.Size() == count || m_Worth.Allocate(count)) &&
           CContrastRows(m_Worth.Data(), planes, cellWidth, cellHeight).Make();
}

// 1 for a mean on a line of the comb, -1 halfway, averaged over where the centre may really be: restless ground, where
// neighbouring places have unlike means, averages to nothing. What places around have is taken off, for calm ground
// that was not signed.
bool CBxCellMap::AddComb(const CBxPatternPlane& planes) {
    const SBxReach cell = ReachOf(m_dCellWidth, m_dCellHeight, kHalfOfCell);
    const SBxReach ground = ReachOf(m_dCellWidth, m_dCellHeight, kHalfOfGround);
    constexpr SBxReach kPlace{kReachOfPlace, kReachOfPlace};
    CBxBoxSums blue;
    CBxBoxSums cosines;
    CBxBoxShares sharesOfCell;
    CBxBoxShares sharesOfPlace;
    CBxBoxShares sharesOfGround;
    CBxHeapArray<float> row;
    if (!blue.Prepare(m_iWidth, m_iHeight, cell, CBxPatternPlane::kLargest) ||
        !cosines.Prepare(m_iWidth, m_iHeight, ground, kLargestCosine) ||
        !sharesOfCell.Prepare(m_iWidth, m_iHeight, blue.Scale(), cell) ||
        !sharesOfPlace.Prepare(m_iWidth, m_iHeight, cosines.Scale(), kPlace) ||
        !sharesOfGround.Prepare(m_iWidth, m_iHeight, cosines.Scale(), ground) ||
        !row.Allocate(static_cast<std::size_t>(m_iWidth))) {
        return false;
    }
    for (int y = 0; y < m_iHeight; ++y) {
        while (cosines.Rows() < cosines.RowsFor(y, ground.y)) {
            const int next = cosines.Rows();
            AddRowsFor(blue, planes.Blue(), m_iWidth, next, cell.y);
            BX_Kernels().CosinesOfBoxes(row.Data(), blue.Boxes(next, cell), sharesOfCell.OfRow(next), kRadiansOfTone,
                                        row.Size());
            cosines.AddRow(row.Data());
        }
        const SBxBoxes place = cosines.Boxes(y, kPlace);
        const SBxCellBoxes cells{
            place, place, place, cosines.Boxes(y, ground), sharesOfPlace.OfRow(y), sharesOfGround.OfRow(y)};
        BX_Kernels().AddContrasts(m_Worth.Data() + static_cast<std::ptrdiff_t>(y) * m_iWidth, cells, kWeightOfComb,
                                  row.Size());
    }
    return true;
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

bool CBxCellChoices::Prepare(int width) {
    m_iWidth = width;
    if (!m_Sums.Allocate(static_cast<std::size_t>(width) * kTogether) ||
        !m_SideBySide.Allocate((static_cast<std::size_t>(width) + 1) * kTogether)) {
        return false;
    }
    std::fill_n(&m_SideBySide[static_cast<std::size_t>(width) * kTogether], kTogether, 0.0f);
    return true;
}

void CBxCellChoices::SumRows(const CBxCellMap& map, const SBxCellPlaces* rows, int count, int from, int to) {
    const float* sums[kTogether];
    const auto columns = static_cast<std::size_t>(std::max(0, to - from));
    for (int choice = 0; choice < kTogether; ++choice) {
        // Places that are left over repeat the first choice.
        float* const ofChoice = m_Sums.Data() + static_cast<std::ptrdiff_t>(choice < count ? choice : 0) * m_iWidth;
        sums[choice] = ofChoice;
        if (choice < count) {
            const float* inside[kGridSide];
            int insideCount = 0;
            for (const int row : rows[choice].places) {
                if (row < map.Height()) {
                    inside[insideCount++] = map.Values() + static_cast<std::ptrdiff_t>(row) * m_iWidth + from;
                }
            }
            BX_Kernels().SumRows(ofChoice, inside, insideCount, columns);
        }
    }
    BX_Kernels().LaySideBySide(m_SideBySide.Data() + static_cast<std::ptrdiff_t>(from) * kTogether, sums, columns);
}

void CBxCellChoices::FindBest(SBest& best, const SBxCellPlaces* columns, std::size_t count) const {
    static_assert(sizeof(SBxCellPlaces) % sizeof(int) == 0);
    std::fill_n(best.worths, kTogether, kWorthless);
    std::fill_n(best.choices, kTogether, -1);
    if (count > 0) {
        BX_Kernels().BestColumns(best.worths, best.choices, m_SideBySide.Data(), columns->places,
                                 sizeof(SBxCellPlaces) / sizeof(int), static_cast<int>(count));
    }
}
