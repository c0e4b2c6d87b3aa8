#include "blue_sums.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr double kMostRows = 26.0;       // of an ellipse, before the next smaller plane is taken
constexpr int kSmallestPlaneSide = 16;   // pixels; planes are not reduced further
constexpr double kSmallestEdge = 0.12;   // pixels of a plane; a narrower edge counts as sharp
constexpr float kLeastShare = 0.75f;     // of a cell that must be seen

}  // namespace

// The ellipse of a cell, in pixels of a plane. The rows of { centre + M w, |w| <= 1 } follow from S = M M^T: the row at
// height y is centred at shear * y and reaches reach * sqrt(1 - (y / top)^2) to either side.
struct CBxBlueSums::SEllipseShape {
    float top;
    float shear;
    float reach;
    float scale;    // of the whole shape, in pairs of shapes with a soft edge
    float toLevel;  // one sum to one mean
};

bool CBxBlueSums::MakeFirstLevel(const SBxPicBuf& picture) {
    SLevel& level = m_Levels[0];
    level.width = picture.m_iWidth;
    level.height = picture.m_iHeight;
    level.pitch = level.width + 2;
    if (!level.sums.Allocate(static_cast<std::size_t>(level.pitch) * level.height)) {
        return false;
    }
    for (int y = 0; y < level.height; ++y) {
        const auto* row = BX_PicRow<unsigned char>(picture, y);
        std::uint32_t* sums = level.sums.Data() + static_cast<std::ptrdiff_t>(y) * level.pitch;
        std::uint32_t sum = 0;
        for (int x = 0; x < level.width; ++x) {
            sums[x] = sum;
            sum += row[3 * x];
        }
        sums[level.width] = sums[level.width + 1] = sum;
    }
    return true;
}

// Two rows of two pixels become one pixel: a difference of sums of the finer plane.
bool CBxBlueSums::MakeLevel(int index) {
    const SLevel& fine = m_Levels[index - 1];
    SLevel& level = m_Levels[index];
    level.width = fine.width / 2;
    level.height = fine.height / 2;
    level.pitch = level.width + 2;
    if (!level.sums.Allocate(static_cast<std::size_t>(level.pitch) * level.height)) {
        return false;
    }
    for (int y = 0; y < level.height; ++y) {
        const std::uint32_t* upper = fine.sums.Data() + static_cast<std::ptrdiff_t>(2 * y) * fine.pitch;
        const std::uint32_t* lower = upper + fine.pitch;
        std::uint32_t* sums = level.sums.Data() + static_cast<std::ptrdiff_t>(y) * level.pitch;
        for (int x = 0; x <= level.width; ++x) {
            sums[x] = upper[2 * x] + lower[2 * x];
        }
        sums[level.width + 1] = sums[level.width];
    }
    return true;
}

bool CBxBlueSums::Prepare(const SBxPicBuf& picture) {
    m_iWidth = picture.m_iWidth;
    m_iHeight = picture.m_iHeight;
    m_iLevels = 0;
    if (m_iWidth < 1 || m_iHeight < 1 || !MakeFirstLevel(picture)) {
        return false;
    }
    m_iLevels = 1;
    while (m_iLevels < kMostLevels && m_Levels[m_iLevels - 1].width >= 2 * kSmallestPlaneSide &&
           m_Levels[m_iLevels - 1].height >= 2 * kSmallestPlaneSide) {
        if (!MakeLevel(m_iLevels)) {
            return false;
        }
        ++m_iLevels;
    }
    return true;
}

