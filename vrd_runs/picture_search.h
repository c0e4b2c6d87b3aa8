// Looks for a sign in a picture of any size that can be read.
#pragma once

#include <string>

#include "corner_archive.h"
#include "deep_search.h"
#include "geometry.h"
#include "pic_buf.h"
#include "sign_run.h"

struct SBxSearchResult {
    unsigned char code = 1;       // 0 found, 1 nothing found or stopped, 6 out of memory
    std::string sign;             // the rest is valid after 0
    double zoom = 0.0;            // how much the picture, as it was given, was scaled when the sign was read
    CBxRect<int> rectangle = {};  // the carrier, in whole pixels of the picture as it was given
    unsigned int correctedBits = 0;
    bool isDeep = false;  // the deep search found it: then also what follows, its pose in pixels of the picture
    SBxDeepFinding deep;
    // Where a deep search was allowed and the ordinary one has found the sign: how well its text agrees with the cells,
    // the lead over the best other text, and whether that is too little.
    double agreement = 0.0;
    double lead = 0.0;
    bool isDoubtful = false;
    CBxSize<int> shrunkTo = {};  // always valid: size of the copy that was searched instead; 0 x 0 for none
};

// Whether to look harder where the ordinary search finds nothing.
enum class EBxSearchDepth { Ordinary, Deep };

// Searches all zooms. A picture too large for the engine is searched in a copy shrunk to 20 megapixels. With a deep
// search allowed, a text that does not clearly lead over all others is looked for deeply as well.
SBxSearchResult BX_SearchPicture(SBxSignRun& run, SBxPicBuf& picture, unsigned int threads,
                                 EBxSearchDepth depth = EBxSearchDepth::Ordinary);

// In two steps, for somebody who decides between them. The first is the ordinary search, which leaves its corners in
// `corners`, empty before; the second is the deep search alone, of the same picture with the same run. A run that was
// aborted in between finds nothing.
SBxSearchResult BX_SearchPicture(SBxSignRun& run, SBxPicBuf& picture, unsigned int threads, CBxCornerArchive& corners);
SBxSearchResult BX_SearchHarder(SBxSignRun& run, SBxPicBuf& picture, unsigned int threads, CBxCornerArchive& corners);

// Searches only the largest zoom up to 1.0 that the engine takes, as is enough for a picture just signed; a picture too
// large for that as BX_SearchPicture does.
SBxSearchResult BX_CheckPicture(SBxSignRun& run, SBxPicBuf& picture, unsigned int threads);

// Whether a sign was found of which single letters may be wrong.
inline bool BX_IsUncertain(const SBxSearchResult& result) {
    return result.isDeep ? !result.deep.m_bCertain : result.isDoubtful;
}

// " (found by searching harder, uncertain)" behind what was found; empty for a clear reading of the
// ordinary search.
std::string BX_DescribeDepth(const SBxSearchResult& result);

// "a copy shrunk to 5164 x 3873 pixels was searched, because ..."; for results with a copy.
std::string BX_DescribeShrinking(const SBxSearchResult& result);
