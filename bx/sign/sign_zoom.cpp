// Detection at one zoom: scale, find the candidate rectangles again, read their cells.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "cell_reader.h"
#include "important_rectangles.h"
#include "result.h"
#include "run_stop.h"
#include "scaled_rows.h"
#include "sign_block.h"
#include "sign_format.h"
#include "sign_op.h"
#include "sign_probe.h"
#include "zoom_search.h"

namespace {

constexpr unsigned int kCandidateRoom = 200;  // 96 for each half and the whole picture
constexpr unsigned int kAnchorRoom = 50;

bool Ended(const SBxSignRun& run) {
    return run.m_iAbortDetecting.load(std::memory_order_relaxed) > 0 ||
           run.m_iStopDetecting.load(std::memory_order_relaxed) >= 0;
}

// The candidate rectangles of a scaled picture, the whole of it last.
unsigned char FindCandidates(SBxSignRun& run, CBxRect<double>* candidates, unsigned int& count,
                             const CBxSearchPicture& picture, const CBxColumnWeights& columns, double zoom,
                             CBxStrengthMemory& memory) {
    CBxScaledRows mean(picture, columns, zoom, CBxScaledRows::EChannel::MeanOfGreenAndRed);
    CBxPoint<double> anchors[kAnchorRoom];
    unsigned int anchorCount = 0;
    SBxCornerBars bars = memory.GuessFor(zoom);
    const CBxSize<int> scaled{mean.Width(), mean.Height()};
    const unsigned char result =
        mean.Prepare() ? BX_FindImportantRectangles(CBxRunStop(run, EBxStopOn::AbortOrFound), candidates, count, mean,
                                                    scaled, anchors, anchorCount, true, zoom, bars, run.m_pCorners)
                       : kBxOutOfMemory;
    if (result != kBxSuccess) {
        if (!Ended(run)) {
            CBxSignOp::LogErrorDetail("GetAllImportantRectangles() failed.");
        }
        return result;
    }
    memory.Remember(zoom, bars);
    candidates[count++] = {0.0, 0.0, static_cast<double>(scaled.width), static_cast<double>(scaled.height)};
    return kBxSuccess;
}

// Where a search stands, for what it does with the candidates.
struct SZoom {
    SBxSignRun& run;
    const CBxSearchPicture& picture;
    const CBxColumnWeights& columns;
    double zoom;
};

// Reads the chosen cells of all candidates.
unsigned char ReadCells(const SZoom& at, CBxCellReader& cells, const CBxRect<double>* candidates, unsigned int count,
                        const SBxCellChoice& choice) {
    CBxScaledRows blue(at.picture, at.columns, at.zoom, CBxScaledRows::EChannel::Blue);
    const CBxRunStop stop(at.run, EBxStopOn::AbortOrFound);
    const unsigned char result = blue.Prepare() && cells.Prepare(candidates, count, blue.Width(), blue.Height(), choice)
                                     ? cells.Read(blue, at.zoom, &stop)
                                     : kBxOutOfMemory;
    if (result == kBxOutOfMemory) {
        CBxSignOp::LogErrorDetail("Out of memory.");
    }
    return result;
}

// The 256 bits of a candidate; 0 for a cell that was not read.
void BitsOfCells(int* bits, const CBxCellReader& cells, unsigned int candidate) {
    double means[kCellCount];
    cells.Means(means, candidate);
    for (int cell = 0; cell < kCellCount; ++cell) {
        bits[cell] = !std::isnan(means[cell]) && std::fmod(means[cell], kPeriod) >= kThreshold ? 1 : 0;
    }
}

// Leaves out the candidates that a few of their cells refuse, and keeps the order of the others.
unsigned char KeepPossible(const SZoom& at, CBxRect<double>* candidates, unsigned int& count,
                           CBxStrengthMemory& memory) {
    const EBxProbe probe = memory.Probe();
    CBxCellReader cells;
    const unsigned char result = ReadCells(at, cells, candidates, count, BX_ProbeCells(probe));
    if (result != kBxSuccess) {
        return result;
    }
    unsigned int kept = 0;
    for (unsigned int i = 0; i < count; ++i) {
        int bits[kCellCount];
        BitsOfCells(bits, cells, i);
        if (!BX_ProbeRefuses(bits, probe)) {
            candidates[kept++] = candidates[i];
        }
    }
    count = kept;
    memory.RememberPassed(kept);
    return kBxSuccess;
}

SBxFinding MakeFinding(const CBxRect<double>& candidate, double zoom, const CBxSearchPicture& picture,
                       unsigned int correctedBits) {
    const double width = picture.Width();
    const double height = picture.Height();
    return {zoom,
            {candidate.left / zoom, candidate.top / zoom, std::min(width, candidate.right / zoom),
             std::min(height, candidate.bottom / zoom)},
            correctedBits};
}

// Decodes the candidates in order until one is accepted.
unsigned char DecodeCandidates(const SZoom& at, char* block, SBxFinding& finding, const CBxCellReader& cells,
                               const CBxRect<double>* candidates, unsigned int count) {
    for (unsigned int i = 0; i < count; ++i) {
        if (Ended(at.run)) {
            return kBxFailure;
        }
        int bits[kCellCount];
        BitsOfCells(bits, cells, i);
        int sign[kCellCount];
        CBxSignOp::TransformCurrentBytecode(sign, bits, 0);
        const SBxReadBlock read = BX_DecodeSign(sign);
        if (read.m_bAccepted) {
            std::memcpy(block, read.m_szCharacters, sizeof read.m_szCharacters);
            finding = MakeFinding(candidates[i], at.zoom, at.picture, read.m_uiCorrectedBits);
            CBxSignOp::LogInfoDetail("Sign with zoom %.2lf detected.", at.zoom);
            return kBxSuccess;
        }
    }
    CBxSignOp::LogInfoDetail("Sign with zoom %.2lf was not detected.", at.zoom);
    return kBxFailure;
}

// Searches a zoom that the picture can be scaled to.
unsigned char SearchScaled(SBxSignRun& run, const CBxSearchPicture& picture, char* block, SBxFinding& finding,
                           double zoom, CBxStrengthMemory& memory) {
    CBxColumnWeights columns;
    if (!columns.Prepare(picture.Width(), zoom)) {
        return kBxOutOfMemory;
    }
    CBxRect<double> candidates[kCandidateRoom];
    unsigned int count = 0;
    unsigned char result = FindCandidates(run, candidates, count, picture, columns, zoom, memory);
    if (result != kBxSuccess) {
        return result;
    }
    CBxSignOp::ReduceNumbersOfRectanglesX(candidates, count);
    const SZoom at{run, picture, columns, zoom};
    result = KeepPossible(at, candidates, count, memory);
    if (result != kBxSuccess) {
        return result;
    }
    CBxCellReader cells;
    result = ReadCells(at, cells, candidates, count, BX_AllCells());
    return result == kBxSuccess ? DecodeCandidates(at, block, finding, cells, candidates, count) : result;
}

}  // namespace

