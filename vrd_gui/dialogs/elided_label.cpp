#include "elided_label.h"

#include <QHelpEvent>
#include <QPainter>
#include <QStyle>
#include <QToolTip>
#include <algorithm>

CBxElidedLabel::CBxElidedLabel(QWidget* parent) : QLabel(parent) {
    setTextFormat(Qt::PlainText);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
}

void CBxElidedLabel::ClaimRoom() {
    m_bClaimsRoom = true;
    setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Fixed);
}

QSize CBxElidedLabel::sizeHint() const {
    const int wanted = m_bClaimsRoom ? fontMetrics().horizontalAdvance(Line()) : 0;
    return {std::max(minimumWidth(), wanted), fontMetrics().height()};
}

QSize CBxElidedLabel::minimumSizeHint() const {
    return {minimumWidth(), fontMetrics().height()};
}

// Names of files may hold line ends.
QString CBxElidedLabel::Line() const {
    QString line = text();
    return line.replace('\n', ' ').replace('\r', ' ');
}

QString CBxElidedLabel::Shown() const {
    return fontMetrics().elidedText(Line(), Qt::ElideMiddle, contentsRect().width());
}

void CBxElidedLabel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const int flags = QStyle::visualAlignment(layoutDirection(), alignment()) | Qt::TextSingleLine;
    style()->drawItemText(&painter, contentsRect(), flags, palette(), isEnabled(), Shown(), foregroundRole());
}

bool CBxElidedLabel::event(QEvent* event) {
    if (event->type() != QEvent::ToolTip) {
        return QLabel::event(event);
    }
    const bool fits = fontMetrics().horizontalAdvance(text()) <= contentsRect().width();
    QToolTip::showText(static_cast<QHelpEvent*>(event)->globalPos(), fits ? QString() : text().toHtmlEscaped(), this);
    return true;
}
