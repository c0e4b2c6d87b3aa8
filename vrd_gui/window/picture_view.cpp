#include "picture_view.h"

#include <QDragEnterEvent>
#include <QMimeData>
#include <QMouseEvent>
#include <QNativeGestureEvent>
#include <QPainter>
#include <QUrl>
#include <QVBoxLayout>
#include <cmath>
#include <utility>

#include "picture_orientation.h"

namespace {

constexpr double kWheelNotch = 120.0;  // eighths of a degree, as the toolkit counts
constexpr QRgb kSurround = 0xFF3C3C3C;
constexpr int kFramePixels = 2;
constexpr int kSmallestViewSide = 160;

// The first local file of what is dragged; empty when there is none.
QString FileOf(const QMimeData& data) {
    for (const QUrl& url : data.urls()) {
        if (url.isLocalFile()) {
            return url.toLocalFile();
        }
    }
    return QString();
}

}  // namespace

CBxFrame BX_FrameOf(const CBxRect<int>& rectangle) {
    const double left = rectangle.left;
    const double top = rectangle.top;
    const double right = rectangle.right;
    const double bottom = rectangle.bottom;
    return {{{left, top}, {right, top}, {right, bottom}, {left, bottom}}};
}

CBxImageArea::CBxImageArea(QWidget* parent) : QWidget(parent) {
    setObjectName("imageArea");
    setAttribute(Qt::WA_OpaquePaintEvent);
    setMinimumSize(kSmallestViewSide, kSmallestViewSide);
}

void CBxImageArea::ShowPicture(const SBxPicBuf& picture, int orientation, bool isFitted) {
    m_Pyramid.Build(picture, orientation);
    m_Stored = {picture.m_iWidth, picture.m_iHeight};
    const CBxSize<int> size{m_Pyramid.Level(0).m_iWidth, m_Pyramid.Level(0).m_iHeight};
    TakeViewSize();
    if (isFitted || !(size == m_Geometry.m_Picture)) {
        m_Geometry.SetPicture(size);
    }
    TellGeometry();
}

void CBxImageArea::ShowNothing() {
    m_Pyramid.Clear();
    m_Frames.clear();
    m_Geometry.SetPicture({0, 0});
    TellGeometry();
}

void CBxImageArea::SetFrames(std::vector<CBxFrame> frames) {
    m_Frames = std::move(frames);
    update();
}

CBxPoint<double> CBxImageArea::ToViewPixels(QPointF position) const {
    const double density = devicePixelRatioF();
    return {position.x() * density, position.y() * density};
}

void CBxImageArea::TakeViewSize() {
    const double density = devicePixelRatioF();
    const CBxSize<int> view{static_cast<int>(std::ceil(width() * density)),
                            static_cast<int>(std::ceil(height() * density))};
    if (!(view == m_Geometry.m_View)) {
        m_Geometry.SetView(view);
        emit ZoomChanged(m_Geometry.m_dZoom);
    }
}

void CBxImageArea::TellGeometry() {
    emit ZoomChanged(m_Geometry.m_dZoom);
    update();
}

void CBxImageArea::resizeEvent(QResizeEvent*) {
    TakeViewSize();
}

void CBxImageArea::paintEvent(QPaintEvent*) {
    TakeViewSize();  // a window that was moved to another screen has another density, and no other event tells so
    QPainter painter(this);
    QImage frame = m_Renderer.Render(m_Pyramid, m_Geometry, kSurround);
    if (frame.isNull() || !HasPicture()) {
        painter.fillRect(rect(), QColor::fromRgb(kSurround));
        PaintInvitation(painter);
        return;
    }
    frame.setDevicePixelRatio(devicePixelRatioF());
    painter.drawImage(0, 0, frame);
    PaintFrames(painter);
}

