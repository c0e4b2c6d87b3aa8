// The grids that are worth a look: those between corners that any zoom has seen.
#pragma once

#include "corner_archive.h"
#include "grid_pose.h"
#include "heap_array.h"

// A pair of corners at the ends of a carrier's diagonal, in pixels of the picture.
struct SBxCornerPair {
    CBxPoint<float> p;
    CBxPoint<float> q;
    float zoom;           // at which both were seen; of several the one nearest to 1
    unsigned char ranks;  // how far down the lists of strength the weaker of the two's better one stood
};

// Every pair is held once: corners of different zooms within kSameCorner pixels are one corner.
class CBxGridPool {
public:
    static constexpr std::size_t kMostPairs = 60000;
    static constexpr double kSameCorner = 0.8;

    // From the corners of a picture of this size, zooms near 1 first, of one zoom
    // those that came last. False without memory.
    [[nodiscard]] bool Collect(const CBxCornerArchive& archive);

    std::size_t Count() const { return m_uiCount; }
    const SBxCornerPair& operator[](std::size_t index) const { return m_Pairs[index]; }

private:
    bool AddHalf(const SBxCornerList& list, double zoom, int half);
    int FindCorner(const CBxPoint<float>& position, int half);
    bool IsNewPair(int first, int second);

    static constexpr int kMostCorners = 8192;

    std::size_t m_uiCount = 0;
    CBxHeapArray<SBxCornerPair> m_Pairs;
    CBxHeapArray<std::uint64_t> m_Known;  // pairs of corner numbers, hashed
    CBxHeapArray<CBxPoint<float>> m_Corners[2];
    int m_iCorners[2] = {};
};
