// The corners that the searches of many zooms have seen, kept for whoever wants to look at the picture again.
#pragma once

#include <pthread.h>

#include <algorithm>
#include <cmath>

#include "corner_search.h"
#include "geometry.h"

// The corners of one zoom, strongest first; positions in pixels of the scaled picture.
struct SBxZoomCorners {
    double m_dZoom;
    SBxCornerList m_Dark;
    SBxCornerList m_Bright;
};

// Room for a fixed number of zooms. Add may be called by several threads at a time; the rest when they have ended.
class CBxCornerArchive {
public:
    static constexpr unsigned int kMostZooms = 64;

    CBxCornerArchive() = default;
    ~CBxCornerArchive() { pthread_mutex_destroy(&m_Mutex); }
    CBxCornerArchive(const CBxCornerArchive&) = delete;
    CBxCornerArchive& operator=(const CBxCornerArchive&) = delete;

    // Forgets what it cannot hold.
    void Add(double zoom, const SBxCornerList& dark, const SBxCornerList& bright) {
        pthread_mutex_lock(&m_Mutex);
        if (m_uiCount < kMostZooms) {
            m_Zooms[m_uiCount++] = {zoom, dark, bright};
        }
        pthread_mutex_unlock(&m_Mutex);
    }

    unsigned int Count() const { return m_uiCount; }
    const SBxZoomCorners& operator[](unsigned int index) const { return m_Zooms[index]; }

    // The zooms, those nearest to 1 first, of equal ones those that came last: an order that does not depend on which
    // thread was first. `order` has room for kMostZooms.
    void SortByNearness(unsigned int* order) const {
        for (unsigned int i = 0; i < m_uiCount; ++i) {
            order[i] = i;
        }
        std::sort(order, order + m_uiCount, [this](unsigned int a, unsigned int b) {
            const double zoomA = m_Zooms[a].m_dZoom;
            const double zoomB = m_Zooms[b].m_dZoom;
            const double farA = std::fabs(std::log(zoomA));
            const double farB = std::fabs(std::log(zoomB));
            return farA != farB ? farA < farB : zoomA != zoomB ? zoomA < zoomB : a > b;
        });
    }

private:
    pthread_mutex_t m_Mutex = PTHREAD_MUTEX_INITIALIZER;
    unsigned int m_uiCount = 0;
    SBxZoomCorners m_Zooms[kMostZooms];
};
