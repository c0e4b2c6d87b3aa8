// Scaling of a picture to the size at which a zoom searches it.
#include <cstddef>

#include "scale_geometry.h"
#include "sign_op.h"

namespace {

void FillProductTable(double** table) {
    for (int value = 0; value < 256; ++value) {
        table[0][value] = 0.0;
        table[1][value] = value * 0.001;
    }
    for (int row = 2; row <= kScaleWeightSteps; ++row) {
        for (int value = 0; value < 256; ++value) {
            table[row][value] = table[row - 1][value] + table[1][value];
        }
    }
}

void Shrink(SBxPicBuf& target, const SBxPicBuf& source, double step) {
    for (int y = 0; y < target.m_iHeight; ++y) {
        const SBxCoverage rows(y, step, source.m_iHeight);
        float* out = BX_PicRow<float>(target, y);
        for (int x = 0; x < target.m_iWidth; ++x) {
            const SBxCoverage columns(x, step, source.m_iWidth);
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
            for (const double sum : sums) {
                *out++ = static_cast<float>(sum / weights);
            }
        }
    }
}

void Enlarge(SBxPicBuf& target, const SBxPicBuf& source, double step, const double* const* table) {
    for (int y = 0; y < target.m_iHeight; ++y) {
        const SBxBetween rows(y, step, source.m_iHeight);
        const unsigned char* upper = BX_PicRow<unsigned char>(source, rows.before);
        const unsigned char* lower = BX_PicRow<unsigned char>(source, rows.behind);
        float* out = BX_PicRow<float>(target, y);
        for (int x = 0; x < target.m_iWidth; ++x) {
            const SBxBetween columns(x, step, source.m_iWidth);
            const int k = columns.Thousandths();
            const double* left = table[kScaleWeightSteps - k];
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
