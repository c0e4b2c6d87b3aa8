// Stage: no pair of corners leads to the carrier, because the picture was turned or reduced and its strongest corners
// are others now. All grids of all sizes are weighed on maps of cells, upright and turned by up to 12 degrees (less in
// very long pictures); the best
// are moved to where the comb of their means is clearest, and decoded. Carriers that are small against the picture have
// very many places, by chance some of them are worth more than a larger carrier that is there: they come afterwards.
#include <algorithm>
#include <atomic>
#include <cmath>
#include <utility>

#include "cell_lattice.h"
#include "comb_climb.h"
#include "deep_run.h"
#include "heap_array.h"
#include "result.h"
#include "slices.h"
#include "turned_map.h"

namespace {

constexpr double kCellAsSigned = kSmallestCarrierSide / kGridSide;  // pixels; smaller cells were reduced
constexpr double kAngleStep = 1.5;                                  // degrees
constexpr int kAngles = 8;                                          // to either side
constexpr double kSmallestTurned = 0.985 * kCellAsSigned;           // few turned pictures are reduced as well
constexpr double kSmallestCell = 4.1;                               // pixels
constexpr double kAlmost = 0.999;
constexpr double kLongest = 2.6;                // the longer side of a carrier against the shorter one
constexpr double kMostUpright = 3.5e8;          // grids
constexpr double kMostTurned = 4e8;             // if each angle had as many as the upright ones,
constexpr double kMostSwept = 2.5e8;            // and in the frames of the turned picture; ordinary shapes stay below
constexpr double kLargePicture = 4.5e5;         // pixels; of larger ones
constexpr double kFirstUprightOfLarge = 3.6e7;  // come first,
constexpr double kMostTurnedOfLarge = 1.2e8;    // and these are all
constexpr int kMostSizes = 256;
constexpr std::size_t kOfAngle = 32;  // grids that one sweep may give
constexpr std::size_t kOfSizes = 48;
constexpr std::size_t kMostFollowed = 64;
constexpr std::size_t kMostClimbed = 48;
constexpr std::size_t kMostRead = 16;
constexpr std::size_t kSurelyRead = 4;
constexpr double kPromisingComb = 4.8;    // standard deviations
constexpr std::size_t kMostLattices = 4;  // whose places are read
constexpr int kMostPlaces = 12;           // of one lattice
constexpr double kShareOfSharp = 0.5;     // of the blur
constexpr double kErrorOfMap = 0.1;       // cells
constexpr int kFirstRounds = 2;
constexpr double kErrorOfClimb = 0.05;
constexpr int kLastRounds = 4;
constexpr double kClearComb = 6.0;     // standard deviations; chance makes it 5
constexpr double kSameLattice = 0.25;  // cells

// Whether two grids differ by a shift of whole cells only.
bool IsAlias(const SBxGridPose& a, const SBxGridPose& b) {
    const double determinant = a.along.x * a.down.y - a.along.y * a.down.x;
    double first[2] = {};
    for (const int corner : {0, 1, 2, 3}) {
        const double column = (corner & 1) * kGridSide;
        const double row = (corner >> 1) * kGridSide;
        const CBxPoint<double> p = a.PointAt(column, row);
        const CBxPoint<double> q = b.PointAt(column, row);
        const double shift[2] = {((q.x - p.x) * a.down.y - (q.y - p.y) * a.down.x) / determinant,
                                 ((q.y - p.y) * a.along.x - (q.x - p.x) * a.along.y) / determinant};
        for (int axis = 0; axis < 2; ++axis) {
            if (corner == 0) {
                first[axis] = std::round(shift[axis]);
            }
            if (std::fabs(shift[axis] - first[axis]) > kSameLattice) {
                return false;
            }
        }
    }
    return true;
}

// The sizes that one search looks at, by the number of grids that they have when those with fewest come first.
struct SSearchedGrids {
    double upright;  // up to so many,
    double turned;
    double before;  // but not these
};

// A range of cell sizes, from so many pixels up.
struct SSizes {
    double width;
    double height;
    double grids;  // of a sweep
    int angles;    // to either side of upright
};

class CSearchAnywhere {
public:
    explicit CSearchAnywhere(CBxDeepRun& run) : m_Run(run) {}

