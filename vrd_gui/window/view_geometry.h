// Where a picture stands in its view, and how large. No widgets.
#pragma once

#include "geometry.h"

// Three kinds of pixels meet here: those of the picture (upright, as shown), and those of the view, which are the
// screen's own pixels whatever its density. The picture's top left corner is drawn at the offset.
//
//      view                          A picture smaller than the view is centred in it; one that is larger is moved
//     +-----------------------+      freely as long as it covers the view from edge to edge. Both hold for each
//     |    offset             |      direction on its own, and are restored by every operation.
//     |      +---------+      |
//     |      | picture |      |
//     |      | x zoom  |      |
//     |      +---------+      |
//     +-----------------------+
struct SBxViewGeometry {
    static constexpr double kLargestZoom = 9.99;
    static constexpr double kLowestZoom = 0.01;
    static constexpr double kZoomInFactor = 1.1;
    static constexpr double kZoomOutFactor = 0.9;

    double m_dZoom = 1.0;             // view pixels for one picture pixel
    CBxPoint<double> m_Offset{0, 0};  // in view pixels
    CBxSize<int> m_Picture{0, 0};     // 0 x 0 without a picture
    CBxSize<int> m_View{0, 0};        // in view pixels
    bool m_bFollowsView = true;       // the zoom was fitted to the view and is fitted again when the view changes

    // The new picture is fitted.
    void SetPicture(CBxSize<int> picture);
    // Keeps the middle of the view in the middle.
    void SetView(CBxSize<int> view);

    // The largest zoom that shows all of the picture.
    void FitToWindow();
    void SetOriginalSize();
    // The picture's point at `about`, a position in the view, stays where it is. The zoom is kept within the limits.
    void SetZoom(double zoom, CBxPoint<double> about);
    // One step in or out about the middle of the view.
    void ZoomIn();
    void ZoomOut();
    // Any part of a step about a position; above 0 is in. One notch of a wheel is one step.
    void ZoomBySteps(double steps, CBxPoint<double> about);
    // Moves the picture by view pixels.
    void Move(double dx, double dy);

    CBxPoint<double> Centre() const;
    CBxPoint<double> ViewToPicture(CBxPoint<double> inView) const;
    CBxPoint<double> PictureToView(CBxPoint<double> inPicture) const;

    // Where the picture is drawn: whole view pixels, so that its pixels do not swim when it is moved.
    CBxPoint<int> DrawnOffset() const;
    // The view pixels that it is drawn into; empty when there are none.
    CBxRect<int> DrawnRectangle() const;

private:
    bool IsEmpty() const;
    void Settle();
};
