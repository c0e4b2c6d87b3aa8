#include "scaled_rows.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "bit_runs.h"
#include "scale_geometry.h"

namespace {

int TapsOfStep(double step) {
    return step > 1.0 ? static_cast<int>(std::ceil(step)) + 1 : 2;
}

constexpr int kRowsAhead = 4;
constexpr int kCacheLine = 64;
constexpr std::uint64_t kAllSpans = ~std::uint64_t{0};  // and all columns behind them

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
    m_bEnlarges = step <= 1.0;
    const auto width = static_cast<std::size_t>(m_iScaledWidth);
    if (!m_First.Allocate(width) || !m_Shares.Allocate(m_bEnlarges ? width : 0) ||
        !m_Weights.Allocate(m_bEnlarges ? 0 : width * static_cast<std::size_t>(m_iTaps))) {
        return false;
    }
    for (int x = 0; x < m_iScaledWidth; ++x) {
        const auto at = static_cast<std::size_t>(x);
        if (m_bEnlarges) {
            const SBxBetween between(x, step, sourceWidth);
            m_First[at] = between.before;
            const auto second = static_cast<unsigned int>(between.Thousandths());
            m_Shares[at] = (kScaleWeightSteps - second) | second << 16;
            continue;
        }
        const STaps taps = ShrinkingTaps(x, step, sourceWidth, m_iTaps);
        m_First[at] = taps.first;
        for (int tap = 0; tap < m_iTaps; ++tap) {
            m_Weights[static_cast<std::size_t>(tap) * width + at] = taps.weights[tap];
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
    std::fill(m_iRingRow, m_iRingRow + kMostTaps, -1);
}

bool CBxScaledRows::Prepare() {
    const auto width = static_cast<std::size_t>(m_Columns.ScaledWidth());
    m_iRing = m_Columns.Taps() <= kFewTaps ? kFewTaps : kMostTaps;
    const auto ring = width * static_cast<std::size_t>(m_iRing * Components());
    return m_Ring.Allocate(ring) && (m_eChannel == EChannel::Blue || m_Ranges.Prepare(m_Picture));
}

std::ptrdiff_t CBxScaledRows::RingOffset(int component, int sourceRow) const {
    return (static_cast<std::ptrdiff_t>(component) * m_iRing + PlaceOf(sourceRow)) * m_Columns.ScaledWidth();
}

void CBxScaledRows::BeginStrip(int left, int width) {
    m_iLeft = left;
    m_iWidth = width;
    std::fill(m_iRingRow, m_iRingRow + kMostTaps, -1);
}

// Visits the columns of runs of spans that lie in the picture.
template <typename Visit>
void CBxScaledRows::ForEachPart(std::uint64_t spans, Visit visit) const {
    const int end = std::min(m_iLeft + m_iWidth, Width());
    if (spans == kAllSpans) {
        visit(std::max(0, m_iLeft), end);
        return;
    }
    BX_ForEachRun(spans, [&](int firstSpan, int endSpan) {
        const int first = std::max(0, m_iLeft + kSpan * firstSpan);
        const int last = std::min(m_iLeft + kSpan * endSpan, end);
        if (first < last) {
            visit(first, last);
        }
    });
}

// Resamples those spans of a source row that do not stand in the ring.
void CBxScaledRows::MakeSourceRow(int sourceRow, std::uint64_t spans) {
    const int place = PlaceOf(sourceRow);
    if (m_iRingRow[place] != sourceRow) {
        m_iRingRow[place] = sourceRow;
        m_uiRingSpans[place] = 0;
    }
    std::uint64_t missing = spans & ~m_uiRingSpans[place];
    if (missing == 0) {
        return;
    }
    missing = spans == kAllSpans ? spans : missing;
    m_uiRingSpans[place] |= missing;
    ForEachPart(missing, [&](int first, int end) {
        for (int component = 0; component < Components(); ++component) {
            ResampleSourceRow(component, sourceRow, first, end);
        }
    });
}

void CBxScaledRows::ResampleSourceRow(int component, int sourceRow, int first, int end) {
    const auto plane = static_cast<CBxSearchPicture::EComponent>(
        m_eChannel == EChannel::Blue ? CBxSearchPicture::Blue : CBxSearchPicture::Green + component);
    const int* columns = m_Columns.First();
    // Strips are narrow: the machine does not foresee the rows of the next few samples by itself.
    const int ahead = sourceRow + kRowsAhead;
    if (ahead < m_Picture.Height()) {
        const unsigned char* next = m_Picture.Row(plane, ahead);
        for (int x = columns[first]; x < columns[end - 1] + kCacheLine; x += kCacheLine) {
            __builtin_prefetch(next + x);
        }
    }
    const unsigned char* source = m_Picture.Row(plane, sourceRow);
    double* out = m_Ring.Data() + RingOffset(component, sourceRow) + first;
    const auto count = static_cast<std::size_t>(end - first);
    if (m_Columns.Enlarges()) {
        m_Kernels.EnlargeAlong(out, source, columns + first, m_Columns.Shares() + first, count);
        return;
    }
    const double* weights[kMostTaps];
    for (int tap = 0; tap < m_Columns.Taps(); ++tap) {
        weights[tap] = m_Columns.OfTap(tap) + first;
    }
    m_Kernels.ResampleAlong(out, source, columns + first, weights, m_Columns.Taps(), count);
}

// Makes some columns of a row out of the ring.
void CBxScaledRows::BlendRows(float* out, const SSourceRows& source, int first, int end) {
    const auto count = static_cast<std::size_t>(end - first);
    const int taps = m_Columns.Taps();
    const double* rows[2][kMostTaps];
    for (int component = 0; component < Components(); ++component) {
        for (int tap = 0; tap < taps; ++tap) {
            rows[component][tap] = m_Ring.Data() + RingOffset(component, source.rows[tap]) + first;
        }
    }
    float* target = out + (first - m_iLeft);
    if (m_eChannel == EChannel::Blue) {
        m_Kernels.ResampleAcross(target, rows[0], source.weights, taps, count);
    } else {
        m_Kernels.ResampleMeanAcross(target, rows[0], rows[1], source.weights, taps, count);
    }
}

CBxScaledRows::SSourceRows CBxScaledRows::SourceRowsOf(int row) const {
    const STaps taps = RowTaps(row, m_dStep, m_Picture.Height(), m_Columns.Taps());
    SSourceRows source;
    for (int tap = 0; tap < m_Columns.Taps(); ++tap) {
        source.rows[tap] = std::min(taps.first + tap, m_Picture.Height() - 1);
        source.weights[tap] = m_Columns.Enlarges() ? taps.weights[tap] / kScaleWeightSteps : taps.weights[tap];
    }
    return source;
}

void CBxScaledRows::Row(float* out, int row) {
    Spans(out, row, kAllSpans);
}

void CBxScaledRows::Spans(float* out, int row, std::uint64_t spans) {
    const SSourceRows source = SourceRowsOf(row);
    for (int tap = 0; tap < m_Columns.Taps(); ++tap) {
        MakeSourceRow(source.rows[tap], spans);
    }
    ForEachPart(spans, [&](int first, int end) { BlendRows(out, source, first, end); });
}

// A sample lies between the source samples that it is made of, except in front of the first row, where no corner is.
int CBxScaledRows::FirstSource(int target) const {
    return static_cast<int>(m_Columns.Enlarges() ? (target + 0.5) * m_dStep - 0.5 : target * m_dStep);
}

int CBxScaledRows::EndSource(int target) const {
    return m_Columns.Enlarges() ? static_cast<int>((target + 0.5) * m_dStep - 0.5) + 2
                                : static_cast<int>((target + 1) * m_dStep) + 1;
}

void CBxScaledRows::Ranges(SRange* ranges, const CBxRect<int>& area, int left, int width, int count) {
    m_Ranges.Begin(m_Picture, {FirstSource(area.left), FirstSource(area.top), EndSource(area.right - 1),
                               EndSource(area.bottom - 1)});
    // Neighbours of an enlargement lie a step apart in the source; along a row the places are rounded to thousandths.
    // The samples of a reduction weigh their first source sample by the part that they cover and the others whole: the
    // middles of two neighbours, as means of the places of their source samples, are up to 0.5047 more than a step
    // apart.
    const auto apart = static_cast<float>(m_dStep + (m_Columns.Enlarges() ? 0.002 : 0.505)) / 2.0f;
    for (int i = 0; i < count; ++i) {
        const int first = std::max(area.left, left + kSpan * i);
        const int end = std::min(area.right, left + kSpan * i + width);
        if (first >= end) {
            ranges[i] = {0.0f, 0.0f, 0.0f, 0.0f};
            continue;
        }
        const CBxSearchPicture::SRange range = m_Ranges.RangeOf(FirstSource(first), EndSource(end - 1));
        const float low = static_cast<float>(range.low) / 2.0f;
        const float high = static_cast<float>(range.high) / 2.0f;
        ranges[i] = {low, high, std::min(high - low, apart * static_cast<float>(range.alongRows)),
                     std::min(high - low, apart * static_cast<float>(range.alongColumns))};
    }
}
