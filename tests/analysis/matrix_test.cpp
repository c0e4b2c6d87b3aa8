#include "matrix.h"

#include <gtest/gtest.h>

#include <cmath>

#include "surface_fit.h"

namespace {

CBxMatrix Make(unsigned int rows, unsigned int columns, std::initializer_list<double> values) {
    CBxMatrix matrix(rows, columns);
    unsigned int i = 0;
    for (const double value : values) {
        matrix[i / columns][i % columns] = value;
        ++i;
    }
    return matrix;
}

void ExpectIdentity(const CBxMatrix& matrix, double tolerance) {
    for (unsigned int row = 0; row < matrix.Rows(); ++row) {
        for (unsigned int column = 0; column < matrix.Columns(); ++column) {
            EXPECT_NEAR(matrix[row][column], row == column ? 1.0 : 0.0, tolerance) << row << ", " << column;
        }
    }
}

}  // namespace

TEST(Matrix, InverseOfTheSurfaceDesignUndoesIt) {
    const CBxMatrix design = BX_BiquadraticDesign();
    const CBxMatrix inverse = design.Inv();
    ASSERT_TRUE(inverse.IsValid());
    ExpectIdentity(inverse * design, 1e-9);
    ExpectIdentity(design * inverse, 1e-9);
}

TEST(Matrix, PivotsWhenTheDiagonalIsZero) {
    const CBxMatrix matrix = Make(3, 3, {0, 2, 1, 1, 0, 0, 3, 0, 1});
    EXPECT_DOUBLE_EQ(matrix.Det(), -2.0);
    ExpectIdentity(matrix * matrix.Inv(), 1e-12);
}

TEST(Matrix, ZeroRowPassesTheScaleStepAndFailsAtThePivot) {
    unsigned int permutation[2];
    CBxMatrix below = Make(2, 2, {1, 2, 0, 0});
    EXPECT_EQ(below.LUDecomposition(permutation), 0);
    EXPECT_EQ(permutation[0], 0u) << "the first column had been worked on";
    EXPECT_FALSE(Make(2, 2, {0, 0, 1, 2}).Inv().IsValid());
    EXPECT_FALSE(Make(2, 2, {1, 2, 2, 4}).Inv().IsValid());
}

TEST(Matrix, ShapesThatDoNotFitGiveAnEmptyMatrix) {
    const CBxMatrix wide = Make(2, 3, {1, 2, 3, 4, 5, 6});
    EXPECT_FALSE(wide.Inv().IsValid());
    EXPECT_FALSE((wide * wide).IsValid());
    EXPECT_FALSE((wide + wide.Trans()).IsValid());
    EXPECT_FALSE(CBxMatrix(0u, 4u).IsValid());
    EXPECT_FALSE(CBxMatrix().Inv().IsValid());
}

TEST(Matrix, ArithmeticMatchesHandComputation) {
    const CBxMatrix a = Make(2, 3, {1, 2, 3, 4, 5, 6});
    const CBxMatrix product = a * a.Trans();
    EXPECT_EQ(product[0][0], 14);
    EXPECT_EQ(product[0][1], 32);
    EXPECT_EQ(product[1][1], 77);
    EXPECT_EQ((a + a)[1][2], 12);
    EXPECT_EQ((a - a)[1][2], 0);
    EXPECT_EQ(a.ReverseRows()[0][0], 4);
    ExpectIdentity(a.Trans().PseudoInv() * a.Trans(), 1e-12);
}

TEST(Matrix, CopiesAreIndependent) {
    CBxMatrix original = Make(1, 2, {1, 2});
    CBxMatrix copy(original);
    copy[0][0] = 9;
    original = copy;
    copy[0][1] = 7;
    EXPECT_EQ(original[0][0], 9);
    EXPECT_EQ(original[0][1], 2);
}

TEST(SurfaceFit, FindsAMaximumBetweenTheGridPoints) {
    // f(x, y) = 5 - (x - 1.25)^2 - (y - 0.75)^2, written in the nine monomials.
    const double coefficients[9] = {0, 0, -1, 0, 0, 2.5, -1, 1.5, 5 - 1.5625 - 0.5625};
    CBxPoint<double> position;
    EXPECT_FLOAT_EQ(FindMinumumQuadrics(position, CBxMatrix(coefficients, 9)), 5.0f);
    EXPECT_EQ(position, (CBxPoint<double>{1.25, 0.75}));
}

TEST(SurfaceFit, TakesTheFirstOfEqualValues) {
    const double flat[9] = {0, 0, 0, 0, 0, 0, 0, 0, 3};
    CBxPoint<double> position;
    EXPECT_FLOAT_EQ(FindMinumumQuadrics(position, CBxMatrix(flat, 9)), 3.0f);
    EXPECT_EQ(position, (CBxPoint<double>{0, 0}));
}