    // 0 or 6.
    unsigned char Search(const SSearchedGrids& searched) {
        bool hasMemory =
            m_Run.PreparePlanes() && m_Best.Prepare(kMostFollowed, 0.0f) && m_Swept.Prepare(kMostFollowed, 0.0f);
        CollectSizes();
        ChooseSizes(searched);
        CBxPatternPlane columns;
        for (int i = 0; i < m_iSizes && hasMemory && !m_Run.Ended(); ++i) {
            if (i == 0 || m_Sizes[i].width != m_Sizes[i - 1].width) {
                hasMemory = ScaleColumns(columns, CBxTurnedMap::ScaleOf(m_Sizes[i].width));
            }
            hasMemory = hasMemory && SearchSizes(columns, m_Sizes[i]);
        }
        if (hasMemory && !m_Run.Ended()) {
            m_Best.Settle();
            Read();
        }
        return hasMemory ? kBxSuccess : kBxOutOfMemory;
    }

private:
    // To so many pixels a pixel of the picture. Halves the columns that are there while more than twice as many would
    // do: further sizes are larger.
    bool ScaleColumns(CBxPatternPlane& columns, double scale) {
        const double ofPlanes = scale / m_Run.m_Planes.Scale();
        for (; ofPlanes * m_dHalved <= 0.5; m_dHalved *= 2.0) {
            CBxPatternPlane halved;
            if (!halved.PrepareColumns(m_dHalved > 1.0 ? m_Halved : m_Run.m_Planes, 0.5)) {
                return false;
            }
            m_Halved = std::move(halved);
        }
        return columns.PrepareColumns(m_dHalved > 1.0 ? m_Halved : m_Run.m_Planes, ofPlanes * m_dHalved);
    }

    // Those of all sizes for which there is room, few first.
    void CollectSizes() {
        const double width = m_Run.m_Sums.Width();
        const double height = m_Run.m_Sums.Height();
        constexpr double kStep = CBxTurnedMap::kSizes;
        double smallest = kSmallestTurned;
        while (smallest > kStep * kSmallestCell) {
            smallest /= kStep;
        }
        for (double high = smallest; high * kGridSide < height; high *= kStep) {
            for (double wide = smallest; wide * kGridSide < width; wide *= kStep) {
                if (wide < kLongest * kStep * high && high < kLongest * kStep * wide && m_iSizes < kMostSizes) {
                    m_Sizes[m_iSizes++] = {wide, high, CBxTurnedSweep::Grids(width, height, wide, high), 0};
                }
            }
        }
        std::sort(m_Sizes, m_Sizes + m_iSizes, [](const SSizes& a, const SSizes& b) { return a.grids < b.grids; });
    }

    void ChooseSizes(const SSearchedGrids& searched) {
        double upright = 0.0;
        double turned = 0.0;
        double swept = 0.0;
        int count = 0;
        for (int i = 0; i < m_iSizes; ++i) {
            SSizes sizes = m_Sizes[i];
            upright += sizes.grids;
            if (std::min(sizes.width, sizes.height) > kAlmost * kSmallestTurned) {
                turned += 2 * kAngles * sizes.grids;
                sizes.angles = turned < searched.turned ? AnglesWithin(kMostSwept - swept, sizes) : 0;
                swept += GridsTurned(sizes, sizes.angles);
            }
            if (upright < searched.upright && upright >= searched.before) {
                m_Sizes[count++] = sizes;
            }
        }
        m_iSizes = count;
        std::sort(m_Sizes, m_Sizes + m_iSizes, [](const SSizes& a, const SSizes& b) {
            return a.width != b.width ? a.width < b.width : a.height < b.height;
        });
    }

