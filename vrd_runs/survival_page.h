// A page that shows what a sign survives.
#pragma once

#include <string>

#include "pic_buf.h"
#include "survival.h"

// What stands for an outcome in a grid of characters: "#" read, "+" read by searching harder, "?" the same, uncertain,
// "." lost, "x" another text, "!" not tried.
char BX_GetMark(EBxSurvival survival);

// One HTML page in the user's language that needs no other file: the picture, made smaller, with its carriers framed,
// and coloured grids of what was found. Its tables and colours are those that the text browser of the window knows too.
// `picture` is 3_8, as it is stored; the page shows it upright, as its EXIF `orientation` says. `name` is shown; any
// bytes. Empty without memory.
std::string BX_MakeSurvivalPage(const SBxSurvivalOutcome& outcome, const SBxPicBuf& picture, int orientation,
                                const std::string& name);
