// The cells of one candidate rectangle while the rows of a plane pass by.
#pragma once

#include "cell_choice.h"
#include "geometry.h"
#include "sign_format.h"

// The labelled pixels of one row of a stamp: rim from rimLeft to innerLeft and from innerRight to rimRight, inner
// pixels between; columns of the stamp. A row without labels is empty throughout.
struct SBxStampRow {
    int rimLeft;
    int innerLeft;
    int innerRight;
    int rimRight;
};

// Row y of the stamp of a cell of this size, of which it is part: the labels that CBxSignOp::GenerateSmallWhat gives
// it.
SBxStampRow BX_StampRow(double cellWidth, double cellHeight, int y);

// Collects the sums and weights of the chosen cells. A plain record: it lives in arrays.
struct SBxCandidateCells {
    CBxRect<int> frame;  // pixels of the plane
    double a;            // semi-axes of the cells' ellipses
    double b;
    const SBxStampRow* stampRows;
    const SBxCellChoice* choice;
    double leftThirds[kGridSide];     // of the stamps, in thirds of a pixel of the frame
    double visibleThirds[kGridSide];  // width of a stamp that the next one does not overwrite
    double centreThirds[kGridSide];   // of the cells, so that sample s lies at s
    double centreX[kGridSide];        // of the cells, in pixels of the frame
    double centreY[kGridSide];
    int top[kGridSide];  // of the stamps
    int visibleHeight[kGridSide];
    int cellRow;  // that the rows have reached
    // The thirds once more, of the cells that are chosen in this row of cells.
    double chosenLefts[kGridSide];
    double chosenVisible[kGridSide];
    double chosenCentres[kGridSide];
    // Of the chosen cells: the i-th of row r of cells stands at kGridSide r + i. What stands behind them is worthless.
    double sums[kCellCount];
    double weights[kCellCount];  // samples, whole numbers: nine of a whole pixel

    // Starts over. A candidate that leaves the plane gets an empty frame.
    void Place(const CBxRect<double>& candidate, const CBxSize<int>& stamp, const SBxStampRow* rows,
               const CBxSize<int>& plane, const SBxCellChoice& cells);
    // Adds a row of the plane; rows come in ascending order. `prefix` are its sums from the left end of the frame, one
    // more than pixels, and three more behind them that may hold anything finite.
    void AddRow(const double* prefix, int row);

private:
    void EnterCellRow(int newCellRow);
    void AddLines(const double* prefix, const SBxStampRow& stamp, int firstLine);
    void AddByFormula(const double* prefix, const SBxStampRow& stamp, int line, int place);
};
