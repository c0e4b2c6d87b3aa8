#include "box_mean.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "heap_array.h"

namespace {

// Samples are added as whole numbers that may run over: of the difference of two sums, which does not, nothing is lost,
// in whatever order they are added.
using CSum = std::uint32_t;

CSum Whole(float sample, float scale) {
    return static_cast<CSum>(static_cast<std::int32_t>(sample * scale));
}

// The largest power of two by which no box of so many samples of this size runs over.
float ScaleOf(double largest, double samples) {
    constexpr double kMostSum = 2147483647.0;
    return static_cast<float>(std::exp2(std::floor(std::log2(kMostSum / (samples * largest)))));
}

void AddRow(CSum* columns, const float* row, int width, float scale) {
    for (int x = 0; x < width; ++x) {
        columns[x] += Whole(row[x], scale);
    }
}

void TakeOffRow(CSum* columns, const float* row, int width, float scale) {
    for (int x = 0; x < width; ++x) {
        columns[x] -= Whole(row[x], scale);
    }
}

// From the running sum over columns, `running[x]` being what stands in front of column x.
void WriteRow(float* out, const CSum* running, int width, double scaledRows, int reach) {
    const int from = std::min(reach, width);
    const int to = std::max(from, width - reach);
    const auto sumOf = [running](int first, int last) {
        return static_cast<float>(static_cast<std::int32_t>(running[last] - running[first]));
    };
    const auto atEdge = [&](int x) {
        const int first = std::max(0, x - reach);
        const int last = std::min(width, x + reach + 1);
        return sumOf(first, last) * static_cast<float>(1.0 / (scaledRows * (last - first)));
    };
    const auto share = static_cast<float>(1.0 / (scaledRows * (2 * reach + 1)));
    for (int x = 0; x < from; ++x) {
        out[x] = atEdge(x);
    }
    for (int x = from; x < to; ++x) {
        out[x] = sumOf(x - reach, x + reach + 1) * share;
    }
    for (int x = to; x < width; ++x) {
        out[x] = atEdge(x);
    }
}

}  // namespace

bool BX_BoxMean(float* out, const float* in, int width, int height, int reachX, int reachY, double largest) {
    CBxHeapArray<CSum> columns;
    CBxHeapArray<CSum> running;
    if (!columns.AllocateZeroed(static_cast<std::size_t>(width)) ||
        !running.AllocateZeroed(static_cast<std::size_t>(width) + 1)) {
        return false;
    }
    const double samples = (2.0 * reachX + 1) * (2.0 * reachY + 1);
    const float scale = ScaleOf(largest, samples);
    const auto rowOf = [in, width](int y) { return in + static_cast<std::ptrdiff_t>(y) * width; };
    for (int y = 0; y < std::min(reachY, height); ++y) {
        AddRow(columns.Data(), rowOf(y), width, scale);
    }
    for (int y = 0; y < height; ++y) {
        if (y + reachY < height) {
            AddRow(columns.Data(), rowOf(y + reachY), width, scale);
        }
        if (y - reachY - 1 >= 0) {
            TakeOffRow(columns.Data(), rowOf(y - reachY - 1), width, scale);
        }
        CSum sum = 0;
        for (int x = 0; x < width; ++x) {
            sum += columns[x];
            running[x + 1] = sum;
        }
        const int rows = std::min(height - 1, y + reachY) - std::max(0, y - reachY) + 1;
        WriteRow(out + static_cast<std::ptrdiff_t>(y) * width, running.Data(), width, static_cast<double>(scale) * rows,
                 reachX);
    }
    return true;
}
