// What a run has found.
#pragma once

#include <QDialog>
#include <memory>

namespace Ui {
class CBxResultDlg;
class CBxBatchDetectResultDlg;
}  // namespace Ui

class CBxResultDlg : public QDialog {
    Q_OBJECT

public:
    // `title` is rich text, `sign` plain text (empty: none), `detail` one quiet line under it (empty: none); all UTF-8.
    // Modal.
    static void ShowSign(QWidget* parent, const char* title, const char* sign, const char* detail = "");

    // The same without a sign, and with a button for looking harder. True when the user pressed that.
    static bool OfferHarderSearch(QWidget* parent, const char* title, const char* detail = "");

    CBxResultDlg(QWidget* parent, const char* title, const char* sign, const char* detail, bool offersHarder = false);
    ~CBxResultDlg() override;

private:
    std::unique_ptr<Ui::CBxResultDlg> m_pForm;
};

class CBxBatchDetectResultDlg : public QDialog {
    Q_OBJECT

public:
    // Plain texts, UTF-8. `detail` is one quiet line under the message (empty: none). Without a log path nothing is
    // said of a log. Modal.
    static void ShowSign(QWidget* parent, const char* message, const char* logPath, const char* detail = "");

    CBxBatchDetectResultDlg(QWidget* parent, const char* message, const char* logPath, const char* detail);
    ~CBxBatchDetectResultDlg() override;

private:
    std::unique_ptr<Ui::CBxBatchDetectResultDlg> m_pForm;
    QString m_LogPath;
};
