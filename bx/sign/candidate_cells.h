// The cells of one candidate rectangle while the rows of a plane pass by.
#pragma once

#include <cstdint>

#include "geometry.h"
#include "pic_buf.h"
#include "sign_format.h"

// The labelled pixels of one row of a stamp: rim from rimLeft to innerLeft and from innerRight to rimRight, inner
// pixels between; columns of the stamp. A row without labels is empty throughout.
struct SBxStampRow {
    int rimLeft;
    int innerLeft;
    int innerRight;
    int rimRight;
};

SBxStampRow BX_StampRow(const SBxPicBuf& stamp, int y);

// A range of samples on one line of a row, in thirds of a pixel.
struct SBxSamples {
    int begin;
    int end;
};

// Collects the sums and weights of the 256 cells. A plain record: it lives in arrays.
struct SBxCandidateCells {
    CBxRect<int> frame;  // pixels of the plane
    double a;            // semi-axes of the cells' ellipses
    double b;
    CBxSize<int> stampSize;
    const SBxStampRow* stampRows;
    int left[kGridSide];  // of the stamps, in the frame
    int top[kGridSide];
    int visibleWidth[kGridSide];  // of the stamps: the next one overwrites its neighbour's last columns and rows
    int visibleHeight[kGridSide];
    double centreX[kGridSide];  // of the cells, in the frame
    double centreY[kGridSide];
    int cellRow;  // that the rows have reached
    double sums[kCellCount];
    std::int64_t weights[kCellCount];  // samples: nine of a whole pixel

    // Starts over. A candidate that does not meet the plane gets an empty frame.
    void Place(const CBxRect<double>& candidate, const CBxSize<int>& stamp, const SBxStampRow* rows,
               const CBxSize<int>& plane);
    // Adds a row of the plane; rows come in ascending order. `prefix` are its sums from the left end of the frame, one
    // more than pixels, and one more behind them that may hold anything finite.
    void AddRow(const double* prefix, int row);

private:
    void AddLine(const double* prefix, const SBxStampRow& stamp, int line);
    SBxSamples SamplesOnLine(int column, int line, double reachInThirds) const;
};
