// What is told of the search of one picture.
#pragma once

#include "console.h"
#include "picture_search.h"

// Adds "sign", "zoom", "rectangle", "corrected_bits" and "seconds" to the record, and "shrunk_to" where a smaller copy
// was searched; null where nothing was found.
void BX_DescribeSearch(CBxJson& record, const SBxSearchResult& result, double seconds);
