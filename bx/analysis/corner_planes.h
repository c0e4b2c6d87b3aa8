// The rows of one half of a strip on their way to corners: smoothed, bounded, and their response.
//
// The strip is walked once, from top to bottom, a row of blocks at a time. Of every row only the spans are made that
// marked blocks depend on, and only the last few rows of every step are kept. Row y of the plane is row y here; column
// 0 is kMargin pixels left of the strip. What has not been made holds something finite. One thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>

#include "bit_runs.h"
#include "corner_blocks.h"
#include "heap_array.h"
#include "kernels.h"

// The bounds of a half's tones.
struct SBxTones {
    float low;
    float high;
};

// The blocks of a row of blocks that are searched for maxima.
struct SBxSearchedBlocks {
    std::uint64_t blocks = 0;
    float least[kStripBlocks];  // of a run of blocks, at its first one: the response that a maximum has to exceed
};

class CBxCornerPlanes {
public:
    CBxCornerPlanes(double zoom, const SBxTones& tones);

    // False without memory.
    [[nodiscard]] bool Prepare();

    // Floats from one row of a buffer to the next, and those in front of column 0 that are read.
    static constexpr int kRowPitch = kStripWidth + 7 * kBlock;
    static constexpr int kLead = kBlock;

    // The largest tap of the smoothing.
    float LargestTap() const { return m_fLargestTap; }

    // Takes the pixels of a row of blocks, rows 16 blockRow to 16 blockRow + 15, and smooths as far as they reach: to
    // three rows above their end. Rows of blocks come in ascending order, from -1 on.
    void Smooth(const float* const* plane, int blockRow, const SBxMarks& marks);
    // Bounds the gradients of the blocks marked as `before`, in the row of blocks above that which was smoothed last.
    void BoundGradients(SBxGradients& bounds, int smoothedBlockRow, const SBxMarks& marks);

    // Searches a row of blocks, which lies above that which was smoothed last, and the end of the one before it. Calls
    // `visit(column, row, upper, middle, lower)` for the strict maxima of the response above what they have to exceed,
    // row by row and from left to right; the pointers are to the first of three samples of the response. Ends with
    // false when a visit returns false.
    template <typename Visit>
    bool ForEachMaximum(int blockRow, const SBxSearchedBlocks& before, const SBxSearchedBlocks& here, Visit visit) {
        if ((before.blocks | here.blocks) == 0) {
            return true;
        }
        for (int i = 0; i < kBlock; ++i) {
            const int tensorRow = kBlock * blockRow - kTensorBefore + i;
            MakeTensorRow(tensorRow, here.blocks | (i < 2 * kTensorBefore ? before.blocks : 0));
            MakeResponseRow(tensorRow - 2, (i >= 4 ? here.blocks : 0) | (i < 2 * kTensorBefore ? before.blocks : 0));
            if (!VisitMaxima(tensorRow - 3, i < 2 * kTensorBefore ? before : here, visit)) {
                return false;
            }
        }
        return true;
    }

private:
    static constexpr int kSmoothedBefore = 3;  // smoothed rows above a row of blocks that it depends on
    static constexpr int kTensorBefore = 3;    // and rows of the tensor, which reach as far below it
    // Rows that are kept, powers of two.
    static constexpr int kAlongRows = 8;
    static constexpr int kSmoothedRows = 32;
    static constexpr int kTensorRows = 8;
    static constexpr int kResponseRows = 4;
    static constexpr int kAllRows = kAlongRows + kSmoothedRows + 3 * kTensorRows + kResponseRows;

    float* Row(int place) { return m_Rows.Data() + kLead + std::ptrdiff_t{place} * kRowPitch; }
    float* AlongRow(int row) { return Row(row & (kAlongRows - 1)); }
    float* SmoothedRow(int row) { return Row(kAlongRows + (row & (kSmoothedRows - 1))); }
    float* TensorRow(int part, int row) {
        return Row(kAlongRows + kSmoothedRows + part * kTensorRows + (row & (kTensorRows - 1)));
    }
    float* ResponseRow(int row) {
        return Row(kAlongRows + kSmoothedRows + 3 * kTensorRows + (row & (kResponseRows - 1)));
    }

    // The gradients of some rows, column by column.
    struct SGradientRows {
        float xx[kRowPitch];
        float yy[kRowPitch];
        float trace[kRowPitch];
    };
    void BoundRows(SGradientRows& bounds, int firstRow, int rowCount, std::uint64_t blocks);
    void MakeTensorRow(int row, std::uint64_t blocks);
    void MakeResponseRow(int row, std::uint64_t blocks);

    template <typename Visit>
    bool VisitMaxima(int row, const SBxSearchedBlocks& searched, Visit visit) {
        bool goesOn = true;
        BX_ForEachRun(searched.blocks, [&](int first, int end) {
            const int left = kMargin + kBlock * first;
            const float* upper = ResponseRow(row - 1) + left - 1;
            const float* middle = ResponseRow(row) + left - 1;
            const float* lower = ResponseRow(row + 1) + left - 1;
            m_Kernels.StrictMaxima(m_usMaxima, upper, middle, lower, static_cast<std::size_t>(end - first),
                                   searched.least[first]);
            for (int block = 0; block < end - first; ++block) {
                for (unsigned int flags = m_usMaxima[block]; flags != 0 && goesOn; flags &= flags - 1) {
                    const int i = kBlock * block + std::countr_zero(flags);
                    goesOn = visit(left + i, row, upper + i, middle + i, lower + i);
                }
            }
        });
        return goesOn;
    }

    const SBxKernels& m_Kernels;
    SBxTones m_Tones;
    float m_fSmoothingTaps[7];
    float m_fTensorTaps[5];
    float m_fLargestTap;

    CBxHeapArray<float> m_Rows;
    SGradientRows m_Shared[2];  // of the rows that two rows of blocks depend on: of even and of odd seams
    SGradientRows m_Own;        // of the rows that only one depends on
    unsigned short m_usMaxima[kStripBlocks];
};
