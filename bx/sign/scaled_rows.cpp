#include "scaled_rows.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "scale_geometry.h"

namespace {

int TapsOfStep(double step) {
    return step > 1.0 ? static_cast<int>(std::ceil(step)) + 1 : 2;
}

// The taps of one sample of a scaled line, and the source sample of the first.
struct STaps {
    int first;
    double weights[16];
};

STaps ShrinkingTaps(int target, double step, int sourceLength, int taps) {
    const SBxCoverage coverage(target, step, sourceLength);
    STaps result{coverage.first, {}};
    double sum = 0.0;
    for (int tap = 0; tap < taps; ++tap) {
        result.weights[tap] = coverage.Weight(coverage.first + tap);
        sum += result.weights[tap];
    }
    for (int tap = 0; tap < taps; ++tap) {
        result.weights[tap] /= sum;
    }
    return result;
}

STaps ColumnTaps(int target, double step, int sourceLength, int taps) {
    if (step > 1.0) {
        return ShrinkingTaps(target, step, sourceLength, taps);
    }
    const SBxBetween between(target, step, sourceLength);
    const double behind = between.Thousandths() / static_cast<double>(kScaleWeightSteps);
    return {between.before, {1.0 - behind, behind}};
}

STaps RowTaps(int target, double step, int sourceLength, int taps) {
    if (step > 1.0) {
        return ShrinkingTaps(target, step, sourceLength, taps);
    }
    const SBxBetween between(target, step, sourceLength);
    return {between.before, {1.0 - between.fraction, between.fraction}};
}

}  // namespace

bool CBxColumnWeights::Prepare(int sourceWidth, double zoom) {
    const double step = 1.0 / zoom;
    m_iScaledWidth = static_cast<int>(sourceWidth * zoom);
    m_iTaps = TapsOfStep(step);
    const auto width = static_cast<std::size_t>(m_iScaledWidth);
    if (!m_First.Allocate(width) || !m_Weights.Allocate(width * static_cast<std::size_t>(m_iTaps))) {
        return false;
    }
    for (std::size_t x = 0; x < width; ++x) {
        const STaps taps = ColumnTaps(static_cast<int>(x), step, sourceWidth, m_iTaps);
        m_First[x] = taps.first;
        for (int tap = 0; tap < m_iTaps; ++tap) {
            m_Weights[static_cast<std::size_t>(tap) * width + x] = taps.weights[tap];
        }
    }
    return true;
}

CBxScaledRows::CBxScaledRows(const CBxSearchPicture& picture, const CBxColumnWeights& columns, double zoom,
                             EChannel channel)
    : m_Picture(picture),
      m_Columns(columns),
      m_dStep(1.0 / zoom),
      m_eChannel(channel),
      m_iScaledHeight(static_cast<int>(picture.Height() * zoom)),
      m_Kernels(BX_Kernels()) {
    std::fill(m_iRingRow, m_iRingRow + kRing, -1);
}

bool CBxScaledRows::Prepare() {
    const auto width = static_cast<std::size_t>(m_Columns.ScaledWidth());
    const auto ringRows = static_cast<std::size_t>(kRing * Components());
    return m_Ring.Allocate(width * ringRows) && m_Scratch.Allocate(2 * width);
}

double* CBxScaledRows::RingRow(int component, int sourceRow) {
    return m_Ring.Data() +
           (static_cast<std::ptrdiff_t>(component) * kRing + sourceRow % kRing) * m_Columns.ScaledWidth();
}

void CBxScaledRows::BeginStrip(int left, int width) {
    m_iLeft = left;
    m_iWidth = width;
    std::fill(m_iRingRow, m_iRingRow + kRing, -1);
}

// Resamples one source row along the strip.
void CBxScaledRows::MakeSourceRow(int sourceRow) {
    if (m_iRingRow[sourceRow % kRing] == sourceRow) {
        return;
    }
    m_iRingRow[sourceRow % kRing] = sourceRow;
    const double* weights[kMostTaps];
    for (int tap = 0; tap < m_Columns.Taps(); ++tap) {
        weights[tap] = m_Columns.OfTap(tap) + m_iLeft;
    }
    for (int component = 0; component < Components(); ++component) {
        const auto plane = static_cast<CBxSearchPicture::EComponent>(
            m_eChannel == EChannel::Blue ? CBxSearchPicture::Blue : CBxSearchPicture::Green + component);
        m_Kernels.ResampleAlong(RingRow(component, sourceRow), m_Picture.Row(plane, sourceRow),
                                m_Columns.First() + m_iLeft, weights, m_Columns.Taps(),
                                static_cast<std::size_t>(m_iWidth));
    }
}

void CBxScaledRows::Row(float* out, int row) {
    const int taps = TapsOfStep(m_dStep);
    const STaps vertical = RowTaps(row, m_dStep, m_Picture.Height(), taps);
    const double* rows[2][kMostTaps];
    for (int tap = 0; tap < taps; ++tap) {
        const int sourceRow = std::min(vertical.first + tap, m_Picture.Height() - 1);
        MakeSourceRow(sourceRow);
        for (int component = 0; component < Components(); ++component) {
            rows[component][tap] = RingRow(component, sourceRow);
        }
    }
    const auto width = static_cast<std::size_t>(m_iWidth);
    if (m_eChannel == EChannel::Blue) {
        m_Kernels.ResampleAcross(out, rows[0], vertical.weights, taps, width);
        return;
    }
    float* green = m_Scratch.Data();
    float* red = green + width;
    m_Kernels.ResampleAcross(green, rows[0], vertical.weights, taps, width);
    m_Kernels.ResampleAcross(red, rows[1], vertical.weights, taps, width);
    m_Kernels.Mean(out, green, red, width);
}

CBxRowSource::SRange CBxScaledRows::RangeOf(const CBxRect<int>& area) const {
    // A sample lies between the source samples that it is made of, except in front of the first row, where no corner
    // is.
    const auto first = [this](int target) { return static_cast<int>(std::floor((target + 0.5) * m_dStep - 0.5)) - 1; };
    const auto end = [this](int target) { return static_cast<int>(std::ceil((target + 0.5) * m_dStep + 0.5)) + 2; };
    const CBxSearchPicture::SRange range =
        m_Picture.RangeOf({first(area.left), first(area.top), end(area.right - 1), end(area.bottom - 1)});
    return {static_cast<float>(range.low) / 2.0f, static_cast<float>(range.high) / 2.0f};
}
