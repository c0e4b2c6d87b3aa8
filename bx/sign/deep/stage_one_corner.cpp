// Stage: of the two corners between which a carrier lies only one is left, because the picture was cut or because the
// other one is no longer strong. How wide and high the carrier is, is looked for on maps of cells, from each strong
// corner in the four directions; the carrier may reach beyond the picture.
#include <algorithm>
#include <atomic>
#include <cmath>

#include "corner_anchors.h"
#include "deep_run.h"
#include "heap_array.h"
#include "map_grids.h"
#include "plane_levels.h"
#include "result.h"
#include "slices.h"

namespace {

constexpr double kLargestCut = 0.6;  // of a side of the picture, against what is left of it
constexpr double kSizeStep = 1.0 / 160.0;
constexpr double kSizesOfMap = 1.5;      // largest to smallest cell that one map is good for
constexpr double kLongest = 2.6;         // the longer side of a carrier against the shorter one
constexpr int kFewestInside = 10;        // columns, and rows, of a grid
constexpr int kDirections = 4;           // to the right or left, down or up
constexpr std::size_t kOfDirection = 3;  // grids that one corner may give in one direction
constexpr std::size_t kMostRead = 48;
constexpr double kMostGrids = 2.4e7;  // on all maps with all marks; the last corners are left out
constexpr int kFewestAnchors = 16;
constexpr float kWorthless = -1e30f;

struct SRange {
    double from;
    double to;

    bool IsEmpty() const { return !(from < to); }
};

// Sides of carriers, in pixels of the planes, from `from` on in steps of a tenth of a cell.
double NextSize(double size) {
    return size + std::max(1.0, size * kSizeStep);
}

double CountSizes(const SRange& sizes, double scale) {
    int count = 0;
    for (double size = sizes.from * scale; size < sizes.to * scale; size = NextSize(size)) {
        ++count;
    }
    return count;
}

// What one corner gives in one direction.
struct SCornerGrids {
    SBxMapGrid best[2 * kOfDirection];
    std::size_t count;

    void Offer(const SBxMapGrid& grid) {
        if (count == 2 * kOfDirection) {
            count = BX_KeepDistinct(best, count, kOfDirection);
        }
        best[count++] = grid;
    }
};

// The best grids of one map.
struct SMapFindings {
    SBxMapGrid best[kMostRead];
    std::size_t count;
};

// All widths of carriers that have one side at `x`.
class CWidths {
public:
    CWidths(const CBxCellMap& map, double x, bool toLeft) : m_Map(map), m_dX(x), m_bToLeft(toLeft) {}

    bool Prepare(const SRange& widths) {
        for (double width = widths.from; width < widths.to; width = NextSize(width)) {
            ++m_uiCount;
        }
        if (!m_Columns.Allocate(m_uiCount) || !m_Sides.Allocate(m_uiCount)) {
            return false;
        }
        double width = widths.from;
        for (std::size_t i = 0; i < m_uiCount; ++i, width = NextSize(width)) {
            const SRange sides = m_bToLeft ? SRange{m_dX - width, m_dX} : SRange{m_dX, m_dX + width};
            const SBxCellPlaces columns(sides.from, sides.to, m_Map.Width());
            if (columns.inside >= kFewestInside) {
                m_Sides[m_uiGood] = sides;
                m_Columns[m_uiGood++] = columns;
            }
        }
        m_iFrom = std::clamp(static_cast<int>(m_bToLeft ? m_dX - widths.to : m_dX), 0, m_Map.Width());
        m_iTo = std::clamp(static_cast<int>(m_bToLeft ? m_dX : m_dX + widths.to) + 1, 0, m_Map.Width());
        return true;
    }
    std::size_t Count() const { return m_uiCount; }

