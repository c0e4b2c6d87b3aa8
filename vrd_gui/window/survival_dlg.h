// Shows the page of what a sign survives.
#pragma once

#include <QDialog>
#include <QString>
#include <string>

class CBxSurvivalDlg : public QDialog {
    Q_OBJECT

public:
    // `page` is the whole page, UTF-8; `folder` is where saving it begins to ask for a name. Modal.
    static void ShowPage(QWidget* parent, const std::string& page, const QString& folder);

    CBxSurvivalDlg(QWidget* parent, const std::string& page, const QString& folder);

private:
    // Asks for a name, which may be that of an older page.
    void SavePage();

    const std::string m_strPage;
    const QString m_Folder;
};
