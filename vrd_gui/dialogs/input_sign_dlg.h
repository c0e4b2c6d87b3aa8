// Asks for the sign.
#pragma once

#include <QByteArray>
#include <QDialog>
#include <memory>

namespace Ui {
class CBxInputSignDlg;
}

class CBxInputSignDlg : public QDialog {
    Q_OBJECT

public:
    // Shows what stands in `buffer` (UTF-8, `size` bytes), and on true leaves there the sign that will be carried: 6 to
    // 10 characters of the alphabet of signs. Modal; false when the user cancelled, and the buffer is then as it was.
    // While the dialog is open the buffer holds the sign as typed so far.
    static bool InputSign(QWidget* parent, char* buffer, unsigned int size);

    CBxInputSignDlg(QWidget* parent, char* buffer, unsigned int size);
    ~CBxInputSignDlg() override;

public slots:
    void accept() override;
    void reject() override;

private slots:
    void OnEdit();

private:
    std::unique_ptr<Ui::CBxInputSignDlg> m_pForm;
    char* m_pBuffer;
    unsigned int m_uiSize;
    QByteArray m_Before;  // all bytes of the buffer as the caller gave them
};
