#include "box_mean.h"

#include <cstddef>

#include "box_sums.h"

bool BX_BoxMean(float* out, const float* in, int width, int height, int reachX, int reachY, double largest) {
    const SBxReach reach{reachX, reachY};
    CBxBoxSums sums;
    CBxBoxShares shares;
    if (!sums.Prepare(width, height, reach, largest) || !shares.Prepare(width, height, sums.Scale(), reach)) {
        return false;
    }
    const auto pitch = static_cast<std::ptrdiff_t>(width);
    for (int y = 0; y < height; ++y) {
        while (sums.Rows() < sums.RowsFor(y, reachY)) {
            sums.AddRow(in + sums.Rows() * pitch);
        }
        BX_Kernels().MeansOfBoxes(out + y * pitch, sums.Boxes(y, reach), shares.OfRow(y),
                                  static_cast<std::size_t>(width));
    }
    return true;
}
