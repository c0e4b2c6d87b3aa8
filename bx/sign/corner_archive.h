// The corners that the searches of many zooms have seen, kept for whoever wants to look at the picture again.
#pragma once

#include <pthread.h>

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

private:
    pthread_mutex_t m_Mutex = PTHREAD_MUTEX_INITIALIZER;
    unsigned int m_uiCount = 0;
    SBxZoomCorners m_Zooms[kMostZooms];
};
