// Detection at one zoom: scale, find the candidate rectangles again, read their cells.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "cell_grid.h"
#include "corner_detector.h"
#include "float_filters.h"
#include "heap_array.h"
#include "owned_pic.h"
#include "pic_buf_api.h"
#include "result.h"
#include "sign_block.h"
#include "sign_format.h"
#include "sign_op.h"
#include "zoom_search.h"

namespace {

constexpr unsigned int kCandidateRoom = 200;  // 96 for each half and the whole picture
constexpr unsigned int kAnchorRoom = 50;
constexpr std::size_t kTableRows = 1001;

bool Ended(const SBxSignRun& run) {
    return run.m_iAbortDetecting.load(std::memory_order_relaxed) > 0 ||
           run.m_iStopDetecting.load(std::memory_order_relaxed) >= 0;
}

// Scales the picture to 3_F.
unsigned char ScalePicture(CBxOwnedPic& scaled, SBxPicBuf& picture, double zoom) {
    CBxHeapArray<double> products;
    CBxHeapArray<double*> table;
    if (!products.Allocate(kTableRows * 256) || !table.Allocate(kTableRows) ||
        scaled.Allocate(static_cast<int>(picture.m_iWidth * zoom), static_cast<int>(picture.m_iHeight * zoom), 3, 32) !=
            kBxSuccess) {
        return kBxOutOfMemory;
    }
    for (std::size_t row = 0; row < kTableRows; ++row) {
        table[row] = products.Data() + row * 256;
    }
    CBxSignOp::TransformBilinearAccurate8x3Float(table.Data(), &scaled.Pic(), &picture, zoom);
    return kBxSuccess;
}

// The blue component as a plane of its own, smoothed for the zoom.
unsigned char SmoothBlue(CBxOwnedPic& blue, SBxPicBuf& scaled, double zoom) {
    CBxOwnedPic plane;
    CBxOwnedPic scratch;
    if (plane.Allocate(scaled.m_iWidth, scaled.m_iHeight, 1, 32) != kBxSuccess ||
        scratch.Allocate(scaled.m_iWidth, scaled.m_iHeight, 1, 32) != kBxSuccess ||
        blue.Allocate(scaled.m_iWidth, scaled.m_iHeight, 1, 32) != kBxSuccess) {
        return kBxOutOfMemory;
    }
    CBxPicBufAPI::Zero(blue.Pic());
    CBxPicBufAPI::ExtractComponent(plane.Pic(), 0, scaled);
    CBxFloatFilter::ConvWithKernel2D_7(
        BX_PicRow<float>(blue.Pic(), 0), BX_PicRow<float>(plane.Pic(), 0), static_cast<unsigned int>(scaled.m_iWidth),
        static_cast<unsigned int>(scaled.m_iHeight), BX_PicRow<float>(scratch.Pic(), 0), kSmoothingKernel, zoom);
    return kBxSuccess;
}

// The candidate rectangles of a scaled picture, which is replaced by its mean of green and red.
unsigned char FindCandidates(SBxSignRun& run, CBxRect<double>* candidates, unsigned int& count, SBxPicBuf& scaled,
                             double zoom) {
    if (CBxSignOp::ConvertComp1Float23(scaled) != kBxSuccess) {
        return kBxOutOfMemory;
    }
    CBxPoint<double> anchors[kAnchorRoom];
    unsigned int anchorCount = 0;
    const unsigned char result =
        CBxSignOp::GetAllImportantRectangles(run, candidates, count, &scaled, anchors, anchorCount, true, zoom);
    if (result != kBxSuccess) {
        CBxSignOp::LogErrorDetail("GetAllImportantRectangles() failed.");
        return result;
    }
    candidates[count++] = {0.0, 0.0, static_cast<double>(scaled.m_iWidth), static_cast<double>(scaled.m_iHeight)};
    return kBxSuccess;
}

// Reads the cells of one candidate.
unsigned char ReadCandidate(SBxReadBlock& read, const CBxRect<double>& candidate, const SBxPicBuf& blue) {
    const SBxCellGrid grid(candidate);
    CBxOwnedPic values;
    CBxOwnedPic labels;
    if (values.Allocate(grid.m_Frame.Width(), grid.m_Frame.Height(), 1, 32) != kBxSuccess ||
        BX_BuildLabelMap(labels, grid) != kBxSuccess) {
        return kBxOutOfMemory;
    }
    CBxPicBufAPI::Copy(values.Pic(), blue, grid.m_Frame);
    CBxPoint<double> centres[kCellCount];
    grid.Centres(centres);
    double means[kCellCount];
    CBxSignOp::GetAllMeansFloat(means, &values.Pic(), &labels.Pic(), centres, grid.m_dCellWidth, grid.m_dCellHeight);
    int bits[kCellCount];
    for (int cell = 0; cell < kCellCount; ++cell) {
        bits[cell] = std::fmod(means[cell], kPeriod) >= kThreshold ? 1 : 0;
    }
    int block[kCellCount];
    CBxSignOp::TransformCurrentBytecode(block, bits, 0);
    read = BX_DecodeSign(block);
    return kBxSuccess;
}

SBxFinding MakeFinding(const CBxRect<double>& candidate, double zoom, const SBxPicBuf& picture,
                       unsigned int correctedBits) {
    const double width = picture.m_iWidth;
    const double height = picture.m_iHeight;
    return {zoom,
            {candidate.left / zoom, candidate.top / zoom, std::min(width, candidate.right / zoom),
             std::min(height, candidate.bottom / zoom)},
            correctedBits};
}

// Reads the candidates in order until one is accepted.
unsigned char ReadCandidates(SBxSignRun& run, char* block, SBxFinding& finding, const CBxRect<double>* candidates,
                             unsigned int count, const SBxPicBuf& picture, const SBxPicBuf& blue, double zoom) {
    for (unsigned int i = 0; i < count; ++i) {
        if (Ended(run)) {
            return kBxFailure;
        }
        SBxReadBlock read;
        if (ReadCandidate(read, candidates[i], blue) != kBxSuccess) {
            return kBxOutOfMemory;
        }
        if (read.m_bAccepted) {
            std::memcpy(block, read.m_szCharacters, sizeof read.m_szCharacters);
            finding = MakeFinding(candidates[i], zoom, picture, read.m_uiCorrectedBits);
            CBxSignOp::LogInfoDetail("Sign with zoom %.2lf detected.", zoom);
            return kBxSuccess;
        }
    }
    CBxSignOp::LogInfoDetail("Sign with zoom %.2lf was not detected.", zoom);
    return kBxFailure;
}

}  // namespace

