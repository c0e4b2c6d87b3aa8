// A small dense matrix of doubles.
#pragma once

#include <cstddef>

// Owns rows x columns elements and the table of its row pointers in one allocation. A default-constructed matrix, and
// one whose memory could not be had, is empty: no rows, no columns, IsValid() false. Operations on matrices whose
// shapes do not fit give an empty matrix.
class CBxMatrix {
public:
    CBxMatrix() = default;
    // All elements 0.
    CBxMatrix(unsigned int rows, unsigned int columns);
    // A column vector.
    CBxMatrix(const double* values, unsigned int count);
    CBxMatrix(const CBxMatrix& other);
    CBxMatrix& operator=(const CBxMatrix& other);
    CBxMatrix(CBxMatrix&& other) noexcept;
    CBxMatrix& operator=(CBxMatrix&& other) noexcept;
    virtual ~CBxMatrix();

    bool IsValid() const { return m_ppRows != nullptr; }
    unsigned int Rows() const { return m_uiRows; }
    unsigned int Columns() const { return m_uiColumns; }

    // A row; element (r, c) is m[r][c].
    double* operator[](unsigned int row) { return m_ppRows[row]; }
    const double* operator[](unsigned int row) const { return m_ppRows[row]; }

    CBxMatrix operator*(const CBxMatrix& right) const;
    CBxMatrix operator+(const CBxMatrix& right) const;
    CBxMatrix operator-(const CBxMatrix& right) const;
    CBxMatrix Trans() const;
    CBxMatrix ReverseRows() const;

    // Crout's decomposition in place, with implicit partial pivoting. `permutation` (Rows() entries) receives the pivot
    // row of each column. Returns the parity of the row exchanges, +1 or -1, or 0 for a matrix that is not square or is
    // singular (a pivot below 1e-10).
    //
    // The scale of a row is the largest magnitude in it or in any row above it: it only decides which row becomes the
    // pivot, and the fits of every sign written so far were made with it.
    int LUDecomposition(unsigned int* permutation);

    // Solves for one right-hand side, in place; this is a decomposed matrix with its permutation.
    void LUBackSubstitution(double* rightSide, const unsigned int* permutation) const;

    // Empty when the matrix is not square or singular.
    CBxMatrix Inv() const;
    // (A^T A)^-1 A^T.
    CBxMatrix PseudoInv() const;
    // 0 for a matrix that is not square or singular.
    double Det() const;

private:
    void Build(unsigned int rows, unsigned int columns);
    template <typename Operation>
    CBxMatrix Elementwise(const CBxMatrix& right, Operation operation) const;

    double** m_ppRows = nullptr;
    unsigned int m_uiRows = 0;
    unsigned int m_uiColumns = 0;
};
