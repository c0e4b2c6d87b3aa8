#include "carrier_choice.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "heap_array.h"
#include "result.h"
#include "sign_format.h"

namespace {

constexpr double kPairShrink = 0.0001;  // each side, before a first pair is tested
constexpr double kMemberGrowth = 20.0;  // each side, before a further member is tested

// Whether two rectangles stay apart when each is grown on every side; touching is not apart.
bool Apart(const CBxRect<double>& first, const CBxRect<double>& second, double growth) {
    const auto separated = [growth](double endOfFirst, double startOfSecond) {
        return endOfFirst + growth < startOfSecond - growth;
    };
    return separated(first.right, second.left) || separated(second.right, first.left) ||
           separated(first.bottom, second.top) || separated(second.bottom, first.top);
}

double Area(const CBxRect<double>& rect) {
    return rect.Width() * rect.Height();
}

enum class EGap : std::uint8_t { None, PairOnly, Full };

// Depth-first search for the best set of exactly `m_iLevel` members, smallest rectangles first, with the sum of the
// areas as its bound.
class CCarrierSearch {
public:
    CCarrierSearch(const CBxRect<double>* rects, unsigned int count) : m_pRects(rects), m_uiCount(count) {}

    bool Prepare() {
        if (!m_Order.Allocate(m_uiCount) || !m_Gaps.Allocate(std::size_t{m_uiCount} * m_uiCount) ||
            !m_Areas.Allocate(m_uiCount) || !m_SmallestFrom.Allocate(m_uiCount)) {
            return false;
        }
        for (unsigned int i = 0; i < m_uiCount; ++i) {
            m_Order[i] = i;
            m_Areas[i] = Area(m_pRects[i]);
            for (unsigned int j = 0; j < m_uiCount; ++j) {
                m_Gaps[std::size_t{i} * m_uiCount + j] = Gap(i, j);
            }
        }
        std::sort(m_Order.Data(), m_Order.Data() + m_uiCount, [this](unsigned int a, unsigned int b) {
            return m_Areas[a] != m_Areas[b] ? m_Areas[a] < m_Areas[b] : a < b;
        });
        unsigned int smallest = m_uiCount;
        for (unsigned int position = m_uiCount; position-- > 0;) {
            smallest = std::min(smallest, m_Order[position]);
            m_SmallestFrom[position] = smallest;
        }
        return true;
    }

    // Finds the best tuple of `level` members; false when there is none.
    bool Find(int level) {
        m_iLevel = level;
        m_bFound = false;
        Extend(0, 0, 0.0, false);
        return m_bFound;
    }

    const unsigned int* Best() const { return m_uiBest; }

private:
    EGap Gap(unsigned int i, unsigned int j) const {
        if (i == j || !Apart(m_pRects[i], m_pRects[j], -kPairShrink)) {
            return EGap::None;
        }
        return Apart(m_pRects[i], m_pRects[j], kMemberGrowth) ? EGap::Full : EGap::PairOnly;
    }
    EGap GapOf(unsigned int i, unsigned int j) const { return m_Gaps[std::size_t{i} * m_uiCount + j]; }

    // Adds members from position `from` of the area order. `hasClosePair` tells that the set already holds two members
    // that are only apart as a first pair.
    void Extend(unsigned int from, int size, double area, bool hasClosePair) {
        if (size == m_iLevel) {
            Offer(area);
            return;
        }
        for (unsigned int position = from; position < m_uiCount; ++position) {
            const unsigned int candidate = m_Order[position];
            // The areas ascend, so no later candidate does better either.
            if (m_bFound && CannotWin(area + (m_iLevel - size) * m_Areas[candidate], size, position)) {
                return;
            }
            int closePairs = hasClosePair ? 1 : 0;
            bool fits = true;
            for (int member = 0; fits && member < size; ++member) {
                const EGap gap = GapOf(m_uiMembers[member], candidate);
                closePairs += gap == EGap::PairOnly ? 1 : 0;
                fits = gap != EGap::None && closePairs <= 1;
            }
            if (fits) {
                m_uiMembers[size] = candidate;
                Extend(position + 1, size + 1, area + m_Areas[candidate], closePairs == 1);
            }
        }
    }

