#include "turned_map.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

#include "kernels.h"

namespace {

constexpr double kPi = 3.141592653589793;
constexpr double kViewOfCell = 6.0;      // pixels of the view that the smallest cells are wide and high
constexpr double kCellOfMap = 9.8;       // pixels of the map; boxes of whole pixels suit such cells
constexpr double kShareOfMiddle = 0.92;  // of the middle size, that they stand for: smaller ones tell cells better
constexpr double kSmallestGrid = kGridSide * kViewOfCell;
constexpr double kSizeStep = 1.6;    // pixels of the view, of the sides of grids
constexpr int kStepOfTurned = 2;     // pixels of the view, from row to row: there are many angles
constexpr float kSteps = 30.0f;      // of the view's numbers, for a worth of 1; no cell is worth 4
constexpr double kNear = 0.35;       // cells
constexpr double kFirstMove = 0.12;  // cells
constexpr double kLastMove = 0.02;

CBxPoint<double> TurnedBack(const CBxPoint<double>& point, double degrees) {
    const double angle = degrees / 180.0 * kPi;
    return {point.x * std::cos(angle) + point.y * std::sin(angle),
            point.y * std::cos(angle) - point.x * std::sin(angle)};
}

// What a picture of this size covers when it is turned back.
CBxRect<double> FrameTurnedBack(double width, double height, double degrees) {
    CBxRect<double> frame{1e9, 1e9, -1e9, -1e9};
    for (const int corner : {0, 1, 2, 3}) {
        const CBxPoint<double> point = TurnedBack({(corner & 1) * width, (corner >> 1) * height}, degrees);
        frame = {std::min(frame.left, point.x), std::min(frame.top, point.y), std::max(frame.right, point.x),
                 std::max(frame.bottom, point.y)};
    }
    return frame;
}

int StepOfRows(double degrees) {
    return degrees == 0.0 ? 1 : kStepOfTurned;
}

// The places of all sizes on an axis of so many pixels of the view.
double PlacesOfSizes(int room, int sizes, int step) {
    double places = 0.0;
    for (int i = 0; i < sizes && kSmallestGrid + i * kSizeStep <= room; ++i) {
        places += static_cast<int>((room - kSmallestGrid - i * kSizeStep) / step) + 1;
    }
    return places;
}

bool IsNear(const SBxGridPose& a, const SBxGridPose& b) {
    const auto square = [](double x, double y) { return x * x + y * y; };
    const double near = kNear * kNear * std::min(square(a.along.x, a.along.y), square(a.down.x, a.down.y));
    for (const int corner : {0, 1, 2, 3}) {
        const CBxPoint<double> p = a.PointAt((corner & 1) * kGridSide, (corner >> 1) * kGridSide);
        const CBxPoint<double> q = b.PointAt((corner & 1) * kGridSide, (corner >> 1) * kGridSide);
        if (square(p.x - q.x, p.y - q.y) > near) {
            return false;
        }
    }
    return true;
}

}  // namespace

bool CBxBestGrids::Prepare(std::size_t most, float bar) {
    m_uiMost = most;
    m_uiCount = 0;
    m_fBar = bar;
    return m_Grids.Allocate(3 * most);
}

void CBxBestGrids::Offer(const SBxTurnedGrid& grid) {
    if (!(grid.worth > m_fBar)) {
        return;
    }
    if (m_uiCount == m_Grids.Size()) {
        Settle();
    }
    m_Grids[m_uiCount++] = grid;
}

