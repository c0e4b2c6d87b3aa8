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
#include "result.h"
#include "slices.h"

namespace {

constexpr double kLargestCut = 0.14;  // of a side of the picture, against what is left of it
constexpr double kSizeStep = 1.0 / 240.0;
constexpr double kSizesOfMap = 1.5;      // largest to smallest cell that one map is good for
constexpr double kLongest = 2.6;         // the longer side of a carrier against the shorter one
constexpr int kFewestInside = 10;        // columns, and rows, of a grid
constexpr int kDirections = 4;           // to the right or left, down or up
constexpr std::size_t kOfDirection = 3;  // grids that one corner may give in one direction
constexpr std::size_t kMostRead = 24;
constexpr float kWorthless = -1e30f;

struct SRange {
    double from;
    double to;

    bool IsEmpty() const { return !(from < to); }
};

// Sides of carriers, in pixels of the planes, from `from` on in steps of a fifteenth of a cell.
double NextSize(double size) {
    return size + std::max(1.0, size * kSizeStep);
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

// All widths of carriers that have one side at `x`.
class CWidths {
public:
    CWidths(const CBxCellMap& map, double x, bool toLeft) : m_Map(map), m_dX(x), m_bToLeft(toLeft) {}

    bool Prepare(const SRange& widths) {
        std::size_t count = 0;
        for (double width = widths.from; width < widths.to; width = NextSize(width)) {
            ++count;
        }
        if (!m_Sums.Allocate(static_cast<std::size_t>(m_Map.Width()) + 1) || !m_Columns.Allocate(count) ||
            !m_Sides.Allocate(count)) {
            return false;
        }
        double width = widths.from;
        for (std::size_t i = 0; i < count; ++i, width = NextSize(width)) {
            m_Sides[i] = m_bToLeft ? SRange{m_dX - width, m_dX} : SRange{m_dX, m_dX + width};
            m_Columns[i] = SBxCellPlaces(m_Sides[i].from, m_Sides[i].to, m_Map.Width());
        }
        m_iFrom = std::clamp(static_cast<int>(m_bToLeft ? m_dX - widths.to : m_dX), 0, m_Map.Width());
        m_iTo = std::clamp(static_cast<int>(m_bToLeft ? m_dX : m_dX + widths.to) + 1, 0, m_Map.Width());
        return true;
    }
    std::size_t Count() const { return m_Sides.Size(); }

    // The width that is worth most together with these rows of cells, and its worth.
    float FindBest(SRange& sides, const SBxCellPlaces& rows) {
        m_Map.SumRows(m_Sums.Data(), rows, m_iFrom, m_iTo);
        float worth = kWorthless;
        for (std::size_t i = 0; i < m_Columns.Size(); ++i) {
            const float other = CBxCellMap::SumColumns(m_Sums.Data(), m_Columns[i]);
            if (other > worth && m_Columns[i].inside >= kFewestInside) {
                worth = other;
                sides = m_Sides[i];
            }
        }
        return worth;
    }

private:
    const CBxCellMap& m_Map;
    const double m_dX;
    const bool m_bToLeft;
    int m_iFrom = 0;
    int m_iTo = 0;
    CBxHeapArray<float> m_Sums;
    CBxHeapArray<SRange> m_Sides;
    CBxHeapArray<SBxCellPlaces> m_Columns;
};

class CCornerSearch {
public:
    CCornerSearch(CBxDeepRun& run, const CBxPatternPlane& planes) : m_Run(run), m_Planes(planes), m_Marks(run) {}

    unsigned char Search() {
        m_Anchors.Collect(m_Run.m_Archive);
        for (CBxHeapArray<SCornerGrids>& found : m_Found) {
            if (!found.AllocateZeroed(static_cast<std::size_t>(m_Anchors.Count()) * kDirections)) {
                return kBxOutOfMemory;
            }
        }
        double smallest = 1e9;
        for (int i = 0; i < m_Anchors.Count(); ++i) {
            smallest = std::min(smallest, m_Anchors[i].smallestSide * m_Planes.Scale());
        }
        const double largestWidth = m_Planes.Width() * (1.0 + kLargestCut);
        const double largestHeight = m_Planes.Height() * (1.0 + kLargestCut);
        for (double height = smallest; height < largestHeight; height *= kSizesOfMap) {
            for (double width = smallest; width < largestWidth; width *= kSizesOfMap) {
                if (m_Run.Ended()) {
                    return kBxSuccess;
                }
                if (!SearchSizes({width, width * kSizesOfMap}, {height, height * kSizesOfMap})) {
                    return kBxOutOfMemory;
                }
            }
        }
        // What the comb has found is surer.
        unsigned char result = kBxSuccess;
        for (int mark = CBxMapMarks::kCount - 1; mark >= 0 && result == kBxSuccess; --mark) {
            result = Read(mark);
        }
        return result;
    }

private:
    // The sizes of a carrier in one direction from a place on an axis of `size` pixels, as far as the map is good.
    SRange Sizes(const SRange& ofMap, double place, bool backwards, int size, double smallest) const {
        const double room = (backwards ? place : size - place) + kLargestCut * size;
        return {std::max(ofMap.from, smallest * m_Planes.Scale()), std::min(ofMap.to, room)};
    }

    // Whether any corner has room for carriers of these sizes.
    bool IsWanted(const SRange& widths, const SRange& heights) const {
        for (int task = 0; task < m_Anchors.Count() * kDirections; ++task) {
            const SBxCornerAnchor& anchor = m_Anchors[task / kDirections];
            const double scale = m_Planes.Scale();
            if (!Sizes(widths, anchor.place.x * scale, task % 2 != 0, m_Planes.Width(), anchor.smallestSide)
                     .IsEmpty() &&
                !Sizes(heights, anchor.place.y * scale, task / 2 % 2 != 0, m_Planes.Height(), anchor.smallestSide)
                     .IsEmpty()) {
                return true;
            }
        }
        return false;
    }

    bool SearchSizes(const SRange& widths, const SRange& heights) {
        if (widths.from > kLongest * heights.to || heights.from > kLongest * widths.to || !IsWanted(widths, heights)) {
            return true;
        }
        CBxCellMap map;
        const double middle = std::sqrt(kSizesOfMap);
        bool hasMemory = map.Make(m_Planes, widths.from * middle / kGridSide, heights.from * middle / kGridSide);
        for (int mark = 0; mark < CBxMapMarks::kCount && hasMemory && !m_Run.Ended(); ++mark) {
            hasMemory = CBxMapMarks::Apply(map, m_Planes, mark) && SearchMap(map, m_Found[mark], widths, heights);
        }
        return hasMemory;
    }

    bool SearchMap(const CBxCellMap& map, CBxHeapArray<SCornerGrids>& found, const SRange& widths,
                   const SRange& heights) {
        std::atomic<bool> hasMemory{true};
        auto slice = [&](std::size_t begin, std::size_t end) {
            for (std::size_t i = begin; i < end && !m_Run.Ended(); ++i) {
                if (!SearchDirection(map, i, found[i], widths, heights)) {
                    hasMemory.store(false);
                }
            }
            return hasMemory.load() && !m_Run.Ended();
        };
        BX_RunSlices(found.Size(), 1, m_Run.m_uiThreads, slice);
        return hasMemory.load();
    }

    bool SearchDirection(const CBxCellMap& map, std::size_t task, SCornerGrids& found, const SRange& widths,
                         const SRange& heights) {
        const SBxCornerAnchor& anchor = m_Anchors[static_cast<int>(task / kDirections)];
        const bool upwards = task / 2 % 2 != 0;
        const double scale = m_Planes.Scale();
        const double x = anchor.place.x * scale;
        const double y = anchor.place.y * scale;
        const SRange wide = Sizes(widths, x, task % 2 != 0, map.Width(), anchor.smallestSide);
        const SRange high = Sizes(heights, y, upwards, map.Height(), anchor.smallestSide);
        if (wide.IsEmpty() || high.IsEmpty()) {
            return true;
        }
        CWidths choices(map, x, task % 2 != 0);
        if (!choices.Prepare(wide)) {
            return false;
        }
        for (double height = high.from; height < high.to; height = NextSize(height)) {
            const double top = upwards ? y - height : y;
            const SBxCellPlaces rows(top, top + height, map.Height());
            SRange columns{0.0, 0.0};
            const float worth = rows.inside < kFewestInside ? kWorthless : choices.FindBest(columns, rows);
            if (worth > kWorthless) {
                found.Offer({worth, {columns.from / scale, top / scale, columns.to / scale, (top + height) / scale}});
            }
            m_Run.m_ulGrids.fetch_add(choices.Count(), std::memory_order_relaxed);
        }
        return true;
    }

    unsigned char Read(int mark) {
        CBxHeapArray<SCornerGrids>& ofKind = m_Found[mark];
        CBxHeapArray<SBxMapGrid> grids;
        if (!grids.Allocate(ofKind.Size() * kOfDirection)) {
            return kBxOutOfMemory;
        }
        std::size_t count = 0;
        for (std::size_t i = 0; i < ofKind.Size(); ++i) {
            SCornerGrids& found = ofKind[i];
            found.count = BX_KeepDistinct(found.best, found.count, kOfDirection);
            std::copy(found.best, found.best + found.count, grids.Data() + count);
            count += found.count;
        }
        count = BX_KeepDistinct(grids.Data(), count, kMostRead);
        auto read = [&](std::size_t begin, std::size_t end) {
            for (std::size_t i = begin; i < end && !m_Run.Ended(); ++i) {
                BX_ReadMapGrid(m_Run, grids[i], 1.0 / m_Planes.Scale(), m_Marks.Gain(mark), EBxDeepStage::OneCorner);
            }
            return !m_Run.Ended();
        };
        BX_RunSlices(count, 1, m_Run.m_uiThreads, read);
        return kBxSuccess;
    }

    CBxDeepRun& m_Run;
    const CBxPatternPlane& m_Planes;
    CBxCornerAnchors m_Anchors;
    const CBxMapMarks m_Marks;
    CBxHeapArray<SCornerGrids> m_Found[CBxMapMarks::kCount];  // by mark; of each anchor and direction
};

}  // namespace

unsigned char BX_SearchOneCorner(CBxDeepRun& run) {
    CBxPatternPlane planes;
    return planes.Prepare(run.Picture()) ? CCornerSearch(run, planes).Search()
                                         : static_cast<unsigned char>(kBxOutOfMemory);
}
