// Stage: all tones were bent by an exponent, or changed so much that the corners of a signed picture are no longer the
// strongest ones. For each guess of what was done the picture is put back, pixel by pixel (a mean of bent tones is not
// the bent mean), its corners are looked for as they were when it was signed, and the grids between the strongest are
// read. What the guess leaves of gain and offset each grid's own comb tells.
#include <algorithm>
#include <cmath>
#include <memory>
#include <new>

#include "deep_run.h"
#include "heap_array.h"
#include "owned_pic.h"
#include "put_back.h"
#include "result.h"
#include "run_stop.h"
#include "search_picture.h"
#include "slices.h"

namespace {

constexpr double kAsSigned = 1.0;   // zoom
constexpr int kWeakestAnchor = 12;  // rank
constexpr std::size_t kSlice = 8;
constexpr float kClearComb = 0.16f;
constexpr std::size_t kMostDecoded = 100;  // grids of a guess
constexpr double kLowestRest = 0.9;        // of the gain that a guess leaves
constexpr double kHighestRest = 1.12;
constexpr double kFarthestZoom = 1.06;     // of corners that are not looked for anew
constexpr double kLargePicture = 9e5;      // pixels; fewer guesses are made for larger ones,
constexpr double kVeryLargePicture = 6e6;  // and for these with the corners that are known

struct SGuess {
    SBxTone tone;
    bool forLargeToo;
};
constexpr SGuess kGuesses[] = {
    {{1.0, 0.0, 0.8}, true},   {{1.0, 0.0, 0.9}, true},   {{1.0, 0.0, 1.12}, true},    {{1.0, 0.0, 1.25}, true},
    {{1.0, 0.0, 0.85}, false}, {{1.0, 0.0, 0.95}, false}, {{1.0, 0.0, 1.06}, false},   {{1.0, 0.0, 1.18}, false},
    {{0.8, 0.0, 1.0}, false},  {{1.25, 0.0, 1.0}, false}, {{1.25, -32.0, 1.0}, false}, {{0.85, 20.0, 1.0}, false},
};

// A picture put back, and what is read from it. Made for one guess after the other; it keeps its memory.
class CPutBack {
public:
    // 0, 1 when aborted, 6.
    unsigned char Make(CBxDeepRun& run, const SBxTone& tone, bool withCorners) {
        unsigned char table[256];
        BX_MakePutBackTable(table, tone);
        const CBxRunStop stop(run.m_Run, EBxStopOn::Abort);
        if (!m_Sums.Prepare(run.Picture(), table, {run.m_uiThreads, &stop, !withCorners}) ||
            !m_Clipped.Prepare(run.Picture(), SBxLostTones(tone))) {
            return kBxOutOfMemory;
        }
        return withCorners ? CollectCorners(run, table) : static_cast<unsigned char>(kBxSuccess);
    }

    const CBxBlueSums& Sums() const { return m_Sums; }
    const CBxClippedPixels& Clipped() const { return m_Clipped; }
    // Between corners of the last picture that was made with its corners.
    const CBxGridPool& Pool() const { return m_Pool; }

private:
    unsigned char CollectCorners(CBxDeepRun& run, const unsigned char* table) {
        if (BX_PutBack(m_Picture, run.Picture(), table) != kBxSuccess) {
            return kBxOutOfMemory;
        }
        CBxCornerArchive archive;
        CBxSearchPicture shared;
        if (!shared.Prepare(m_Picture.Pic())) {
            return kBxOutOfMemory;
        }
        const unsigned char result = run.AddCorners(archive, shared, kAsSigned);
        return result == kBxSuccess && !m_Pool.Collect(archive) ? static_cast<unsigned char>(kBxOutOfMemory) : result;
    }

    CBxOwnedPic m_Picture;
    CBxGridPool m_Pool;
    CBxBlueSums m_Sums;
    CBxClippedPixels m_Clipped;
};

struct SBentGrid {
    float clearness;
    std::uint32_t pair;  // of the pool; its count stands for the whole picture
    SBxTone comb;
};

// The grids of one guess.
class CGuessSearch {
public:
    CGuessSearch(CBxDeepRun& run, const CPutBack& putBack, const SBxTone& guess, const CBxGridPool& pool)
        : m_Run(run), m_PutBack(putBack), m_Guess(guess), m_Pool(pool) {}