// The strengths change smoothly with the zoom, but for the change of the smoothing kernel behind zoom 1.0.
SBxCornerBars CBxStrengthMemory::GuessFor(double zoom) const {
    constexpr int kFarthest = 3;        // zooms away
    constexpr int kFirstStretched = 3;  // index of the first zoom with a stretched kernel
    constexpr float kShareForEachStep = 0.75f;
    const int index = static_cast<int>(std::lround((zoom - kFirstZoom) / kZoomStep));
    float share = 1.0f;
    for (int distance = 1; distance <= kFarthest; ++distance) {
        share *= kShareForEachStep;
        for (const int neighbour : {index - distance, index + distance}) {
            const bool sameKernel = (neighbour < kFirstStretched) == (index < kFirstStretched);
            if (neighbour < 0 || neighbour >= static_cast<int>(kZooms) || !sameKernel) {
                continue;
            }
            const float dark = m_Entries[neighbour].dark.load(std::memory_order_relaxed);
            const float bright = m_Entries[neighbour].bright.load(std::memory_order_relaxed);
            if (dark > 0.0f || bright > 0.0f) {
                return {share * dark, share * bright};
            }
        }
    }
    return {};
}

void CBxStrengthMemory::Remember(double zoom, const SBxCornerBars& bars) {
    const long index = std::lround((zoom - kFirstZoom) / kZoomStep);
    if (index >= 0 && index < static_cast<long>(kZooms)) {
        m_Entries[index].dark.store(bars.m_fDark, std::memory_order_relaxed);
        m_Entries[index].bright.store(bars.m_fBright, std::memory_order_relaxed);
    }
}

void CBxStrengthMemory::RememberPassed(unsigned int candidates) {
    constexpr unsigned int kMostByChance = 1;
    if (candidates > kMostByChance) {
        m_bWide.store(true, std::memory_order_relaxed);
    }
}

unsigned char BX_SearchZoom(SBxSignRun& run, const CBxSearchPicture& picture, char* block, SBxFinding& finding,
                            double zoom, CBxStrengthMemory& memory) {
    if (run.m_iAbortDetecting.load(std::memory_order_relaxed) > 0) {
        return kBxFailure;
    }
    if (BX_IsTooLargeToSearch(picture.Width(), picture.Height(), zoom)) {
        CBxSignOp::LogInfoDetail("Detection with zoom %.2lf: Too large picture!", zoom);
        return kBxFailure;
    }
    if (run.m_iStopDetecting.load(std::memory_order_relaxed) >= 0) {
        return kBxFailure;
    }
    if (!(zoom >= kSmallestScaledZoom)) {
        // Cells of a few pixels of the scaled picture carry nothing.
        CBxSignOp::LogInfoDetail("Sign with zoom %.2lf was not detected.", zoom);
        return kBxFailure;
    }
    return SearchScaled(run, picture, block, finding, zoom, memory);
}

unsigned char CBxSignOp::ExtractTextFromPictureWithZoom(SBxPicBuf* picture, char* block, double zoom) {
    return ExtractTextFromPictureWithZoom(m_DefaultRun, picture, block, zoom);
}

unsigned char CBxSignOp::ExtractTextFromPictureWithZoom(SBxSignRun& run, SBxPicBuf* picture, char* block, double zoom) {
    if (picture == nullptr || block == nullptr) {
        return kBxFailure;
    }
    CBxSearchPicture shared;
    CBxStrengthMemory memory;
    return shared.Prepare(*picture, zoom) ? BX_SearchZoom(run, shared, block, run.m_Finding, zoom, memory)
                                          : kBxOutOfMemory;
}

unsigned char CBxSignOp::ExtractTextFromPictureWithZoom(SBxPicBuf* picture, double zoom, char* text) {
    return ExtractTextFromPictureWithZoom(m_DefaultRun, picture, zoom, text);
}

unsigned char CBxSignOp::ExtractTextFromPictureWithZoom(SBxSignRun& run, SBxPicBuf* picture, double zoom, char* text) {
    run.m_iAbortDetecting.store(-1, std::memory_order_relaxed);
    run.m_iStopDetecting.store(-1, std::memory_order_relaxed);
    char block[kTextBytes] = {};
    const unsigned char result = ExtractTextFromPictureWithZoom(run, picture, block, zoom);
    if (result == kBxSuccess && text != nullptr) {
        std::memcpy(text, block + kCheckCodes, kTextCodes + 1);
    }
    return result;
}
