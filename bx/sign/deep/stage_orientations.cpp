// Stage: the picture was mirrored or turned by quarters. Each of the seven copies turned back is searched as an
// ordinary picture at zoom 1. Where that is not enough, the grids between corners are read along their sides in all
// orientations. Along a reversed axis a corner stands elsewhere: it was found by forward differences.
#include <algorithm>
#include <atomic>
#include <cmath>

#include "deep_run.h"
#include "heap_array.h"
#include "owned_pic.h"
#include "result.h"
#include "sign_op.h"
#include "slices.h"

namespace {

constexpr std::size_t kSlice = 64;
constexpr double kFarthestZoom = 1.12;
constexpr std::size_t kMostDecoded = 500;
// In larger pictures the grids are enough.
constexpr double kMostPixelsTurnedBack = 2e6;
constexpr int kReversals = 4;  // of neither, one or both axes

struct SReversedGrid {
    float score;
    std::uint32_t pair;  // the pool's count stands for the whole picture
    unsigned char reversal;
};

// A corner lies half a pixel of its zoom in front of where a reader of the reversed picture would have put it, and the
// frame of the carrier was cut to whole pixels: together one pixel of each.
SBxGridTrial TrialOf(const CBxDeepRun& run, const SReversedGrid& grid) {
    SBxGridTrial trial =
        grid.pair < run.m_Pool.Count() ? BX_TrialOfPair(run.m_Pool[grid.pair]) : run.TrialOfWholePicture(1.0);
    if (grid.pair < run.m_Pool.Count()) {
        const double shift = 1.0 + 1.0 / static_cast<double>(run.m_Pool[grid.pair].zoom);
        trial.pose.origin.x += (grid.reversal & 1) != 0 ? shift : 0.0;
        trial.pose.origin.y += (grid.reversal & 2) != 0 ? shift : 0.0;
    }
    return trial;
}

SBxGridTrial Reoriented(SBxGridTrial trial, int orientation) {
    trial.orientation = BX_GridOrientation(orientation);
    trial.pose = BX_Reorient(trial.pose, trial.orientation);
    return trial;
}

// The picture as the grids of an orientation see it: (u, v) of the copy lies at Place(u, v) of the picture.
class CReorientedCopy {
public:
    CReorientedCopy(const SBxPicBuf& picture, const SBxGridOrientation& orientation)
        : m_Picture(picture), m_Orientation(orientation) {}

    bool Make() {
        const bool transposes = m_Orientation.transposes;
        const int width = transposes ? m_Picture.m_iHeight : m_Picture.m_iWidth;
        const int height = transposes ? m_Picture.m_iWidth : m_Picture.m_iHeight;
        if (m_Copy.Allocate(width, height, 3, 8) != kBxSuccess) {
            return false;
        }
        // From one pixel of a row of the copy to the next.
        const auto pixelOf = [this](double u, double v) {
            const CBxPoint<double> place = Place(u + 0.5, v + 0.5);
            return BX_PicRow<unsigned char>(m_Picture, static_cast<int>(place.y)) + 3 * static_cast<int>(place.x);
        };
        for (int v = 0; v < height; ++v) {
            auto* to = BX_PicRow<unsigned char>(m_Copy.Pic(), v);
            const unsigned char* from = pixelOf(0.0, v);
            const std::ptrdiff_t step = width > 1 ? pixelOf(1.0, v) - from : 0;
            for (int u = 0; u < width; ++u, from += step, to += 3) {
                to[0] = from[0];
                to[1] = from[1];
                to[2] = from[2];
            }
        }
        return true;
    }

    CBxPoint<double> Place(double u, double v) const {
        const double x = m_Orientation.transposes ? v : u;
        const double y = m_Orientation.transposes ? u : v;
        return {m_Orientation.reversesX ? m_Picture.m_iWidth - x : x,
                m_Orientation.reversesY ? m_Picture.m_iHeight - y : y};
    }