    // The widths that are worth most together with these choices of rows of cells, and their worths; of no width with
    // enough columns inside kWorthless.
    void FindBest(SRange* sides, float* worths, CBxCellChoices& choices, const SBxCellPlaces* rows, int count) const {
        choices.SumRows(m_Map, rows, count, m_iFrom, m_iTo);
        CBxCellChoices::SBest best;
        choices.FindBest(best, m_Columns.Data(), m_uiGood);
        for (int i = 0; i < count; ++i) {
            const bool isAny = best.choices[i] >= 0;
            sides[i] = isAny ? m_Sides[static_cast<std::size_t>(best.choices[i])] : SRange{0.0, 0.0};
            worths[i] = isAny ? best.worths[i] : kWorthless;
        }
    }

private:
    const CBxCellMap& m_Map;
    const double m_dX;
    const bool m_bToLeft;
    int m_iFrom = 0;
    int m_iTo = 0;
    std::size_t m_uiCount = 0;
    std::size_t m_uiGood = 0;  // that have enough columns inside
    CBxHeapArray<SRange> m_Sides;
    CBxHeapArray<SBxCellPlaces> m_Columns;
};

// What one map has to be made for: carriers of these sizes, in pixels of the picture.
struct SMapSizes {
    SRange widths;
    SRange heights;

    double ShorterSide() const { return std::min(widths.from, heights.from); }
};

class CCornerSearch {
public:
    CCornerSearch(CBxDeepRun& run, const CBxPatternPlane& planes)
        : m_Run(run),
          m_Levels(planes),
          m_dWidth(planes.Width() / planes.Scale()),
          m_dHeight(planes.Height() / planes.Scale()),
          m_Marks(run) {}

    unsigned char Search() {
        m_Anchors.Collect(m_Run.m_Archive);
        m_iAnchors = m_Anchors.Count();
        if (m_Levels.Prepare() != kBxSuccess) {
            return kBxOutOfMemory;
        }
        CollectSizes();
        LimitAnchors();
        for (CBxHeapArray<SMapFindings>& found : m_Found) {
            if (!found.AllocateZeroed(m_uiSizes)) {
                return kBxOutOfMemory;
            }
        }
        unsigned char result = SearchMaps();
        // What the comb has found is surer.
        for (int mark = CBxMapMarks::kCount - 1; mark >= 0 && result == kBxSuccess && !m_Run.Ended(); --mark) {
            result = Read(mark);
        }
        return result;
    }

private:
    static constexpr std::size_t kMostSizes = 128;
    // Each thread holds a map.
    static constexpr std::size_t kMostMaps = 4;

    // Each corner in each direction.
    std::size_t Tasks() const { return static_cast<std::size_t>(m_iAnchors) * kDirections; }

    // The sizes of a carrier in one direction from a place on an axis of `size` pixels, as far as the map is good.
    static SRange Sizes(const SRange& ofMap, double place, bool backwards, double size, const SBxCornerAnchor& anchor) {
        const double room = (backwards ? place : size - place) + kLargestCut * size;
        return {std::max(ofMap.from, anchor.smallestSide), std::min({ofMap.to, anchor.largestSide, room})};
    }
    SMapSizes SizesOfTask(const SMapSizes& sizes, std::size_t task) const {
        const SBxCornerAnchor& anchor = m_Anchors[static_cast<int>(task / kDirections)];
        return {Sizes(sizes.widths, anchor.place.x, task % 2 != 0, m_dWidth, anchor),
                Sizes(sizes.heights, anchor.place.y, task / 2 % 2 != 0, m_dHeight, anchor)};
    }

    // Whether any corner has room for carriers of these sizes.
    bool IsWanted(const SMapSizes& sizes) const {
        if (sizes.widths.from > kLongest * sizes.heights.to || sizes.heights.from > kLongest * sizes.widths.to) {
            return false;
        }
        for (std::size_t task = 0; task < Tasks(); ++task) {
            const SMapSizes ofTask = SizesOfTask(sizes, task);
            if (!ofTask.widths.IsEmpty() && !ofTask.heights.IsEmpty()) {
                return true;
            }
        }
        return false;
    }

    // Small carriers, whose maps cost most, come first.
    void CollectSizes() {
        double smallest = 1e9;
        for (int i = 0; i < m_iAnchors; ++i) {
            smallest = std::min(smallest, m_Anchors[i].smallestSide);
        }
        for (double height = smallest; height < m_dHeight * (1.0 + kLargestCut); height *= kSizesOfMap) {
            for (double width = smallest; width < m_dWidth * (1.0 + kLargestCut); width *= kSizesOfMap) {
                const SMapSizes sizes{{width, width * kSizesOfMap}, {height, height * kSizesOfMap}};
                if (m_uiSizes < kMostSizes && IsWanted(sizes)) {
                    m_Sizes[m_uiSizes++] = sizes;
                }
            }
        }
        std::stable_sort(m_Sizes, m_Sizes + m_uiSizes,
                         [](const SMapSizes& a, const SMapSizes& b) { return a.ShorterSide() < b.ShorterSide(); });
    }

