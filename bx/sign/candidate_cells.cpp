#include "candidate_cells.h"

#include <algorithm>
#include <cmath>

#include "cell_grid.h"
#include "ellipse.h"
#include "kernels.h"

namespace {

// The sum of the samples in front of a place in thirds of a pixel, on one line of a row with these prefix sums.
double SumOfThirds(const double* prefix, int thirds) {
    const int pixel = thirds / 3;
    return 3.0 * prefix[pixel] + (thirds - 3 * pixel) * (prefix[pixel + 1] - prefix[pixel]);
}

// A line with this much less than nothing under the root misses the ellipse, whatever the rounding.
constexpr double kSurelyOutside = 1e-9;
// Below this half width a line may pass between the samples.
constexpr double kSmallestReach = 0.5;  // thirds of a pixel

// The columns of a row of `width` pixels that an ellipse holds: from `first` up to `end`.
struct SExtent {
    int first;
    int end;
};

SExtent ExtentOnRow(const SBxEllipse& ellipse, int y, int width) {
    if (width <= 0) {
        return {0, 0};
    }
    // Whatever the rounding, the closer of two pixels to the centre is held if the other is.
    int middle = std::clamp(static_cast<int>(ellipse.centre.x), 0, width - 1);
    if (middle + 1 < width && !ellipse.Holds(middle, y)) {
        ++middle;
    }
    if (!ellipse.Holds(middle, y)) {
        return {0, 0};
    }
    const double height = (y - ellipse.centre.y) / ellipse.b;
    const double reach = std::fabs(ellipse.a) * std::sqrt(std::max(0.0, 1.0 - height * height));
    int first = std::clamp(static_cast<int>(ellipse.centre.x - reach), 0, middle);
    while (!ellipse.Holds(first, y)) {
        ++first;
    }
    while (first > 0 && ellipse.Holds(first - 1, y)) {
        --first;
    }
    int end = std::clamp(static_cast<int>(ellipse.centre.x + reach) + 1, middle + 1, width);
    while (!ellipse.Holds(end - 1, y)) {
        --end;
    }
    while (end < width && ellipse.Holds(end, y)) {
        ++end;
    }
    return {first, end};
}

}  // namespace

SBxStampRow BX_StampRow(double cellWidth, double cellHeight, int y) {
    const int width = static_cast<int>(std::ceil(cellWidth));
    const CBxPoint<double> centre{cellWidth / 2, cellHeight / 2};
    const SBxEllipse ellipse = BX_EllipseOfCell(centre, cellWidth, cellHeight);
    const SExtent outer = ExtentOnRow({centre, ellipse.a + kRimHalfWidth, ellipse.b + kRimHalfWidth}, y, width);
    const SExtent inner = ExtentOnRow({centre, ellipse.a - kRimHalfWidth, ellipse.b - kRimHalfWidth}, y, width);
    return inner.first < inner.end ? SBxStampRow{outer.first, inner.first, inner.end, outer.end}
                                   : SBxStampRow{outer.first, outer.end, outer.end, outer.end};
}

void SBxCandidateCells::Place(const CBxRect<double>& candidate, const CBxSize<int>& stamp, const SBxStampRow* rows,
                              const CBxSize<int>& plane, const SBxCellChoice& cells) {
    const SBxCellGrid grid(candidate);
    frame = grid.m_Frame;
    a = kEllipseShare * grid.m_dCellWidth;
    b = kEllipseShare * grid.m_dCellHeight;
    stampRows = rows;
    choice = &cells;
    std::fill(sums, sums + kCellCount, 0.0);
    std::fill(weights, weights + kCellCount, 0.0);
    const int frameWidth = frame.Width();
    const int frameHeight = frame.Height();
    if (frame.IsEmpty() || frame.left < 0 || frame.top < 0 || frame.right > plane.width ||
        frame.bottom > plane.height) {
        frame = {0, 0, 0, 0};
        return;
    }
    for (int i = 0; i < kGridSide; ++i) {
        const int left = grid.StampOfCell(i).x;
        const int nextLeft = i + 1 < kGridSide ? grid.StampOfCell(i + 1).x : frameWidth;
        top[i] = grid.StampOfCell(i * kGridSide).y;
        const int nextTop = i + 1 < kGridSide ? grid.StampOfCell((i + 1) * kGridSide).y : frameHeight;
        leftThirds[i] = 3.0 * left;
        visibleThirds[i] = 3.0 * std::max(0, std::min({stamp.width, nextLeft - left, frameWidth - left}));
        visibleHeight[i] = std::min({stamp.height, nextTop - top[i], frameHeight - top[i]});
        centreX[i] = grid.CentreOfCell(i).x;
        centreY[i] = grid.CentreOfCell(i * kGridSide).y;
        centreThirds[i] = 3.0 * centreX[i] - 0.5;
    }
    EnterCellRow(0);
}

