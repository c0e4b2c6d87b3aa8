#include "grid_pool.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>

namespace {

constexpr double kSmallestSide = 0.9 * kSmallestCarrierSide;  // of the scaled picture: the zoom is not quite right
constexpr std::size_t kHashSlots = 1U << 18;
constexpr double kFirstEnlarged = 1.12;  // zoom; below it pictures have the size at which they were signed
// From the zoom of a pair on to so many times that. Of 53 carriers of pictures reduced to 0.32 to 0.75 and saved as
// JPEG 49 have a grid that agrees by 8 or more, of 52 had 38 where their corners were seen first; one more on average.
constexpr double kZoomsTogether = 1.4;

bool Spans(const CBxPoint<double>& p, const CBxPoint<double>& q) {
    return std::fabs(p.x - q.x) > kSmallestSide && std::fabs(p.y - q.y) > kSmallestSide;
}

}  // namespace

int CBxGridPool::FindCorner(const CBxPoint<float>& position, int half) {
    SCorner* corners = m_Corners[half].Data();
    for (int i = 0; i < m_iCorners[half]; ++i) {
        const float dx = corners[i].position.x - position.x;
        const float dy = corners[i].position.y - position.y;
        if (dx * dx + dy * dy < static_cast<float>(kSameCorner * kSameCorner)) {
            return i;
        }
    }
    if (m_iCorners[half] == kMostCorners) {
        return -1;
    }
    corners[m_iCorners[half]] = {position, -1};
    return m_iCorners[half]++;
}

// Numbers of corners stay below 2^13; the half goes into the key, 0 is an empty slot.
bool CBxGridPool::IsNewPair(int first, int second) {
    const auto low = static_cast<std::uint64_t>(std::min(first, second));
    const auto high = static_cast<std::uint64_t>(std::max(first, second));
    const std::uint64_t key = (high << 20 | low) + 1;
    for (std::size_t slot = key * 0x9E3779B97F4A7C15U >> 46;; slot = (slot + 1) % kHashSlots) {
        if (m_Known[slot] == key) {
            return false;
        }
        if (m_Known[slot] == 0) {
            m_Known[slot] = key;
            return true;
        }
    }
}

// Writes them from m_Sights[first] on.
void CBxGridPool::AddSights(const SBxCornerList& list, double zoom, int half, int first) {
    for (int i = 0; i < static_cast<int>(list.m_uiCount); ++i) {
        const CBxPoint<float> position{static_cast<float>(list.m_Points[i].x / zoom),
                                       static_cast<float>(list.m_Points[i].y / zoom)};
        const int corner = FindCorner(position, half);
        m_Sights[first + i] = {position, static_cast<float>(zoom), corner, -1};
        if (corner >= 0) {
            m_Sights[first + i].next = std::exchange(m_Corners[half][corner].lastSight, first + i);
        }
    }
}

// Where a corner of a pair that this zoom has seen lies.
CBxPoint<float> CBxGridPool::PlaceOf(int corner, int half, double zoom) const {
    const SCorner& seen = m_Corners[half][corner];
    if (zoom < kFirstEnlarged) {
        return seen.position;
    }
    const auto from = static_cast<float>(zoom);
    const auto to = static_cast<float>(kZoomsTogether * zoom);
    CBxPoint<float> sum{0.0f, 0.0f};
    int count = 0;
    for (int i = seen.lastSight; i >= 0; i = m_Sights[i].next) {
        const SSight& sight = m_Sights[i];
        if (sight.zoom >= from && sight.zoom < to) {
            sum = {sum.x + sight.position.x, sum.y + sight.position.y};
            ++count;
        }
    }
    const float share = 1.0f / static_cast<float>(count);
    return {share * sum.x, share * sum.y};
}

bool CBxGridPool::AddPairs(const SBxCornerList& list, double zoom, int half, int first) {
    CBxPoint<float> places[CBxCornerDetector::kMostCorners];
    for (unsigned int i = 0; i < list.m_uiCount; ++i) {
        const int corner = m_Sights[first + i].corner;
        places[i] = corner < 0 ? CBxPoint<float>{} : PlaceOf(corner, half, zoom);
    }
    for (unsigned int i = 0; i < list.m_uiCount; ++i) {
        for (unsigned int j = i + 1; j < list.m_uiCount; ++j) {
            if (m_uiCount == kMostPairs) {
                return false;
            }
            const int one = m_Sights[first + i].corner;
            const int other = m_Sights[first + j].corner;
            if (one < 0 || other < 0 || !Spans(list.m_Points[i], list.m_Points[j]) ||
                !IsNewPair(2 * one + half, 2 * other + half)) {
                continue;
            }
            m_Pairs[m_uiCount++] = {places[i], places[j], static_cast<float>(zoom), static_cast<unsigned char>(i)};
        }
    }
    return true;
}

bool CBxGridPool::Collect(const CBxCornerArchive& archive) {
    constexpr int kOfHalf = CBxCornerDetector::kMostCorners;
    m_uiCount = 0;
    m_iCorners[0] = m_iCorners[1] = 0;
    if (!m_Pairs.Allocate(kMostPairs) || !m_Known.AllocateZeroed(kHashSlots) || !m_Corners[0].Allocate(kMostCorners) ||
        !m_Corners[1].Allocate(kMostCorners) || !m_Sights.Allocate(std::size_t{2} * kOfHalf * archive.Count())) {
        return false;
    }
    unsigned int order[CBxCornerArchive::kMostZooms];
    archive.SortByNearness(order);
    const auto zooms = static_cast<int>(archive.Count());
    for (int i = 0; i < zooms; ++i) {
        const SBxZoomCorners& corners = archive[order[i]];
        AddSights(corners.m_Dark, corners.m_dZoom, 0, 2 * i * kOfHalf);
        AddSights(corners.m_Bright, corners.m_dZoom, 1, (2 * i + 1) * kOfHalf);
    }
    for (int i = 0; i < zooms; ++i) {
        const SBxZoomCorners& corners = archive[order[i]];
        if (!AddPairs(corners.m_Dark, corners.m_dZoom, 0, 2 * i * kOfHalf) ||
            !AddPairs(corners.m_Bright, corners.m_dZoom, 1, (2 * i + 1) * kOfHalf)) {
            break;
        }
    }
    return true;
}
