// What the stages of one deep search share.
#pragma once

#include <pthread.h>

#include <atomic>

#include "blue_sums.h"
#include "clipped_pixels.h"
#include "corner_archive.h"
#include "deep_finding.h"
#include "grid_pool.h"
#include "owned_pic.h"
#include "pattern_plane.h"
#include "sign_run.h"
#include "soft_store.h"

// A grid to be read, and how it came about.
struct SBxGridTrial {
    SBxGridPose pose;
    double blur;   // for CBxBlueSums
    double scale;  // of the picture against the one that was signed, as far as it is known
    double turned;
    SBxGridOrientation orientation;
};

// The trial of an upright pair of corners.
SBxGridTrial BX_TrialOfPair(const SBxCornerPair& pair, double degrees = 0.0);
// How blurred the cells of a picture scaled by this are.
double BX_BlurOfScale(double scale);

class CBxSearchPicture;

class CBxDeepRun {
public:
    CBxDeepRun(SBxSignRun& run, const SBxPicBuf& picture, CBxCornerArchive& archive, unsigned int threads)
        : m_Run(run), m_Archive(archive), m_uiThreads(threads), m_Given(picture) {}
    ~CBxDeepRun() { pthread_mutex_destroy(&m_Mutex); }
    CBxDeepRun(const CBxDeepRun&) = delete;
    CBxDeepRun& operator=(const CBxDeepRun&) = delete;

    // Puts the picture back if it tells itself what was done to its tones. First of all. 0 or 6.
    unsigned char PutBack();
    // Adds the corners of zooms that the ordinary search does not look at. 0, 1 when aborted, 6.
    unsigned char AddFurtherCorners();
    // Adds the corners of one zoom of a picture to an archive. 0, 1 when aborted, 6.
    unsigned char AddCorners(CBxCornerArchive& archive, const CBxSearchPicture& shared, double zoom);
    // Collects the pairs and makes the sums. 0 or 6.
    unsigned char Prepare();

    SBxSignRun& m_Run;
    const SBxPicBuf& Picture() const { return m_bKnowsTone ? m_Back.Pic() : m_Given; }  // that is searched
    CBxCornerArchive& m_Archive;
    const unsigned int m_uiThreads;
    CBxBlueSums m_Sums;
    CBxClippedPixels m_Clipped;
    CBxGridPool m_Pool;
    CBxPatternPlane m_Planes;
    // Whether the picture told what became of its tones and was put back. An offset of a few whole tones may be left.
    bool m_bKnowsTone = false;
    CBxSoftStore m_Softs;  // of the pool's grids as they stand, once the first stage has read them

    // True when nothing more is to be done: aborted, or a certain reading stands.
    bool Ended() const {
        return m_Run.m_iAbortDetecting.load(std::memory_order_relaxed) > 0 ||
               m_bCertain.load(std::memory_order_relaxed);
    }

    // Makes m_Planes when it is first called, between the stages. False without memory.
    [[nodiscard]] bool PreparePlanes();

    // The grid of the whole picture as carrier, if the picture was scaled by this.
    SBxGridTrial TrialOfWholePicture(double scale) const;
    // The means of a trial; how many of its cells are in the picture.
    int ReadMeans(float* means, const SBxGridTrial& trial) {
        m_ulGrids.fetch_add(1, std::memory_order_relaxed);
        const int count = m_Sums.Means(means, trial.pose, trial.blur);
        if (m_bKnowsTone) {
            m_Clipped.LeaveOut(means, trial.pose);
        }
        return count;
    }

    // The same in less time, to compare grids.
    int ReadRoughMeans(float* means, const SBxGridTrial& trial) {
        m_ulGrids.fetch_add(1, std::memory_order_relaxed);
        const int count = m_Sums.RoughMeans(means, trial.pose);
        if (m_bKnowsTone) {
            m_Clipped.LeaveOut(means, trial.pose);
        }
        return count;
    }
    // The same for tones that may have been changed: without the cells that have lost the ends of theirs.
    void ReadWholeCells(float* means, const SBxGridTrial& trial) {
        ReadMeans(means, trial);
        if (!m_bKnowsTone) {
            m_Clipped.LeaveOut(means, trial.pose);
        }
    }