    // Whether no set of the present members and of rectangles from `position` on can take the place of the best one,
    // given the least area that it can have. Of equal areas the tuple with the smaller last member wins, and that is
    // never smaller than the smallest index of its set.
    bool CannotWin(double leastArea, int size, unsigned int position) const {
        if (leastArea != m_dBestArea || m_iLevel == 2) {
            return leastArea > m_dBestArea;
        }
        unsigned int smallest = m_SmallestFrom[position];
        for (int member = 0; member < size; ++member) {
            smallest = std::min(smallest, m_uiMembers[member]);
        }
        return smallest > m_uiBest[m_iLevel - 1];
    }

    // Takes the complete set when it is smaller than the best one, or as small and earlier in the order of tuples.
    void Offer(double area) {
        unsigned int tuple[kMostCarriers];
        OrderAsTuple(tuple);
        const bool better = !m_bFound || area < m_dBestArea || (area == m_dBestArea && ComesBefore(tuple, m_uiBest));
        if (better) {
            std::copy(tuple, tuple + m_iLevel, m_uiBest);
            m_dBestArea = area;
            m_bFound = true;
        }
    }

    // The first tuple of a set: its close pair in front, or the two last members when there is none; the others follow
    // from the last to the first.
    void OrderAsTuple(unsigned int* tuple) const {
        unsigned int sorted[kMostCarriers] = {};
        for (int member = 0; member < m_iLevel; ++member) {
            unsigned int* place = std::upper_bound(sorted, sorted + member, m_uiMembers[member]);
            std::copy_backward(place, sorted + member, sorted + member + 1);
            *place = m_uiMembers[member];
        }
        int a = std::max(0, m_iLevel - 2);
        int b = a + 1;
        for (int i = 0; i < m_iLevel; ++i) {
            for (int j = i + 1; j < m_iLevel; ++j) {
                if (GapOf(sorted[i], sorted[j]) == EGap::PairOnly) {
                    a = i;
                    b = j;
                }
            }
        }
        tuple[0] = sorted[a];
        tuple[1] = sorted[b];
        int place = 2;
        for (int i = m_iLevel - 1; i >= 0; --i) {
            if (i != a && i != b) {
                tuple[place++] = sorted[i];
            }
        }
    }

    bool ComesBefore(const unsigned int* first, const unsigned int* second) const {
        for (int place = m_iLevel - 1; place >= 2; --place) {
            if (first[place] != second[place]) {
                return first[place] < second[place];
            }
        }
        return first[0] != second[0] ? first[0] < second[0] : first[1] < second[1];
    }

    const CBxRect<double>* m_pRects;
    unsigned int m_uiCount;
    CBxHeapArray<unsigned int> m_Order;         // indices by ascending area
    CBxHeapArray<unsigned int> m_SmallestFrom;  // least index from a position of that order on
    CBxHeapArray<EGap> m_Gaps;
    CBxHeapArray<double> m_Areas;

    int m_iLevel = 0;
    unsigned int m_uiMembers[kMostCarriers] = {};
    unsigned int m_uiBest[kMostCarriers] = {};
    double m_dBestArea = 0.0;
    bool m_bFound = false;
};

unsigned int SmallestRectangle(const CBxRect<double>* rects, unsigned int count) {
    return static_cast<unsigned int>(
        std::min_element(rects, rects + count,
                         [](const CBxRect<double>& a, const CBxRect<double>& b) { return Area(a) < Area(b); }) -
        rects);
}

}  // namespace

unsigned char BX_ChooseCarriers(SBxCarrierChoice& choice, const CBxRect<double>* rects, unsigned int count) {
    choice = {};
    if (count == 0) {
        return kBxSuccess;
    }
    CCarrierSearch search(rects, count);
    if (!search.Prepare()) {
        return kBxOutOfMemory;
    }
    for (int level = kMostCarriers; level >= 2; --level) {
        if (search.Find(level)) {
            std::copy(search.Best(), search.Best() + level, choice.m_uiIndex);
            choice.m_uiCount = static_cast<unsigned int>(level);
            return kBxSuccess;
        }
    }
    choice.m_uiIndex[0] = SmallestRectangle(rects, count);
    choice.m_uiCount = 1;
    return kBxSuccess;
}
