#include "elided_label.h"

#include <QHelpEvent>
#include <QPainter>
#include <QStyle>
#include <QToolTip>

CBxElidedLabel::CBxElidedLabel(QWidget* parent) : QLabel(parent) {
    setTextFormat(Qt::PlainText);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
}

QSize CBxElidedLabel::sizeHint() const {
    return {minimumWidth(), fontMetrics().height()};
}

QSize CBxElidedLabel::minimumSizeHint() const {
    return sizeHint();
}

// Names of files may hold line ends.
QString CBxElidedLabel::Shown() const {
    QString line = text();
    line.replace('\n', ' ').replace('\r', ' ');
    return fontMetrics().elidedText(line, Qt::ElideMiddle, contentsRect().width());
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
