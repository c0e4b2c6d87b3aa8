#include "row_walk.h"

#include <algorithm>
#include <cmath>

namespace {

// Source pixels. No picture reaches that far, and doubles and fixed-point numbers are still fine enough there.
constexpr double kFarthest = 1099511627776.0;  // 2^40

constexpr double kFixedOne = 65536.0;

bool IsBetween(double position, double low, double high) {
    return position >= low && position < high;
}

// Narrows the run to the columns with low <= position < high. The solution of the bounds may be a column off, so both
// ends are settled by the test itself; positions are monotone, so the columns in between need none.
void Narrow(SBxRun& run, const SBxAxis& axis, double low, double high) {
    const auto inside = [&](int column) { return IsBetween(axis.At(column), low, high); };
    const SBxRun whole = run;
    if (axis.step == 0.0) {
        run.last = inside(run.first) ? run.last : run.first;
        return;
    }
    const double entry = ((axis.step > 0.0 ? low : high) - axis.start) / axis.step;
    const double exit = ((axis.step > 0.0 ? high : low) - axis.start) / axis.step;
    run.first = static_cast<int>(std::clamp<double>(std::ceil(entry), whole.first, whole.last));
    run.last = static_cast<int>(std::clamp<double>(std::floor(exit) + 1.0, run.first, whole.last));
    while (run.first < run.last && !inside(run.first)) {
        ++run.first;
    }
    while (run.last > run.first && !inside(run.last - 1)) {
        --run.last;
    }
    while (run.first > whole.first && inside(run.first - 1)) {
        --run.first;
    }
    while (run.last < whole.last && inside(run.last)) {
        ++run.last;
    }
}

// Narrows the run to the columns whose `taps` pixels lie in a row or column of `size` pixels.
void NarrowFixed(SBxRun& run, const SBxFixedAxis& axis, int size, int taps) {
    const std::int64_t high = static_cast<std::int64_t>(size - taps + 1) << 16;
    const auto inside = [&](int column) { return axis.At(column) >= 0 && axis.At(column) < high; };
    while (run.first < run.last && !inside(run.first)) {
        ++run.first;
    }
    while (run.last > run.first && !inside(run.last - 1)) {
        --run.last;
    }
}

// Truncates, for negative values too.
std::int64_t ToFixed(double value) {
    return static_cast<std::int64_t>(value * kFixedOne + 0.5);
}

SBxFixedAxis ToFixed(const SBxAxis& axis, double shift) {
    return {ToFixed(axis.start - shift), ToFixed(axis.step)};
}

}  // namespace

CBxRowWalk::CBxRowWalk(const SBxPicBuf& dst, const SBxPicBuf& src, const CBxPicMap& map, const SBxReach& reach)
    : m_X{map.m_dX0, map.m_dA},
      m_Y{map.m_dY0, map.m_dB},
      m_Reach(reach),
      m_iColumns(dst.m_iWidth),
      m_Source{src.m_iWidth, src.m_iHeight},
      m_Valid{reach.edge, reach.edge, src.m_iWidth - reach.edge, src.m_iHeight - reach.edge} {}

void CBxRowWalk::NextRow() {
    m_X.start -= m_Y.step;
    m_Y.start += m_X.step;
}

bool CBxRowWalk::IsWalkable() const {
    const auto isNear = [](double value) { return std::abs(value) < kFarthest; };
    return isNear(m_X.start) && isNear(m_X.step) && isNear(m_Y.start) && isNear(m_Y.step);
}

SBxRun CBxRowWalk::ExactRun() const {
    if (m_iColumns <= 0 || !IsWalkable()) {
        return {0, 0};
    }
    SBxRun run{0, m_iColumns};
    const auto inside = [this](int column) {
        return IsBetween(m_X.At(column), m_Valid.left, m_Valid.right) &&
               IsBetween(m_Y.At(column), m_Valid.top, m_Valid.bottom);
    };
    if (!inside(0) || !inside(m_iColumns - 1)) {
        Narrow(run, m_X, m_Valid.left, m_Valid.right);
        Narrow(run, m_Y, m_Valid.top, m_Valid.bottom);
    }
    return run;
}

SBxFixedAxis CBxRowWalk::FixedX() const {
    return ToFixed(m_X, m_Reach.shift);
}

SBxFixedAxis CBxRowWalk::FixedY() const {
    return ToFixed(m_Y, m_Reach.shift);
}

SBxRun CBxRowWalk::FixedRun() const {
    SBxRun run = ExactRun();
    if (run.first < run.last) {
        NarrowFixed(run, FixedX(), m_Source.width, m_Reach.taps);
        NarrowFixed(run, FixedY(), m_Source.height, m_Reach.taps);
    }
    return run;
}
