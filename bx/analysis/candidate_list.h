// The corner candidates of one half of a picture, and the choice of the 50 that are kept.
#pragma once

#include <cstddef>

#include "heap_array.h"

struct SBxCornerList;

struct SBxCornerCandidate {
    double x;  // fitted place, pixels of the plane
    double y;
    float strength;
    int row;  // the maximum's pixel
    int column;
};

// Collects candidates and raises a bar below which a candidate cannot be among those that are kept.
class CBxCandidateList {
public:
    // `bar` is a guess at where the bar may stand from the start, or 0.
    CBxCandidateList(int width, int height, float bar)
        : m_iWidth(width), m_iHeight(height), m_fBar(bar), m_bBarIsGuess(bar > 0.0f) {}

    // False without memory, like every other bool in here.
    [[nodiscard]] bool Prepare();

    // Strengths below this do not matter.
    float Bar() const { return m_fBar; }

    // Takes a candidate, unless it lies too close to an edge.
    [[nodiscard]] bool Add(const SBxCornerCandidate& candidate);

    // Raises the bar to the strength of one of the strongest candidates so far and forgets those below.
    void RaiseBar();

    // Chooses the corners: the strongest 50 of each tile, and of those the strongest 50 of the picture, that keep their
    // distance. `complete` tells whether the bar left out nothing that belongs to them.
    [[nodiscard]] bool Select(SBxCornerList& corners, bool& complete) const;

    // Empties the list for another search: without the guess, or, when there was none, with the bar down for good.
    void Restart();

private:
    int m_iWidth;
    int m_iHeight;
    CBxHeapArray<SBxCornerCandidate> m_Candidates;
    CBxHeapArray<float> m_Strengths;  // scratch of RaiseBar
    std::size_t m_uiCount = 0;
    float m_fBar;
    bool m_bBarIsGuess;
    bool m_bBarStaysDown = false;
};
