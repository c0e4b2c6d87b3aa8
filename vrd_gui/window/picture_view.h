// The view of the picture in the main window.
//
//   CBxScrollArea   takes mouse, wheel, gesture and drop events and turns them into moves of the geometry
//     CBxImageArea  fills it and paints what the geometry says
#pragma once

#include <QFrame>
#include <QPointF>
#include <QWidget>
#include <array>
#include <vector>

#include "picture_pyramid.h"
#include "view_geometry.h"
#include "view_renderer.h"

// A frame over the picture, which may lie askew: its corners in their order, in pixels of the picture as it is stored.
using CBxFrame = std::array<CBxPoint<double>, 4>;
CBxFrame BX_FrameOf(const CBxRect<int>& rectangle);

class CBxImageArea : public QWidget {
    Q_OBJECT

public:
    explicit CBxImageArea(QWidget* parent);

    // Shows a 3_8 picture, which must stay until another one or none is shown; `orientation` as in EXIF. A picture of
    // the size of the one before is shown at the same place unless it is to be fitted.
    void ShowPicture(const SBxPicBuf& picture, int orientation, bool isFitted);
    void ShowNothing();
    // Draws frames over the picture.
    void SetFrames(std::vector<CBxFrame> frames);

    bool HasPicture() const { return !m_Pyramid.IsEmpty(); }
    const SBxViewGeometry& Geometry() const { return m_Geometry; }
    // Changes the geometry and repaints.
    template <typename Change>
    void ChangeGeometry(Change change) {
        change(m_Geometry);
        TellGeometry();
    }

    // From the widget's own coordinates to pixels of the screen.
    CBxPoint<double> ToViewPixels(QPointF position) const;

signals:
    void ZoomChanged(double zoom);

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void TakeViewSize();
    void TellGeometry();
    void PaintFrames(QPainter& painter) const;
    void PaintInvitation(QPainter& painter) const;

    CBxPicturePyramid m_Pyramid;
    SBxViewGeometry m_Geometry;
    CBxViewRenderer m_Renderer;
    CBxSize<int> m_Stored{0, 0};
    std::vector<CBxFrame> m_Frames;
};

class CBxScrollArea : public QFrame {
    Q_OBJECT

public:
    explicit CBxScrollArea(QWidget* parent);

    CBxImageArea& Image() { return *m_pImage; }

signals:
    void FileDropped(const QString& path);

protected:
    bool event(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    CBxImageArea* m_pImage;
    QPointF m_LastPosition;
    bool m_bDragging = false;
};
