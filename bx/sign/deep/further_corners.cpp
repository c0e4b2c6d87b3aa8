// Corners that the ordinary search has not looked for.
//
// It smooths a picture the more, the more it enlarges it. Here all are smoothed as they are when a picture is signed:
// one that was reduced since, and is enlarged again, then has the corners that it was signed by.
#include <atomic>
#include <iterator>
#include <memory>
#include <new>

#include "deep_run.h"
#include "result.h"
#include "run_stop.h"
#include "scaled_rows.h"
#include "search_picture.h"
#include "slices.h"

namespace {

constexpr double kAsSigned = 1.0;  // stretch of the smoothing

constexpr double kZoomsOfEnlarged[] = {0.5, 0.55, 0.6, 0.65, 0.7, 0.75, 0.8, 0.85};
constexpr double kZoomsOfLargeEnlarged[] = {0.5, 0.6, 0.7, 0.8};
constexpr double kLargePicture = 6e6;  // pixels
constexpr double kZoomsOfReduced[] = {1.2, 1.35, 1.5, 1.65, 1.8, 1.95, 2.05, 2.2, 2.4, 2.65, 2.9, 3.2, 3.6, 4.0};
constexpr double kMostPixelsOfReduced = 1.3e7;           // of the enlarged picture
constexpr double kZoomsOfPutBack[] = {1.0, 0.95, 1.05};  // those near which signs are written

struct SZooms {
    double list[std::size(kZoomsOfEnlarged) + std::size(kZoomsOfReduced) + std::size(kZoomsOfPutBack)];
    std::size_t count = 0;

    SZooms(const SBxPicBuf& picture, bool isPutBack) {
        const double pixels = static_cast<double>(picture.m_iWidth) * picture.m_iHeight;
        if (pixels > kLargePicture) {
            AddAll(kZoomsOfLargeEnlarged);
        } else {
            AddAll(kZoomsOfEnlarged);
        }
        for (const double zoom : kZoomsOfReduced) {
            if (pixels * zoom * zoom < kMostPixelsOfReduced) {
                list[count++] = zoom;
            }
        }
        // Last: of one zoom's corners those that come last are taken first.
        if (isPutBack) {
            AddAll(kZoomsOfPutBack);
        }
    }

private:
    template <std::size_t Count>
    void AddAll(const double (&zooms)[Count]) {
        for (const double zoom : zooms) {
            list[count++] = zoom;
        }
    }
};

}  // namespace

unsigned char CBxDeepRun::AddCorners(CBxCornerArchive& archive, const CBxSearchPicture& shared, double zoom) {
    struct SLists {
        SBxCornerList dark;
        SBxCornerList bright;
    };
    const std::unique_ptr<SLists> lists(new (std::nothrow) SLists);
    CBxColumnWeights columns;
    if (lists == nullptr || !columns.Prepare(shared.Width(), zoom)) {
        return kBxOutOfMemory;
    }
    CBxScaledRows mean(shared, columns, zoom, CBxScaledRows::EChannel::MeanOfGreenAndRed);
    if (!mean.Prepare()) {
        return kBxOutOfMemory;
    }
    SBxCornerBars bars;
    const CBxRunStop stop(m_Run, EBxStopOn::Abort);
    const unsigned char result =
        BX_FindCornersOfHalves(lists->dark, lists->bright, mean, mean.Width(), mean.Height(), kAsSigned, bars, &stop);
    if (result == kBxSuccess) {
        archive.Add(zoom, lists->dark, lists->bright);
    }
    return result;
}

// The zooms are shared out among the threads.
unsigned char CBxDeepRun::AddFurtherCorners() {
    CBxSearchPicture shared;
    if (!shared.Prepare(Picture())) {
        return kBxOutOfMemory;
    }
    const SZooms zooms(m_Given, m_bKnowsTone);
    std::atomic<unsigned char> result{kBxSuccess};
    auto slice = [&](std::size_t begin, std::size_t /*end*/) {
        const double zoom = zooms.list[begin];
        if (!BX_IsTooLargeToSearch(m_Given.m_iWidth, m_Given.m_iHeight, zoom)) {
            const unsigned char ofZoom = AddCorners(m_Archive, shared, zoom);
            if (ofZoom != kBxSuccess) {
                result.store(ofZoom);
            }
        }
        return result.load() == kBxSuccess && !Ended();
    };
    BX_RunSlices(zooms.count, 1, m_uiThreads, slice);
    return Ended() ? static_cast<unsigned char>(kBxFailure) : result.load();
}
