// Which source samples a sample of a scaled picture is made of. Shared by every way of scaling.
#pragma once

#include <algorithm>
#include <cmath>

inline constexpr int kScaleWeightSteps = 1000;  // the horizontal weight of an enlargement is a number of thousandths

// The source samples under one sample of a shrunk picture: from `first` up to but excluding `end`. The first counts by
// the part of it that is covered, the others whole, one that is partly covered at the end, too. The last of the source
// is left out.
struct SBxCoverage {
    int first;
    int end;
    double firstWeight;

    // `step` is source samples a target sample.
    SBxCoverage(int target, double step, int sourceLength) {
        const double start = target * step;
        first = static_cast<int>(std::floor(start));
        end = std::min(static_cast<int>(std::ceil((target + 1) * step)), sourceLength - 1);
        firstWeight = 1.0 - (start - std::floor(start));
    }
    double Weight(int index) const { return index >= end ? 0.0 : index == first ? firstWeight : 1.0; }
};

// The two source samples around one sample of an enlarged picture.
struct SBxBetween {
    int before;
    int behind;
    double fraction;  // from `before` to `behind`; negative in front of the first sample

    SBxBetween(int target, double step, int sourceLength) {
        const double position = (target + 0.5) * step - 0.5;
        before = std::max(0, static_cast<int>(std::floor(position)));
        behind = std::min(before + 1, sourceLength - 1);
        fraction = position - before;
    }
    // The fraction in thousandths, as columns use it.
    int Thousandths() const { return fraction > 0 ? static_cast<int>(fraction * kScaleWeightSteps + 0.5) : 0; }
};
