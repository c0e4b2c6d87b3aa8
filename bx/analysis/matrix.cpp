#include "matrix.h"

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "heap_array.h"

namespace {

constexpr double kSmallestPivot = 1e-10;

// Finishes column j of Crout's scheme and returns the row to pivot on.
unsigned int CompleteColumn(CBxMatrix& m, unsigned int j, const double* scale) {
    const unsigned int n = m.Rows();
    for (unsigned int i = 0; i < j; ++i) {
        for (unsigned int k = 0; k < i; ++k) {
            m[i][j] -= m[i][k] * m[k][j];
        }
    }
    unsigned int pivotRow = j;
    double largest = 0.0;
    for (unsigned int i = j; i < n; ++i) {
        for (unsigned int k = 0; k < j; ++k) {
            m[i][j] -= m[i][k] * m[k][j];
        }
        const double candidate = scale[i] * std::fabs(m[i][j]);
        if (candidate >= largest) {
            largest = candidate;
            pivotRow = i;
        }
    }
    return pivotRow;
}

}  // namespace

void CBxMatrix::Build(unsigned int rows, unsigned int columns) {
    const std::size_t limit = std::size_t{1} << 27;
    if (rows == 0 || columns == 0 || rows > limit / columns) {
        return;
    }
    const std::size_t tableBytes = rows * sizeof(double*);
    const std::size_t elementBytes = std::size_t{rows} * columns * sizeof(double);
    auto** table = static_cast<double**>(std::malloc(tableBytes + elementBytes));
    if (table == nullptr) {
        return;
    }
    auto* elements = reinterpret_cast<double*>(table + rows);
    std::memset(elements, 0, elementBytes);
    for (unsigned int row = 0; row < rows; ++row) {
        table[row] = elements + std::size_t{row} * columns;
    }
    m_ppRows = table;
    m_uiRows = rows;
    m_uiColumns = columns;
}

CBxMatrix::CBxMatrix(unsigned int rows, unsigned int columns) {
    Build(rows, columns);
}

CBxMatrix::CBxMatrix(const double* values, unsigned int count) {
    Build(count, 1);
    if (IsValid()) {
        std::memcpy(m_ppRows[0], values, count * sizeof(double));
    }
}

CBxMatrix::CBxMatrix(const CBxMatrix& other) {
    Build(other.m_uiRows, other.m_uiColumns);
    if (IsValid() && other.IsValid()) {
        std::memcpy(m_ppRows[0], other.m_ppRows[0], std::size_t{m_uiRows} * m_uiColumns * sizeof(double));
    }
}

CBxMatrix& CBxMatrix::operator=(const CBxMatrix& other) {
    if (this != &other) {
        *this = CBxMatrix(other);
    }
    return *this;
}

CBxMatrix::CBxMatrix(CBxMatrix&& other) noexcept
    : m_ppRows(std::exchange(other.m_ppRows, nullptr)),
      m_uiRows(std::exchange(other.m_uiRows, 0)),
      m_uiColumns(std::exchange(other.m_uiColumns, 0)) {}

CBxMatrix& CBxMatrix::operator=(CBxMatrix&& other) noexcept {
    std::swap(m_ppRows, other.m_ppRows);
    std::swap(m_uiRows, other.m_uiRows);
    std::swap(m_uiColumns, other.m_uiColumns);
    return *this;
}

CBxMatrix::~CBxMatrix() {
    std::free(m_ppRows);
}

CBxMatrix CBxMatrix::operator*(const CBxMatrix& right) const {
    if (m_uiColumns != right.m_uiRows) {
        return {};
    }
    CBxMatrix product(m_uiRows, right.m_uiColumns);
    for (unsigned int row = 0; row < product.m_uiRows; ++row) {
        for (unsigned int column = 0; column < product.m_uiColumns; ++column) {
            double sum = 0.0;
            for (unsigned int k = 0; k < m_uiColumns; ++k) {
                sum += m_ppRows[row][k] * right.m_ppRows[k][column];
            }
            product.m_ppRows[row][column] = sum;
        }
    }
    return product;
}

template <typename Operation>
CBxMatrix CBxMatrix::Elementwise(const CBxMatrix& right, Operation operation) const {
    if (m_uiRows != right.m_uiRows || m_uiColumns != right.m_uiColumns) {
        return {};
    }
    CBxMatrix result(m_uiRows, m_uiColumns);
    for (unsigned int row = 0; row < result.m_uiRows; ++row) {
        for (unsigned int column = 0; column < result.m_uiColumns; ++column) {
            result.m_ppRows[row][column] = operation(m_ppRows[row][column], right.m_ppRows[row][column]);
        }
    }
    return result;
}

