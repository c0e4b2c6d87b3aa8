// The row loops in which the time of a search is spent: plain pointers and counts, no pictures.
//
// Each loop exists in several forms, compiled from the same source for different vector widths; the widest that the
// machine has is picked at the first use. Loops multiply and add element by element in the order written here, first
// tap first, never fused, so that every form gives the same bits. Counts may be 0; pointers need no alignment; outputs
// do not alias inputs unless it says so.
#pragma once

#include <cstddef>

enum class EBxKernelForm { Portable, Avx2, Avx512 };

// The three lines of samples of a row of pixels through a row of cells: what of them lies inside the cells' ellipses.
// Places along a line are counted in thirds of a pixel from the left end of the frame; a sample is the middle of a
// third.
struct SBxEllipseRow {
    static constexpr int kColumns = 16;
    static constexpr int kLines = 3;
    // Cells are looked at so many at a time: what is given for each can be read up to the next multiple, and there are
    // places of the frame behind the last cell, too.
    static constexpr int kGroup = 4;
    // A bound closer than this to a sample is not decided here.
    static constexpr double kNear = 1e-6;

    const double* prefix;   // sums of the row's pixels from the left end of the frame, readable three behind the last
    int cells;              // 1 to kColumns
    const double* centres;  // of the ellipses, less half a third, so that sample s lies at s
    const double* lefts;    // of the stamps
    const double* visible;  // width of the stamps that the next ones leave
    double reach[kLines];   // half the width of the ellipse on each line, at least half a third; 0 leaves a line out
    double rimLeft;         // of the stamp's labels, from its left end: rim, inner part, rim
    double innerLeft;
    double innerRight;
    double rimRight;
};

// Sixteen ellipses of one shape, evenly spaced, on a plane that is given by the sums along its rows: sums[y * pitch +
// x] is the sum of the pixels of row y in front of x, for x from 0 to width + 1 (the last two are the same). At the
// height h above or below its centre an ellipse reaches from the centre + shear * h by reach * sqrt(1 - (h / top)^2) to
// both sides. Centres may lie outside the plane; beyond kFarthest pixels they count as that far.
struct SBxEllipses {
    static constexpr int kColumns = 16;
    static constexpr double kFarthest = 1e6;
    const unsigned int* sums;
    int width;
    int height;
    int pitch;
    double firstX;  // the centre of the first one
    double firstY;
    double stepX;
    double stepY;
    double top;  // above 0, below kFarthest
    float shear;
    float reach;
};

// One value for each column.
struct SBxGradientRows {
    float* xx;
    float* yy;
    float* trace;
};

// Bounds of every column of some rows of whole numbers.
struct SBxColumnBounds {
    unsigned short* low;
    unsigned short* high;
    unsigned short* alongRows;
    unsigned short* alongColumns;
};

// Boxes around each pixel of a row, in sums over both axes: the sum over box i is
// (lowerRight[i] - lowerLeft[i]) - (upperRight[i] - upperLeft[i]), a whole number that may be negative.
struct SBxBoxes {
    const unsigned int* lowerRight;
    const unsigned int* lowerLeft;
    const unsigned int* upperRight;
    const unsigned int* upperLeft;
};

// A cell around each pixel of a row, a cross of two boxes with the box that both have, and the ground that it lies on;
// shares[i] times a sum is a mean.
struct SBxCellBoxes {
    SBxBoxes wide;
    SBxBoxes high;
    SBxBoxes middle;
    SBxBoxes ground;
    const float* shares;  // of the cross
    const float* sharesOfGround;
};

// Variances of contrasts, in tones squared, and their bounds.
struct SBxCellOdds {
    float mostSquare;
    float leastUnrest;
    float unrestOfSign;
    float alignedVariance;
    float elsewhereVariance;
};

// A straight walk across a plane of packed rows, step i at (x + i stepX, y + i stepY) from the middle of the first
// pixel.
struct SBxPlaneWalk {
    const float* plane;
    int width;
    int height;  // the pixels are fewer than 2^31
    double x;
    double y;
    double stepX;
    double stepY;
    float factor;
};

struct SBxKernels {
    const char* m_szName;

    // out[i] = taps[0] * in[i] + ... + taps[tapCount - 1] * in[i + tapCount - 1]; tapCount 5 or 7; `in` holds
    // count + tapCount - 1 samples.
    void (*FilterAlong)(float* out, const float* in, std::size_t count, const float* taps, int tapCount);
    // out[i] = taps[0] * rows[0][i] + ... + taps[tapCount - 1] * rows[tapCount - 1][i]; tapCount 5 or 7.
    void (*FilterAcross)(float* out, const float* const* rows, std::size_t count, const float* taps, int tapCount);
    // out[i] = a[i] - b[i].
    void (*Subtract)(float* out, const float* a, const float* b, std::size_t count);
    // out[i] = a[i] * b[i]; a and b may be the same row.
    void (*Multiply)(float* out, const float* a, const float* b, std::size_t count);
    // out[i] = sxx[i] * syy[i] - sxy[i]^2 - 0.08 * (sxx[i] + syy[i])^2.
    void (*Harris)(float* out, const float* sxx, const float* syy, const float* sxy, std::size_t count);

