#include "vrd_settings.h"

#include <QMessageBox>
#include <QPushButton>
#include <algorithm>
#include <utility>

#include "dialog_form.h"
#include "gui_text.h"
#include "interface_language.h"
#include "ui_vrd_settings.h"

namespace {

// The search cuts a larger number to this one.
constexpr int kMostUsefulCores = 12;

// A number from the settings file that the field cannot show stays as it is unless the user chooses another one.
template <typename Field>
void TakeChoice(std::int32_t& stored, const Field& field) {
    if (field.value() != std::clamp<int>(stored, field.minimum(), field.maximum())) {
        stored = field.value();
    }
}

}  // namespace

bool CBxVRDSettings::EditSettings(QWidget* parent, SBxVRDConfig* config, const std::function<void()>& languageChanged) {
    return CBxVRDSettings(parent, config, languageChanged).exec() == Accepted;
}

CBxVRDSettings::CBxVRDSettings(QWidget* parent, SBxVRDConfig* config, std::function<void()> languageChanged)
    : QDialog(parent),
      m_pForm(std::make_unique<Ui::CBxSettingsDlg>()),
      m_pConfig(config),
      m_LanguageChanged(std::move(languageChanged)) {
    BX_Require(parent != nullptr && config != nullptr);
    m_iShownLanguage = config->m_iLangIndex;
    m_pForm->setupUi(this);
    BX_PrepareDialog(*this);
    BX_MakeQuiet(*m_pForm->labelCoresHint);
    BX_FollowSlider(*m_pForm->sliderCompression, *m_pForm->labelCompressionPct);
    Fill();
    ShowTexts();
    connect(m_pForm->comboLanguages, &QComboBox::currentIndexChanged, this, &CBxVRDSettings::OnLanguage);
    connect(m_pForm->buttonOpenLogFolder, &QPushButton::clicked, this,
            [this] { BX_OpenOnDesktop(this, QString::fromUtf8(m_pConfig->m_szLogFolder)); });
    connect(m_pForm->buttonOpenLogFile, &QPushButton::clicked, this,
            [this] { BX_OpenOnDesktop(this, QString::fromUtf8(m_pConfig->m_szLogFolder) + "vrd.log"); });
    connect(m_pForm->buttonBox, &QDialogButtonBox::accepted, this, &CBxVRDSettings::accept);
    connect(m_pForm->buttonBox, &QDialogButtonBox::rejected, this, &CBxVRDSettings::reject);
}

CBxVRDSettings::~CBxVRDSettings() = default;

void CBxVRDSettings::Fill() {
    for (const auto& language : m_pConfig->m_Languages) {
        m_pForm->comboLanguages->addItem(QString::fromUtf8(language->m_szLanguage));
    }
    m_pForm->comboLanguages->setEnabled(m_pForm->comboLanguages->count() > 0);
    m_pForm->comboLanguages->setCurrentIndex(m_pConfig->m_iLangIndex);
    // A larger number that was stored stays possible: it is the user's.
    m_pForm->spinBox->setMaximum(std::max(kMostUsefulCores, m_pConfig->m_iMaxThreads));
    m_pForm->spinBox->setValue(m_pConfig->m_iMaxThreads);
    m_pForm->sliderCompression->setValue(m_pConfig->m_iCompression);
    m_pForm->checkBoxAskCompression->setChecked(m_pConfig->m_bAskCompression);
    m_pForm->checkBoxEnableLog->setChecked(m_pConfig->m_bLogEnabled);
}

void CBxVRDSettings::ShowTexts() {
    // Some styles put icons on these buttons, and on no others of ours.
    for (const auto& [which, text] :
         {std::pair(QDialogButtonBox::Ok, BX_Text("OK")), std::pair(QDialogButtonBox::Cancel, BX_Text("Cancel"))}) {
        QPushButton* const button = m_pForm->buttonBox->button(which);
        button->setText(text);
        button->setIcon(QIcon());
    }
}

void CBxVRDSettings::ShowLanguage(int index) {
    m_iShownLanguage = index;
    const bool loaded = BX_LoadLanguage(*m_pConfig, index);
    m_pForm->retranslateUi(this);
    BX_TranslateForm(*this);
    BX_ShowPercentage(*m_pForm->labelCompressionPct, m_pForm->sliderCompression->value());
    ShowTexts();
    if (m_LanguageChanged) {
        m_LanguageChanged();
    }
    if (!loaded) {
        QMessageBox::warning(this, BX_Text("Warning"), BX_Text("The texts of this language cannot be read."));
    }
}

void CBxVRDSettings::OnLanguage(int index) {
    if (index >= 0 && index != m_iShownLanguage) {
        ShowLanguage(index);
    }
}

void CBxVRDSettings::accept() {
    if (m_pForm->comboLanguages->currentIndex() >= 0) {
        m_pConfig->m_iLangIndex = m_pForm->comboLanguages->currentIndex();
    }
    TakeChoice(m_pConfig->m_iMaxThreads, *m_pForm->spinBox);
    TakeChoice(m_pConfig->m_iCompression, *m_pForm->sliderCompression);
    m_pConfig->m_bAskCompression = m_pForm->checkBoxAskCompression->isChecked();
    m_pConfig->m_bLogEnabled = m_pForm->checkBoxEnableLog->isChecked();
    QDialog::accept();
}

void CBxVRDSettings::reject() {
    QDialog::reject();
    if (m_iShownLanguage != m_pConfig->m_iLangIndex) {
        ShowLanguage(m_pConfig->m_iLangIndex);
    }
}
