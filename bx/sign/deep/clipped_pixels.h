// Where a gain has cut off the ends of the tones: pixels whose blue is (nearly) 0 or 255.
//
// A cell that holds such pixels lost part of what moved its mean, by an amount that is hardly known; on a comb it is an
// outlier. Carriers are read best when cells with many of such pixels are left out: with more than about a tenth where
// nothing is known of the change, with more the smaller the ranges of lost tones are where the picture was put back. Of
// 34 photographs with the contrast times 1.25 the true grids then agree by 12.8 on average, with the tenth alone by
// 11.7.
#pragma once

#include "blue_sums.h"
#include "grid_pose.h"
#include "pic_buf.h"
#include "put_back.h"

// Made once; read by any number of threads.
class CBxClippedPixels {
public:
    // From a 3_8 picture, which it does not refer to afterwards, reduced to about half a megapixel. False without
    // memory.
    [[nodiscard]] bool Prepare(const SBxPicBuf& picture);
    // For a picture that is put back: from the picture as it is, and what the change has lost.
    [[nodiscard]] bool Prepare(const SBxPicBuf& picture, const SBxLostTones& lost);

    // Makes NaN of the means (256) of the cells of a grid that are not whole.
    void LeaveOut(float* means, const SBxGridPose& pose) const;

private:
    bool Prepare(const SBxPicBuf& picture, int darkest, int brightest);

    float m_fMostClipped = 0.0f;  // thousandths of a cell
    bool m_bAny = false;
    double m_dScale = 1.0;  // of the plane, pixels a picture pixel
    CBxBlueSums m_Shares;   // of clipped pixels, in thousandths
};