    // 0 or 6.
    unsigned char Search() {
        if (!m_Grids.Allocate(m_Pool.Count() + 1)) {
            return kBxOutOfMemory;
        }
        std::size_t count = 0;
        for (std::size_t i = 0; i <= m_Pool.Count(); ++i) {
            if (i == m_Pool.Count() || IsWanted(m_Pool[i])) {
                m_Grids[count++] = {0.0f, static_cast<std::uint32_t>(i), {}};
            }
        }
        auto find = [this](std::size_t begin, std::size_t end) {
            std::for_each(m_Grids.Data() + begin, m_Grids.Data() + end, [this](SBentGrid& grid) { FindComb(grid); });
            return !m_Run.Ended();
        };
        BX_RunSlices(count, kSlice, m_Run.m_uiThreads, find);
        if (m_Run.Ended()) {
            return kBxSuccess;
        }
        const std::size_t decoded = std::min(count, kMostDecoded);
        std::partial_sort(m_Grids.Data(), m_Grids.Data() + decoded, m_Grids.Data() + count,
                          [](const SBentGrid& a, const SBentGrid& b) {
                              return a.clearness != b.clearness ? a.clearness > b.clearness : a.pair < b.pair;
                          });
        auto decode = [this](std::size_t begin, std::size_t end) {
            std::for_each(m_Grids.Data() + begin, m_Grids.Data() + end, [this](SBentGrid& grid) { Decode(grid); });
            return !m_Run.Ended();
        };
        BX_RunSlices(decoded, kSlice, m_Run.m_uiThreads, decode);
        return kBxSuccess;
    }

private:
    static bool IsWanted(const SBxCornerPair& pair) {
        const double zoom = pair.zoom;
        return pair.ranks < kWeakestAnchor && zoom < kFarthestZoom && zoom > 1.0 / kFarthestZoom;
    }
    SBxGridTrial TrialOf(const SBentGrid& grid) const {
        return grid.pair < m_Pool.Count() ? BX_TrialOfPair(m_Pool[grid.pair]) : m_Run.TrialOfWholePicture(kAsSigned);
    }
    void ReadMeans(float* means, const SBxGridTrial& trial) const {
        m_PutBack.Sums().Means(means, trial.pose, trial.blur);
        m_PutBack.Clipped().LeaveOut(means, trial.pose);
        m_Run.m_ulGrids.fetch_add(1, std::memory_order_relaxed);
    }
    void FindComb(SBentGrid& grid) const {
        const SBxGridTrial trial = TrialOf(grid);
        float means[kCellCount];
        m_PutBack.Sums().RoughMeans(means, trial.pose);
        m_PutBack.Clipped().LeaveOut(means, trial.pose);
        m_Run.m_ulGrids.fetch_add(1, std::memory_order_relaxed);
        grid.clearness = BX_FindCombBetween(grid.comb, means, kLowestRest, kHighestRest);
    }
    void Decode(const SBentGrid& grid) const {
        if (grid.clearness < kClearComb || m_Run.Ended()) {
            return;
        }
        const SBxGridTrial trial = TrialOf(grid);
        float means[kCellCount];
        ReadMeans(means, trial);
        SBxTone comb = grid.comb;
        for (int reading = 0; reading < 2; ++reading) {
            float soft[kCellCount];
            BX_SoftValues(soft, means, comb);
            m_Run.TrySoft(trial, BX_Together(m_Guess, comb), soft, EBxDeepStage::BentTones, true);
            comb.offset += kPeriod / 2 * comb.gain;
        }
    }

    CBxDeepRun& m_Run;
    const CPutBack& m_PutBack;
    const SBxTone m_Guess;
    const CBxGridPool& m_Pool;
    CBxHeapArray<SBentGrid> m_Grids;
};

}  // namespace

unsigned char BX_SearchBentTones(CBxDeepRun& run) {
    if (run.m_bKnowsTone) {
        return kBxSuccess;
    }
    const std::unique_ptr<CPutBack> putBack(new (std::nothrow) CPutBack);
    if (putBack == nullptr) {
        return kBxOutOfMemory;
    }
    const double pixels = static_cast<double>(run.Picture().m_iWidth) * run.Picture().m_iHeight;
    const bool withCorners = pixels < kVeryLargePicture;
    for (const SGuess& guess : kGuesses) {
        if (pixels > kLargePicture && !guess.forLargeToo) {
            continue;
        }
        unsigned char result = putBack->Make(run, guess.tone, withCorners);
        if (result == kBxSuccess && !run.Ended()) {
            result = CGuessSearch(run, *putBack, guess.tone, withCorners ? putBack->Pool() : run.m_Pool).Search();
        }
        if (result == kBxOutOfMemory || run.Ended()) {
            return result == kBxOutOfMemory ? result : static_cast<unsigned char>(kBxSuccess);
        }
    }
    return kBxSuccess;
}