void CBxImageArea::PaintFrames(QPainter& painter) const {
    const double density = devicePixelRatioF();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(Qt::NoBrush);
    for (const CBxFrame& frame : m_Frames) {
        QPolygonF drawn;
        for (const CBxPoint<double>& corner : frame) {
            const CBxPoint<double> at =
                m_Geometry.PictureToView(BX_PutUpright(corner, m_Stored, m_Pyramid.Orientation()));
            drawn.append(QPointF(at.x / density, at.y / density));
        }
        // Two colours, so that one of them stands out from any picture.
        painter.setPen(QPen(QColor(0, 0, 0, 200), kFramePixels + 2, Qt::SolidLine, Qt::SquareCap, Qt::MiterJoin));
        painter.drawPolygon(drawn);
        painter.setPen(QPen(QColor(255, 210, 60), kFramePixels, Qt::SolidLine, Qt::SquareCap, Qt::MiterJoin));
        painter.drawPolygon(drawn);
    }
}

void CBxImageArea::PaintInvitation(QPainter& painter) const {
    const QPixmap icon(":/res/images/LOGO_COLOR");
    if (icon.isNull()) {
        return;
    }
    const QSizeF size = icon.size() / icon.devicePixelRatio();
    painter.setOpacity(0.25);
    painter.drawPixmap(QPointF((width() - size.width()) / 2.0, (height() - size.height()) / 2.0), icon);
}

CBxScrollArea::CBxScrollArea(QWidget* parent) : QFrame(parent), m_pImage(new CBxImageArea(this)) {
    setObjectName("scrollArea");
    setAcceptDrops(true);
    setFocusPolicy(Qt::StrongFocus);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_pImage);
}

bool CBxScrollArea::event(QEvent* event) {
    if (event->type() == QEvent::NativeGesture && m_pImage->HasPicture()) {
        const auto* const gesture = static_cast<QNativeGestureEvent*>(event);
        if (gesture->gestureType() == Qt::ZoomNativeGesture) {
            m_pImage->ChangeGeometry([&](SBxViewGeometry& geometry) {
                geometry.SetZoom(geometry.m_dZoom * (1.0 + gesture->value()),
                                 m_pImage->ToViewPixels(gesture->position()));
            });
            return true;
        }
    }
    return QFrame::event(event);
}

void CBxScrollArea::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton && m_pImage->HasPicture()) {
        m_bDragging = true;
        m_LastPosition = event->position();
        setCursor(Qt::ClosedHandCursor);
    }
}

void CBxScrollArea::mouseMoveEvent(QMouseEvent* event) {
    if (m_bDragging) {
        const CBxPoint<double> step = m_pImage->ToViewPixels(event->position() - m_LastPosition);
        m_LastPosition = event->position();
        m_pImage->ChangeGeometry([&step](SBxViewGeometry& geometry) { geometry.Move(step.x, step.y); });
    }
}

void CBxScrollArea::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton && m_bDragging) {
        m_bDragging = false;
        unsetCursor();
    }
}

void CBxScrollArea::mouseDoubleClickEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton && m_pImage->HasPicture()) {
        m_pImage->ChangeGeometry([](SBxViewGeometry& geometry) { geometry.FitToWindow(); });
    }
}

void CBxScrollArea::wheelEvent(QWheelEvent* event) {
    event->accept();
    const double steps = event->angleDelta().y() / kWheelNotch;
    if (steps != 0.0 && m_pImage->HasPicture()) {
        const CBxPoint<double> about = m_pImage->ToViewPixels(event->position());
        m_pImage->ChangeGeometry([&](SBxViewGeometry& geometry) { geometry.ZoomBySteps(steps, about); });
    }
}

void CBxScrollArea::dragEnterEvent(QDragEnterEvent* event) {
    if (!FileOf(*event->mimeData()).isEmpty()) {
        event->acceptProposedAction();
    }
}

void CBxScrollArea::dropEvent(QDropEvent* event) {
    const QString path = FileOf(*event->mimeData());
    if (!path.isEmpty()) {
        event->acceptProposedAction();
        emit FileDropped(path);
    }
}
