#include "candidate_cells.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "cell_grid.h"
#include "ellipse.h"

namespace {

// A bound that lies this close to a sample is decided by the ellipse's own formula.
constexpr double kNearSample = 1e-6;

// The sum of the samples in front of a place in thirds of a pixel, on one line of a row with these prefix sums.
double SumOfThirds(const double* prefix, int thirds) {
    const int pixel = thirds / 3;
    return 3.0 * prefix[pixel] + (thirds - 3 * pixel) * (prefix[pixel + 1] - prefix[pixel]);
}

// The samples inside the ellipse, by its formula: `around` is a sample next to its centre.
SBxSamples SamplesByFormula(const SBxEllipse& ellipse, int around, int line, int reach) {
    SBxSamples samples{around + reach, around - reach};
    for (int third = std::max(0, around - reach); third <= around + reach; ++third) {
        if (ellipse.HoldsSample(third, line)) {
            samples.begin = std::min(samples.begin, third);
            samples.end = third + 1;
        }
    }
    return samples;
}

bool NearWhole(double value) {
    return std::fabs(value - std::nearbyint(value)) < kNearSample;
}

}  // namespace

SBxStampRow BX_StampRow(const SBxPicBuf& stamp, int y) {
    const auto* row = BX_PicRow<std::uint16_t>(stamp, y);
    const auto firstFrom = [&](int label) {
        int x = 0;
        while (x < stamp.m_iWidth && row[x] < label) {
            ++x;
        }
        return x;
    };
    const auto endOf = [&](int label) {
        int x = stamp.m_iWidth;
        while (x > 0 && row[x - 1] < label) {
            --x;
        }
        return x;
    };
    const SBxStampRow result{firstFrom(1), firstFrom(2), endOf(2), endOf(1)};
    if (result.rimLeft >= result.rimRight) {
        return {0, 0, 0, 0};
    }
    return result.innerLeft < result.innerRight
               ? result
               : SBxStampRow{result.rimLeft, result.rimRight, result.rimRight, result.rimRight};
}

void SBxCandidateCells::Place(const CBxRect<double>& candidate, const CBxSize<int>& stamp, const SBxStampRow* rows,
                              const CBxSize<int>& plane) {
    const SBxCellGrid grid(candidate);
    frame = grid.m_Frame;
    a = kEllipseShare * grid.m_dCellWidth;
    b = kEllipseShare * grid.m_dCellHeight;
    stampSize = stamp;
    stampRows = rows;
    cellRow = 0;
    std::fill(sums, sums + kCellCount, 0.0);
    std::fill(weights, weights + kCellCount, std::int64_t{0});
    const int frameWidth = std::min(frame.right, plane.width) - frame.left;
    const int frameHeight = std::min(frame.bottom, plane.height) - frame.top;
    if (frameWidth <= 0 || frameHeight <= 0 || frame.left < 0 || frame.top < 0) {
        frame = {0, 0, 0, 0};
        return;
    }
    for (int i = 0; i < kGridSide; ++i) {
        left[i] = grid.StampOfCell(i).x;
        top[i] = grid.StampOfCell(i * kGridSide).y;
        centreX[i] = grid.CentreOfCell(i).x;
        centreY[i] = grid.CentreOfCell(i * kGridSide).y;
    }
    for (int i = 0; i < kGridSide; ++i) {
        const int nextLeft = i + 1 < kGridSide ? left[i + 1] : frameWidth;
        const int nextTop = i + 1 < kGridSide ? top[i + 1] : frameHeight;
        visibleWidth[i] = std::max(0, std::min({stamp.width, nextLeft - left[i], frameWidth - left[i]}));
        visibleHeight[i] = std::min({stamp.height, nextTop - top[i], frameHeight - top[i]});
    }
}

void SBxCandidateCells::AddRow(const double* prefix, int row) {
    const int rowInFrame = row - frame.top;
    while (cellRow + 1 < kGridSide && top[cellRow + 1] <= rowInFrame) {
        ++cellRow;
    }
    const int stampRow = rowInFrame - top[cellRow];
    if (stampRow < 0 || stampRow >= visibleHeight[cellRow]) {
        return;
    }
    const SBxStampRow& stamp = stampRows[stampRow];
    if (stamp.rimLeft >= stamp.rimRight) {
        return;
    }
    for (int line = 0; line < 3; ++line) {
        AddLine(prefix, stamp, 3 * rowInFrame + line);
    }
}

SBxSamples SBxCandidateCells::SamplesOnLine(int column, int line, double reachInThirds) const {
    // Sample s lies at (s + 1 / 2) thirds, so the first one behind a bound t is floor(t) + 1, t counted from 1 / 2.
    const double centre = 3.0 * centreX[column] - 0.5;
    const double begin = centre - reachInThirds;
    const double end = centre + reachInThirds;
    if (reachInThirds < 0.5 || NearWhole(begin) || NearWhole(end)) {
        const SBxEllipse ellipse{{centreX[column], centreY[cellRow]}, a, b};
        return SamplesByFormula(ellipse, static_cast<int>(centre), line, static_cast<int>(reachInThirds) + 3);
    }
    return {static_cast<int>(std::floor(begin)) + 1, static_cast<int>(std::ceil(end))};
}

// Adds one of the three sample lines of a row of cells: the inner pixels whole, the rim as far as it lies in the
// ellipse.
void SBxCandidateCells::AddLine(const double* prefix, const SBxStampRow& stamp, int line) {
    const double y = (line + 0.5) / 3.0;
    const double height = (y - centreY[cellRow]) / b;
    const double square = 1.0 - height * height;
    const double reachInThirds = square > 0.0 ? 3.0 * a * std::sqrt(square) : 0.0;
    for (int column = 0; column < kGridSide; ++column) {
        const int visible = visibleWidth[column];
        const int rimLeft = 3 * (left[column] + std::min(stamp.rimLeft, visible));
        const int rimRight = 3 * (left[column] + std::min(stamp.rimRight, visible));
        const int innerLeft = 3 * (left[column] + std::min(stamp.innerLeft, visible));
        const int innerRight = 3 * (left[column] + std::min(stamp.innerRight, visible));
        const SBxSamples inside = SamplesOnLine(column, line, reachInThirds);
        int begin = std::max(inside.begin, rimLeft);
        int end = std::min(inside.end, rimRight);
        const int cell = cellRow * kGridSide + column;
        if (innerLeft < innerRight) {
            if (begin >= end) {
                begin = innerLeft;
                end = innerRight;
            } else if (begin > innerRight || end < innerLeft) {
                sums[cell] += SumOfThirds(prefix, innerRight) - SumOfThirds(prefix, innerLeft);
                weights[cell] += innerRight - innerLeft;
            } else {
                begin = std::min(begin, innerLeft);
                end = std::max(end, innerRight);
            }
        }
        if (begin < end) {
            sums[cell] += SumOfThirds(prefix, end) - SumOfThirds(prefix, begin);
            weights[cell] += end - begin;
        }
    }
}
