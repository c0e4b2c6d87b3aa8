// The sub-pixel fit of a local maximum: a bi-quadratic surface through a 3 x 3 neighbourhood.
#pragma once

#include "geometry.h"
#include "matrix.h"

// The surface is f(x, y) = c0 x^2 y^2 + c1 x^2 y + c2 x^2 + c3 x y^2 + c4 x y + c5 x + c6 y^2 + c7 y + c8 over the nine
// grid points x, y in {0, 1, 2}.

// The 9 x 9 design matrix: row 3 x + y holds the nine monomials at (x, y) in the order above.
CBxMatrix BX_BiquadraticDesign();

// The nine coefficients of the surface through a neighbourhood, whose value at (x, y) stands at 3 x + y; `inverse` is
// the inverse of the design matrix, row by row.
void BX_FitSurface(double* coefficients, const double* inverse, const double* neighbourhood);

// The maximum of the surface with these nine coefficients on the grid of eighths 0, 0.125, .. 2 in both directions;
// writes its place, of equal values that with the smallest x and then the smallest y.
double BX_SurfaceMaximum(CBxPoint<double>& position, const double* coefficients);

// The same for coefficients in a 9 x 1 matrix; -infinity for any other shape.
float FindMinumumQuadrics(CBxPoint<double>& position, CBxMatrix coefficients);