CBxMatrix CBxMatrix::operator+(const CBxMatrix& right) const {
    return Elementwise(right, [](double a, double b) { return a + b; });
}

CBxMatrix CBxMatrix::operator-(const CBxMatrix& right) const {
    return Elementwise(right, [](double a, double b) { return a - b; });
}

CBxMatrix CBxMatrix::Trans() const {
    CBxMatrix result(m_uiColumns, m_uiRows);
    for (unsigned int row = 0; row < result.m_uiRows; ++row) {
        for (unsigned int column = 0; column < result.m_uiColumns; ++column) {
            result.m_ppRows[row][column] = m_ppRows[column][row];
        }
    }
    return result;
}

CBxMatrix CBxMatrix::ReverseRows() const {
    CBxMatrix result(m_uiRows, m_uiColumns);
    for (unsigned int row = 0; row < result.m_uiRows; ++row) {
        std::memcpy(result.m_ppRows[row], m_ppRows[m_uiRows - 1 - row], m_uiColumns * sizeof(double));
    }
    return result;
}

int CBxMatrix::LUDecomposition(unsigned int* permutation) {
    if (!IsValid() || m_uiRows != m_uiColumns) {
        return 0;
    }
    CBxHeapArray<double> scale;
    if (!scale.Allocate(m_uiRows)) {
        return 0;
    }
    double largest = 0.0;
    for (unsigned int row = 0; row < m_uiRows; ++row) {
        for (unsigned int column = 0; column < m_uiColumns; ++column) {
            largest = std::fmax(largest, std::fabs(m_ppRows[row][column]));
        }
        if (largest == 0.0) {
            return 0;
        }
        scale[row] = 1.0 / largest;
    }
    int parity = 1;
    for (unsigned int j = 0; j < m_uiColumns; ++j) {
        const unsigned int pivotRow = CompleteColumn(*this, j, scale.Data());
        if (pivotRow != j) {
            for (unsigned int column = 0; column < m_uiColumns; ++column) {
                std::swap(m_ppRows[pivotRow][column], m_ppRows[j][column]);
            }
            std::swap(scale[pivotRow], scale[j]);
            parity = -parity;
        }
        permutation[j] = pivotRow;
        if (!(std::fabs(m_ppRows[j][j]) >= kSmallestPivot)) {
            return 0;
        }
        for (unsigned int row = j + 1; row < m_uiRows; ++row) {
            m_ppRows[row][j] /= m_ppRows[j][j];
        }
    }
    return parity;
}

void CBxMatrix::LUBackSubstitution(double* rightSide, const unsigned int* permutation) const {
    for (unsigned int row = 0; row < m_uiRows; ++row) {
        std::swap(rightSide[row], rightSide[permutation[row]]);
        for (unsigned int column = 0; column < row; ++column) {
            rightSide[row] -= m_ppRows[row][column] * rightSide[column];
        }
    }
    for (unsigned int row = m_uiRows; row-- > 0;) {
        for (unsigned int column = row + 1; column < m_uiColumns; ++column) {
            rightSide[row] -= m_ppRows[row][column] * rightSide[column];
        }
        rightSide[row] /= m_ppRows[row][row];
    }
}

CBxMatrix CBxMatrix::Inv() const {
    CBxMatrix decomposed(*this);
    CBxMatrix inverse(m_uiRows, m_uiColumns);
    CBxHeapArray<unsigned int> permutation;
    CBxHeapArray<double> unit;
    if (!inverse.IsValid() || !permutation.Allocate(m_uiRows) || !unit.Allocate(m_uiRows) ||
        decomposed.LUDecomposition(permutation.Data()) == 0) {
        return {};
    }
    for (unsigned int column = 0; column < m_uiColumns; ++column) {
        for (unsigned int row = 0; row < m_uiRows; ++row) {
            unit[row] = row == column ? 1.0 : 0.0;
        }
        decomposed.LUBackSubstitution(unit.Data(), permutation.Data());
        for (unsigned int row = 0; row < m_uiRows; ++row) {
            inverse.m_ppRows[row][column] = unit[row];
        }
    }
    return inverse;
}

CBxMatrix CBxMatrix::PseudoInv() const {
    const CBxMatrix transposed = Trans();
    return (transposed * *this).Inv() * transposed;
}

double CBxMatrix::Det() const {
    CBxMatrix decomposed(*this);
    CBxHeapArray<unsigned int> permutation;
    if (!decomposed.IsValid() || !permutation.Allocate(m_uiRows)) {
        return 0.0;
    }
    double determinant = decomposed.LUDecomposition(permutation.Data());
    for (unsigned int i = 0; determinant != 0.0 && i < m_uiRows; ++i) {
        determinant *= decomposed.m_ppRows[i][i];
    }
    return determinant;
}
