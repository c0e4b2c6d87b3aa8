#include "corner_anchors.h"

#include <algorithm>
#include <cmath>

#include "sign_format.h"

namespace {

constexpr double kSameCorner = 1.0;  // pixels
constexpr double kFarthestZoom = 1.12;
constexpr int kWeakest = 10;          // rank, near zoom 1
constexpr int kWeakestElsewhere = 3;  // where a corner of a picture that was scaled would stand
constexpr double kSmallestSide = 0.92 * kSmallestCarrierSide;  // of the scaled picture: the zoom is not quite right
// Signing takes as many carriers as it can, which are small ones: of 70 in photographs of 2 to 16 megapixels one was
// wider.
constexpr double kLargestSide = 4.0 * kSmallestCarrierSide;

}  // namespace

void CBxCornerAnchors::Offer(const SBxCornerAnchor& anchor) {
    SBxCornerAnchor* const end = m_Anchors + m_iCount;
    SBxCornerAnchor* same = std::find_if(m_Anchors, end, [&anchor](const SBxCornerAnchor& other) {
        return std::hypot(other.place.x - anchor.place.x, other.place.y - anchor.place.y) < kSameCorner;
    });
    if (same != end) {
        same->smallestSide = std::min(same->smallestSide, anchor.smallestSide);
        same->largestSide = std::max(same->largestSide, anchor.largestSide);
    } else if (m_iCount < kMost) {
        m_Anchors[m_iCount++] = anchor;
    }
}

void CBxCornerAnchors::Collect(const CBxCornerArchive& archive) {
    m_iCount = 0;
    unsigned int order[CBxCornerArchive::kMostZooms];
    archive.SortByNearness(order);
    for (const bool isNear : {true, false}) {
        const int weakest = isNear ? kWeakest : kWeakestElsewhere;
        for (int rank = 0; rank < weakest; ++rank) {
            for (unsigned int i = 0; i < archive.Count(); ++i) {
                const SBxZoomCorners& corners = archive[order[i]];
                const double zoom = corners.m_dZoom;
                if ((zoom < kFarthestZoom && zoom > 1.0 / kFarthestZoom) != isNear) {
                    continue;
                }
                for (const SBxCornerList* list : {&corners.m_Dark, &corners.m_Bright}) {
                    if (rank < static_cast<int>(list->m_uiCount)) {
                        const CBxPoint<double>& point = list->m_Points[rank];
                        Offer({{point.x / zoom, point.y / zoom}, kSmallestSide / zoom, kLargestSide / zoom});
                    }
                }
            }
        }
    }
}