    // Takes the bytes of `count` pixels apart: first[i] = in[3 i], second[i] = in[3 i + 1], third[i] = in[3 i + 2].
    void (*Split3)(unsigned char* first, unsigned char* second, unsigned char* third, const unsigned char* in,
                   std::size_t count);
    // out[i] = a[i] + b[i].
    void (*AddBytes)(unsigned short* out, const unsigned char* a, const unsigned char* b, std::size_t count);
    // Widens the bounds of every column: low[i] and high[i] by values[i], alongRows[i] and alongColumns[i] by how much
    // values[i + 1] and below[i] differ from it.
    void (*WidenBounds)(const SBxColumnBounds& bounds, const unsigned short* values, const unsigned short* below,
                        std::size_t count);

    // out[i] = weights[0][i] * in[first[i]] + ... over `tapCount` neighbouring bytes, in double. `first` ascends; `in`
    // can be read, though it is not used, for 16 bytes from the first tap of every sample on.
    void (*ResampleAlong)(double* out, const unsigned char* in, const int* first, const double* const* weights,
                          int tapCount, std::size_t count);
    // out[i] = (shares[i] & 0xFFFF) * in[first[i]] + (shares[i] >> 16) * in[first[i] + 1], with shares below 0x8000.
    // `first` ascends, by at most one from sample to sample; `in` can be read, though it is not used, for 48 bytes from
    // the first tap of every sample on.
    void (*EnlargeAlong)(double* out, const unsigned char* in, const int* first, const unsigned int* shares,
                         std::size_t count);
    // out[i] = weights[0] * rows[0][i] + ... over `rowCount` rows, in double, rounded once.
    void (*ResampleAcross)(float* out, const double* const* rows, const double* weights, int rowCount,
                           std::size_t count);
    // The mean of two such samples: out[i] = (a + b) / 2, each rounded before.
    void (*ResampleMeanAcross)(float* out, const double* const* first, const double* const* second,
                               const double* weights, int rowCount, std::size_t count);
    // The loops of the corner search work on whole groups of samples: `groups` of them are written, and each input can
    // be read, though it is not used, for one group more than that and a sample on either side.
    static constexpr std::size_t kGroup = 16;

    // out[i] = taps[0] * in[i] + ... + taps[6] * in[i + 6], of samples below `low` as if they were low, above `high`
    // high.
    void (*SmoothAlong)(float* out, const float* in, std::size_t groups, const float* taps, float low, float high);
    // With dx = row[i + 1] - row[i] and dy = next[i] - row[i]: the largest dx^2, dy^2 and dx^2 + dy^2 of each column
    // over `rowCount` rows; the row behind them is read too.
    void (*LargestGradients)(const SBxGradientRows& out, const float* const* rows, int rowCount, std::size_t groups);
    // out[i] = the largest of rows[r][16 i .. 16 i + 22] of `rowCount` rows.
    void (*LargestOfBlocks)(float* out, const float* const* rows, int rowCount, std::size_t blocks);
    // The products dx * dx, dx * dy, dy * dy of the same differences, each filtered along the row with five taps:
    // out[0][i] = taps[0] * xx[i] + ... + taps[4] * xx[i + 4], and so on.
    void (*TensorAlong)(float* const* out, const float* row, const float* next, std::size_t groups, const float* taps);
    // The response of the tensor whose parts are filtered across five rows each:
    // out[i] = sxx * syy - sxy^2 - 0.08 * (sxx + syy)^2.
    void (*ResponseAcross)(float* out, const float* const* xx, const float* const* xy, const float* const* yy,
                           std::size_t groups, const float* taps);
    // Bit k of flags[g] is 1 where middle[i + 1], with i = 16 g + k, is above the threshold and above its 8 neighbours:
    // the rows start one sample in front of the first.
    void (*StrictMaxima)(unsigned short* flags, const float* upper, const float* middle, const float* lower,
                         std::size_t groups, float threshold);
    // The largest value of the bi-quadratic surface with these nine coefficients (surface_fit.h) over x and y in
    // eighths from 0 to 2; `x` and `y` receive its place in eighths, of equal values the one with the smallest x, then
    // y.
    double (*SurfaceMaximum)(int* x, int* y, const double* coefficients);
    // Smooths across seven of ten rows each, which gives four, and sums these along, in double: sums[r][i] is the sum
    // of the first i samples taps[0] * rows[r][k] + ... + taps[6] * rows[r + 6][k], for i from 0 to count. Four samples
    // a, b, c, d are added to the sum in front of them as a, b + a, (c + b) + a, (d + c) + (b + a). The rows can be
    // read and the sums written, with what is worthless, up to a count that is a multiple of kGroup.
    static constexpr int kSummedRows = 4;
    static constexpr int kSummedTaps = 7;
    void (*SmoothedSums4)(double* const* sums, const float* const* rows, std::size_t count, const float* taps);
    // Adds the samples of each cell, each with the value of its pixel, to sums[cell] and their number to weights[cell]:
    // the inner part whole, the rim inside the ellipse. Cells whose bounds lie too close to a sample of a line, or
    // whose ellipse does not meet their inner part, are left out and get undecided[16 line + cell] = 1; other flags
    // stay as they are. Returns whether any was left out. What is written is read and written up to the next multiple
    // of SBxEllipseRow::kGroup.
    bool (*AddEllipseRow)(const SBxEllipseRow& row, double* sums, double* weights, unsigned char* undecided);
    // sums[i] = what lies inside ellipse i, areas[i] = how many pixels of the plane that is; parts of pixels count.
    void (*SumEllipses)(const SBxEllipses& cells, float* sums, float* areas);
    // out[i] = a[i] + b[i] + c[i] + d[i], which must be in range; returns the largest, the lowest number for none. The
    // inputs may overlap one another.
    short (*SumFour)(short* out, const short* a, const short* b, const short* c, const short* d, std::size_t count);
    // The same without writing them.
    short (*LargestOfFour)(const short* a, const short* b, const short* c, const short* d, std::size_t count);
    // sums[r] = vector[0] * rows[r * pitch] + ... + vector[length - 1] * rows[r * pitch + length - 1], in range.
    void (*DotProducts)(int* sums, const short* vector, std::size_t length, const short* rows, std::size_t pitch,
                        std::size_t rowCount);