float CBxBlueSums::MeanOfEllipse(const SLevel& level, const SEllipseShape& shape, double centreX, double centreY) {
    const float top = shape.top * shape.scale;
    const float reach = shape.reach * shape.scale;
    const float inverseTop = 1.0f / top;
    const int wantedFirst = static_cast<int>(std::ceil(centreY - top - 0.5));
    const int wantedEnd = static_cast<int>(std::floor(centreY + top - 0.5)) + 1;
    const int first = std::max(0, wantedFirst);
    const int end = std::min(level.height, wantedEnd);
    const auto rightEdge = static_cast<float>(level.width);
    float area = 0.0f;
    float wanted = 0.0f;
    float sum = 0.0f;
    for (int y = first; y < end; ++y) {
        const auto height = static_cast<float>(y + 0.5 - centreY);
        const float ratio = height * inverseTop;
        const float square = std::max(0.0f, 1.0f - ratio * ratio);
        const float half = reach * std::sqrt(square);
        const float middle = static_cast<float>(centreX) + shape.shear * height;
        const float left = std::clamp(middle - half, 0.0f, rightEdge);
        const float right = std::clamp(middle + half, 0.0f, rightEdge);
        const std::uint32_t* sums = level.sums.Data() + static_cast<std::ptrdiff_t>(y) * level.pitch;
        const int leftPixel = static_cast<int>(left);
        const int rightPixel = static_cast<int>(right);
        const float whole = static_cast<float>(sums[rightPixel] - sums[leftPixel]);
        const float leftPart =
            (left - static_cast<float>(leftPixel)) * static_cast<float>(sums[leftPixel + 1] - sums[leftPixel]);
        const float rightPart =
            (right - static_cast<float>(rightPixel)) * static_cast<float>(sums[rightPixel + 1] - sums[rightPixel]);
        sum += whole + rightPart - leftPart;
        area += right - left;
        wanted += 2.0f * half;
    }
    // Rows beyond the picture are wanted too; what they would hold is about their share of the height.
    if (first > wantedFirst || end < wantedEnd) {
        wanted = 3.14159265f * top * reach;
    }
    return area >= kLeastShare * wanted && area > 0.0f ? sum / area * shape.toLevel
                                                       : std::numeric_limits<float>::quiet_NaN();
}

int CBxBlueSums::MeansOf(float* means, const int* cells, int count, const SBxGridPose& pose, double blur) const {
    // M M^T of the cell's ellipse in picture pixels.
    const double ax = kEllipseShare * pose.along.x;
    const double ay = kEllipseShare * pose.along.y;
    const double bx = kEllipseShare * pose.down.x;
    const double by = kEllipseShare * pose.down.y;
    const double xx = ax * ax + bx * bx;
    const double xy = ax * ay + bx * by;
    const double yy = ay * ay + by * by;
    int index = 0;
    double scale = 1.0;
    const double fullHeight = 2.0 * std::sqrt(yy);
    const double smallerAxis = std::min(std::hypot(ax, ay), std::hypot(bx, by));
    while (index + 1 < m_iLevels && fullHeight * scale > kMostRows && smallerAxis * scale > 10.0) {
        ++index;
        scale *= 0.5;
    }
    const SLevel& level = m_Levels[index];
    const double top = std::sqrt(yy) * scale;
    const double reach = std::sqrt(std::max(1e-12, xx - xy * xy / yy)) * scale;
    const auto toLevel = static_cast<float>(scale * scale);
    const double edge = blur * scale;
    const double radius = smallerAxis * scale;
    const bool isSoft = edge > kSmallestEdge && radius > 2.0 * edge;
    const auto grow = static_cast<float>(isSoft ? edge / radius : 0.0);
    SEllipseShape shape{static_cast<float>(top), static_cast<float>(xy / yy), static_cast<float>(reach), 1.0f, toLevel};
    int seen = 0;
    for (int i = 0; i < count; ++i) {
        const CBxPoint<double> centre = pose.CentreOfCell(cells[i]);
        const double x = centre.x * scale;
        const double y = centre.y * scale;
        if (isSoft) {
            // The mean under a blurred ellipse lies between those under a larger and a smaller one, by their areas.
            const float large = 1.0f + grow;
            const float small = 1.0f - grow;
            shape.scale = large;
            const float outer = MeanOfEllipse(level, shape, x, y);
            shape.scale = small;
            const float inner = MeanOfEllipse(level, shape, x, y);
            means[i] = (large * large * outer + small * small * inner) / (large * large + small * small);
        } else {
            shape.scale = 1.0f;
            means[i] = MeanOfEllipse(level, shape, x, y);
        }
        seen += means[i] == means[i] ? 1 : 0;
    }
    return seen;
}

int CBxBlueSums::Means(float* means, const SBxGridPose& pose, double blur) const {
    int cells[kCellCount];
    for (int cell = 0; cell < kCellCount; ++cell) {
        cells[cell] = cell;
    }
    return MeansOf(means, cells, kCellCount, pose, blur);
}