void CBxBestGrids::Settle() {
    std::sort(m_Grids.Data(), m_Grids.Data() + m_uiCount, [](const SBxTurnedGrid& a, const SBxTurnedGrid& b) {
        return a.worth != b.worth                   ? a.worth > b.worth
               : a.degrees != b.degrees             ? a.degrees < b.degrees
               : a.pose.origin.x != b.pose.origin.x ? a.pose.origin.x < b.pose.origin.x
               : a.pose.origin.y != b.pose.origin.y ? a.pose.origin.y < b.pose.origin.y
               : a.pose.along.x != b.pose.along.x   ? a.pose.along.x < b.pose.along.x
                                                    : a.pose.down.y < b.pose.down.y;
    });
    std::size_t kept = 0;
    for (std::size_t i = 0; i < m_uiCount && kept < m_uiMost; ++i) {
        const SBxGridPose& pose = m_Grids[i].pose;
        if (std::none_of(m_Grids.Data(), m_Grids.Data() + kept,
                         [&pose](const SBxTurnedGrid& better) { return IsNear(better.pose, pose); })) {
            m_Grids[kept++] = m_Grids[i];
        }
    }
    m_uiCount = kept;
    if (kept == m_uiMost) {
        m_fBar = m_Grids[kept - 1].worth;
    }
}

double CBxTurnedMap::ScaleOf(double cell) {
    return kCellOfMap / (kShareOfMiddle * cell * std::sqrt(kSizes));
}

bool CBxTurnedMap::Make(const CBxPatternPlane& columns, double cellWidth, double cellHeight) {
    m_dCellWidth = cellWidth;
    m_dCellHeight = cellHeight;
    m_dScaleX = ScaleOf(cellWidth);
    m_dScaleY = ScaleOf(cellHeight);
    CBxPatternPlane planes;
    return planes.PrepareRows(columns, m_dScaleY / columns.Scale()) && m_Map.Make(planes, kCellOfMap, kCellOfMap) &&
           m_Map.AddComb(planes);
}

// Between the pixels, (0, 0) being the middle of the first one; 0 outside.
float CBxTurnedMap::At(double x, double y) const {
    const int width = m_Map.Width();
    if (!(x >= 0.0 && y >= 0.0 && x < width - 1 && y < m_Map.Height() - 1)) {
        return 0.0f;
    }
    const int column = static_cast<int>(x);
    const int row = static_cast<int>(y);
    const auto dx = static_cast<float>(x - column);
    const auto dy = static_cast<float>(y - row);
    const float* upper = m_Map.Values() + static_cast<std::ptrdiff_t>(row) * width + column;
    const float* lower = upper + width;
    const float above = upper[0] + dx * (upper[1] - upper[0]);
    const float below = lower[0] + dx * (lower[1] - lower[0]);
    return above + dy * (below - above);
}

float CBxTurnedMap::Worth(const SBxGridPose& pose) const {
    float sum = 0.0f;
    for (int cell = 0; cell < kCellCount; ++cell) {
        const CBxPoint<double> centre = pose.CentreOfCell(cell);
        sum += At(centre.x * m_dScaleX - 0.5, centre.y * m_dScaleY - 0.5);
    }
    return sum;
}

float CBxTurnedMap::Follow(SBxGridPose& pose) const {
    float best = Worth(pose);
    for (double step = kFirstMove; step > kLastMove; step *= 0.5) {
        for (int move = 0; move < 2 * kGridMoves; ++move) {
            const SBxGridPose moved = BX_MovedPose(pose, move / 2, move % 2 == 0 ? step : -step);
            const float worth = Worth(moved);
            if (worth > best) {
                best = worth;
                pose = moved;
            }
        }
    }
    return best;
}

double CBxTurnedSweep::Grids(double width, double height, double cellWidth, double cellHeight) {
    const double middle = kGridSide * kViewOfCell * std::sqrt(CBxTurnedMap::kSizes);
    const double columns = std::max(1.0, width * kViewOfCell / cellWidth - middle);
    const double rows = std::max(1.0, height * kViewOfCell / cellHeight - middle);
    return columns * rows * kHeights * kWidths;
}

