#include "surface_fit.h"

#include <limits>

#include "kernels.h"

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
    int x = 0;
    int y = 0;
    const double largest = BX_Kernels().SurfaceMaximum(&x, &y, coefficients);
    position = {x / 8.0, y / 8.0};
    return largest;
}

float FindMinumumQuadrics(CBxPoint<double>& position, CBxMatrix coefficients) {
    if (coefficients.Rows() != 9 || coefficients.Columns() != 1) {
        position = {1.0, 1.0};
        return -std::numeric_limits<float>::infinity();
    }
    return static_cast<float>(BX_SurfaceMaximum(position, coefficients[0]));
}
