// The sign's pattern, lifted out of the picture that it stands in.
//
// The cells of a carrier were moved in blue only, by up to 3 tones, and the ground between their ellipses was not. What
// green and red tell of blue is therefore not part of the pattern: it is blue less what the local relation of blue to
// the mean of green and red predicts. On calm and on grey ground hardly anything but the pattern is left.
#pragma once

#include "heap_array.h"
#include "pic_buf.h"

// Made once; read by any number of threads. 8 bytes a pixel of the reduced picture.
class CBxPatternPlane {
public:
    // From a 3_8 picture, reduced by a whole factor to 0.2 to 0.9 megapixels. False without memory.
    [[nodiscard]] bool Prepare(const SBxPicBuf& picture);

    // The same at half the size of other planes. False without memory, and for planes too small to be halved.
    [[nodiscard]] bool Halve(const CBxPatternPlane& planes);

    // From other planes, with their columns, or their rows, scaled by any factor; Scale() stays theirs. False without
    // memory.
    [[nodiscard]] bool PrepareColumns(const CBxPatternPlane& planes, double scale);
    [[nodiscard]] bool PrepareRows(const CBxPatternPlane& planes, double scale);

    // What no sample of either plane is further from zero than.
    static constexpr double kLargest = 255.0;

    int Width() const { return m_iWidth; }
    int Height() const { return m_iHeight; }
    // Pixels of the planes a pixel of the picture.
    double Scale() const { return m_dScale; }
    const float* Pattern() const { return m_Pattern.Data(); }
    const float* Blue() const { return m_Blue.Data(); }

private:
    double m_dScale = 1.0;
    int m_iWidth = 0;
    int m_iHeight = 0;
    CBxHeapArray<float> m_Blue;
    CBxHeapArray<float> m_Pattern;
};
