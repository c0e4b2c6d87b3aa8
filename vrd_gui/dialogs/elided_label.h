// A line of text that gives way when the room is short.
#pragma once

#include <QLabel>

// Shows its plain text in one line. A text that does not fit loses its middle, and is told whole by the tool tip.
// The text as such stays what it was set to, and takes no more room in a layout than the label's minimum
// unless it claims it.
class CBxElidedLabel : public QLabel {
    Q_OBJECT

public:
    explicit CBxElidedLabel(QWidget* parent = nullptr);

    // Takes as much room as the text needs, if there is any to be had.
    void ClaimRoom();

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    bool event(QEvent* event) override;

private:
    QString Line() const;
    QString Shown() const;

    bool m_bClaimsRoom = false;
};