    double GridsOfAnchor(int anchor) const {
        double grids = 0.0;
        for (std::size_t i = 0; i < m_uiSizes; ++i) {
            const double scale = m_Levels.Of(m_Levels.LevelOf(m_Sizes[i].ShorterSide())).Scale();
            for (int direction = 0; direction < kDirections; ++direction) {
                const SMapSizes sizes =
                    SizesOfTask(m_Sizes[i], static_cast<std::size_t>(anchor * kDirections + direction));
                grids += CountSizes(sizes.widths, scale) * CountSizes(sizes.heights, scale);
            }
        }
        return grids * CBxMapMarks::kCount;
    }

    // As many of the corners, the strongest first, as there is time for.
    void LimitAnchors() {
        double grids = 0.0;
        for (int i = 0; i < m_iAnchors; ++i) {
            grids += GridsOfAnchor(i);
            if (grids > kMostGrids && i >= kFewestAnchors) {
                m_iAnchors = i;
            }
        }
    }

    // Maps are shared out among the threads; what each finds is kept by itself, so that their order does not matter.
    unsigned char SearchMaps() {
        CBxCellMap maps[kMostMaps];
        const std::size_t workers = std::min<std::size_t>(m_Run.m_uiThreads, kMostMaps);
        std::atomic<std::size_t> next{0};
        std::atomic<bool> hasMemory{true};
        auto work = [&](std::size_t worker, std::size_t /*end*/) {
            for (std::size_t i = next++; i < m_uiSizes && hasMemory.load() && !m_Run.Ended(); i = next++) {
                if (!SearchSizes(maps[worker], i)) {
                    hasMemory.store(false);
                }
            }
            return hasMemory.load() && !m_Run.Ended();
        };
        BX_RunSlices(workers, 1, static_cast<unsigned int>(workers), work);
        return hasMemory.load() ? kBxSuccess : kBxOutOfMemory;
    }

    bool SearchSizes(CBxCellMap& map, std::size_t index) {
        const SMapSizes& sizes = m_Sizes[index];
        const CBxPatternPlane& planes = m_Levels.Of(m_Levels.LevelOf(sizes.ShorterSide()));
        const double middle = std::sqrt(kSizesOfMap) * planes.Scale() / kGridSide;
        bool hasMemory = map.Make(planes, sizes.widths.from * middle, sizes.heights.from * middle);
        for (int mark = 0; mark < CBxMapMarks::kCount && hasMemory && !m_Run.Ended(); ++mark) {
            hasMemory = CBxMapMarks::Apply(map, planes, mark);
            hasMemory = hasMemory && SearchMap(m_Found[mark][index], map, planes.Scale(), sizes);
        }
        return hasMemory;
    }

    // `scale` are the map's pixels a pixel of the picture.
    bool SearchMap(SMapFindings& found, const CBxCellMap& map, double scale, const SMapSizes& sizes) {
        CBxHeapArray<SBxMapGrid> grids;
        CBxCellChoices choices;
        if (!grids.Allocate(Tasks() * kOfDirection) || !choices.Prepare(map.Width())) {
            return false;
        }
        std::size_t count = 0;
        for (std::size_t task = 0; task < Tasks() && !m_Run.Ended(); ++task) {
            SCornerGrids ofTask{};
            if (!SearchDirection(ofTask, choices, map, scale, task, sizes)) {
                return false;
            }
            ofTask.count = BX_KeepDistinct(ofTask.best, ofTask.count, kOfDirection);
            std::copy(ofTask.best, ofTask.best + ofTask.count, grids.Data() + count);
            count += ofTask.count;
        }
        found.count = BX_KeepDistinct(grids.Data(), count, kMostRead);
        std::copy(grids.Data(), grids.Data() + found.count, found.best);
        std::for_each(found.best, found.best + found.count, [&](SBxMapGrid& grid) { BX_FollowMap(grid, map, scale); });
        return true;
    }

