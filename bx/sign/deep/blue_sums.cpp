#include "blue_sums.h"

#include <sys/mman.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include "kernels.h"
#include "slices.h"

namespace {

constexpr double kPi = 3.141592653589793;
constexpr double kMostRows = 28.0;  // of an ellipse, before the next smaller plane is taken: more read no sign better
constexpr double kRowsOfSmallestAxis = 14.0;
constexpr double kMostRoughRows = 14.0;
constexpr double kMostSampledRows = 9.0;
constexpr double kSmallestReducedAxis = 5.0;  // pixels; thinner ellipses are not read from smaller planes
constexpr int kSmallestPlaneSide = 16;        // pixels; planes are not reduced further
constexpr double kSmallestEdge = 0.06;        // of an axis; a narrower edge counts as sharp
constexpr double kWidestEdge = 0.6;
constexpr double kLeastShare = 0.75;  // of a cell that must be seen

int CountNumbers(const float* means, int count) {
    return static_cast<int>(std::count_if(means, means + count, [](float mean) { return mean == mean; }));
}

}  // namespace

namespace {

// Calls make(row) for all rows.
template <typename Make>
void MakeRows(int rows, const CBxBlueSums::SWork& work, Make make) {
    constexpr std::size_t kSlice = 64;
    auto slice = [&](std::size_t begin, std::size_t end) {
        for (std::size_t row = begin; row < end; ++row) {
            make(static_cast<int>(row));
        }
        return work.stop == nullptr || !work.stop->Stopped();
    };
    BX_RunSlices(static_cast<std::size_t>(rows), kSlice, work.threads, slice);
}

// Rows of one grid lie on hundreds of pages; with large pages their addresses are found at once. A hint, no more.
void WishForLargePages(void* memory, std::size_t bytes) {
    constexpr std::uintptr_t kPage = std::uintptr_t{1} << 21;
    const auto start = (reinterpret_cast<std::uintptr_t>(memory) + kPage - 1) & ~(kPage - 1);
    const auto end = (reinterpret_cast<std::uintptr_t>(memory) + bytes) & ~(kPage - 1);
    if (start < end) {
        ::madvise(reinterpret_cast<void*>(start), end - start, MADV_HUGEPAGE);
    }
}

}  // namespace

namespace {

// A grid whose cells have other sides.
SBxGridPose Stretched(const SBxGridPose& pose, double along, double down) {
    return {pose.origin, {pose.along.x * along, pose.along.y * along}, {pose.down.x * down, pose.down.y * down}};
}

}  // namespace

// The ellipse of a cell, in pixels of a plane: with S = M M^T of the points { centre + M w, |w| <= 1 }, its top is
// sqrt(Syy), its shear Sxy / Syy and its reach sqrt(Sxx - Sxy^2 / Syy).
struct CBxBlueSums::SEllipseShape {
    double top;
    double shear;
    double reach;
    double smallerAxis;

    SEllipseShape Scaled(double factor) const { return {top * factor, shear, reach * factor, smallerAxis * factor}; }
};

bool CBxBlueSums::MakeRoom(SLevel& level, int width, int height) {
    level.width = width;
    level.height = height;
    level.pitch = width + 2;
    const std::size_t count = static_cast<std::size_t>(level.pitch) * height;
    if (level.sums.Size() == count) {
        return true;
    }
    if (!level.sums.Allocate(count)) {
        return false;
    }
    WishForLargePages(level.sums.Data(), count * sizeof(std::uint32_t));
    return true;
}

// `sample` gives the whole number at (x, y).
template <typename Sample>
bool CBxBlueSums::MakeFirstLevel(SLevel& level, int width, int height, Sample sample, const SWork& work) {
    if (width < 1 || height < 1 || !MakeRoom(level, width, height)) {
        return false;
    }
    MakeRows(height, work, [&](int y) {
        std::uint32_t* sums = level.sums.Data() + static_cast<std::ptrdiff_t>(y) * level.pitch;
        std::uint32_t sum = 0;
        for (int x = 0; x < width; ++x) {
            sums[x] = sum;
            sum += sample(x, y);
        }
        sums[width] = sums[width + 1] = sum;
    });
    return true;
}

