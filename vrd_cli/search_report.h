// What is told of the search of one picture.
#pragma once

#include "console.h"
#include "picture_search.h"

// Adds "sign", "zoom", "rectangle", "corrected_bits" and "seconds" to the record, and "shrunk_to" where a smaller copy
// was searched; null where nothing was found.
void BX_DescribeSearch(CBxJson& record, const SBxSearchResult& result, double seconds);

// Adds how it was found: "search" ("ordinary" or "deep") and "confidence" ("certain" or "uncertain"); of the deep
// search also "agreement", "gap", "undone" (what was done to the picture) and "carrier" (its four corners in pixels of
// the file, in the order of its first row's ends and its last row's). Null where nothing was found.
void BX_DescribeDepth(CBxJson& record, const SBxSearchResult& result);

// "abc-Z9", "abc-Z9 (uncertain)" or "no sign found".
std::string BX_TellSign(const SBxSearchResult& result);
