#include "candidate_list.h"

#include <algorithm>
#include <functional>

#include "corner_search.h"
#include "corner_selection.h"

namespace {

constexpr std::size_t kRoom = 512;
constexpr std::size_t kRaiseFrom = 128;  // candidates before the bar is raised
// The bar is the strength of this one: more than are kept, since some of them may be duplicates of others.
constexpr std::size_t kBarRank = 80;

struct STileCorner {
    CBxPoint<double> point;
    float strength;
};

// Strongest first; equal ones in the order in which a tile is scanned.
bool ComesFirst(const SBxCornerCandidate& a, const SBxCornerCandidate& b) {
    if (a.strength != b.strength) {
        return a.strength > b.strength;
    }
    return a.row != b.row ? a.row < b.row : a.column < b.column;
}

}  // namespace

bool CBxCandidateList::Prepare() {
    return m_Candidates.Allocate(kRoom) && m_Strengths.Allocate(kRoom);
}

bool CBxCandidateList::Add(const SBxCornerCandidate& candidate) {
    if (!BX_InsideCornerBorder(candidate.x, candidate.y, m_iWidth, m_iHeight)) {
        return true;
    }
    if (m_uiCount == m_Candidates.Size()) {
        RaiseBar();
    }
    if (m_uiCount == m_Candidates.Size() &&
        (!m_Candidates.GrowTo(2 * m_uiCount) || !m_Strengths.GrowTo(2 * m_uiCount))) {
        return false;
    }
    m_Candidates[m_uiCount++] = candidate;
    return true;
}

void CBxCandidateList::RaiseBar() {
    if (m_bBarStaysDown || m_uiCount < kRaiseFrom) {
        return;
    }
    float* strengths = m_Strengths.Data();
    std::transform(m_Candidates.Data(), m_Candidates.Data() + m_uiCount, strengths,
                   [](const SBxCornerCandidate& candidate) { return candidate.strength; });
    std::nth_element(strengths, strengths + kBarRank - 1, strengths + m_uiCount, std::greater<>());
    m_fBar = std::max(m_fBar, strengths[kBarRank - 1]);
    SBxCornerCandidate* end =
        std::remove_if(m_Candidates.Data(), m_Candidates.Data() + m_uiCount,
                       [this](const SBxCornerCandidate& candidate) { return candidate.strength < m_fBar; });
    m_uiCount = static_cast<std::size_t>(end - m_Candidates.Data());
}

void CBxCandidateList::Restart() {
    m_uiCount = 0;
    m_fBar = 0.0f;
    m_bBarStaysDown = !m_bBarIsGuess;
    m_bBarIsGuess = false;
}

bool CBxCandidateList::Select(SBxCornerList& corners, bool& complete) const {
    constexpr unsigned int kMost = CBxCornerDetector::kMostCorners;
    const SBxTiling rows(m_iHeight);
    const SBxTiling columns(m_iWidth);
    CBxHeapArray<SBxCornerCandidate> sorted;
    CBxHeapArray<STileCorner> ofTiles;
    // A corner on a seam is accepted by the tiles on both sides, one on a crossing by four.
    if (!sorted.Allocate(m_uiCount) || !ofTiles.Allocate(4 * m_uiCount)) {
        return false;
    }
    std::copy(m_Candidates.Data(), m_Candidates.Data() + m_uiCount, sorted.Data());
    std::sort(sorted.Data(), sorted.Data() + m_uiCount, ComesFirst);

    std::size_t tileCorners = 0;
    for (int tile = 0; tile < rows.tiles * columns.tiles; ++tile) {
        const double left = tile % columns.tiles * columns.tileSize;
        const double top = tile / columns.tiles * rows.tileSize;
        const double right = std::min<double>(m_iWidth, left + columns.tileSize);
        const double bottom = std::min<double>(m_iHeight, top + rows.tileSize);
        CBxPoint<double> points[kMost];
        float strengths[kMost];
        SBxKeptCorners kept{points, strengths, kMost, 0};
        for (std::size_t i = 0; i < m_uiCount && !kept.IsFull(); ++i) {
            const SBxCornerCandidate& candidate = sorted[i];
            if (candidate.x >= left && candidate.x <= right && candidate.y >= top && candidate.y <= bottom) {
                kept.Offer(candidate.x, candidate.y, candidate.strength);
            }
        }
        for (unsigned int i = 0; i < kept.count; ++i) {
            ofTiles[tileCorners++] = {points[i], strengths[i]};
        }
    }
    std::stable_sort(ofTiles.Data(), ofTiles.Data() + tileCorners,
                     [](const STileCorner& a, const STileCorner& b) { return a.strength > b.strength; });

    SBxKeptCorners kept{corners.m_Points, corners.m_fStrengths, kMost, 0};
    for (std::size_t i = 0; i < tileCorners && !kept.IsFull(); ++i) {
        kept.Offer(ofTiles[i].point.x, ofTiles[i].point.y, ofTiles[i].strength);
    }
    corners.m_uiCount = kept.count;
    complete = m_fBar <= kCornerThreshold || (kept.IsFull() && kept.strengths[kMost - 1] >= m_fBar);
    return true;
}
