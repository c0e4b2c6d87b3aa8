// Asks for the quality of a JPEG file that is about to be saved.
#pragma once

#include <QDialog>
#include <memory>

#include "vrd_config.h"

namespace Ui {
class CBxInputCompressionDlg;
}

class CBxInputCompressionDlg : public QDialog {
    Q_OBJECT

public:
    // On true the quality stands in the settings, and they ask no more if the user said so. Modal; false when the user
    // cancelled, which changes nothing. Neither pointer may be null.
    static bool InputCompression(QWidget* parent, SBxVRDConfig* config);

    CBxInputCompressionDlg(QWidget* parent, SBxVRDConfig* config);
    ~CBxInputCompressionDlg() override;

public slots:
    void accept() override;

private:
    std::unique_ptr<Ui::CBxInputCompressionDlg> m_pForm;
    SBxVRDConfig* m_pConfig;
};