    SBxPicBuf& Pic() { return m_Copy.Pic(); }

private:
    const SBxPicBuf& m_Picture;
    const SBxGridOrientation m_Orientation;
    CBxOwnedPic m_Copy;
};

unsigned char SearchTurnedBack(CBxDeepRun& run, int index) {
    CReorientedCopy copy(run.Picture(), BX_GridOrientation(index));
    if (!copy.Make()) {
        return kBxOutOfMemory;
    }
    SBxSignRun ordinary;
    char text[CBxSignOp::kTextBytes] = "";
    const unsigned char result = CBxSignOp::ExtractTextFromPictureWithZoom(ordinary, &copy.Pic(), 1.0, text);
    if (result == kBxSuccess) {
        const SBxGridPose found = BX_PoseOfRectangle(ordinary.m_Finding.m_Rectangle);
        const auto place = [&](double column, double row) {
            const CBxPoint<double> point = found.PointAt(column, row);
            return copy.Place(point.x, point.y);
        };
        const CBxPoint<double> origin = place(0.0, 0.0);
        const CBxPoint<double> right = place(1.0, 0.0);
        const CBxPoint<double> below = place(0.0, 1.0);
        SBxGridTrial trial = run.TrialOfWholePicture(1.0);
        trial.orientation = BX_GridOrientation(index);
        trial.pose = {origin, {right.x - origin.x, right.y - origin.y}, {below.x - origin.x, below.y - origin.y}};
        run.TryAsRead(trial, EBxDeepStage::Orientations);
    }
    return result == kBxOutOfMemory ? result : static_cast<unsigned char>(kBxSuccess);
}

// Searches all copies of a picture that is not too large. 0 or 6.
unsigned char SearchCopies(CBxDeepRun& run) {
    const double pixels = static_cast<double>(run.Picture().m_iWidth) * run.Picture().m_iHeight;
    if (pixels >= kMostPixelsTurnedBack) {
        return kBxSuccess;
    }
    std::atomic<bool> hasMemory{true};
    auto turnBack = [&](std::size_t begin, std::size_t /*end*/) {
        if (SearchTurnedBack(run, static_cast<int>(begin) + 1) == kBxOutOfMemory) {
            hasMemory.store(false);
        }
        return hasMemory.load() && !run.Ended();
    };
    BX_RunSlices(kGridOrientations - 1, 1, run.m_uiThreads, turnBack);
    return hasMemory.load() ? kBxSuccess : kBxOutOfMemory;
}

// Those of zooms near 1 and that of the whole picture, with any axes reversed. There is room for all.
std::size_t CollectGrids(const CBxDeepRun& run, SReversedGrid* grids) {
    const std::size_t pairs = run.m_Pool.Count();
    std::size_t count = 0;
    for (std::size_t i = 0; i <= pairs; ++i) {
        const double zoom = i < pairs ? static_cast<double>(run.m_Pool[i].zoom) : 1.0;
        if (zoom < kFarthestZoom && zoom > 1.0 / kFarthestZoom) {
            for (unsigned char reversal = 0; reversal < kReversals; ++reversal) {
                grids[count++] = {0.0f, static_cast<std::uint32_t>(i), reversal};
            }
        }
    }
    return count;
}

void ScoreGrids(CBxDeepRun& run, SReversedGrid* grids, std::size_t count) {
    auto score = [&](std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end && !run.Ended(); ++i) {
            float means[CBxBlueSums::kSampledCells];
            run.m_Sums.SampledMeans(means, TrialOf(run, grids[i]).pose);
            // The whole picture is always among those that are decoded.
            grids[i].score =
                grids[i].pair == run.m_Pool.Count() ? 2.0f : BX_CombScore(means, CBxBlueSums::kSampledCells);
        }
        run.m_ulGrids.fetch_add(end - begin, std::memory_order_relaxed);
        return !run.Ended();
    };
    BX_RunSlices(count, kSlice, run.m_uiThreads, score);
}

// In all orientations but the upright one that reverse the axes so: with and without an exchange of the two.
void DecodeGrids(CBxDeepRun& run, const SReversedGrid* grids, std::size_t count) {
    auto decode = [&](std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end && !run.Ended(); ++i) {
            const SBxGridTrial upright = TrialOf(run, grids[i]);
            for (const int transposing : {0, 4}) {
                const int orientation = grids[i].reversal | transposing;
                if (orientation == 0) {
                    continue;
                }
                float soft[kCellCount];
                run.TryRoughly(soft, Reoriented(upright, orientation), EBxDeepStage::Orientations);
            }
        }
        return !run.Ended();
    };
    BX_RunSlices(count, 4, run.m_uiThreads, decode);
}

}  // namespace

unsigned char BX_SearchOrientations(CBxDeepRun& run) {
    const unsigned char result = SearchCopies(run);
    if (result != kBxSuccess || run.Ended()) {
        return result;
    }
    CBxHeapArray<SReversedGrid> grids;
    if (!grids.Allocate((run.m_Pool.Count() + 1) * kReversals)) {
        return kBxOutOfMemory;
    }
    const std::size_t count = CollectGrids(run, grids.Data());
    ScoreGrids(run, grids.Data(), count);
    const std::size_t decoded = std::min(count, kMostDecoded);
    std::partial_sort(grids.Data(), grids.Data() + decoded, grids.Data() + count,
                      [](const SReversedGrid& a, const SReversedGrid& b) { return a.score > b.score; });
    DecodeGrids(run, grids.Data(), decoded);
    return kBxSuccess;
}
