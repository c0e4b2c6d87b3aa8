// Scaling of a picture to the size at which a zoom searches it.
#include <algorithm>
#include <cmath>
#include <cstddef>

#include "sign_op.h"

namespace {

constexpr int kWeightSteps = 1000;  // the horizontal weight of an enlargement is a whole number of thousandths

void FillProductTable(double** table) {
    for (int value = 0; value < 256; ++value) {
        table[0][value] = 0.0;
        table[1][value] = value * 0.001;
    }
    for (int row = 2; row <= kWeightSteps; ++row) {
        for (int value = 0; value < 256; ++value) {
            table[row][value] = table[row - 1][value] + table[1][value];
        }
    }
}

// The source samples under one target sample of a shrunk picture: from `first` up to but excluding `end`, the first
// weighted, the others whole. A partly covered last sample is left out, and so is the last of the source.
struct SCoverage {
    int first;
    int end;
    double firstWeight;

    SCoverage(int target, double step, int sourceLength) {
        const double start = target * step;
        first = static_cast<int>(std::floor(start));
        end = std::min(static_cast<int>(std::ceil((target + 1) * step)), sourceLength - 1);
        firstWeight = 1.0 - (start - std::floor(start));
    }
    double Weight(int index) const { return index == first ? firstWeight : 1.0; }
};

void Shrink(SBxPicBuf& target, const SBxPicBuf& source, double step) {
    for (int y = 0; y < target.m_iHeight; ++y) {
        const SCoverage rows(y, step, source.m_iHeight);
        float* out = BX_PicRow<float>(target, y);
        for (int x = 0; x < target.m_iWidth; ++x) {
            const SCoverage columns(x, step, source.m_iWidth);
            double sums[3] = {};
            double weights = 0.0;
            for (int row = rows.first; row < rows.end; ++row) {
                const unsigned char* line = BX_PicRow<unsigned char>(source, row);
                for (int column = columns.first; column < columns.end; ++column) {
                    const double weight = columns.Weight(column) * rows.Weight(row);
                    const unsigned char* pixel = line + std::ptrdiff_t{3} * column;
                    sums[0] += weight * pixel[0];
                    sums[1] += weight * pixel[1];
                    sums[2] += weight * pixel[2];
                    weights += weight;
                }
            }
            for (int component = 0; component < 3; ++component) {
                *out++ = static_cast<float>(sums[component] / weights);
            }
        }
    }
}

// The two source samples around one target sample of an enlarged picture.
struct SBetween {
    int before;
    int behind;
    double fraction;  // negative in front of the first sample

    SBetween(int target, double step, int sourceLength) {
        const double position = (target + 0.5) * step - 0.5;
        before = std::max(0, static_cast<int>(std::floor(position)));
        behind = std::min(before + 1, sourceLength - 1);
        fraction = position - before;
    }
};

void Enlarge(SBxPicBuf& target, const SBxPicBuf& source, double step, const double* const* table) {
    for (int y = 0; y < target.m_iHeight; ++y) {
        const SBetween rows(y, step, source.m_iHeight);
        const unsigned char* upper = BX_PicRow<unsigned char>(source, rows.before);
        const unsigned char* lower = BX_PicRow<unsigned char>(source, rows.behind);
        float* out = BX_PicRow<float>(target, y);
        for (int x = 0; x < target.m_iWidth; ++x) {
            const SBetween columns(x, step, source.m_iWidth);
            const int k = columns.fraction > 0 ? static_cast<int>(columns.fraction * kWeightSteps + 0.5) : 0;
            const double* left = table[kWeightSteps - k];
            const double* right = table[k];
            for (int component = 0; component < 3; ++component) {
                const std::ptrdiff_t before = std::ptrdiff_t{3} * columns.before + component;
                const std::ptrdiff_t behind = std::ptrdiff_t{3} * columns.behind + component;
                *out++ = static_cast<float>((left[upper[before]] + right[upper[behind]]) * (1 - rows.fraction) +
                                            (left[lower[before]] + right[lower[behind]]) * rows.fraction);
            }
        }
    }
}

}  // namespace

void CBxSignOp::TransformBilinearAccurate8x3Float(double** table, SBxPicBuf* target, SBxPicBuf* source, double zoom) {
    FillProductTable(table);
    const double step = 1.0 / zoom;
    if (step > 1.0) {
        Shrink(*target, *source, step);
    } else {
        Enlarge(*target, *source, step, table);
    }
}
