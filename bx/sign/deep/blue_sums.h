// The means of any cells of a picture's blue component, wherever and however they lie.
//
// The component is kept as running sums along its rows, whole and reduced by 2, 4, 8 ... in both directions. The part
// of a row inside an ellipse is then a difference of two sums, and an ellipse of any size is a couple of dozen rows of
// the plane that suits it.
//
//   row of a plane:   | | |==|=======|==| | |      sum up to the right end minus sum up to the left end,
//                         ^            ^           both interpolated inside a pixel
#pragma once

#include <cstdint>

#include "corner_search.h"
#include "grid_pose.h"
#include "heap_array.h"
#include "pic_buf.h"

// Made once; read by any number of threads. About 5.4 bytes a pixel.
class CBxBlueSums {
public:
    // How it is made: by so many threads, and until this says stop (null: never); with `halved` without the plane of
    // the whole picture, which takes three quarters of the time and of the memory.
    struct SWork {
        unsigned int threads = 1;
        const CBxStopCheck* stop = nullptr;
        bool halved = false;
    };

    // From a 3_8 picture, which it does not refer to afterwards; `table` (256 values, or null) replaces its values.
    // False without memory and for an empty picture; worthless when it was stopped. Made anew, it keeps its memory if
    // the size is the same.
    [[nodiscard]] bool Prepare(const SBxPicBuf& picture, const unsigned char* table, const SWork& work);
    [[nodiscard]] bool Prepare(const SBxPicBuf& picture) { return Prepare(picture, nullptr, SWork{}); }
    // The same for any plane of whole numbers, width * height of them.
    [[nodiscard]] bool Prepare(const std::uint16_t* plane, int width, int height);

    int Width() const { return m_iWidth; }
    int Height() const { return m_iHeight; }

    // Writes the 256 means of a grid, 0 .. 255; NaN for a cell of which less than three quarters are in the picture.
    // `blur` is the standard deviation, in pixels, of the smoothing that the cells were written under: their ellipses
    // get an edge of that width. Returns how many are numbers.
    int Means(float* means, const SBxGridPose& pose, double blur) const;

    // The same from a coarser plane and without a soft edge, in a quarter of the time: enough to tell which grids are
    // worth more.
    int RoughMeans(float* means, const SBxGridPose& pose) const;

    // Of every fourth row of cells only, without a soft edge: 64 means. Enough to tell most wrong grids.
    static constexpr int kSampledCells = 64;
    int SampledMeans(float* means, const SBxGridPose& pose) const;

    // The same for ellipses with semi-axes of `share` cells, on the plane in which they are at most `mostRows` high: of
    // all cells, or (`sampled`) of every fourth row of them.
    int MeansOfShare(float* means, const SBxGridPose& pose, double share, double mostRows, bool sampled) const;

    // The cell that means[index] belongs to.
    static int CellOfSample(int index) {
        return (kFirstSampledRow + index / kGridSide * kSampledRowStep) * kGridSide + index % kGridSide;
    }

private:
    static constexpr int kFirstSampledRow = 1;
    static constexpr int kSampledRowStep = 4;
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

    template <typename Sample>
    bool MakeFirstLevel(SLevel& level, int width, int height, Sample sample, const SWork& work);
    bool MakeLevel(int index, const SWork& work);
    // Gives a level its size and room for it.
    [[nodiscard]] static bool MakeRoom(SLevel& level, int width, int height);
    bool MakeFurtherLevels(const SWork& work);
    // Which plane suits ellipses of a shape in pixels of the picture; `scale` receives its pixels a picture pixel.
    int ChooseLevel(double& scale, const SEllipseShape& shape, double mostRows) const;
    static SEllipseShape ShapeOf(const SBxGridPose& pose, double share);
    static void MeansOfRow(float* means, const SLevel& level, const SEllipseShape& shape, double scale,
                           const SBxGridPose& pose, int gridRow);

    int m_iWidth = 0;
    int m_iHeight = 0;
    int m_iFirstLevel = 0;
    int m_iLevels = 0;  // the last one and one
    SLevel m_Levels[kMostLevels];
};