    // What the sweeps at so many angles to either side look at.
    double GridsTurned(const SSizes& sizes, int angles) const {
        double grids = 0.0;
        for (int i = 1; i <= angles; ++i) {
            grids += 2.0 * CBxTurnedSweep::GridsSwept(m_Run.m_Sums.Width(), m_Run.m_Sums.Height(), sizes.width,
                                                      sizes.height, i * kAngleStep);
        }
        return grids;
    }

    // How many angles to either side there is time for.
    int AnglesWithin(double most, const SSizes& sizes) const {
        int angles = kAngles;
        while (angles > 0 && GridsTurned(sizes, angles) > most) {
            --angles;
        }
        return angles;
    }

    bool SearchSizes(const CBxPatternPlane& columns, const SSizes& sizes) {
        CBxTurnedMap map;
        CBxBestGrids best;
        if (!map.Make(columns, sizes.width, sizes.height) || !best.Prepare(kOfSizes, m_Swept.Bar())) {
            return false;
        }
        std::atomic<bool> hasMemory{true};
        CBxBestGrids ofAngles[2 * kAngles + 1];
        auto slice = [&](std::size_t begin, std::size_t /*end*/) {
            const double degrees = (static_cast<int>(begin) - sizes.angles) * kAngleStep;
            if (!SweepAngle(ofAngles[begin], map, degrees)) {
                hasMemory.store(false);
            }
            return hasMemory.load() && !m_Run.Ended();
        };
        BX_RunSlices(static_cast<std::size_t>(2 * sizes.angles + 1), 1, m_Run.m_uiThreads, slice);
        // In the order of the angles, whichever thread was first.
        for (const CBxBestGrids& ofAngle : ofAngles) {
            for (std::size_t i = 0; i < ofAngle.Count(); ++i) {
                best.Offer(ofAngle[i]);
            }
        }
        best.Settle();
        for (std::size_t i = 0; i < best.Count(); ++i) {
            m_Swept.Offer(best[i]);
        }
        m_Swept.Settle();
        for (std::size_t i = 0; i < best.Count() && best[i].worth >= m_Swept.Bar() && !m_Run.Ended(); ++i) {
            SBxTurnedGrid grid = best[i];
            grid.worth = map.Follow(grid.pose);
            m_Best.Offer(grid);
        }
        return hasMemory.load();
    }

    bool SweepAngle(CBxBestGrids& ofAngle, const CBxTurnedMap& map, double degrees) {
        CBxTurnedSweep sweep;
        if (!sweep.Prepare(map, degrees) || !ofAngle.Prepare(kOfAngle, m_Swept.Bar())) {
            return false;
        }
        unsigned long grids = 0;
        for (int height = 0; height < CBxTurnedSweep::kHeights && !m_Run.Ended(); ++height) {
            grids += sweep.SweepHeight(ofAngle, height);
        }
        m_Run.m_ulGrids.fetch_add(grids, std::memory_order_relaxed);
        ofAngle.Settle();
        return true;
    }

    void Read() {
        m_iClimbed = static_cast<int>(std::min(kMostClimbed, m_Best.Count()));
        auto climb = [this](std::size_t begin, std::size_t end) {
            for (std::size_t i = begin; i < end && !m_Run.Ended(); ++i) {
                m_Climbed[i].trial = TrialOf(m_Best[i]);
                m_Climbed[i].clearness = BX_ClimbComb(m_Run, m_Climbed[i].trial, kErrorOfMap, kFirstRounds, true);
            }
            return !m_Run.Ended();
        };
        BX_RunSlices(static_cast<std::size_t>(m_iClimbed), 1, m_Run.m_uiThreads, climb);
        if (m_Run.Ended()) {
            return;
        }
        std::stable_sort(m_Climbed, m_Climbed + m_iClimbed,
                         [](const SClimbed& a, const SClimbed& b) { return a.clearness > b.clearness; });
        DropAliases();
        auto read = [this](std::size_t begin, std::size_t end) {
            for (std::size_t i = begin; i < end && !m_Run.Ended(); ++i) {
                if (i < kSurelyRead || m_Climbed[i].clearness > kPromisingComb) {
                    ReadLattice(m_Climbed[i].trial, i < kMostLattices);
                }
            }
            return !m_Run.Ended();
        };
        BX_RunSlices(std::min(kMostRead, static_cast<std::size_t>(m_iClimbed)), 1, m_Run.m_uiThreads, read);
    }

