#include "map_grids.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace {

constexpr double kNear = 0.16;  // cells
constexpr int kEdges = 4;
constexpr double kFirstShare = 0.08;  // of a cell, of steps on the map
constexpr double kLastShare = 0.015;
constexpr int kRounds = 2;
constexpr double kFirstStep = 0.8;  // pixels of the map

double& EdgeOf(CBxRect<double>& frame, int index) {
    double* const edges[kEdges] = {&frame.left, &frame.right, &frame.top, &frame.bottom};
    return *edges[index];
}

bool IsNear(const CBxRect<double>& a, const CBxRect<double>& b) {
    const double x = kNear * a.Width() / kGridSide;
    const double y = kNear * a.Height() / kGridSide;
    return std::fabs(a.left - b.left) < x && std::fabs(a.right - b.right) < x && std::fabs(a.top - b.top) < y &&
           std::fabs(a.bottom - b.bottom) < y;
}

// How clear the comb of a trial is.
float ClearnessOf(CBxDeepRun& run, const SBxGridTrial& trial, double gain) {
    float means[kCellCount];
    if (gain == 1.0) {
        run.ReadMeans(means, trial);
        return BX_CombScore(means, kCellCount);
    }
    run.ReadWholeCells(means, trial);
    SBxTone tone;
    return BX_FindComb(tone, means);
}

}  // namespace

std::size_t BX_KeepDistinct(SBxMapGrid* grids, std::size_t count, std::size_t most) {
    std::sort(grids, grids + count, [](const SBxMapGrid& a, const SBxMapGrid& b) {
        return a.worth != b.worth             ? a.worth > b.worth
               : a.frame.left != b.frame.left ? a.frame.left < b.frame.left
                                              : a.frame.top < b.frame.top;
    });
    std::size_t kept = 0;
    for (std::size_t i = 0; i < count && kept < most; ++i) {
        const CBxRect<double>& frame = grids[i].frame;
        if (std::none_of(grids, grids + kept, [&](const SBxMapGrid& better) { return IsNear(better.frame, frame); })) {
            std::swap(grids[kept++], grids[i]);
        }
    }
    return kept;
}

void BX_FollowMap(SBxMapGrid& grid, const CBxCellMap& map, double scale) {
    CBxRect<double> frame{grid.frame.left * scale, grid.frame.top * scale, grid.frame.right * scale,
                          grid.frame.bottom * scale};
    grid.worth = map.Worth(frame);
    for (double share = kFirstShare; share > kLastShare; share *= 0.5) {
        for (int move = 0; move < 2 * kEdges; ++move) {
            const double cell = (move / 4 == 0 ? frame.Width() : frame.Height()) / kGridSide;
            CBxRect<double> moved = frame;
            EdgeOf(moved, move / 2) += (move % 2 == 0 ? share : -share) * cell;
            const float worth = map.Worth(moved);
            if (worth > grid.worth) {
                grid.worth = worth;
                frame = moved;
            }
        }
    }
    grid.frame = {frame.left / scale, frame.top / scale, frame.right / scale, frame.bottom / scale};
}

void BX_ReadMapGrid(CBxDeepRun& run, const SBxMapGrid& grid, double pixel, double gain, EBxDeepStage stage) {
    SBxGridTrial trial = run.TrialOfWholePicture(1.0);
    CBxRect<double> frame = grid.frame;
    trial.pose = BX_PoseOfRectangle(frame);
    float best = ClearnessOf(run, trial, gain);
    double step = kFirstStep * pixel;
    for (int round = 0; round < kRounds; ++round, step *= 0.5) {
        for (int move = 0; move < 2 * kEdges && !run.Ended(); ++move) {
            CBxRect<double> moved = frame;
            EdgeOf(moved, move / 2) += move % 2 == 0 ? step : -step;
            trial.pose = BX_PoseOfRectangle(moved);
            const float clearness = ClearnessOf(run, trial, gain);
            if (clearness > best) {
                best = clearness;
                frame = moved;
            }
        }
    }
    trial.pose = BX_PoseOfRectangle(frame);
    float means[kCellCount];
    run.ReadMeans(means, trial);
    run.TryWithComb(trial, means, stage);
}
