// Where a gain has cut off the ends of the tones: pixels whose blue is (nearly) 0 or 255.
//
// A cell that holds such pixels lost part of what moved its mean, by an unknown amount, so its mean says nothing once
// the tones are known to have been changed; on a comb it is an outlier. Carriers are read best when cells with more
// than about a tenth of such pixels are left out: of 32 photographs with all tones times 1.25, the true text of 30 was
// read from the true grid then, of 24 when cells were weighed by how far their mean lies from the ends.
#pragma once

#include "blue_sums.h"
#include "grid_pose.h"
#include "pic_buf.h"

// Made once; read by any number of threads.
class CBxClippedPixels {
public:
    // From a 3_8 picture, which it does not refer to afterwards, reduced to about half a megapixel. False without
    // memory.
    [[nodiscard]] bool Prepare(const SBxPicBuf& picture);

    // Makes NaN of the means (256) of the cells of a grid that are not whole.
    void LeaveOut(float* means, const SBxGridPose& pose) const;

private:
    bool m_bAny = false;
    double m_dScale = 1.0;  // of the plane, pixels a picture pixel
    CBxBlueSums m_Shares;   // of clipped pixels, in thousandths
};
