// The sign's pattern, lifted out of the picture that it stands in.
//
// The cells of a carrier were moved in blue only, by up to 3 tones, and the ground between their ellipses was not. What
// green and red tell of blue is therefore not part of the pattern: this plane is blue less what the local relation of
// blue to the mean of green and red predicts. On calm and on grey ground hardly anything but the pattern is left, and a
// grid can be found by the contrast of its cells with the ground around them, which works from a quarter of a cell off;
// the comb of means wants a pixel.
#pragma once

#include "blue_sums.h"
#include "grid_pose.h"
#include "pic_buf.h"

class CBxPatternPlane {
public:
    // From a 3_8 picture, reduced to about a megapixel. False without memory.
    [[nodiscard]] bool Prepare(const SBxPicBuf& picture);

    // How much better a carrier with this grid explains how its cells stand out from the ground than one that lies
    // elsewhere: the logarithm of the ratio of the chances. For grids of about the size of the picture.
    double Contrast(const SBxGridPose& pose) const { return ContrastOf(pose, false); }
    // The same by a quarter of the cells.
    double SampledContrast(const SBxGridPose& pose) const { return ContrastOf(pose, true); }

private:
    double ContrastOf(const SBxGridPose& pose, bool sampled) const;
    bool MeasureUnrest(const float* pattern, int width, int height);

    double m_dScale = 1.0;  // of the plane, pixels a picture pixel
    int m_iWidth = 0;
    int m_iHeight = 0;
    CBxHeapArray<float> m_Unrest;  // variance of the contrasts that the picture itself makes, in tones
    CBxBlueSums m_Sums;
};
