// A picture and its halves, for drawing it small without flicker.
#pragma once

#include <vector>

#include "owned_pic.h"
#include "pic_buf.h"

// Level 0 is the upright picture, each further level has half the size of the one before, rounded up: a pixel is the
// mean of 2 x 2 pixels, and pixel (x, y) of level n covers the picture from (x, y) x 2^n on. The levels go down to
// about a hundred pixels.
//
// An upright picture is borrowed and must stay as long as the pyramid; a turned one is copied upright.
class CBxPicturePyramid {
public:
    // From a 3_8 picture. Where memory runs out the pyramid ends early, which costs quality only; without memory for
    // the upright copy of a turned picture the picture is shown as it is stored.
    void Build(const SBxPicBuf& picture, int orientation);
    void Clear();

    bool IsEmpty() const { return m_Levels.empty(); }
    const SBxPicBuf& Level(int level) const { return m_Levels[static_cast<std::size_t>(level)]; }
    // As Build was given it, or upright when it could not be turned.
    int Orientation() const { return m_iOrientation; }

    // The level that is drawn at this zoom (view pixels for one picture pixel): at least as fine as the view.
    int LevelFor(double zoom) const;

private:
    std::vector<SBxPicBuf> m_Levels;  // views of the picture and of what is owned
    std::vector<CBxOwnedPic> m_Owned;
    int m_iOrientation = 1;
};
