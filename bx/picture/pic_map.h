// The rotation-and-scale mapping between two pictures.
#pragma once

// How a transform reads between pixels. Dispatching transforms do nothing for any other value.
enum class EBxInterpolation {
    kConstant = 0,  // nearest sample
    kBilinear = 1,
    kBicubic = 2,
};

// Tells for every destination pixel where it is read in the source.
//
// Positions are continuous: pixel i covers [i, i + 1), its centre is i + 0.5. Destination pixel (dx, dy) is read at
//
//   sx = x0 + a dx - b dy
//   sy = y0 + b dx + a dy
//
// so one step right in the destination moves the source position by (a, b), one step down by (-b, a).
struct CBxPicMap {
    double m_dX0;  // source position of destination pixel (0, 0)
    double m_dY0;
    double m_dA;  // cos(angle) / scale
    double m_dB;  // sin(angle) / scale

    // Makes the mapping that takes (dstX, dstY) onto (srcX, srcY). `angle` in degrees; `scale` above 1 enlarges the
    // source in the destination.
    void Compute(double dstX, double dstY, double srcX, double srcY, double angle, double scale);

    // Source position of a destination pixel. A null output is skipped.
    void MapPointDstToSrc(double* sx, double* sy, int dx, int dy) const;

    // Destination pixel of a source position: the exact inverse plus 0.5, truncated toward zero (negative results too).
    // Values outside the range of int end at its limits. A null output is skipped.
    void MapPointSrcToDst(int* dx, int* dy, double sx, double sy) const;
};