void SBxCandidateCells::EnterCellRow(int newCellRow) {
    cellRow = newCellRow;
    for (int place = 0; place < kGridSide; ++place) {
        const int column = choice->columns[cellRow][place];
        chosenLefts[place] = leftThirds[column];
        chosenVisible[place] = visibleThirds[column];
        chosenCentres[place] = centreThirds[column];
    }
}

void SBxCandidateCells::AddRow(const double* prefix, int row) {
    const int rowInFrame = row - frame.top;
    while (cellRow + 1 < kGridSide && top[cellRow + 1] <= rowInFrame) {
        EnterCellRow(cellRow + 1);
    }
    const int stampRow = rowInFrame - top[cellRow];
    if (stampRow < 0 || stampRow >= visibleHeight[cellRow] || choice->counts[cellRow] == 0) {
        return;
    }
    const SBxStampRow& stamp = stampRows[stampRow];
    if (stamp.rimLeft >= stamp.rimRight) {
        return;
    }
    AddLines(prefix, stamp, SBxEllipseRow::kLines * rowInFrame);
}

// Adds the three sample lines of a row of pixels, from firstLine on: the inner pixels whole, the rim as far as it lies
// in the ellipse.
void SBxCandidateCells::AddLines(const double* prefix, const SBxStampRow& stamp, int firstLine) {
    const int cells = choice->counts[cellRow];
    SBxEllipseRow ellipses{prefix,
                           cells,
                           chosenCentres,
                           chosenLefts,
                           chosenVisible,
                           {},
                           3.0 * stamp.rimLeft,
                           3.0 * stamp.innerLeft,
                           3.0 * stamp.innerRight,
                           3.0 * stamp.rimRight};
    unsigned char undecided[SBxEllipseRow::kLines][kGridSide] = {};
    bool any = false;
    for (int line = 0; line < SBxEllipseRow::kLines; ++line) {
        const double height = ((firstLine + line + 0.5) / 3.0 - centreY[cellRow]) / b;
        const double square = 1.0 - height * height;
        const double reach = square > 0.0 ? 3.0 * a * std::sqrt(square) : 0.0;
        if (reach >= kSmallestReach) {
            ellipses.reach[line] = reach;
        } else if (square >= -kSurelyOutside || stamp.innerLeft < stamp.innerRight) {
            std::fill_n(undecided[line], kGridSide, static_cast<unsigned char>(1));
            any = true;
        }
    }
    const int firstCell = cellRow * kGridSide;
    any |= BX_Kernels().AddEllipseRow(ellipses, sums + firstCell, weights + firstCell, undecided[0]);
    for (int i = 0; any && i < SBxEllipseRow::kLines * cells; ++i) {
        if (undecided[i / cells][i % cells] != 0) {
            AddByFormula(prefix, stamp, firstLine + i / cells, i % cells);
        }
    }
}

// The same for one of the chosen cells, sample by sample with the ellipse's own formula.
void SBxCandidateCells::AddByFormula(const double* prefix, const SBxStampRow& stamp, int line, int place) {
    const int column = choice->columns[cellRow][place];
    const SBxEllipse ellipse{{centreX[column], centreY[cellRow]}, a, b};
    const int left = static_cast<int>(leftThirds[column]);
    const int visible = static_cast<int>(visibleThirds[column]);
    const int innerLeft = left + std::min(3 * stamp.innerLeft, visible);
    const int innerRight = left + std::min(3 * stamp.innerRight, visible);
    const int cell = cellRow * kGridSide + place;
    for (int third = left + std::min(3 * stamp.rimLeft, visible); third < left + std::min(3 * stamp.rimRight, visible);
         ++third) {
        if ((third >= innerLeft && third < innerRight) || ellipse.HoldsSample(third, line)) {
            sums[cell] += SumOfThirds(prefix, third + 1) - SumOfThirds(prefix, third);
            weights[cell] += 1.0;
        }
    }
}