double CBxTurnedSweep::GridsSwept(double width, double height, double cellWidth, double cellHeight, double degrees) {
    const CBxRect<double> frame = FrameTurnedBack(width, height, degrees);
    const auto columns = static_cast<int>(frame.Width() * kViewOfCell / cellWidth);
    const auto rows = static_cast<int>(frame.Height() * kViewOfCell / cellHeight);
    return PlacesOfSizes(columns, kWidths, 1) * PlacesOfSizes(rows, kHeights, StepOfRows(degrees));
}

bool CBxTurnedSweep::Prepare(const CBxTurnedMap& map, double degrees) {
    m_fDegrees = static_cast<float>(degrees);
    m_dScaleX = kViewOfCell / map.m_dCellWidth;
    m_dScaleY = kViewOfCell / map.m_dCellHeight;
    const CBxRect<double> frame =
        FrameTurnedBack(map.m_Map.Width() / map.m_dScaleX, map.m_Map.Height() / map.m_dScaleY, degrees);
    m_Origin = {frame.left, frame.top};
    m_iWidth = static_cast<int>(frame.Width() * m_dScaleX);
    m_iHeight = static_cast<int>(frame.Height() * m_dScaleY);
    if (!m_View.Allocate(static_cast<std::size_t>(m_iWidth) * m_iHeight) ||
        !m_Sums.AllocateZeroed(static_cast<std::size_t>(m_iWidth)) ||
        !m_Worths.AllocateZeroed(static_cast<std::size_t>(m_iWidth)) || !m_Fours.AllocateZeroed(m_View.Size()) ||
        !m_FoursOfRow.AllocateZeroed(static_cast<std::size_t>(m_iWidth))) {
        return false;
    }
    TurnBack(map);
    return true;
}

void CBxTurnedSweep::TurnBack(const CBxTurnedMap& map) {
    const double degrees = m_fDegrees;
    // From a pixel of the view to the next one, in pixels of the map.
    const CBxPoint<double> right = TurnedBack({1.0 / m_dScaleX, 0.0}, -degrees);
    const double stepX = right.x * map.m_dScaleX;
    const double stepY = right.y * map.m_dScaleY;
    for (int y = 0; y < m_iHeight; ++y) {
        const CBxPoint<double> start =
            TurnedBack({m_Origin.x + 0.5 / m_dScaleX, m_Origin.y + (y + 0.5) / m_dScaleY}, -degrees);
        const double mapX = start.x * map.m_dScaleX - 0.5;
        const double mapY = start.y * map.m_dScaleY - 0.5;
        std::int16_t* row = m_View.Data() + static_cast<std::ptrdiff_t>(y) * m_iWidth;
        BX_Kernels().SampleAlong(
            row, {map.m_Map.Values(), map.m_Map.Width(), map.m_Map.Height(), mapX, mapY, stepX, stepY, kSteps},
            static_cast<std::size_t>(m_iWidth));
    }
}

// Distances between neighbouring cells and between neighbouring pairs of them, in whole pixels, and where the fours of
// cells begin.
struct CBxTurnedSweep::SSpacing {
    int pair;
    int four;
    int starts[kFours];

    SSpacing() = default;
    explicit SSpacing(double size) {
        const double cell = size / kGridSide;
        pair = static_cast<int>(std::lround(cell));
        four = static_cast<int>(std::lround(2.0 * cell));
        for (int i = 0; i < kFours; ++i) {
            // The middle of the four lies where it should.
            starts[i] = static_cast<int>((4 * i + 2) * cell - 0.5 * (pair + four) + 0.5);
        }
    }
};

// Each pixel of the view becomes the sum of a four of cells that begins there and runs down.
void CBxTurnedSweep::SumFoursDown(const SSpacing& spacing) {
    const auto pair = static_cast<std::ptrdiff_t>(spacing.pair) * m_iWidth;
    const auto four = static_cast<std::ptrdiff_t>(spacing.four) * m_iWidth;
    const std::int16_t* const view = m_View.Data();
    BX_Kernels().SumFour(m_Fours.Data(), view, view + pair, view + four, view + four + pair,
                         m_View.Size() - static_cast<std::size_t>(pair + four));
}

