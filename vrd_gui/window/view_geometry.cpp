#include "view_geometry.h"

#include <algorithm>
#include <cmath>

namespace {

// A pixel at the far edge is drawn when at least about two thirds of it are covered, so that its centre is always well
// inside the picture.
constexpr double kCoveredShare = 0.35;

double SettledOffset(double offset, double drawn, double view) {
    return drawn <= view ? (view - drawn) / 2.0 : std::clamp(offset, view - drawn, 0.0);
}

}  // namespace

bool SBxViewGeometry::IsEmpty() const {
    return m_Picture.width <= 0 || m_Picture.height <= 0 || m_View.width <= 0 || m_View.height <= 0;
}

void SBxViewGeometry::Settle() {
    m_Offset.x = SettledOffset(m_Offset.x, m_Picture.width * m_dZoom, m_View.width);
    m_Offset.y = SettledOffset(m_Offset.y, m_Picture.height * m_dZoom, m_View.height);
}

void SBxViewGeometry::SetPicture(CBxSize<int> picture) {
    m_Picture = picture;
    FitToWindow();
}

void SBxViewGeometry::SetView(CBxSize<int> view) {
    const CBxPoint<double> oldCentre = Centre();
    m_View = view;
    if (m_bFollowsView) {
        FitToWindow();
        return;
    }
    m_Offset.x += Centre().x - oldCentre.x;
    m_Offset.y += Centre().y - oldCentre.y;
    Settle();
}

void SBxViewGeometry::FitToWindow() {
    m_bFollowsView = true;
    if (IsEmpty()) {
        return;
    }
    const double zoom = std::min(static_cast<double>(m_View.width) / m_Picture.width,
                                 static_cast<double>(m_View.height) / m_Picture.height);
    m_dZoom = std::clamp(zoom, kLowestZoom, kLargestZoom);
    Settle();
}

void SBxViewGeometry::SetOriginalSize() {
    SetZoom(1.0, Centre());
}

void SBxViewGeometry::SetZoom(double zoom, CBxPoint<double> about) {
    if (IsEmpty() || !std::isfinite(zoom)) {
        return;
    }
    const CBxPoint<double> kept = ViewToPicture(about);
    m_dZoom = std::clamp(zoom, kLowestZoom, kLargestZoom);
    m_Offset = {about.x - kept.x * m_dZoom, about.y - kept.y * m_dZoom};
    m_bFollowsView = false;
    Settle();
}

void SBxViewGeometry::ZoomIn() {
    ZoomBySteps(1.0, Centre());
}

void SBxViewGeometry::ZoomOut() {
    ZoomBySteps(-1.0, Centre());
}

void SBxViewGeometry::ZoomBySteps(double steps, CBxPoint<double> about) {
    const double factor = steps >= 0.0 ? std::pow(kZoomInFactor, steps) : std::pow(kZoomOutFactor, -steps);
    SetZoom(m_dZoom * factor, about);
}

void SBxViewGeometry::Move(double dx, double dy) {
    m_Offset.x += dx;
    m_Offset.y += dy;
    Settle();
}

CBxPoint<double> SBxViewGeometry::Centre() const {
    return {m_View.width / 2.0, m_View.height / 2.0};
}

CBxPoint<double> SBxViewGeometry::ViewToPicture(CBxPoint<double> inView) const {
    return {(inView.x - m_Offset.x) / m_dZoom, (inView.y - m_Offset.y) / m_dZoom};
}

CBxPoint<double> SBxViewGeometry::PictureToView(CBxPoint<double> inPicture) const {
    return {m_Offset.x + inPicture.x * m_dZoom, m_Offset.y + inPicture.y * m_dZoom};
}

CBxPoint<int> SBxViewGeometry::DrawnOffset() const {
    return {static_cast<int>(std::lround(m_Offset.x)), static_cast<int>(std::lround(m_Offset.y))};
}

CBxRect<int> SBxViewGeometry::DrawnRectangle() const {
    if (IsEmpty()) {
        return {0, 0, 0, 0};
    }
    const CBxPoint<int> offset = DrawnOffset();
    const int width = std::max(1, static_cast<int>(m_Picture.width * m_dZoom + kCoveredShare));
    const int height = std::max(1, static_cast<int>(m_Picture.height * m_dZoom + kCoveredShare));
    return {std::max(0, offset.x), std::max(0, offset.y), std::min(m_View.width, offset.x + width),
            std::min(m_View.height, offset.y + height)};
}
