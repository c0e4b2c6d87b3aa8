#include "tone.h"

#include <algorithm>
#include <cmath>
#include <complex>

#include "phasor.h"

namespace {

constexpr double kPi = 3.141592653589793;
constexpr double kLineDistance = kPeriod / 2;  // 3: between neighbouring lines of the comb
constexpr double kFrequencyStep = 0.0005;      // lines a tone
constexpr float kLeastSpread = 2.5f;           // standard deviation of the means, in tones, that can show a comb

constexpr double kClearComb = 0.13;  // twice what anything else shows

bool IsNumber(float value) {
    return value == value;
}

// The sum of the phasors of numbers, so many turns a tone.
std::complex<double> SumAtFrequency(const float* numbers, int count, double frequency) {
    float cosines[kCellCount];
    float sines[kCellCount];
    for (int i = 0; i < count; ++i) {
        const SBxPhasor phasor = BX_PhasorOf(numbers[i] * static_cast<float>(frequency));
        cosines[i] = phasor.cosine;
        sines[i] = phasor.sine;
    }
    std::complex<double> sum = 0.0;
    for (int i = 0; i < count; ++i) {
        sum += std::complex<double>(cosines[i], sines[i]);
    }
    return sum;
}

// Leaves out what is no number; returns how many are left.
int KeepNumbers(float* numbers, const float* means, int count) {
    int kept = 0;
    for (int i = 0; i < count; ++i) {
        numbers[kept] = means[i];
        kept += IsNumber(means[i]) ? 1 : 0;
    }
    return kept;
}

// The mean of the phasors of the means, one turn for each distance of the comb's lines.
std::complex<double> MeanOnComb(const float* means, int count) {
    float numbers[kCellCount];
    const int known = KeepNumbers(numbers, means, count);
    return known > 0 ? SumAtFrequency(numbers, known, 1.0 / kLineDistance) / static_cast<double>(known) : 0.0;
}

// The phasors of numbers at a frequency that climbs, four side by side.
class CPhasors {
public:
    CPhasors(const float* numbers, int count, double frequency, double step) : m_iFours((count + 3) / 4) {
        Set(m_Real, m_Imaginary, numbers, count, static_cast<float>(frequency));
        Set(m_TurnReal, m_TurnImaginary, numbers, count, static_cast<float>(step));
    }

    // Adds all of them up, turns each to the next frequency, and returns the square of the sum's size.
    float SumAndTurn() {
        CFour sumReal = {};
        CFour sumImaginary = {};
        for (int i = 0; i < m_iFours; ++i) {
            sumReal += m_Real[i];
            sumImaginary += m_Imaginary[i];
            const CFour turned = m_Real[i] * m_TurnReal[i] - m_Imaginary[i] * m_TurnImaginary[i];
            m_Imaginary[i] = m_Real[i] * m_TurnImaginary[i] + m_Imaginary[i] * m_TurnReal[i];
            m_Real[i] = turned;
        }
        const float real = sumReal[0] + sumReal[1] + sumReal[2] + sumReal[3];
        const float imaginary = sumImaginary[0] + sumImaginary[1] + sumImaginary[2] + sumImaginary[3];
        return real * real + imaginary * imaginary;
    }

private:
    typedef float CFour __attribute__((vector_size(4 * sizeof(float))));

    static void Set(CFour* real, CFour* imaginary, const float* numbers, int count, float frequency) {
        auto* cosines = reinterpret_cast<float*>(real);
        auto* sines = reinterpret_cast<float*>(imaginary);
        for (int i = 0; i < count; ++i) {
            const SBxPhasor phasor = BX_PhasorOf(numbers[i] * frequency);
            cosines[i] = phasor.cosine;
            sines[i] = phasor.sine;
        }
    }

    const int m_iFours;
    CFour m_Real[kCellCount / 4] = {};
    CFour m_Imaginary[kCellCount / 4] = {};
    CFour m_TurnReal[kCellCount / 4] = {};
    CFour m_TurnImaginary[kCellCount / 4] = {};
};

// The comb of a frequency and the phase of its sum: its lines lie where the phase is that of a half, at
// (1.5 + 3 k) * gain + offset.
SBxTone ToneOfPhase(double frequency, double phase) {
    SBxTone tone;
    tone.gain = 1.0 / (kLineDistance * frequency);
    const double distance = kLineDistance * tone.gain;
    const double offset = (phase / (2.0 * kPi) - 0.5) / frequency;
    tone.offset = offset - std::floor(offset / distance) * distance;
    return tone;
}

}  // namespace

void BX_SoftValues(float* soft, const float* means, const SBxTone& tone) {
    float straight[kCellCount];
    const float* tones = means;
    if (tone.exponent != 1.0) {
        for (int cell = 0; cell < kCellCount; ++cell) {
            straight[cell] =
                static_cast<float>(255.0 * std::pow(static_cast<double>(means[cell]) / 255.0, 1.0 / tone.exponent));
        }
        tones = straight;
    }
    // Half a turn from line to line.
    const auto turnsPerTone = static_cast<float>(0.5 / (kLineDistance * tone.gain));
    const auto offset = static_cast<float>(tone.offset);
    for (int cell = 0; cell < kCellCount; ++cell) {
        const float sine = BX_PhasorOf((tones[cell] - offset) * turnsPerTone).sine;
        soft[cell] = IsNumber(means[cell]) ? sine : 0.0f;
    }
}

float BX_CombScore(const float* means, int count) {
    return static_cast<float>(std::abs(MeanOnComb(means, count)));
}

SBxTone BX_ToneOfMeans(const float* means) {
    SBxTone tone;
    const std::complex<double> mean = MeanOnComb(means, kCellCount);
    // Lines lie where the phase is that of a half; an offset turns it.
    const double offset = std::arg(-mean) / (2.0 * kPi) * kLineDistance;
    if (std::abs(mean) > kClearComb) {
        tone.offset = offset;
    }
    return tone;
}

float BX_FindComb(SBxTone& tone, const float* means) {
    return BX_FindCombBetween(tone, means, kLowestGain, kHighestGain);
}

float BX_FindCombBetween(SBxTone& tone, const float* means, double lowestGain, double highestGain) {
    const double lowest = 1.0 / (kLineDistance * highestGain);
    const double highest = 1.0 / (kLineDistance * lowestGain);
    float numbers[kCellCount];
    const int known = KeepNumbers(numbers, means, kCellCount);
    double sum = 0.0;
    double squares = 0.0;
    for (int i = 0; i < known; ++i) {
        const double mean = numbers[i];
        sum += mean;
        squares += mean * mean;
    }
    tone = {};
    const double count = known;
    if (count == 0.0 || squares / count - (sum / count) * (sum / count) < kLeastSpread * kLeastSpread) {
        return 0.0f;
    }
    // Every second frequency, then its neighbours.
    CPhasors phasors(numbers, known, lowest, 2.0 * kFrequencyStep);
    double coarse = lowest;
    float largest = 0.0f;
    for (double frequency = lowest; frequency <= highest; frequency += 2.0 * kFrequencyStep) {
        const float size = phasors.SumAndTurn();
        if (size > largest) {
            largest = size;
            coarse = frequency;
        }
    }
    double best = 0.0;
    for (const double shift : {0.0, -kFrequencyStep, kFrequencyStep}) {
        const double frequency = std::clamp(coarse + shift, lowest, highest);
        const std::complex<double> at = SumAtFrequency(numbers, known, frequency);
        if (std::abs(at) > best) {
            best = std::abs(at);
            tone = ToneOfPhase(frequency, std::arg(at));
        }
    }
    return static_cast<float>(best / count);
}
