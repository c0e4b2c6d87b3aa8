// How a folder or a document is to be searched.
#pragma once

#include <QDialog>
#include <memory>

namespace Ui {
class CBxSearchOptionsDlg;
}

class CBxSearchOptionsDlg : public QDialog {
    Q_OBJECT

public:
    // Asks before the search of `path` begins. True, with the answer in `isHarder`, when it may begin. Modal.
    static bool AskHow(QWidget* parent, const QString& title, const QString& path, bool& isHarder);

    CBxSearchOptionsDlg(QWidget* parent, const QString& title, const QString& path);
    ~CBxSearchOptionsDlg() override;

    bool IsHarder() const;

private:
    std::unique_ptr<Ui::CBxSearchOptionsDlg> m_pForm;
};
