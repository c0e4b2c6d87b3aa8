// The means of any cells of a picture's blue component, wherever and however they lie.
//
// The component is kept as running sums along its rows, whole and reduced by 2, 4, 8 ... in both directions. The part of
// a row inside an ellipse is then a difference of two sums, and an ellipse of any size is a couple of dozen rows of the
// plane that suits it.
//
//   row of a plane:   | | |==|=======|==| | |      sum up to the right end minus sum up to the left end,
//                         ^            ^           both interpolated inside a pixel
#pragma once

#include <cstdint>

#include "grid_pose.h"
#include "heap_array.h"
#include "pic_buf.h"

// Made once; read by any number of threads. About 5.4 bytes a pixel.
class CBxBlueSums {
public:
    // From a 3_8 picture, which it does not refer to afterwards. False without memory and for an empty picture.
    [[nodiscard]] bool Prepare(const SBxPicBuf& picture);

    int Width() const { return m_iWidth; }
    int Height() const { return m_iHeight; }

    // Writes the 256 means of a grid, 0 .. 255; NaN for a cell of which less than three quarters are in the picture.
    // `blur` is the standard deviation, in pixels, of the smoothing that the cells were written under: their ellipses
    // get an edge of that width. Returns how many are numbers.
    int Means(float* means, const SBxGridPose& pose, double blur) const;

    // The same for some of the cells: means[i] belongs to cells[i].
    int MeansOf(float* means, const int* cells, int count, const SBxGridPose& pose, double blur) const;

private:
    static constexpr int kMostLevels = 8;

    // A plane reduced by 2^level: sums[y * pitch + x] = the pixels of row y in front of x, each the sum of the
    // component over the pixels that it stands for.
    struct SLevel {
        int width = 0;
        int height = 0;
        int pitch = 0;
        CBxHeapArray<std::uint32_t> sums;
    };
    struct SEllipseShape;

    bool MakeFirstLevel(const SBxPicBuf& picture);
    bool MakeLevel(int index);
    static float MeanOfEllipse(const SLevel& level, const SEllipseShape& shape, double centreX, double centreY);

    int m_iWidth = 0;
    int m_iHeight = 0;
    int m_iLevels = 0;
    SLevel m_Levels[kMostLevels];
};