unsigned char BX_SearchZoom(SBxSignRun& run, SBxPicBuf* picture, char* block, SBxFinding& finding, double zoom) {
    if (run.m_iAbortDetecting.load(std::memory_order_relaxed) > 0) {
        return kBxFailure;
    }
    if (static_cast<double>(picture->m_iWidth) * picture->m_iHeight * zoom * zoom > kMostPixelsToSearch) {
        CBxSignOp::LogInfoDetail("Detection with zoom %.2lf: Too large picture!", zoom);
        return kBxFailure;
    }
    if (run.m_iStopDetecting.load(std::memory_order_relaxed) >= 0) {
        return kBxFailure;
    }
    CBxOwnedPic scaled;
    if (ScalePicture(scaled, *picture, zoom) != kBxSuccess) {
        return kBxOutOfMemory;
    }
    if (Ended(run)) {
        return kBxFailure;
    }
    CBxOwnedPic blue;
    if (SmoothBlue(blue, scaled.Pic(), zoom) != kBxSuccess) {
        CBxSignOp::LogErrorDetail("Out of memory.");
        return kBxOutOfMemory;
    }
    CBxRect<double> candidates[kCandidateRoom];
    unsigned int count = 0;
    const unsigned char found = FindCandidates(run, candidates, count, scaled.Pic(), zoom);
    if (found != kBxSuccess) {
        return found;
    }
    if (Ended(run)) {
        return kBxFailure;
    }
    CBxSignOp::ReduceNumbersOfRectanglesX(candidates, count);
    return ReadCandidates(run, block, finding, candidates, count, *picture, blue.Pic(), zoom);
}

unsigned char CBxSignOp::ExtractTextFromPictureWithZoom(SBxPicBuf* picture, char* block, double zoom) {
    return ExtractTextFromPictureWithZoom(m_DefaultRun, picture, block, zoom);
}

unsigned char CBxSignOp::ExtractTextFromPictureWithZoom(SBxSignRun& run, SBxPicBuf* picture, char* block, double zoom) {
    return BX_SearchZoom(run, picture, block, run.m_Finding, zoom);
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
        std::strcpy(text, block + kCheckCodes);
    }
    return result;
}