// Two rows of two pixels become one pixel: a difference of sums of the finer plane.
bool CBxBlueSums::MakeLevel(int index, const SWork& work) {
    const SLevel& fine = m_Levels[index - 1];
    SLevel& level = m_Levels[index];
    if (!MakeRoom(level, fine.width / 2, fine.height / 2)) {
        return false;
    }
    MakeRows(level.height, work, [&](int y) {
        const std::uint32_t* upper = fine.sums.Data() + static_cast<std::ptrdiff_t>(2 * y) * fine.pitch;
        const std::uint32_t* lower = upper + fine.pitch;
        std::uint32_t* sums = level.sums.Data() + static_cast<std::ptrdiff_t>(y) * level.pitch;
        for (int x = 0; x <= level.width; ++x) {
            sums[x] = upper[2 * x] + lower[2 * x];
        }
        sums[level.width + 1] = sums[level.width];
    });
    return true;
}

bool CBxBlueSums::MakeFurtherLevels(const SWork& work) {
    while (m_iLevels < kMostLevels && m_Levels[m_iLevels - 1].width >= 2 * kSmallestPlaneSide &&
           m_Levels[m_iLevels - 1].height >= 2 * kSmallestPlaneSide) {
        if (!MakeLevel(m_iLevels, work)) {
            return false;
        }
        ++m_iLevels;
    }
    return true;
}

bool CBxBlueSums::Prepare(const SBxPicBuf& picture, const unsigned char* table, const SWork& work) {
    unsigned char unchanged[256];
    if (table == nullptr) {
        std::iota(unchanged, unchanged + 256, static_cast<unsigned char>(0));
        table = unchanged;
    }
    const int width = m_iWidth = picture.m_iWidth;
    const int height = m_iHeight = picture.m_iHeight;
    m_iFirstLevel = work.halved && width >= 2 * kSmallestPlaneSide && height >= 2 * kSmallestPlaneSide ? 1 : 0;
    m_iLevels = m_iFirstLevel + 1;
    const auto one = [&picture, table](int x, int y) -> std::uint32_t {
        return table[BX_PicRow<unsigned char>(picture, y)[3 * x]];
    };
    const auto four = [&one](int x, int y) -> std::uint32_t {
        return one(2 * x, 2 * y) + one(2 * x + 1, 2 * y) + one(2 * x, 2 * y + 1) + one(2 * x + 1, 2 * y + 1);
    };
    const bool hasFirst = m_iFirstLevel == 0 ? MakeFirstLevel(m_Levels[0], width, height, one, work)
                                             : MakeFirstLevel(m_Levels[1], width / 2, height / 2, four, work);
    return hasFirst && MakeFurtherLevels(work);
}

bool CBxBlueSums::Prepare(const std::uint16_t* plane, int width, int height) {
    m_iWidth = width;
    m_iHeight = height;
    m_iFirstLevel = 0;
    m_iLevels = 1;
    const auto sample = [plane, width](int x, int y) -> std::uint32_t {
        return plane[static_cast<std::ptrdiff_t>(y) * width + x];
    };
    return MakeFirstLevel(m_Levels[0], width, height, sample, SWork{}) && MakeFurtherLevels(SWork{});
}

// The means of one row of cells under one ellipse; NaN where too little of it is seen.
void CBxBlueSums::MeansOfRow(float* means, const SLevel& level, const SEllipseShape& shape, double scale,
                             const SBxGridPose& pose, int gridRow) {
    if (!(shape.top > 0.0) || !(shape.reach > 0.0)) {
        std::fill(means, means + kGridSide, std::numeric_limits<float>::quiet_NaN());
        return;
    }
    const CBxPoint<double> first = pose.PointAt(0.5, gridRow + 0.5);
    SBxEllipses cells;
    cells.sums = level.sums.Data();
    cells.width = level.width;
    cells.height = level.height;
    cells.pitch = level.pitch;
    cells.firstX = first.x * scale;
    cells.firstY = first.y * scale;
    cells.stepX = pose.along.x * scale;
    cells.stepY = pose.along.y * scale;
    cells.top = shape.top;
    cells.shear = static_cast<float>(shape.shear);
    cells.reach = static_cast<float>(shape.reach);
    float sums[kGridSide];
    float areas[kGridSide];
    BX_Kernels().SumEllipses(cells, sums, areas);
    const auto least = static_cast<float>(kLeastShare * kPi * shape.top * shape.reach);
    const auto toLevel = static_cast<float>(scale * scale);
    for (int column = 0; column < kGridSide; ++column) {
        means[column] =
            areas[column] >= least ? sums[column] / areas[column] * toLevel : std::numeric_limits<float>::quiet_NaN();
    }
}

