// The manual, in a window of its own.
#pragma once

#include <QDialog>
#include <QUrl>
#include <memory>

namespace Ui {
class CBxHelp;
}

class CBxHelp : public QDialog {
    Q_OBJECT

public:
    // Opens a page ("index.html", "getting_started.html") of the manual in `bundleFolder` + "doc/". Modal.
    // `bundleFolder` is UTF-8 and ends with "/".
    //
    // Only pages of that folder are shown; links to the web are handed to the desktop. A page that is not there is told
    // in its place.
    static void DisplayHelp(QWidget* parent, const char* page, const char* bundleFolder);

    CBxHelp(QWidget* parent, const char* page, const char* bundleFolder);
    ~CBxHelp() override;

private:
    void Connect();
    void ShowPage(const QString& name);
    void ShowIndex();
    void OnLink(const QUrl& link);
    QString PathInManual(const QUrl& link) const;

    std::unique_ptr<Ui::CBxHelp> m_pForm;
    QString m_Folder;  // of the manual, canonical; empty when there is none
};
