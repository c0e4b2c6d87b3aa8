// Stage: the whole picture was the carrier, and the picture was turned or cut since. The grid then reaches beyond the
// edges. It is looked for by the contrast of its cells first, on a reduced plane, then read.
#include <algorithm>
#include <cmath>
#include <new>

#include "deep_run.h"
#include "heap_array.h"
#include "pattern_plane.h"
#include "result.h"
#include "slices.h"

namespace {

constexpr double kLargestAngle = 12.0;
constexpr double kAngleStep = 0.25;
constexpr double kPi = 3.141592653589793;

constexpr double kCutStep = 0.0125;  // of a side, against what is left of it: a fifth of a cell
constexpr int kCutSteps = 12;
constexpr std::size_t kCuts = kCutSteps * kCutSteps * kCutSteps * kCutSteps;
constexpr std::size_t kSlice = 64;
constexpr std::size_t kMostMeasured = 2000;
constexpr std::size_t kMostFollowed = 100;

// The whole picture turned about its middle, in a frame of the old size (cut) or of the size that holds all of it.
SBxGridTrial TurnedTrial(const CBxDeepRun& run, double degrees, bool holdsAll) {
    const double width = run.m_Sums.Width();
    const double height = run.m_Sums.Height();
    const double angle = degrees / 180.0 * kPi;
    const double cosine = std::cos(angle);
    const double sine = std::sin(angle);
    double oldWidth = width;
    double oldHeight = height;
    if (holdsAll) {
        const double spread = std::fabs(sine);
        const double determinant = cosine * cosine - spread * spread;
        oldWidth = (width * cosine - height * spread) / determinant;
        oldHeight = (height * cosine - width * spread) / determinant;
    }
    const CBxPoint<double> origin{width / 2 - (oldWidth * cosine - oldHeight * sine) / 2,
                                  height / 2 - (oldWidth * sine + oldHeight * cosine) / 2};
    return {{origin,
             {oldWidth * cosine / kGridSide, oldWidth * sine / kGridSide},
             {-oldHeight * sine / kGridSide, oldHeight * cosine / kGridSide}},
            BX_BlurOfScale(1.0),
            1.0,
            degrees,
            BX_GridOrientation(0)};
}

void SearchTurnedWhole(CBxDeepRun& run) {
    constexpr auto kSteps = static_cast<std::size_t>(2.0 * kLargestAngle / kAngleStep);
    auto slice = [&run](std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end && !run.Ended(); ++i) {
            const double degrees = -kLargestAngle + static_cast<double>(i / 2) * kAngleStep;
            if (degrees != 0.0) {
                const SBxGridTrial trial = TurnedTrial(run, degrees, i % 2 == 1);
                float means[kCellCount];
                run.ReadMeans(means, trial);
                run.TryWithComb(trial, means, EBxDeepStage::Cut);
            }
        }
        return !run.Ended();
    };
    BX_RunSlices(2 * (kSteps + 1), 4, run.m_uiThreads, slice);
}

// What was cut off each side, against what is left.
struct SCut {
    float contrast;
    float sides[4];  // left, right, top, bottom
};

SBxGridPose PoseOfCut(const CBxDeepRun& run, const float* sides) {
    const double width = run.m_Sums.Width();
    const double height = run.m_Sums.Height();
    return BX_PoseOfRectangle({-width * static_cast<double>(sides[0]), -height * static_cast<double>(sides[2]),
                               width * (1.0 + static_cast<double>(sides[1])),
                               height * (1.0 + static_cast<double>(sides[3]))});
}

// Moves the sides to where the contrast is largest.
void FollowContrast(const CBxDeepRun& run, const CBxPatternPlane& pattern, SCut& cut) {
    for (double step = kCutStep / 2; step > kCutStep / 20; step /= 2) {
        for (int side = 0; side < 8; ++side) {
            SCut moved = cut;
            moved.sides[side / 2] += static_cast<float>(side % 2 == 0 ? step : -step);
            moved.contrast = static_cast<float>(pattern.Contrast(PoseOfCut(run, moved.sides)));
            if (moved.contrast > cut.contrast) {
                cut = moved;
            }
        }
    }
}

void KeepBest(SCut* cuts, std::size_t count, std::size_t kept) {
    std::partial_sort(cuts, cuts + kept, cuts + count,
                      [](const SCut& a, const SCut& b) { return a.contrast > b.contrast; });
}

unsigned char SearchCuts(CBxDeepRun& run) {
    CBxPatternPlane pattern;
    CBxHeapArray<SCut> cuts;
    if (!pattern.Prepare(run.m_Picture) || !cuts.Allocate(kCuts)) {
        return kBxOutOfMemory;
    }
    auto sample = [&](std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end && !run.Ended(); ++i) {
            std::size_t rest = i;
            for (float& side : cuts[i].sides) {
                side = static_cast<float>(kCutStep * static_cast<double>(rest % kCutSteps));
                rest /= kCutSteps;
            }
            cuts[i].contrast = static_cast<float>(pattern.SampledContrast(PoseOfCut(run, cuts[i].sides)));
        }
        run.m_ulGrids.fetch_add(end - begin, std::memory_order_relaxed);
        return !run.Ended();
    };
    BX_RunSlices(kCuts, kSlice, run.m_uiThreads, sample);
    KeepBest(cuts.Data(), kCuts, kMostMeasured);
    auto measure = [&](std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end && !run.Ended(); ++i) {
            cuts[i].contrast = static_cast<float>(pattern.Contrast(PoseOfCut(run, cuts[i].sides)));
        }
        return !run.Ended();
    };
    BX_RunSlices(kMostMeasured, kSlice, run.m_uiThreads, measure);
    if (run.Ended()) {
        return kBxSuccess;
    }
    KeepBest(cuts.Data(), kMostMeasured, kMostFollowed);
    auto follow = [&](std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end && !run.Ended(); ++i) {
            FollowContrast(run, pattern, cuts[i]);
            SBxGridTrial trial = run.TrialOfWholePicture(1.0);
            trial.pose = PoseOfCut(run, cuts[i].sides);
            float means[kCellCount];
            run.ReadMeans(means, trial);
            run.TryWithComb(trial, means, EBxDeepStage::Cut);
        }
        return !run.Ended();
    };
    BX_RunSlices(kMostFollowed, 1, run.m_uiThreads, follow);
    return kBxSuccess;
}

}  // namespace

unsigned char BX_SearchCut(CBxDeepRun& run) {
    SearchTurnedWhole(run);
    return run.Ended() ? static_cast<unsigned char>(kBxSuccess) : SearchCuts(run);
}
