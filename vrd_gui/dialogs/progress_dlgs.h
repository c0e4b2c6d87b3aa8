// How far a run is.
#pragma once

#include <QDialog>
#include <memory>

namespace Ui {
class CBxSimpleProgressDlg;
class CBxProgressDlgClass;
}  // namespace Ui

// One picture. Closing the window or Escape is the cancel button, and the dialog stays until its owner hides it.
class CBxSimpleProgressDlg : public QDialog {
    Q_OBJECT

public:
    explicit CBxSimpleProgressDlg(QWidget* parent);
    ~CBxSimpleProgressDlg() override;

    void SetText(const QString& text);
    void SetPercentage(int percentage);

signals:
    void CancelReleased();  // once

public slots:
    void reject() override;

private:
    std::unique_ptr<Ui::CBxSimpleProgressDlg> m_pForm;
};

// Many pictures: one bar for the picture in work and one for all of them.
class CBxBatchProgressDlg : public QDialog {
    Q_OBJECT

public:
    CBxBatchProgressDlg(QWidget* parent, const QString& title);
    ~CBxBatchProgressDlg() override;

    // `name` is the line above the bar of the picture in work, `step` what is being done with it. Long names are
    // elided, never wrapped or cut without a sign of it.
    void ShowCurrent(const QString& name, const QString& step, int percentage);
    void ShowTotal(int percentage);
    // As "hh:mm:ss", or any text for the second.
    void ShowTimes(const QString& elapsed, const QString& estimated);

signals:
    void CancelReleased();  // once

public slots:
    void reject() override;

private:
    std::unique_ptr<Ui::CBxProgressDlgClass> m_pForm;
};
