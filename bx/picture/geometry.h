// Plain value types for positions, sizes, rectangles and colours in pictures. No invariant is enforced.
#pragma once

// A position: x is the column, y the row, both counted from the top left corner.
template <typename T>
struct CBxPoint {
    T x;
    T y;

    bool operator==(const CBxPoint&) const = default;
};

// A pixel of a curve together with its curve parameter, 0 at the start of the segment and 1 at its end.
struct CBxSplinePoint {
    int x;
    int y;
    double t;
};

template <typename T>
struct CBxSize {
    T width;
    T height;

    bool operator==(const CBxSize&) const = default;
};

// Half-open: covers the columns left to right - 1 and the rows top to bottom - 1.
template <typename T>
struct CBxRect {
    T left;
    T top;
    T right;
    T bottom;

    bool operator==(const CBxRect&) const = default;

    T Width() const { return right - left; }
    T Height() const { return bottom - top; }
    // Operations return at once, without effect, when they are given an empty rectangle.
    bool IsEmpty() const { return left >= right || top >= bottom; }
};

// On 3_8 pictures written as the bytes blue, green, red; on 1_8 pictures drawing writes the largest component.
struct CBxColor {
    unsigned char red;
    unsigned char green;
    unsigned char blue;

    bool operator==(const CBxColor&) const = default;
};
