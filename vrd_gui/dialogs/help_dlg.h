// The manual, in a window of its own.
#pragma once

#include <QDialog>
#include <memory>

namespace Ui {
class CBxHelp;
}

class CBxHelp : public QDialog {
    Q_OBJECT

public:
    // Opens a page ("index.html", "getting_started.html") of the manual in `bundleFolder` + "doc/". Modal.
    // `bundleFolder` is UTF-8 and ends with "/".
    static void DisplayHelp(QWidget* parent, const char* page, const char* bundleFolder);

    CBxHelp(QWidget* parent, const char* page, const char* bundleFolder);
    ~CBxHelp() override;

private:
    std::unique_ptr<Ui::CBxHelp> m_pForm;
};
