#include "picture_search.h"

#include <algorithm>
#include <memory>
#include <new>

#include "large_picture.h"
#include "result.h"
#include "second_look.h"
#include "sign_format.h"
#include "sign_op.h"

namespace {

static_assert(kMostPixelsOfZoom == kMostPixelsToSearch && kMostPixelsSigned == kMostPixelsToSign,
              "what callers take as too large is what the engine skips and refuses");

CBxSize<int> SizeOf(const SBxPicBuf& picture) {
    return {picture.m_iWidth, picture.m_iHeight};
}

// Fills in what the run found in `searched`, which is the picture or its smaller copy.
void TakeFinding(SBxSearchResult& result, const SBxSignRun& run, const char* text, CBxSize<int> searched,
                 CBxSize<int> picture) {
    const SBxFinding& finding = run.m_Finding;
    result.sign = text;
    result.zoom = finding.m_dZoom * searched.width / picture.width;
    result.rectangle = BX_GetCoveringPixels(BX_MapRectangle(finding.m_Rectangle, searched, picture), picture);
    result.correctedBits = finding.m_uiCorrectedBits;
}

// The deep search, with the corners that the ordinary one has collected.
void SearchDeeply(SBxSearchResult& result, SBxSignRun& run, CBxCornerArchive& archive, const SBxPicBuf& searched,
                  CBxSize<int> picture, unsigned int threads) {
    result.code = BX_SearchDeep(run, searched, archive, threads, result.deep, nullptr);
    if (result.code != kBxSuccess) {
        return;
    }
    const double scale = static_cast<double>(picture.width) / searched.m_iWidth;
    SBxGridPose& pose = result.deep.m_Pose;
    for (CBxPoint<double>* point : {&pose.origin, &pose.along, &pose.down}) {
        *point = {point->x * scale, point->y * scale};
    }
    CBxRect<double> frame{pose.origin.x, pose.origin.y, pose.origin.x, pose.origin.y};
    for (const int corner : {1, 2, 3}) {
        const CBxPoint<double> point = pose.PointAt((corner & 1) * kGridSide, (corner >> 1) * kGridSide);
        frame = {std::min(frame.left, point.x), std::min(frame.top, point.y), std::max(frame.right, point.x),
                 std::max(frame.bottom, point.y)};
    }
    frame = {std::max(0.0, frame.left), std::max(0.0, frame.top), std::min<double>(picture.width, frame.right),
             std::min<double>(picture.height, frame.bottom)};
    result.isDeep = true;
    result.sign = result.deep.m_Reading.m_szText;
    result.zoom = result.deep.m_dScale > 0.0 ? 1.0 / (result.deep.m_dScale * scale) : 0.0;
    result.rectangle = BX_GetCoveringPixels(frame, picture);
}

// `corners` receives what the search has seen, unless it is null.
SBxSearchResult SearchAllZooms(SBxSignRun& run, SBxPicBuf& searched, CBxSize<int> picture, unsigned int threads,
                               CBxCornerArchive* corners) {
    SBxSearchResult result;
    char text[CBxSignOp::kTextBytes] = "";
    run.m_pCorners = corners;
    result.code = CBxSignOp::ExtractTextFromPicture(run, &searched, text, threads);
    run.m_pCorners = nullptr;
    if (result.code == kBxSuccess) {
        TakeFinding(result, run, text, SizeOf(searched), picture);
    }
    return result;
}

// Whether nothing was found, or a text that another one may have become: then the deep search may say more.
bool IsDoubtful(SBxSearchResult& result, const SBxSignRun& run, const SBxPicBuf& searched) {
    if (result.code != kBxSuccess) {
        return true;
    }
    SBxSoftReading reading;
    if (BX_LookAgain(reading, searched, run.m_Finding, result.sign.c_str()) != kBxSuccess) {
        result.code = kBxOutOfMemory;
        return false;
    }
    result.agreement = reading.m_dAgreement;
    result.lead = reading.m_dGap;
    result.isDoubtful = reading.m_dGap < kLeadOfOrdinary;
    return result.isDoubtful;
}

// Calls `search(picture to be searched)`, with a smaller copy of a picture that is too large for the engine.
template <typename Search>
SBxSearchResult SearchFittingPicture(SBxPicBuf& picture, Search search) {
    if (!BX_IsTooLargeToSearch(picture.m_iWidth, picture.m_iHeight)) {
        return search(picture);
    }
    const CBxSize<int> size = BX_GetFittingSize(picture.m_iWidth, picture.m_iHeight, kMostPixelsOfZoom);
    CBxOwnedPic copy;
    SBxSearchResult result;
    result.code = BX_ShrinkPicture(copy, picture, size);
    if (result.code == kBxSuccess) {
        result = search(copy.Pic());
    }
    result.shrunkTo = size;
    return result;
}

}  // namespace