    // out[i] = above[i] + the whole parts of scale * in[0], ..., scale * in[i], modulo 2^32.
    void (*SumBothAxes)(unsigned int* out, const unsigned int* above, const float* in, float scale, std::size_t count);
    // out[i] = the sum over box i * shares[i].
    void (*MeansOfBoxes)(float* out, const SBxBoxes& boxes, const float* shares, std::size_t count);
    // out[i] = (factor * (the mean of the cross - that of the ground))^2, at most `most`.
    void (*ContrastsOfCells)(float* out, const SBxCellBoxes& cells, float factor, float most, std::size_t count);
    // Replaces squared contrasts by the logarithm of how much likelier they are for a cell than for another place,
    // where the mean of the squares around is that of box i.
    void (*EvidenceOfCells)(float* values, const SBxBoxes& boxes, const float* shares, const SBxCellOdds& odds,
                            std::size_t count);
    // values[i] -= the mean of box i; then no further from zero than `most`.
    void (*TakeOffMeans)(float* values, const SBxBoxes& boxes, const float* shares, float most, std::size_t count);
    // out[i] = minus the cosine of factor * the mean of box i, an angle from 0 up to some hundreds.
    void (*CosinesOfBoxes)(float* out, const SBxBoxes& boxes, const float* shares, float factor, std::size_t count);
    // values[i] += weight * (the mean of `middle` - that of the ground).
    void (*AddContrasts)(float* values, const SBxCellBoxes& cells, float weight, std::size_t count);

    // out[i] = the sum of rows[0][i] ... rows[rowCount - 1][i], four rows at a time; at most 16 rows.
    void (*SumRows)(float* out, const float* const* rows, int rowCount, std::size_t count);
    // out[kRowChoices i + r] = rows[r][i] of kRowChoices rows.
    static constexpr int kRowChoices = 16;
    void (*LaySideBySide)(float* out, const float* const* rows, std::size_t count);
    // Of such sums the 16 columns are added up that a choice names, columns[pitch k ... pitch k + 15] for choice k, one
    // after the other, of each row by itself: where that is more than worths[r], worths[r] becomes it and choices[r]
    // becomes k.
    void (*BestColumns)(float* worths, int* choices, const float* sums, const int* columns, std::size_t pitch,
                        int count);
    // What each of kWords words, side by side, makes of its kWordData data bits. weights[kWords * p + w] is how much of
    // word w speaks for the parity of the data bits in p being 0, less what speaks for 1; the weight of a text t is the
    // sum of these, each turned over where the parity of p & t is 1. zeros[kWords * d + w] is the largest weight of the
    // texts with a 0 at data bit d, ones[...] of those with a 1. Spoils the weights.
    static constexpr int kWords = 16;
    static constexpr int kWordData = 7;
    static constexpr int kWordTexts = 1 << kWordData;
    void (*WeighWords)(float* zeros, float* ones, float* weights);

    // out[i] = the whole part of factor * the plane between its pixels at step i, which must be in range; 0 outside.
    void (*SampleAlong)(short* out, const SBxPlaneWalk& walk, std::size_t count);
};

// The loops in the form in use.
const SBxKernels& BX_Kernels();
// Null when this machine cannot run the form.
const SBxKernels* BX_KernelsOfForm(EBxKernelForm form);
// Takes another form into use, for the whole process, from the next call of BX_Kernels on; false, with nothing changed,
// when the machine cannot run it. Results do not depend on it.
bool BX_SelectKernelForm(EBxKernelForm form);
