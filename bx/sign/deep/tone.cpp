#include "tone.h"

#include <algorithm>
#include <cmath>
#include <complex>

namespace {

constexpr double kPi = 3.141592653589793;
constexpr double kLineDistance = kPeriod / 2;  // 3: between neighbouring lines of the comb
constexpr double kFrequencyStep = 0.0005;      // lines a tone
constexpr float kLeastSpread = 2.5f;           // standard deviation of the means, in tones, that can show a comb

constexpr double kClearComb = 0.13;  // twice what anything else shows

bool IsNumber(float value) {
    return value == value;
}

// The mean of the phasors of the means, one turn for each distance of the comb's lines.
std::complex<double> SumOnComb(const float* means, int count) {
    std::complex<double> sum = 0.0;
    int numbers = 0;
    for (int i = 0; i < count; ++i) {
        if (IsNumber(means[i])) {
            const double angle = 2.0 * kPi / kLineDistance * static_cast<double>(means[i]);
            sum += std::complex<double>(std::cos(angle), std::sin(angle));
            ++numbers;
        }
    }
    return numbers > 0 ? sum / static_cast<double>(numbers) : 0.0;
}

// The phasors of the means at a frequency that climbs, four side by side.
class CPhasors {
public:
    void Add(double mean, double frequency, double step) {
        Set(m_Real, std::cos(2.0 * kPi * frequency * mean));
        Set(m_Imaginary, std::sin(2.0 * kPi * frequency * mean));
        Set(m_TurnReal, std::cos(2.0 * kPi * step * mean));
        Set(m_TurnImaginary, std::sin(2.0 * kPi * step * mean));
        ++m_iCount;
    }
    int Count() const { return m_iCount; }

    // Adds all of them up and turns each to the next frequency.
    void SumAndTurn(float& real, float& imaginary) {
        CFour sumReal = {};
        CFour sumImaginary = {};
        for (int i = 0; i < (m_iCount + 3) / 4; ++i) {
            sumReal += m_Real[i];
            sumImaginary += m_Imaginary[i];
            const CFour turned = m_Real[i] * m_TurnReal[i] - m_Imaginary[i] * m_TurnImaginary[i];
            m_Imaginary[i] = m_Real[i] * m_TurnImaginary[i] + m_Imaginary[i] * m_TurnReal[i];
            m_Real[i] = turned;
        }
        real = sumReal[0] + sumReal[1] + sumReal[2] + sumReal[3];
        imaginary = sumImaginary[0] + sumImaginary[1] + sumImaginary[2] + sumImaginary[3];
    }

private:
    typedef float CFour __attribute__((vector_size(4 * sizeof(float))));

    void Set(CFour* values, double value) { values[m_iCount / 4][m_iCount % 4] = static_cast<float>(value); }

    int m_iCount = 0;
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
    const double perTone = kPi / (kLineDistance * tone.gain);
    for (int cell = 0; cell < kCellCount; ++cell) {
        double mean = means[cell];
        if (!IsNumber(means[cell])) {
            soft[cell] = 0.0f;
            continue;
        }
        if (tone.exponent != 1.0) {
            mean = 255.0 * std::pow(mean / 255.0, 1.0 / tone.exponent);
        }
        soft[cell] = static_cast<float>(std::sin((mean - tone.offset) * perTone));
    }
}

float BX_CombScore(const float* means, int count) {
    return static_cast<float>(std::abs(SumOnComb(means, count)));
}

SBxTone BX_ToneOfMeans(const float* means) {
    SBxTone tone;
    const std::complex<double> sum = SumOnComb(means, kCellCount);
    // Lines lie where the phase is that of a half; an offset turns it.
    const double offset = std::arg(-sum) / (2.0 * kPi) * kLineDistance;
    if (std::abs(sum) > kClearComb) {
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
    CPhasors phasors;
    double sum = 0.0;
    double squares = 0.0;
    for (int cell = 0; cell < kCellCount; ++cell) {
        if (IsNumber(means[cell])) {
            const double mean = means[cell];
            sum += mean;
            squares += mean * mean;
            phasors.Add(mean, lowest, kFrequencyStep);
        }
    }
    tone = {};
    const double count = phasors.Count();
    if (count == 0.0 || squares / count - (sum / count) * (sum / count) < kLeastSpread * kLeastSpread) {
        return 0.0f;
    }
    const int steps = static_cast<int>((highest - lowest) / kFrequencyStep) + 1;
    float best = 0.0f;
    for (int step = 0; step < steps; ++step) {
        float real = 0.0f;
        float imaginary = 0.0f;
        phasors.SumAndTurn(real, imaginary);
        const float size = real * real + imaginary * imaginary;
        if (size > best) {
            best = size;
            tone = ToneOfPhase(lowest + step * kFrequencyStep,
                               std::atan2(static_cast<double>(imaginary), static_cast<double>(real)));
        }
    }
    return std::sqrt(best) / static_cast<float>(count);
}
