// Zoom and moves.
#include <QComboBox>

#include "veridane_gui.h"

namespace {

constexpr double kMoveStep = 50.0;  // in the widget's own pixels

}  // namespace

void CBxVeridaneGui::OnZoomIn() {
    m_Form.scrollArea->Image().ChangeGeometry([](SBxViewGeometry& geometry) { geometry.ZoomIn(); });
}

void CBxVeridaneGui::OnZoomOut() {
    m_Form.scrollArea->Image().ChangeGeometry([](SBxViewGeometry& geometry) { geometry.ZoomOut(); });
}

void CBxVeridaneGui::OnFitToWindow() {
    m_Form.scrollArea->Image().ChangeGeometry([](SBxViewGeometry& geometry) { geometry.FitToWindow(); });
}

void CBxVeridaneGui::OnOriginalSize() {
    m_Form.scrollArea->Image().ChangeGeometry([](SBxViewGeometry& geometry) { geometry.SetOriginalSize(); });
}

// Whoever chooses from the list means that very zoom, also when the one that is shown is rounded to it.
void CBxVeridaneGui::OnComboActivated(int index) {
    m_Form.scrollArea->setFocus();
    SetZoomFromText(m_Form.comboZoom->itemText(index));
}

// A text that was not edited changes nothing: it is rounded, and the box tells of one press of Enter more than once.
void CBxVeridaneGui::OnComboTextChanged() {
    m_Form.scrollArea->setFocus();
    const QString text = m_Form.comboZoom->currentText();
    if (text != m_ShownZoom) {
        SetZoomFromText(text);
    }
}

// A text that is no percentage gives way to the zoom that is shown.
void CBxVeridaneGui::SetZoomFromText(QString text) {
    text.remove('%').replace(',', '.');
    bool isNumber = false;
    const double percentage = text.trimmed().toDouble(&isNumber);
    m_Form.scrollArea->Image().ChangeGeometry([&](SBxViewGeometry& geometry) {
        if (isNumber && percentage > 0.0) {
            geometry.SetZoom(percentage / 100.0, geometry.Centre());
        }
    });
}

void CBxVeridaneGui::MoveView(double right, double down) {
    CBxImageArea& image = m_Form.scrollArea->Image();
    const CBxPoint<double> step = image.ToViewPixels(QPointF(right * kMoveStep, down * kMoveStep));
    image.ChangeGeometry([&step](SBxViewGeometry& geometry) { geometry.Move(step.x, step.y); });
}

void CBxVeridaneGui::OnMoveLeft() {
    MoveView(-1.0, 0.0);
}

void CBxVeridaneGui::OnMoveRight() {
    MoveView(1.0, 0.0);
}

void CBxVeridaneGui::OnMoveUp() {
    MoveView(0.0, -1.0);
}

void CBxVeridaneGui::OnMoveDown() {
    MoveView(0.0, 1.0);
}