    // Decodes one interpretation and keeps what is worth it. Any thread. Returns the agreement, 0 below notice.
    double Try(const SBxGridTrial& trial, const SBxTone& tone, const float* means, EBxDeepStage stage);
    // The same under the tones as they are, but for an offset that the means tell. A comb does not tell an offset from
    // one that lies a distance of its lines away: of a large one both are decoded.
    void TryTones(const SBxGridTrial& trial, const float* means, EBxDeepStage stage);
    // Reads a trial and decodes it so.
    void TryAsRead(const SBxGridTrial& trial, EBxDeepStage stage);
    // The same; `soft` receives the 256 soft values of the means.
    void TryExactly(float* soft, const SBxGridTrial& trial, EBxDeepStage stage);
    // The same in less time, for a grid that is hardly worth it: exact means are read if rough ones may be a sign's.
    // `soft` receives those of the last means that were read.
    void TryRoughly(float* soft, const SBxGridTrial& trial, EBxDeepStage stage);
    // The comb that fits means best, of any gain or, in a picture that was put back, of hardly any.
    float FindComb(SBxTone& tone, const float* means) const;
    // Decodes means under the tones as they are, and under those of the best comb.
    void TryWithComb(const SBxGridTrial& trial, const float* means, EBxDeepStage stage);
    // Decodes soft values that are not of one grid.
    double TrySoft(const SBxGridTrial& trial, const SBxTone& tone, const float* soft, EBxDeepStage stage, bool mayMove);

    // Decodes several carriers together; `evidence` bits speak for their belonging together.
    SBxSoftReading TryJoint(const SBxGridTrial& trial, const SBxTone& tone, const float* soft, double evidence);

    // Readings too weak to stand alone, best first, one for each place.
    static constexpr int kMostHints = 24;
    struct SHint {
        SBxGridTrial trial;
        SBxTone tone;
        double agreement;
        char text[kTextCodes + 1];
        float soft[kCellCount];
    };
    int HintCount() const { return m_iHints; }
    const SHint& Hint(int index) const { return m_Hints[index]; }

    bool HasReading() const { return m_bHasReading; }
    const SBxDeepFinding& Finding() const { return m_Finding; }

    // Counters of the stage that runs.
    std::atomic<unsigned long> m_ulGrids{0};
    std::atomic<unsigned long> m_ulDecodings{0};

private:
    // Whether the lines of zeros may be those of ones, for a tone that means told.
    bool IsAmbiguous(const SBxTone& tone) const;
    // Whether exact means may make a hint of soft values that were made of rough ones.
    bool IsPromising(const float* soft, const SBxTone& tone);
    // Whether cells are more regular than the text that they decode to.
    bool RepeatsItself(const float* soft);
    // Whether cells of a trial under this tone may have lost ends of their tones.
    bool MayBeClipped(const SBxTone& tone) const { return m_bKnowsTone || !tone.IsUnchanged(); }
    double Evidence(double agreement) const;
    // Changes a tone to where the cells of a grid agree best with a text.
    void TuneTone(SBxTone& tone, const SBxGridTrial& trial, const char* text) const;
    // Moves a grid to where its cells agree best with a text, and writes its soft values there.
    double MoveUphill(SBxGridTrial& trial, float* soft, const SBxTone& tone, const char* text) const;
    void KeepHint(const SBxGridTrial& trial, const SBxTone& tone, const float* soft, const SBxSoftReading& reading);
    void KeepReading(const SBxGridTrial& trial, const SBxTone& tone, const SBxSoftReading& reading, EBxDeepStage stage);

    pthread_mutex_t m_Mutex = PTHREAD_MUTEX_INITIALIZER;  // guards the rest
    const SBxPicBuf& m_Given;
    CBxOwnedPic m_Back;  // what it was before its tones were changed by
    SBxTone m_Undone;    // this
    std::atomic<bool> m_bCertain{false};
    std::atomic<unsigned long> m_ulAllDecodings{0};
    bool m_bHasReading = false;
    SBxDeepFinding m_Finding;
    int m_iHints = 0;
    SHint m_Hints[kMostHints];
};

// The stages; each returns 0, or 6 without memory.
unsigned char BX_SearchPairs(CBxDeepRun& run);
unsigned char BX_SearchTones(CBxDeepRun& run);
unsigned char BX_SearchTurned(CBxDeepRun& run);
unsigned char BX_SearchOrientations(CBxDeepRun& run);
unsigned char BX_SearchCut(CBxDeepRun& run);
unsigned char BX_SearchOneCorner(CBxDeepRun& run);
unsigned char BX_SearchJoined(CBxDeepRun& run);
unsigned char BX_SearchBentTones(CBxDeepRun& run);
unsigned char BX_SearchAnywhere(CBxDeepRun& run);