void CBxTurnedSweep::SumRows(int top, const SSpacing& rows) {
    const std::int16_t* four[kFours];
    for (int i = 0; i < kFours; ++i) {
        four[i] = m_Fours.Data() + static_cast<std::ptrdiff_t>(top + rows.starts[i]) * m_iWidth;
    }
    BX_Kernels().SumFour(m_Sums.Data(), four[0], four[1], four[2], four[3], m_Sums.Size());
}

void CBxTurnedSweep::SumFoursAcross(const SSpacing& columns) {
    const std::int16_t* const sums = m_Sums.Data();
    const int behind = columns.pair + columns.four;
    BX_Kernels().SumFour(m_FoursOfRow.Data(), sums, sums + columns.pair, sums + columns.four, sums + behind,
                         m_Sums.Size() - static_cast<std::size_t>(behind));
}

// A width of grids.
struct CBxTurnedSweep::SWidth {
    double width;
    int count;  // of the places for such grids in a row
    SSpacing columns;
};

void CBxTurnedSweep::FindBest(CBxBestGrids& best, const SWidth& wide, int top, double height) {
    if (wide.count <= 0) {
        return;
    }
    const std::int16_t* four[kFours];
    for (int i = 0; i < kFours; ++i) {
        four[i] = m_FoursOfRow.Data() + wide.columns.starts[i];
    }
    const auto count = static_cast<std::size_t>(wide.count);
    const std::int16_t highest = BX_Kernels().LargestOfFour(four[0], four[1], four[2], four[3], count);
    const float worth = static_cast<float>(highest) / kSteps;
    if (worth > best.Bar()) {
        std::int16_t* const worths = m_Worths.Data();
        BX_Kernels().SumFour(worths, four[0], four[1], four[2], four[3], count);
        const auto x = static_cast<double>(std::find(worths, worths + count, highest) - worths);
        const double degrees = m_fDegrees;
        best.Offer({worth,
                    m_fDegrees,
                    {TurnedBack({m_Origin.x + x / m_dScaleX, m_Origin.y + top / m_dScaleY}, -degrees),
                     TurnedBack({wide.width / m_dScaleX / kGridSide, 0.0}, -degrees),
                     TurnedBack({0.0, height / m_dScaleY / kGridSide}, -degrees)}});
    }
}

unsigned long CBxTurnedSweep::SweepHeight(CBxBestGrids& best, int height) {
    const double high = kSmallestGrid + height * kSizeStep;
    if (high > m_iHeight || kSmallestGrid > m_iWidth) {
        return 0;
    }
    SWidth widths[kWidths];
    int widthCount = 0;
    unsigned long gridsOfRow = 0;
    for (; widthCount < kWidths && kSmallestGrid + widthCount * kSizeStep <= m_iWidth; ++widthCount) {
        const double wide = kSmallestGrid + widthCount * kSizeStep;
        widths[widthCount] = {wide, m_iWidth - static_cast<int>(std::ceil(wide)), SSpacing(wide)};
        gridsOfRow += static_cast<unsigned long>(m_iWidth - wide) + 1;
    }
    const SSpacing rows(high);
    SumFoursDown(rows);
    unsigned long grids = 0;
    const int step = StepOfRows(static_cast<double>(m_fDegrees));
    for (int top = 0; top + high <= m_iHeight; top += step) {
        SumRows(top, rows);
        for (int i = 0; i < widthCount; ++i) {
            const SSpacing& columns = widths[i].columns;
            if (i == 0 || columns.pair != widths[i - 1].columns.pair || columns.four != widths[i - 1].columns.four) {
                SumFoursAcross(columns);
            }
            FindBest(best, widths[i], top, high);
        }
        grids += gridsOfRow;
    }
    return grids;
}