    // Of grids whose cells are the same but for a shift by whole cells the clearest is kept.
    void DropAliases() {
        int kept = 0;
        for (int i = 0; i < m_iClimbed; ++i) {
            if (std::none_of(m_Climbed, m_Climbed + kept, [this, i](const SClimbed& better) {
                    return IsAlias(better.trial.pose, m_Climbed[i].trial.pose);
                })) {
                std::swap(m_Climbed[kept++], m_Climbed[i]);
            }
        }
        m_iClimbed = kept;
    }

    static SBxGridTrial TrialOf(const SBxTurnedGrid& grid) {
        const double cell =
            std::min(std::hypot(grid.pose.along.x, grid.pose.along.y), std::hypot(grid.pose.down.x, grid.pose.down.y));
        const double scale = std::min(1.0, cell / kCellAsSigned);
        return {grid.pose, BX_BlurOfScale(scale), scale, static_cast<double>(grid.degrees), BX_GridOrientation(0)};
    }

    // Decodes a grid where its comb is clearest. A grid that lies some whole cells beside the carrier has nearly as
    // clear a comb, so with `readsPlaces` places around are decoded, too.
    void ReadLattice(SBxGridTrial trial, bool readsPlaces) {
        if (ReadWhereClearest(trial) < kClearComb || !readsPlaces || m_Run.Ended()) {
            return;
        }
        CBxCellLattice lattice;
        lattice.Read(m_Run, trial);
        SBxGridTrial places[kMostPlaces];
        const int count = lattice.ClearestPlaces(places, kMostPlaces);
        for (int i = 0; i < count && !m_Run.Ended(); ++i) {
            m_Run.TryAsRead(places[i], EBxDeepStage::Anywhere);
        }
    }

    // Under soft edges and sharp ones: programs that scale or turn pictures differ. Returns how clear the comb is.
    double ReadWhereClearest(SBxGridTrial& trial) {
        const double blur = trial.blur;
        double clearness = 0.0;
        for (const double share : {kShareOfSharp, 1.0}) {
            trial.blur = share * blur;
            clearness = std::max(clearness, BX_ClimbComb(m_Run, trial, kErrorOfClimb, kLastRounds, false));
            m_Run.TryAsRead(trial, EBxDeepStage::Anywhere);
        }
        return clearness;
    }

    CBxDeepRun& m_Run;
    double m_dHalved = 1.0;  // columns of the planes that became one
    CBxPatternPlane m_Halved;
    int m_iSizes = 0;
    SSizes m_Sizes[kMostSizes];
    CBxBestGrids m_Swept;  // as they came of the sweeps
    CBxBestGrids m_Best;   // moved to where they are worth most
    struct SClimbed {
        SBxGridTrial trial;
        double clearness;
    };
    int m_iClimbed = 0;
    SClimbed m_Climbed[kMostClimbed];
};

}  // namespace

unsigned char BX_SearchAnywhere(CBxDeepRun& run) {
    const double pixels = static_cast<double>(run.Picture().m_iWidth) * run.Picture().m_iHeight;
    const bool isLarge = pixels > kLargePicture;
    const SSearchedGrids first{isLarge ? kFirstUprightOfLarge : kMostUpright,
                               isLarge ? kMostTurnedOfLarge : kMostTurned, 0.0};
    const unsigned char result = CSearchAnywhere(run).Search(first);
    if (result != kBxSuccess || !isLarge || run.Ended()) {
        return result;
    }
    return CSearchAnywhere(run).Search({kMostUpright, 0.0, kFirstUprightOfLarge});
}
