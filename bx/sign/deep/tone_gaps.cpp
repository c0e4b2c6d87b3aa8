#include "tone_gaps.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace {

constexpr int kValues = 256;
constexpr double kWhite = 255.0;
constexpr int kEnd = 6;                 // values at either end that clipping may have filled
constexpr double kEmptyShare = 0.002;   // of what the neighbours of a gap hold
constexpr double kHeldShare = 0.3;      // of what the fuller neighbour of a value holds
constexpr double kFewestAround = 12.0;  // pixels of a value beside a gap
constexpr int kFewestGaps = 5;
constexpr double kGainStep = 0.001;
constexpr double kLargestGain = 1.5;
constexpr double kOffsetStep = 0.1;
constexpr double kLowestExponent = 0.5;
constexpr double kHighestExponent = 2.0;
constexpr double kExponentStep = 0.002;
constexpr int kNearBlack = 8;       // values
constexpr double kHeap = 3.0;       // times what the values near it hold
constexpr double kUnlikely = 0.25;  // tones
constexpr double kSeldom = 0.1;
constexpr double kMostUnexplained = 0.1;  // of the values looked at

enum class EValue : std::uint8_t { Unknown, Held, Gap };

void Count(double* counts, const SBxPicBuf& picture) {
    std::fill(counts, counts + kValues, 0.0);
    for (int y = 0; y < picture.m_iHeight; ++y) {
        const auto* row = BX_PicRow<unsigned char>(picture, y);
        for (int x = 0; x < picture.m_iWidth; ++x) {
            counts[row[3 * x]] += 1.0;
        }
    }
}

// What can be said of each value: pictures leave many values out at the ends, where nothing can be.
void Classify(EValue* values, const double* counts) {
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

// How many values are what a change makes of all tones, less those that are not.
int Explained(const EValue* values, const SBxTone& change) {
    bool isHeld[kValues] = {};
    for (int source = -1; source < kValues; ++source) {
        const double bent =
            change.exponent == 1.0 ? source : kWhite * std::pow(std::max(0, source) / kWhite, change.exponent);
        const long value = std::lround(change.gain * bent + change.offset);
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

// The change that explains most; of several that explain the same, their middle.
class CBestChange {
public:
    explicit CBestChange(const EValue* values) : m_pValues(values) {}

    void Offer(const SBxTone& change) {
        const int explained = Explained(m_pValues, change);
        if (explained > m_iBest) {
            m_iBest = explained;
            m_iTies = 0;
            m_Sum = {0.0, 0.0, 0.0};
        }
        if (explained == m_iBest) {
            ++m_iTies;
            m_Sum = {m_Sum.gain + change.gain, m_Sum.offset + change.offset, m_Sum.exponent + change.exponent};
        }
    }
    int Best() const { return m_iBest; }
    SBxTone Middle() const { return {m_Sum.gain / m_iTies, m_Sum.offset / m_iTies, m_Sum.exponent / m_iTies}; }

private:
    const EValue* m_pValues;
    int m_iBest = 0;
    int m_iTies = 0;
    SBxTone m_Sum{0.0, 0.0, 0.0};
};

// Whether far more pixels are black than nearly so: a change has made them black.
bool HasDarkHeap(const double* counts) {
    double near = 0.0;
    for (int value = 1; value <= kNearBlack; ++value) {
        near += counts[value] / kNearBlack;
    }
    return counts[0] > kHeap * near;
}

// Gaps tell an offset up to a whole number of gains. It is 0 where a picture was made brighter; more contrast turns the
// tones about the middle. Programs round, or cut fractions off, half a tone less.
double LikelyOffset(double gain, double least, const double* counts) {
    constexpr double kMiddles[] = {0.0, 128.0, 127.5};
    constexpr double kFractions[] = {0.0, -0.5};
    double likely = least;
    double nearest = 1e9;
    for (const double middle : kMiddles) {
        for (const double fraction : kFractions) {
            const double offset = middle * (1.0 - gain) + fraction;
            const double whole = least + std::round((offset - least) / gain) * gain;
            double distance = std::fabs(whole - offset) + (fraction != 0.0 ? kSeldom : 0.0);
            distance += (middle == 0.0) == HasDarkHeap(counts) ? kUnlikely : 0.0;
            if (distance < nearest) {
                nearest = distance;
                likely = whole;
            }
        }
    }
    return likely;
}

}  // namespace

bool BX_FindToneGaps(SBxTone& tone, const SBxPicBuf& picture) {
    double counts[kValues];
    Count(counts, picture);
    EValue values[kValues];
    Classify(values, counts);
    const auto gaps = std::count(values, values + kValues, EValue::Gap);
    const auto known = gaps + std::count(values, values + kValues, EValue::Held);
    if (gaps < kFewestGaps) {
        return false;
    }
    CBestChange straight(values);
    for (double gain = 1.0 + kGainStep; gain < kLargestGain; gain += kGainStep) {
        for (double offset = 0.0; offset < gain; offset += kOffsetStep) {
            straight.Offer({gain, offset, 1.0});
        }
    }
    CBestChange bent(values);
    for (double exponent = kLowestExponent; exponent < kHighestExponent; exponent += kExponentStep) {
        bent.Offer({1.0, 0.0, exponent});
    }
    const int best = std::max(straight.Best(), bent.Best());
    if (best == 0 || static_cast<double>(known - best) > 2.0 * kMostUnexplained * static_cast<double>(known)) {
        return false;
    }
    if (bent.Best() > straight.Best()) {
        tone = bent.Middle();
    } else {
        tone = straight.Middle();
        tone.offset = LikelyOffset(tone.gain, tone.offset, counts);
    }
    return true;
}
