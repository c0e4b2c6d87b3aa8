#include "picture_search.h"

#include "large_picture.h"
#include "result.h"
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

SBxSearchResult SearchAllZooms(SBxSignRun& run, SBxPicBuf& searched, CBxSize<int> picture, unsigned int threads) {
    SBxSearchResult result;
    char text[CBxSignOp::kTextBytes] = "";
    result.code = CBxSignOp::ExtractTextFromPicture(run, &searched, text, threads);
    if (result.code == kBxSuccess) {
        TakeFinding(result, run, text, SizeOf(searched), picture);
    }
    return result;
}

SBxSearchResult SearchSmallerCopy(SBxSignRun& run, SBxPicBuf& picture, unsigned int threads) {
    const CBxSize<int> size = BX_GetFittingSize(picture.m_iWidth, picture.m_iHeight, kMostPixelsOfZoom);
    CBxOwnedPic copy;
    SBxSearchResult result;
    result.code = BX_ShrinkPicture(copy, picture, size);
    if (result.code == kBxSuccess) {
        result = SearchAllZooms(run, copy.Pic(), SizeOf(picture), threads);
    }
    result.shrunkTo = size;
    return result;
}

}  // namespace

SBxSearchResult BX_SearchPicture(SBxSignRun& run, SBxPicBuf& picture, unsigned int threads) {
    if (BX_IsTooLargeToSearch(picture.m_iWidth, picture.m_iHeight)) {
        return SearchSmallerCopy(run, picture, threads);
    }
    return SearchAllZooms(run, picture, SizeOf(picture), threads);
}

SBxSearchResult BX_CheckPicture(SBxSignRun& run, SBxPicBuf& picture, unsigned int threads) {
    const double zoom = BX_GetCheckZoom(picture.m_iWidth, picture.m_iHeight);
    if (zoom == 0.0) {
        return SearchSmallerCopy(run, picture, threads);
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
