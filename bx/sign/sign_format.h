// The numbers that are part of the sign's format. Changing any of them loses every sign already written.
#pragma once

inline constexpr int kGridSide = 16;                          // cells along each side of a carrier
inline constexpr int kCellCount = kGridSide * kGridSide;      // 256
inline constexpr int kFrameBits = 243;                        // interleaved bits; the cells behind them carry 0
inline constexpr int kCodeWords = 16;                         // BCH(15,7) code words of a sign block
inline constexpr int kCheckCodes = 8;                         // 6-bit codes in front of the text
inline constexpr int kTextCodes = 10;                         // 6-bit codes of the text
inline constexpr int kBlockCodes = kCheckCodes + kTextCodes;  // 18
inline constexpr int kBitsPerCode = 6;
inline constexpr int kShortestFoundText = 6;  // characters; a shorter text is written but never reported

inline constexpr double kPeriod = 6.0;  // a cell's mean blue value modulo this carries the bit:
inline constexpr double kZero = 1.5;    // below 3 a 0, moved to here,
inline constexpr double kOne = 4.5;     // from 3 up a 1, moved to here
inline constexpr double kThreshold = 3.0;

inline constexpr double kEllipseShare = 0.375;  // semi-axis of a cell's ellipse, in cell sizes
inline constexpr double kRimHalfWidth = 2.0;    // pixels on either side of the ellipse that are looked at closely

inline constexpr unsigned int kDarkestByte = 3;  // a picture is clamped to these before it is signed
inline constexpr unsigned int kBrightestByte = 252;
inline constexpr int kMostPixelsToSign = 40000000;
inline constexpr double kMostPixelsToSearch = 2e7;  // of the scaled picture

inline constexpr int kMostCarriers = 5;
inline constexpr double kSmallestCarrierSide = 320.0;  // pixels between the two corners of a rectangle, exclusive

inline constexpr double kFirstZoom = 0.9;
inline constexpr double kZoomStep = 0.05;
inline constexpr unsigned int kZooms = 24;

inline constexpr bool BX_IsTooLargeToSearch(int width, int height, double zoom) {
    return static_cast<double>(width) * height * zoom * zoom > kMostPixelsToSearch;
}

// Index 0 .. 23 to 0.90 .. 2.05, as one product and one sum: repeated adding gives other picture sizes.
inline constexpr double BX_ZoomOfIndex(unsigned int index) {
    return kFirstZoom + kZoomStep * index;
}
