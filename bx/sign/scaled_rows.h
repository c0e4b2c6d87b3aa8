// The rows of a scaled picture, made when they are asked for.
//
// The samples are those of CBxSignOp::TransformBilinearAccurate8x3Float, but for the last bit of a float in about one
// of ten million: the same sums, with the weights of columns and rows applied one after the other.
#pragma once

#include <cstddef>
#include <cstdint>

#include "heap_array.h"
#include "kernels.h"
#include "row_source.h"
#include "search_picture.h"

// How the columns of a scaled picture are made of source columns. Made once for a zoom.
class CBxColumnWeights {
public:
    // False without memory.
    [[nodiscard]] bool Prepare(int sourceWidth, double zoom);

    int ScaledWidth() const { return m_iScaledWidth; }
    int Taps() const { return m_iTaps; }
    const int* First() const { return m_First.Data(); }
    // Of a reduction.
    const double* OfTap(int tap) const { return m_Weights.Data() + static_cast<std::ptrdiff_t>(tap) * m_iScaledWidth; }
    bool Enlarges() const { return m_bEnlarges; }
    // Of an enlargement: what the first tap takes, in thousandths, and 65536 times what the second takes.
    const unsigned int* Shares() const { return m_Shares.Data(); }

private:
    int m_iScaledWidth = 0;
    int m_iTaps = 0;
    bool m_bEnlarges = false;
    CBxHeapArray<int> m_First;       // source column of the first tap
    CBxHeapArray<double> m_Weights;  // tap after tap; the weights of a column sum to 1
    CBxHeapArray<unsigned int> m_Shares;
};

// The mean of green and red, or blue, of a picture scaled by `zoom`. The picture and the weights outlive it.
class CBxScaledRows : public CBxRowSource {
public:
    enum class EChannel { Blue, MeanOfGreenAndRed };

    CBxScaledRows(const CBxSearchPicture& picture, const CBxColumnWeights& columns, double zoom, EChannel channel);

    // False without memory.
    [[nodiscard]] bool Prepare();

    int Width() const { return m_Columns.ScaledWidth(); }
    int Height() const { return m_iScaledHeight; }

    void BeginStrip(int left, int width) override;
    void Row(float* out, int row) override;
    void Spans(float* out, int row, std::uint64_t spans) override;
    // For the mean of green and red only.
    void Ranges(SRange* ranges, const CBxRect<int>& area, int left, int width, int count) override;

private:
    static constexpr int kMostTaps = 16;
    static constexpr int kFewTaps = 4;  // both powers of two

    int Components() const { return m_eChannel == EChannel::Blue ? 1 : 2; }
    std::ptrdiff_t RingOffset(int component, int sourceRow) const;
    int PlaceOf(int sourceRow) const { return sourceRow & (m_iRing - 1); }
    int FirstSource(int target) const;
    int EndSource(int target) const;
    // The source rows of a sample row, and what each counts.
    struct SSourceRows {
        int rows[kMostTaps];
        double weights[kMostTaps];
    };
    SSourceRows SourceRowsOf(int row) const;
    // Columns first .. end - 1 of the picture from here on.
    template <typename Visit>
    void ForEachPart(std::uint64_t spans, Visit visit) const;
    void MakeSourceRow(int sourceRow, std::uint64_t spans);
    void ResampleSourceRow(int component, int sourceRow, int first, int end);
    void BlendRows(float* out, const SSourceRows& source, int first, int end);

    const CBxSearchPicture& m_Picture;
    const CBxColumnWeights& m_Columns;
    double m_dStep;
    EChannel m_eChannel;
    int m_iScaledHeight;
    const SBxKernels& m_Kernels;

    // Source rows resampled along the strip: in thousandths where the picture is enlarged.
    CBxHeapArray<double> m_Ring;
    int m_iRing = kMostTaps;                 // source rows that are kept
    int m_iRingRow[kMostTaps];               // which source row stands in each place
    std::uint64_t m_uiRingSpans[kMostTaps];  // and which spans of it
    int m_iLeft = 0;
    int m_iWidth = 0;
    CBxSearchPicture::CColumnRanges m_Ranges;  // of the source
};

// The smallest zoom that CBxScaledRows can make; below, a sample covers more source rows than it keeps.
inline constexpr double kSmallestScaledZoom = 1.0 / 15;
