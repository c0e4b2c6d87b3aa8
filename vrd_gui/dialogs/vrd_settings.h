// The settings that a user changes.
#pragma once

#include <QDialog>
#include <functional>
#include <memory>

#include "vrd_config.h"

namespace Ui {
class CBxSettingsDlg;
}

class CBxVRDSettings : public QDialog {
    Q_OBJECT

public:
    // Edits the record; a cancelled dialog leaves it as it was, the language included. `languageChanged` is called
    // whenever another language was chosen and its texts are loaded, also when a cancel goes back to the old one.
    // Modal; true when the user confirmed. Neither pointer may be null.
    static bool EditSettings(QWidget* parent, SBxVRDConfig* config, const std::function<void()>& languageChanged);

    CBxVRDSettings(QWidget* parent, SBxVRDConfig* config, std::function<void()> languageChanged);
    ~CBxVRDSettings() override;

public slots:
    void accept() override;
    void reject() override;

private:
    void Fill();
    // The texts that do not stand in the form file.
    void ShowTexts();
    void OnLanguage(int index);
    void ShowLanguage(int index);

    std::unique_ptr<Ui::CBxSettingsDlg> m_pForm;
    SBxVRDConfig* m_pConfig;
    std::function<void()> m_LanguageChanged;
    int m_iShownLanguage;  // index in the list
};
