// Asks for the sign.
#pragma once

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
    static bool InputSign(QWidget* parent, char* buffer, unsigned int size);

    CBxInputSignDlg(QWidget* parent, char* buffer, unsigned int size);
    ~CBxInputSignDlg() override;

public slots:
    void accept() override;

private slots:
    void OnEdit();

private:
    std::unique_ptr<Ui::CBxInputSignDlg> m_pForm;
    char* m_pBuffer;
    unsigned int m_uiSize;
};
