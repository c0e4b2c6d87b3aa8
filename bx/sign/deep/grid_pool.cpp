#include "grid_pool.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace {

constexpr double kSmallestSide = 0.9 * kSmallestCarrierSide;  // of the scaled picture: the zoom is not quite right
constexpr std::size_t kHashSlots = 1U << 18;

bool Spans(const CBxPoint<double>& p, const CBxPoint<double>& q) {
    return std::fabs(p.x - q.x) > kSmallestSide && std::fabs(p.y - q.y) > kSmallestSide;
}

}  // namespace

int CBxGridPool::FindCorner(const CBxPoint<float>& position, int half) {
    CBxPoint<float>* corners = m_Corners[half].Data();
    for (int i = 0; i < m_iCorners[half]; ++i) {
        const float dx = corners[i].x - position.x;
        const float dy = corners[i].y - position.y;
        if (dx * dx + dy * dy < static_cast<float>(kSameCorner * kSameCorner)) {
            return i;
        }
    }
    if (m_iCorners[half] == kMostCorners) {
        return -1;
    }
    corners[m_iCorners[half]] = position;
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

bool CBxGridPool::AddHalf(const SBxCornerList& list, double zoom, int half) {
    int numbers[CBxCornerDetector::kMostCorners];
    for (unsigned int i = 0; i < list.m_uiCount; ++i) {
        const CBxPoint<float> position{static_cast<float>(list.m_Points[i].x / zoom),
                                       static_cast<float>(list.m_Points[i].y / zoom)};
        numbers[i] = FindCorner(position, half);
    }
    for (unsigned int i = 0; i < list.m_uiCount; ++i) {
        for (unsigned int j = i + 1; j < list.m_uiCount; ++j) {
            if (m_uiCount == kMostPairs) {
                return false;
            }
            if (numbers[i] < 0 || numbers[j] < 0 || !Spans(list.m_Points[i], list.m_Points[j]) ||
                !IsNewPair(2 * numbers[i] + half, 2 * numbers[j] + half)) {
                continue;
            }
            const CBxPoint<float>* corners = m_Corners[half].Data();
            m_Pairs[m_uiCount++] = {corners[numbers[i]], corners[numbers[j]], static_cast<float>(zoom),
                                    static_cast<unsigned char>(i)};
        }
    }
    return true;
}

bool CBxGridPool::Collect(const CBxCornerArchive& archive) {
    m_uiCount = 0;
    m_iCorners[0] = m_iCorners[1] = 0;
    if (!m_Pairs.Allocate(kMostPairs) || !m_Known.AllocateZeroed(kHashSlots) || !m_Corners[0].Allocate(kMostCorners) ||
        !m_Corners[1].Allocate(kMostCorners)) {
        return false;
    }
    unsigned int order[CBxCornerArchive::kMostZooms];
    archive.SortByNearness(order);
    for (unsigned int i = 0; i < archive.Count(); ++i) {
        const SBxZoomCorners& corners = archive[order[i]];
        if (!AddHalf(corners.m_Dark, corners.m_dZoom, 0) || !AddHalf(corners.m_Bright, corners.m_dZoom, 1)) {
            break;
        }
    }
    return true;
}
