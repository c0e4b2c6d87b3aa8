#include "cell_lattice.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double kRadiansOfTone = 2.0 * 3.141592653589793 / (kPeriod / 2);

}  // namespace

// Four grids, each a quarter of the lattice.
void CBxCellLattice::Read(CBxDeepRun& run, const SBxGridTrial& trial) {
    m_Trial = trial;
    for (const int quarter : {0, 1, 2, 3}) {
        const int firstColumn = quarter % 2 * kGridSide;
        const int firstRow = quarter / 2 * kGridSide;
        SBxGridTrial part = trial;
        part.pose.origin = trial.pose.PointAt(firstColumn - kMargin, firstRow - kMargin);
        float means[kCellCount];
        run.ReadMeans(means, part);
        for (int cell = 0; cell < kCellCount; ++cell) {
            const bool isNumber = means[cell] == means[cell];
            const double angle = isNumber ? kRadiansOfTone * static_cast<double>(means[cell]) : 0.0;
            const int row = firstRow + cell / kGridSide;
            const int column = firstColumn + cell % kGridSide;
            m_fReal[row][column] = isNumber ? static_cast<float>(std::cos(angle)) : 0.0f;
            m_fImaginary[row][column] = static_cast<float>(std::sin(angle));
        }
    }
}

double CBxCellLattice::ClearnessAt(int column, int row) const {
    float real = 0.0f;
    float imaginary = 0.0f;
    for (int y = row; y < row + kGridSide; ++y) {
        for (int x = column; x < column + kGridSide; ++x) {
            real += m_fReal[y][x];
            imaginary += m_fImaginary[y][x];
        }
    }
    return std::hypot(real, imaginary);
}

int CBxCellLattice::ClearestPlaces(SBxGridTrial* places, int most) const {
    struct SPlace {
        double clearness;
        int column;
        int row;
    };
    SPlace all[(kSide - kGridSide + 1) * (kSide - kGridSide + 1)];
    int count = 0;
    for (int row = 0; row <= kSide - kGridSide; ++row) {
        for (int column = 0; column <= kSide - kGridSide; ++column) {
            if (row != kMargin || column != kMargin) {
                all[count++] = {ClearnessAt(column, row), column - kMargin, row - kMargin};
            }
        }
    }
    most = std::min(most, count);
    std::partial_sort(all, all + most, all + count,
                      [](const SPlace& a, const SPlace& b) { return a.clearness > b.clearness; });
    for (int i = 0; i < most; ++i) {
        places[i] = m_Trial;
        places[i].pose.origin = m_Trial.pose.PointAt(all[i].column, all[i].row);
    }
    return most;
}
