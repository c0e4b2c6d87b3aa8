#include "box_mean.h"

#include <algorithm>
#include <cstddef>

#include "heap_array.h"

namespace {

// Adds a row to the sums of columns, or takes it off with sign -1.
void AddRow(double* columns, const float* row, int width, double sign) {
    for (int x = 0; x < width; ++x) {
        columns[x] += sign * static_cast<double>(row[x]);
    }
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
        AddRow(columns.Data(), rowOf(y), width, 1.0);
    }
    for (int y = 0; y < height; ++y) {
        if (y + reachY < height) {
            AddRow(columns.Data(), rowOf(y + reachY), width, 1.0);
        }
        if (y - reachY - 1 >= 0) {
            AddRow(columns.Data(), rowOf(y - reachY - 1), width, -1.0);
        }
        double sum = 0.0;
        for (int x = 0; x < width; ++x) {
            sum += columns[x];
            running[x + 1] = sum;
        }
        const int rows = std::min(height - 1, y + reachY) - std::max(0, y - reachY) + 1;
        WriteRow(out + static_cast<std::ptrdiff_t>(y) * width, running.Data(), width, rows, reachX);
    }
    return true;
}