SBxSearchResult BX_SearchPicture(SBxSignRun& run, SBxPicBuf& picture, unsigned int threads, EBxSearchDepth depth) {
    std::unique_ptr<CBxCornerArchive> corners;
    if (depth == EBxSearchDepth::Deep) {
        corners.reset(new (std::nothrow) CBxCornerArchive);
        if (corners == nullptr) {
            SBxSearchResult result;
            result.code = kBxOutOfMemory;
            return result;
        }
    }
    return SearchFittingPicture(picture, [&](SBxPicBuf& searched) {
        SBxSearchResult result = SearchAllZooms(run, searched, SizeOf(picture), threads, corners.get());
        if (corners == nullptr || result.code == kBxOutOfMemory || !IsDoubtful(result, run, searched) ||
            run.m_iAbortDetecting.load(std::memory_order_relaxed) > 0) {
            return result;
        }
        SBxSearchResult deeper;
        SearchDeeply(deeper, run, *corners, searched, SizeOf(picture), threads);
        return result.code == kBxFailure || deeper.code == kBxSuccess ? deeper : result;
    });
}

SBxSearchResult BX_SearchPicture(SBxSignRun& run, SBxPicBuf& picture, unsigned int threads, CBxCornerArchive& corners) {
    return SearchFittingPicture(picture, [&](SBxPicBuf& searched) {
        return SearchAllZooms(run, searched, SizeOf(picture), threads, &corners);
    });
}

SBxSearchResult BX_SearchHarder(SBxSignRun& run, SBxPicBuf& picture, unsigned int threads, CBxCornerArchive& corners) {
    return SearchFittingPicture(picture, [&](SBxPicBuf& searched) {
        SBxSearchResult result;
        SearchDeeply(result, run, corners, searched, SizeOf(picture), threads);
        return result;
    });
}

SBxSearchResult BX_CheckPicture(SBxSignRun& run, SBxPicBuf& picture, unsigned int threads) {
    const double zoom = BX_GetCheckZoom(picture.m_iWidth, picture.m_iHeight);
    if (zoom == 0.0) {
        return BX_SearchPicture(run, picture, threads);
    }
    SBxSearchResult result;
    char text[CBxSignOp::kTextBytes] = "";
    result.code = CBxSignOp::ExtractTextFromPictureWithZoom(run, &picture, zoom, text);
    if (result.code == kBxSuccess) {
        TakeFinding(result, run, text, SizeOf(picture), SizeOf(picture));
    }
    return result;
}

std::string BX_DescribeShrinking(const SBxSearchResult& result) {
    return "a copy shrunk to " + std::to_string(result.shrunkTo.width) + " x " +
           std::to_string(result.shrunkTo.height) + " pixels was searched, because a photograph above " +
           std::to_string(kMostPixelsSearched) + " pixels is too large to be searched itself";
}

std::string BX_DescribeDepth(const SBxSearchResult& result) {
    if (!result.isDeep) {
        return result.isDoubtful ? " (uncertain)" : std::string();
    }
    return std::string(" (found by searching harder, ") + (result.deep.m_bCertain ? "certain)" : "uncertain)");
}
