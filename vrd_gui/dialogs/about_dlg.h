// Who made this, and with what.
#pragma once

#include <QDialog>
#include <memory>

namespace Ui {
class CBxAboutDlg;
}

class CBxAboutDlg : public QDialog {
    Q_OBJECT

public:
    explicit CBxAboutDlg(QWidget* parent);
    ~CBxAboutDlg() override;

private:
    std::unique_ptr<Ui::CBxAboutDlg> m_pForm;
};
