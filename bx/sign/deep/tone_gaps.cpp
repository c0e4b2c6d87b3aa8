#include "tone_gaps.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace {

constexpr int kValues = 256;
constexpr int kEnd = 6;                 // values at either end that clipping may have filled
constexpr double kEmptyShare = 0.002;   // of what the neighbours of a gap hold
constexpr double kHeldShare = 0.3;      // of what the fuller neighbour of a value holds
constexpr double kFewestAround = 12.0;  // pixels of a value beside a gap
constexpr int kFewestGaps = 5;
constexpr double kGainStep = 0.001;
constexpr double kLargestGain = 1.5;
constexpr double kOffsetStep = 0.1;
constexpr double kMostUnexplained = 0.1;  // of the values looked at

enum class EValue : std::uint8_t { Unknown, Held, Gap };

// What can be said of each value: pictures leave many values out at the ends, where nothing can be.
void Classify(EValue* values, const SBxPicBuf& picture) {
    double counts[kValues] = {};
    for (int y = 0; y < picture.m_iHeight; ++y) {
        const auto* row = BX_PicRow<unsigned char>(picture, y);
        for (int x = 0; x < picture.m_iWidth; ++x) {
            counts[row[3 * x]] += 1.0;
        }
    }
    std::fill(values, values + kValues, EValue::Unknown);
    for (int value = kEnd; value < kValues - kEnd; ++value) {
        const double around = std::min(counts[value - 1], counts[value + 1]);
        const double most = std::max(counts[value - 1], counts[value + 1]);
        if (around >= kFewestAround && counts[value] < kEmptyShare * around) {
            values[value] = EValue::Gap;
        } else if (most >= kFewestAround && counts[value] > kHeldShare * most) {
            values[value] = EValue::Held;
        }
    }
}

// How many values are what gain and offset make of them, less those that are not.
int Explained(const EValue* values, double gain, double offset) {
    bool isHeld[kValues] = {};
    for (int source = -1; source < kValues; ++source) {
        const long value = std::lround(gain * source + offset);
        if (value >= 0 && value < kValues) {
            isHeld[value] = true;
        }
    }
    int sum = 0;
    for (int value = kEnd; value < kValues - kEnd; ++value) {
        sum += values[value] == EValue::Unknown ? 0 : (values[value] == EValue::Held) == isHeld[value] ? 1 : -1;
    }
    return sum;
}

}  // namespace

bool BX_FindToneGaps(SBxTone& tone, const SBxPicBuf& picture) {
    EValue values[kValues];
    Classify(values, picture);
    const auto gaps = std::count(values, values + kValues, EValue::Gap);
    const auto known = gaps + std::count(values, values + kValues, EValue::Held);
    if (gaps < kFewestGaps) {
        return false;
    }
    int best = 0;
    int ties = 0;
    SBxTone sum{0.0, 0.0, 1.0};
    for (double gain = 1.0 + kGainStep; gain < kLargestGain; gain += kGainStep) {
        for (double offset = 0.0; offset < gain; offset += kOffsetStep) {
            const int explained = Explained(values, gain, offset);
            if (explained > best) {
                best = explained;
                ties = 0;
                sum = {0.0, 0.0, 1.0};
            }
            if (explained == best) {
                ++ties;
                sum.gain += gain;
                sum.offset += offset;
            }
        }
    }
    if (ties == 0 || static_cast<double>(known - best) > 2.0 * kMostUnexplained * static_cast<double>(known)) {
        return false;
    }
    tone = {sum.gain / ties, sum.offset / ties, 1.0};
    return true;
}
