#include "box_mean.h"

#include <algorithm>
#include <cstddef>

#include "heap_array.h"

namespace {

void AddRow(double* columns, const float* row, int width) {
    for (int x = 0; x < width; ++x) {
        columns[x] += static_cast<double>(row[x]);
    }
}

// Adds a row to the sums of columns and takes another one off.
void MoveRows(double* columns, const float* added, const float* left, int width) {
    for (int x = 0; x < width; ++x) {
        columns[x] += static_cast<double>(added[x] - left[x]);
    }
}

void DropRow(double* columns, const float* row, int width) {
    for (int x = 0; x < width; ++x) {
        columns[x] -= static_cast<double>(row[x]);
    }
}

// running[x] = the columns in front of x. The quarters of a row are summed side by side, as one addition waits for the
// other.
void SumUp(double* running, const double* columns, int width) {
    constexpr int kQuarters = 4;
    const int length = width / kQuarters;
    double sums[kQuarters] = {};
    for (int i = 0; i < length; ++i) {
        for (int quarter = 0; quarter < kQuarters; ++quarter) {
            const int x = quarter * length + i;
            running[x] = sums[quarter];
            sums[quarter] += columns[x];
        }
    }
    double before = 0.0;
    for (int quarter = 0; quarter < kQuarters; ++quarter) {
        for (int x = quarter * length; x < (quarter + 1) * length; ++x) {
            running[x] += before;
        }
        before += sums[quarter];
    }
    for (int x = kQuarters * length; x < width; ++x) {
        running[x] = before;
        before += columns[x];
    }
    running[width] = before;
}

// From the running sum over columns, `running[x]` being what stands in front of column x.
void WriteRow(float* out, const double* running, int width, int rows, int reach) {
    const int from = std::min(reach, width);
    const int to = std::max(from, width - reach);
    const auto atEdge = [&](int x) {
        const int first = std::max(0, x - reach);
        const int last = std::min(width, x + reach + 1);
        return static_cast<float>((running[last] - running[first]) / (static_cast<double>(rows) * (last - first)));
    };
    const double share = 1.0 / (static_cast<double>(rows) * (2 * reach + 1));
    for (int x = 0; x < from; ++x) {
        out[x] = atEdge(x);
    }
    for (int x = from; x < to; ++x) {
        out[x] = static_cast<float>((running[x + reach + 1] - running[x - reach]) * share);
    }
    for (int x = to; x < width; ++x) {
        out[x] = atEdge(x);
    }
}

}  // namespace

bool BX_BoxMean(float* out, const float* in, int width, int height, int reachX, int reachY) {
    CBxHeapArray<double> columns;
    CBxHeapArray<double> running;
    if (!columns.AllocateZeroed(static_cast<std::size_t>(width)) ||
        !running.AllocateZeroed(static_cast<std::size_t>(width) + 1)) {
        return false;
    }
    const auto rowOf = [in, width](int y) { return in + static_cast<std::ptrdiff_t>(y) * width; };
    for (int y = 0; y < std::min(reachY, height); ++y) {
        AddRow(columns.Data(), rowOf(y), width);
    }
    for (int y = 0; y < height; ++y) {
        const bool adds = y + reachY < height;
        const bool drops = y - reachY - 1 >= 0;
        if (adds && drops) {
            MoveRows(columns.Data(), rowOf(y + reachY), rowOf(y - reachY - 1), width);
        } else if (adds) {
            AddRow(columns.Data(), rowOf(y + reachY), width);
        } else if (drops) {
            DropRow(columns.Data(), rowOf(y - reachY - 1), width);
        }
        SumUp(running.Data(), columns.Data(), width);
        const int rows = std::min(height - 1, y + reachY) - std::max(0, y - reachY) + 1;
        WriteRow(out + static_cast<std::ptrdiff_t>(y) * width, running.Data(), width, rows, reachX);
    }
    return true;
}
