// What a user is told of the result of a search, in his language.
#pragma once

#include <QString>

#include "picture_search.h"
#include "picture_view.h"

// Over the sign that was found; rich text.
QString BX_GetFindingTitle(const SBxSearchResult& found);
// Under it: where it was read and how well it was preserved, or what was undone to read it; whether it is uncertain.
QString BX_GetFindingDetail(const SBxSearchResult& found);
// Where it was found.
CBxFrame BX_GetCarrierFrame(const SBxSearchResult& found);

// What is to be said when nothing was found; may be empty.
QString BX_GetNothingDetail(const SBxSearchResult& result, bool isHarder);
