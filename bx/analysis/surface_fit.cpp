#include "surface_fit.h"

#include <limits>

namespace {

constexpr int kGridSteps = 16;       // over the two pixels between the outer grid points
constexpr double kGridStep = 0.125;  // pixels

double SurfaceAt(const double* c, double x, double y) {
    return c[0] * x * x * y * y + c[1] * x * x * y + c[2] * x * x + c[3] * x * y * y + c[4] * x * y + c[5] * x +
           c[6] * y * y + c[7] * y + c[8];
}

}  // namespace

CBxMatrix BX_BiquadraticDesign() {
    CBxMatrix design(9, 9);
    for (unsigned int row = 0; row < design.Rows(); ++row) {
        const double x = row / 3;
        const double y = row % 3;
        const double monomials[9] = {x * x * y * y, x * x * y, x * x, x * y * y, x * y, x, y * y, y, 1.0};
        for (unsigned int column = 0; column < 9; ++column) {
            design[row][column] = monomials[column];
        }
    }
    return design;
}

void BX_FitSurface(double* coefficients, const double* inverse, const double* neighbourhood) {
    for (int i = 0; i < 9; ++i) {
        double sum = 0.0;
        for (int k = 0; k < 9; ++k) {
            sum += inverse[9 * i + k] * neighbourhood[k];
        }
        coefficients[i] = sum;
    }
}

double BX_SurfaceMaximum(CBxPoint<double>& position, const double* coefficients) {
    double best = -1e300;
    position = {1.0, 1.0};
    for (int column = 0; column <= kGridSteps; ++column) {
        for (int row = 0; row <= kGridSteps; ++row) {
            const double x = column * kGridStep;
            const double y = row * kGridStep;
            const double value = SurfaceAt(coefficients, x, y);
            if (value > best) {
                best = value;
                position = {x, y};
            }
        }
    }
    return best;
}

float FindMinumumQuadrics(CBxPoint<double>& position, CBxMatrix coefficients) {
    if (coefficients.Rows() != 9 || coefficients.Columns() != 1) {
        position = {1.0, 1.0};
        return -std::numeric_limits<float>::infinity();
    }
    return static_cast<float>(BX_SurfaceMaximum(position, coefficients[0]));
}
