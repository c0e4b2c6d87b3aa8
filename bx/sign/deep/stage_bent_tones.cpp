// Stage: all tones were bent by an exponent, or changed so much that the corners of a signed picture are no longer the
// strongest ones. For each guess of what was done the picture is put back, pixel by pixel (a mean of bent tones is not
// the bent mean), its corners are looked for as they were when it was signed, and the grids between the strongest are
// read. What the guess leaves of gain and offset each grid's own comb tells.
#include <algorithm>
#include <cmath>
#include <memory>
#include <new>

#include "deep_run.h"
#include "owned_pic.h"
#include "put_back.h"
#include "result.h"
#include "search_picture.h"
#include "slices.h"

namespace {

constexpr double kAsSigned = 1.0;   // zoom
constexpr int kWeakestAnchor = 12;  // rank
constexpr std::size_t kSlice = 8;
constexpr float kClearComb = 0.16f;
constexpr double kLowestRest = 0.9;  // of the gain that a guess leaves
constexpr double kHighestRest = 1.12;
constexpr double kFarthestZoom = 1.06;  // of corners that are not looked for anew
constexpr double kLargePicture =
    6e6;  // pixels; fewer guesses are made for larger ones, with the corners that are known

struct SGuess {
    SBxTone tone;
    bool forLargeToo;
};
constexpr SGuess kGuesses[] = {
    {{1.0, 0.0, 0.8}, true},   {{1.0, 0.0, 0.9}, true},   {{1.0, 0.0, 1.12}, true},    {{1.0, 0.0, 1.25}, true},
    {{1.0, 0.0, 0.85}, false}, {{1.0, 0.0, 0.95}, false}, {{1.0, 0.0, 1.06}, false},   {{1.0, 0.0, 1.18}, false},
    {{0.8, 0.0, 1.0}, false},  {{1.25, 0.0, 1.0}, false}, {{1.25, -32.0, 1.0}, false}, {{0.85, 20.0, 1.0}, false},
};

// A picture put back, and what is read from it.
struct SPutBack {
    CBxOwnedPic picture;
    CBxCornerArchive archive;
    CBxGridPool pool;
    CBxBlueSums sums;
    CBxClippedPixels clipped;

    unsigned char Make(CBxDeepRun& run, const SBxTone& tone, bool withCorners) {
        if (BX_PutBack(picture, run.Picture(), tone) != kBxSuccess ||
            !clipped.Prepare(run.Picture(), SBxLostTones(tone))) {
            return kBxOutOfMemory;
        }
        if (!sums.Prepare(picture.Pic())) {
            return kBxOutOfMemory;
        }
        return withCorners ? CollectCorners(run) : static_cast<unsigned char>(kBxSuccess);
    }

private:
    unsigned char CollectCorners(CBxDeepRun& run) {
        CBxSearchPicture shared;
        if (!shared.Prepare(picture.Pic())) {
            return kBxOutOfMemory;
        }
        const unsigned char result = run.AddCorners(archive, shared, kAsSigned);
        return result == kBxSuccess && !pool.Collect(archive) ? static_cast<unsigned char>(kBxOutOfMemory) : result;
    }
};

void ReadGrid(CBxDeepRun& run, const SPutBack& putBack, const SBxTone& guess, const SBxGridTrial& trial) {
    float means[kCellCount];
    putBack.sums.Means(means, trial.pose, trial.blur);
    putBack.clipped.LeaveOut(means, trial.pose);
    run.m_ulGrids.fetch_add(1, std::memory_order_relaxed);
    SBxTone comb;
    if (BX_FindCombBetween(comb, means, kLowestRest, kHighestRest) < kClearComb) {
        return;
    }
    for (int reading = 0; reading < 2; ++reading) {
        float soft[kCellCount];
        BX_SoftValues(soft, means, comb);
        run.TrySoft(trial, BX_Together(guess, comb), soft, EBxDeepStage::BentTones, true);
        comb.offset += kPeriod / 2 * comb.gain;
    }
}

unsigned char SearchGuess(CBxDeepRun& run, const SBxTone& guess, bool withCorners) {
    const std::unique_ptr<SPutBack> putBack(new (std::nothrow) SPutBack);
    const unsigned char made =
        putBack != nullptr ? putBack->Make(run, guess, withCorners) : static_cast<unsigned char>(kBxOutOfMemory);
    if (made != kBxSuccess) {
        return made;
    }
    ReadGrid(run, *putBack, guess, run.TrialOfWholePicture(kAsSigned));
    const CBxGridPool& pool = withCorners ? putBack->pool : run.m_Pool;
    auto slice = [&](std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end && !run.Ended(); ++i) {
            const double zoom = pool[i].zoom;
            if (pool[i].ranks < kWeakestAnchor && zoom < kFarthestZoom && zoom > 1.0 / kFarthestZoom) {
                ReadGrid(run, *putBack, guess, BX_TrialOfPair(pool[i]));
            }
        }
        return !run.Ended();
    };
    BX_RunSlices(pool.Count(), kSlice, run.m_uiThreads, slice);
    return kBxSuccess;
}

}  // namespace

unsigned char BX_SearchBentTones(CBxDeepRun& run) {
    if (run.m_bKnowsTone) {
        return kBxSuccess;
    }
    const double pixels = static_cast<double>(run.Picture().m_iWidth) * run.Picture().m_iHeight;
    for (const SGuess& guess : kGuesses) {
        if (run.Ended()) {
            break;
        }
        if (pixels < kLargePicture || guess.forLargeToo) {
            const unsigned char result = SearchGuess(run, guess.tone, pixels < kLargePicture);
            if (result == kBxOutOfMemory) {
                return result;
            }
        }
    }
    return kBxSuccess;
}
