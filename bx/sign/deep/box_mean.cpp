#include "box_mean.h"

#include <algorithm>
#include <cstddef>

#include "heap_array.h"

bool BX_BoxMean(float* out, const float* in, int width, int height, int reachX, int reachY) {
    CBxHeapArray<double> columns;
    if (!columns.AllocateZeroed(static_cast<std::size_t>(width) + 1)) {
        return false;
    }
    double* sums = columns.Data();
    const auto add = [&](int y, double sign) {
        for (int x = 0; x < width; ++x) {
            sums[x] += sign * static_cast<double>(in[static_cast<std::ptrdiff_t>(y) * width + x]);
        }
    };
    for (int y = 0; y < std::min(reachY, height); ++y) {
        add(y, 1.0);
    }
    for (int y = 0; y < height; ++y) {
        if (y + reachY < height) {
            add(y + reachY, 1.0);
        }
        if (y - reachY - 1 >= 0) {
            add(y - reachY - 1, -1.0);
        }
        const int rows = std::min(height - 1, y + reachY) - std::max(0, y - reachY) + 1;
        double sum = 0.0;
        for (int x = 0; x < std::min(reachX, width); ++x) {
            sum += sums[x];
        }
        for (int x = 0; x < width; ++x) {
            sum += x + reachX < width ? sums[x + reachX] : 0.0;
            sum -= x - reachX - 1 >= 0 ? sums[x - reachX - 1] : 0.0;
            const int count = rows * (std::min(width - 1, x + reachX) - std::max(0, x - reachX) + 1);
            out[static_cast<std::ptrdiff_t>(y) * width + x] = static_cast<float>(sum / count);
        }
    }
    return true;
}