// M M^T of the cells' ellipses, with semi-axes of `share` cells, in pixels of the picture.
CBxBlueSums::SEllipseShape CBxBlueSums::ShapeOf(const SBxGridPose& pose, double share) {
    const double ax = share * pose.along.x;
    const double ay = share * pose.along.y;
    const double bx = share * pose.down.x;
    const double by = share * pose.down.y;
    const double xx = ax * ax + bx * bx;
    const double xy = ax * ay + bx * by;
    const double yy = ay * ay + by * by;
    if (!(yy > 0.0)) {
        return {0.0, 0.0, 0.0, 0.0};
    }
    return {std::sqrt(yy), xy / yy, std::sqrt(std::max(0.0, xx - xy * xy / yy)),
            std::min(std::hypot(ax, ay), std::hypot(bx, by))};
}

int CBxBlueSums::ChooseLevel(double& scale, const SEllipseShape& shape, double mostRows) const {
    int index = m_iFirstLevel;
    scale = index == 0 ? 1.0 : 0.5;
    while (index + 1 < m_iLevels && 2.0 * shape.top * scale > mostRows &&
           shape.smallerAxis * scale > kSmallestReducedAxis * mostRows / kRowsOfSmallestAxis) {
        ++index;
        scale *= 0.5;
    }
    return index;
}

int CBxBlueSums::MeansOfShare(float* means, const SBxGridPose& pose, double share, double mostRows,
                              bool sampled) const {
    const SEllipseShape shape = ShapeOf(pose, share);
    double scale = 1.0;
    const SLevel& level = m_Levels[ChooseLevel(scale, shape, mostRows)];
    const int count = sampled ? kSampledCells : kCellCount;
    for (int first = 0; first < count; first += kGridSide) {
        const int row = sampled ? CellOfSample(first) / kGridSide : first / kGridSide;
        MeansOfRow(means + first, level, shape.Scaled(scale), scale, pose, row);
    }
    return CountNumbers(means, count);
}

int CBxBlueSums::RoughMeans(float* means, const SBxGridPose& pose) const {
    return MeansOfShare(means, pose, kEllipseShare, kMostRoughRows, false);
}

int CBxBlueSums::SampledMeans(float* means, const SBxGridPose& pose) const {
    return MeansOfShare(means, pose, kEllipseShare, kMostSampledRows, true);
}

int CBxBlueSums::Means(float* means, const SBxGridPose& pose, double blur) const {
    const double width = kEllipseShare * std::hypot(pose.along.x, pose.along.y);
    const double height = kEllipseShare * std::hypot(pose.down.x, pose.down.y);
    const double smaller = std::min(width, height);
    if (!(blur > kSmallestEdge * smaller && blur < kWidestEdge * smaller)) {
        return MeansOfShare(means, pose, kEllipseShare, kMostRows, false);
    }
    // The mean under a blurred ellipse lies between those under a larger and a smaller one, by their areas.
    const double x = blur / width;
    const double y = blur / height;
    const SEllipseShape large = ShapeOf(Stretched(pose, 1.0 + x, 1.0 + y), kEllipseShare);
    const SEllipseShape small = ShapeOf(Stretched(pose, 1.0 - x, 1.0 - y), kEllipseShare);
    const double areaOfLarge = (1.0 + x) * (1.0 + y);
    const double areaOfSmall = (1.0 - x) * (1.0 - y);
    const auto shareOfInner = static_cast<float>(areaOfSmall / (areaOfLarge + areaOfSmall));
    double scale = 1.0;
    const SLevel& level = m_Levels[ChooseLevel(scale, ShapeOf(pose, kEllipseShare), kMostRows)];
    for (int row = 0; row < kGridSide; ++row) {
        float* outer = means + row * kGridSide;
        float inner[kGridSide];
        MeansOfRow(outer, level, large.Scaled(scale), scale, pose, row);
        MeansOfRow(inner, level, small.Scaled(scale), scale, pose, row);
        for (int column = 0; column < kGridSide; ++column) {
            outer[column] += shareOfInner * (inner[column] - outer[column]);
        }
    }
    return CountNumbers(means, kCellCount);
}
