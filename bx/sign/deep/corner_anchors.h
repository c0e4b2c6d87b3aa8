// The corners that a carrier most likely starts from.
#pragma once

#include "corner_archive.h"

// A corner, in pixels of the picture.
struct SBxCornerAnchor {
    CBxPoint<double> place;
    double smallestSide;  // of a carrier that starts here, as far as its zooms tell,
    double largestSide;   // and the largest one that is likely
};

// Of each carrier at least one corner was among the ten strongest of its half when the picture was signed; what was cut
// off since can only have moved it up. Of corners that stand high in the lists of several zooms one is kept.
class CBxCornerAnchors {
public:
    static constexpr int kMost = 40;

    // The strongest ones of an archive: first those of zooms near 1, then those of the others.
    void Collect(const CBxCornerArchive& archive);

    int Count() const { return m_iCount; }
    const SBxCornerAnchor& operator[](int index) const { return m_Anchors[index]; }

private:
    void Offer(const SBxCornerAnchor& anchor);

    int m_iCount = 0;
    SBxCornerAnchor m_Anchors[kMost];
};
