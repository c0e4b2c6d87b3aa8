// What the engine sees in a picture: its corners, and the rectangles between them.
#pragma once

#include <vector>

#include "geometry.h"
#include "owned_pic.h"

struct SBxCorner {
    CBxPoint<double> position;
    float strength;
};

// All positions are in pixels of `scaled`.
struct SBxInspection {
    CBxOwnedPic scaled;                       // 3_8, the picture as it was looked at
    std::vector<SBxCorner> dark;              // of the half below 128, strongest first
    std::vector<SBxCorner> bright;            // of the half above
    std::vector<CBxRect<double>> rectangles;  // in the engine's order after its reduction
    std::vector<CBxRect<double>> carriers;    // where a sign would be written; empty for a detection
};

// As insertion sees the picture, which is clamped to 3 .. 252 first. Returns 0, 1 when it was stopped or the picture is
// too large to be signed, 6 without memory.
[[nodiscard]] unsigned char BX_InspectForInsertion(SBxInspection& inspection, SBxPicBuf& picture);

// As detection sees the picture at this zoom; the whole picture is the last rectangle. Returns 0, 1 when it was stopped
// or the scaled picture is empty or too large to be searched, 6 without memory.
[[nodiscard]] unsigned char BX_InspectForDetection(SBxInspection& inspection, const SBxPicBuf& picture, double zoom);

// Draws all of it into `scaled`: rectangles grey, carriers green, corners of the dark half blue, of the bright half
// red.
void BX_DrawInspection(SBxInspection& inspection);
