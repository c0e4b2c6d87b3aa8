// Moves a grid that is some tenths of a cell off to where its means lie on a comb.
//
// The means of calm cells stay on the comb though the grid is a little off, those of others do not: each cell counts
// by what its mean would change for the error that the grid may still have,
//
//      weight = exp(-(slope * error * 2 pi / 3)^2 / 2)
//
// The error shrinks from round to round, and more and more cells join in.
#pragma once

#include "deep_run.h"

// Moves, stretches and turns `trial`, from an error of `error` cells on, for so many rounds in each of which the error
// is halved; quickly, from fewer rows of the cells, or closely. Returns how far the comb stands out, in standard
// deviations of what chance would make it at one place.
double BX_ClimbComb(CBxDeepRun& run, SBxGridTrial& trial, double error, int rounds, bool isQuick);