    bool SearchDirection(SCornerGrids& found, CBxCellChoices& choices, const CBxCellMap& map, double scale,
                         std::size_t task, const SMapSizes& sizes) {
        const SBxCornerAnchor& anchor = m_Anchors[static_cast<int>(task / kDirections)];
        const SMapSizes ofTask = SizesOfTask(sizes, task);
        if (ofTask.widths.IsEmpty() || ofTask.heights.IsEmpty()) {
            return true;
        }
        const bool upwards = task / 2 % 2 != 0;
        const double y = anchor.place.y * scale;
        CWidths widths(map, anchor.place.x * scale, task % 2 != 0);
        if (!widths.Prepare({ofTask.widths.from * scale, ofTask.widths.to * scale})) {
            return false;
        }
        SRange heights[CBxCellChoices::kTogether];
        SBxCellPlaces rows[CBxCellChoices::kTogether];
        int count = 0;
        for (double height = ofTask.heights.from * scale; height < ofTask.heights.to * scale;
             height = NextSize(height)) {
            const double top = upwards ? y - height : y;
            heights[count] = {top, top + height};
            rows[count] = SBxCellPlaces(top, top + height, map.Height());
            count += rows[count].inside < kFewestInside ? 0 : 1;
            if (count == CBxCellChoices::kTogether) {
                OfferBest(found, choices, widths, heights, rows, count, scale);
                count = 0;
            }
            m_Run.m_ulGrids.fetch_add(widths.Count(), std::memory_order_relaxed);
        }
        OfferBest(found, choices, widths, heights, rows, count, scale);
        return true;
    }

    // The best width for each of these heights.
    static void OfferBest(SCornerGrids& found, CBxCellChoices& choices, const CWidths& widths, const SRange* heights,
                          const SBxCellPlaces* rows, int count, double scale) {
        if (count == 0) {
            return;
        }
        SRange columns[CBxCellChoices::kTogether];
        float worths[CBxCellChoices::kTogether];
        widths.FindBest(columns, worths, choices, rows, count);
        for (int i = 0; i < count; ++i) {
            if (worths[i] > kWorthless) {
                found.Offer(
                    {worths[i],
                     {columns[i].from / scale, heights[i].from / scale, columns[i].to / scale, heights[i].to / scale}});
            }
        }
    }

    unsigned char Read(int mark) {
        CBxHeapArray<SBxMapGrid> grids;
        if (!grids.Allocate(m_uiSizes * kMostRead)) {
            return kBxOutOfMemory;
        }
        std::size_t count = 0;
        for (std::size_t i = 0; i < m_uiSizes; ++i) {
            const SMapFindings& found = m_Found[mark][i];
            std::copy(found.best, found.best + found.count, grids.Data() + count);
            count += found.count;
        }
        count = BX_KeepDistinct(grids.Data(), count, kMostRead);
        auto read = [&](std::size_t begin, std::size_t end) {
            for (std::size_t i = begin; i < end && !m_Run.Ended(); ++i) {
                const CBxRect<double>& frame = grids[i].frame;
                const int level = m_Levels.LevelOf(std::min(frame.Width(), frame.Height()));
                BX_ReadMapGrid(m_Run, grids[i], 1.0 / m_Levels.Of(level).Scale(), m_Marks.Gain(mark),
                               EBxDeepStage::OneCorner);
            }
            return !m_Run.Ended();
        };
        BX_RunSlices(count, 1, m_Run.m_uiThreads, read);
        return kBxSuccess;
    }

    CBxDeepRun& m_Run;
    CBxPlaneLevels m_Levels;
    const double m_dWidth;  // of the picture as far as the planes show it
    const double m_dHeight;
    CBxCornerAnchors m_Anchors;
    int m_iAnchors = 0;  // that are looked at
    const CBxMapMarks m_Marks;
    std::size_t m_uiSizes = 0;
    SMapSizes m_Sizes[kMostSizes];
    CBxHeapArray<SMapFindings> m_Found[CBxMapMarks::kCount];  // by mark, of each map
};

}  // namespace

unsigned char BX_SearchOneCorner(CBxDeepRun& run) {
    return run.PreparePlanes() ? CCornerSearch(run, run.m_Planes).Search() : static_cast<unsigned char>(kBxOutOfMemory);
}
