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
//
// A picture that was reduced has its corners where they were when it was signed at the zoom that makes it as large
// again, and small cells, of which half a pixel is too much. So a corner that was enlarged to be seen lies where it was
// seen on average, from the zoom of its pair on:
//
//      zoom    1.2    1.3    1.4    1.5    1.6    1.7    1.8    1.9
//      x       74.2   74.4   74.6   74.5   74.7   74.8   74.8   -          a pair of zoom 1.3: 74.6
//                     '-------------------------------'
class CBxGridPool {
public:
    static constexpr std::size_t kMostPairs = 60000;
    static constexpr double kSameCorner = 0.8;

    // From the corners of a picture, zooms near 1 first, of one zoom those that came last. False without memory.
    [[nodiscard]] bool Collect(const CBxCornerArchive& archive);

    std::size_t Count() const { return m_uiCount; }
    const SBxCornerPair& operator[](std::size_t index) const { return m_Pairs[index]; }

private:
    static constexpr int kMostCorners = 8192;
    static constexpr int kHalves = 2;  // the dark one and the bright one

    // A corner as one zoom has seen it.
    struct SSight {
        CBxPoint<float> position;
        float zoom;
        int corner;  // its number, -1 when there were too many
        int next;    // of the same corner, -1 after the last
    };
    void AddSights(const SBxCornerList& list, double zoom, int half, int first);
    bool AddPairs(const SBxCornerList& list, double zoom, int half, int first);
    int FindCorner(const CBxPoint<float>& position, int half);
    CBxPoint<float> PlaceOf(int corner, int half, double zoom) const;
    bool IsNewPair(int first, int second);

    std::size_t m_uiCount = 0;
    CBxHeapArray<SBxCornerPair> m_Pairs;
    CBxHeapArray<std::uint64_t> m_Known;  // pairs of corner numbers, hashed
    struct SCorner {
        CBxPoint<float> position;  // where it was seen first
        int lastSight;
    };
    CBxHeapArray<SCorner> m_Corners[kHalves];
    int m_iCorners[kHalves] = {};
    CBxHeapArray<SSight> m_Sights;
};
