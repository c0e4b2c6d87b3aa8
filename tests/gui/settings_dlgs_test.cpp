#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QMessageBox>
#include <QPushButton>
#include <QSlider>
#include <QSpinBox>
#include <cstring>

#include "dialog_user.h"
#include "gui_text.h"
#include "input_compression_dlg.h"
#include "interface_language.h"
#include "modal_helper.h"
#include "temporary_folder.h"
#include "vrd_settings.h"

namespace {

constexpr char kTexts[] =
    "[General]\nVersion=\"3.0\"\nEncoding=\"UTF-8\"\nLanguagesNo=\"3\"\n"
    "[0]\nLanguage=\"English\"\nAcronym=\"eng\"\nstring1=\"Options\"\nstring2=\"Enable logging\"\nstring3=\"%d%%\"\n"
    "[1]\nLanguage=\"Deutsch\"\nAcronym=\"deu\"\nstring1=\"Einstellungen\"\nstring2=\"Protokoll\"\nstring3=\"%d %%\"\n"
    "[2]\nLanguage=\"Polski\"\nAcronym=\"pol\"\nstring1=\"Opcje\"\n";

class SettingsDialogs : public testing::Test {
protected:
    SettingsDialogs() {
        WriteBytes(m_Texts, kTexts);
        std::strcpy(m_Config.m_szLocalizationPath, m_Texts.c_str());
        SBxVRDConfig::LoadLanguages(m_Config, m_Texts.c_str());
        m_Config.m_iCompression = 80;
        m_Config.m_iMaxThreads = 3;
    }
    ~SettingsDialogs() override { CBxLocalization::Free(); }

    bool Edit(const std::function<void(CBxVRDSettings&)>& act) {
        CModalActs user;
        user.On<CBxVRDSettings>(act);
        return CBxVRDSettings::EditSettings(&m_Window, &m_Config, [this] { ++m_Changes; });
    }

    CTemporaryFolder m_Folder;
    const std::string m_Texts = m_Folder / "texts.ini";
    SBxVRDConfig m_Config;
    QWidget m_Window;
    int m_Changes = 0;
};

std::string WithoutKeys(QString text) {
    return text.remove('&').toStdString();
}

}  // namespace

TEST_F(SettingsDialogs, QualityIsKeptAndAskedNoMoreOnlyWhenConfirmed) {
    const auto change = [](CBxInputCompressionDlg& dialog) {
        EXPECT_EQ(TextOf(dialog, "labelCompressionPct"), "80%");
        EXPECT_FALSE(Find<QCheckBox>(dialog, "checkDontShow").isChecked());
        Press(dialog, Qt::Key_Right);
        EXPECT_EQ(TextOf(dialog, "labelCompressionPct"), "81%");
        Find<QCheckBox>(dialog, "checkDontShow").click();
    };
    {
        CModalActs user;
        user.On<CBxInputCompressionDlg>([&](CBxInputCompressionDlg& dialog) {
            change(dialog);
            Press(dialog, Qt::Key_Escape);
        });
        EXPECT_FALSE(CBxInputCompressionDlg::InputCompression(&m_Window, &m_Config));
        EXPECT_EQ(m_Config.m_iCompression, 80);
        EXPECT_TRUE(m_Config.m_bAskCompression);
    }
    CModalActs user;
    user.On<CBxInputCompressionDlg>([&](CBxInputCompressionDlg& dialog) {
        change(dialog);
        Press(dialog, Qt::Key_Return);
    });
    EXPECT_TRUE(CBxInputCompressionDlg::InputCompression(&m_Window, &m_Config));
    EXPECT_EQ(m_Config.m_iCompression, 81);
    EXPECT_FALSE(m_Config.m_bAskCompression);
}

TEST_F(SettingsDialogs, QualityIsAskedAgainUnlessTheUserSaysOtherwise) {
    CModalActs user;
    user.On<CBxInputCompressionDlg>([](CBxInputCompressionDlg& dialog) { Press(dialog, Qt::Key_Return); });
    EXPECT_TRUE(CBxInputCompressionDlg::InputCompression(&m_Window, &m_Config));
    EXPECT_TRUE(m_Config.m_bAskCompression);
}

TEST_F(SettingsDialogs, EveryFieldComesBackAsItWasLeft) {
    m_Config.m_bLogDetailEnabled = true;
    EXPECT_TRUE(Edit([](CBxVRDSettings& dialog) {
        EXPECT_EQ(Find<QSpinBox>(dialog, "spinBox").value(), 3);
        EXPECT_EQ(TextOf(dialog, "labelCompressionPct"), "80%");
        Find<QSpinBox>(dialog, "spinBox").setValue(2);
        Find<QSlider>(dialog, "sliderCompression").setValue(66);
        Find<QCheckBox>(dialog, "checkBoxAskCompression").click();
        Find<QCheckBox>(dialog, "checkBoxEnableLog").click();
        Find<QDialogButtonBox>(dialog, "buttonBox").button(QDialogButtonBox::Ok)->click();
    }));
    EXPECT_EQ(m_Config.m_iMaxThreads, 2);
    EXPECT_EQ(m_Config.m_iCompression, 66);
    EXPECT_FALSE(m_Config.m_bAskCompression);
    EXPECT_FALSE(m_Config.m_bLogEnabled);
    EXPECT_TRUE(m_Config.m_bLogDetailEnabled);
    EXPECT_EQ(m_Config.m_iLangIndex, 0);
    EXPECT_EQ(m_Changes, 0);
}

TEST_F(SettingsDialogs, NumbersThatTheFieldsCannotShowStayUntilAnotherIsChosen) {
    const auto confirm = [](CBxVRDSettings& dialog) {
        Find<QDialogButtonBox>(dialog, "buttonBox").button(QDialogButtonBox::Ok)->click();
    };
    m_Config.m_iMaxThreads = 0;
    m_Config.m_iCompression = 0;
    EXPECT_TRUE(Edit(confirm));
    EXPECT_EQ(m_Config.m_iMaxThreads, 0);
    EXPECT_EQ(m_Config.m_iCompression, 0);
    EXPECT_TRUE(Edit([&](CBxVRDSettings& dialog) {
        Find<QSpinBox>(dialog, "spinBox").setValue(2);
        Find<QSlider>(dialog, "sliderCompression").setValue(66);
        confirm(dialog);
    }));
    EXPECT_EQ(m_Config.m_iMaxThreads, 2);
    EXPECT_EQ(m_Config.m_iCompression, 66);
}

TEST_F(SettingsDialogs, ACancelLeavesTheRecordAlone) {
    EXPECT_FALSE(Edit([](CBxVRDSettings& dialog) {
        Find<QSpinBox>(dialog, "spinBox").setValue(2);
        Find<QSlider>(dialog, "sliderCompression").setValue(66);
        Find<QCheckBox>(dialog, "checkBoxEnableLog").click();
        Press(dialog, Qt::Key_Escape);
    }));
    EXPECT_EQ(m_Config.m_iMaxThreads, 3);
    EXPECT_EQ(m_Config.m_iCompression, 80);
    EXPECT_TRUE(m_Config.m_bLogEnabled);
}

TEST_F(SettingsDialogs, SwitchTheLanguageAtOnceAndBackOnCancel) {
    EXPECT_FALSE(Edit([this](CBxVRDSettings& dialog) {
        auto& languages = Find<QComboBox>(dialog, "comboLanguages");
        languages.setCurrentIndex(languages.findText("Deutsch"));
        EXPECT_EQ(dialog.windowTitle(), "Einstellungen");
        EXPECT_EQ(WithoutKeys(Find<QCheckBox>(dialog, "checkBoxEnableLog").text()), "Protokoll");
        EXPECT_EQ(TextOf(dialog, "labelCompressionPct"), "80 %");
        EXPECT_EQ(m_Changes, 1);
        languages.setCurrentIndex(languages.findText("English"));
        EXPECT_EQ(dialog.windowTitle(), "Options");
        languages.setCurrentIndex(languages.findText("Polski"));
        Press(dialog, Qt::Key_Escape);
    }));
    EXPECT_EQ(BX_Text("Options"), "Options");
    EXPECT_EQ(m_Changes, 4);
    EXPECT_EQ(m_Config.m_iLangIndex, 0);
}

// Messages and file dialogs have buttons of Qt, which would stay English in the middle of everything else.
TEST_F(SettingsDialogs, TakeTheButtonsOfQtAlong) {
    const auto yes = [] {
        return QMessageBox(QMessageBox::Question, "", "", QMessageBox::Yes).button(QMessageBox::Yes)->text();
    };
    EXPECT_EQ(yes(), "&Yes");
    EXPECT_TRUE(BX_LoadLanguage(m_Config, 1));
    EXPECT_EQ(yes(), "&Ja");
    EXPECT_TRUE(BX_LoadLanguage(m_Config, 0));
    EXPECT_EQ(yes(), "&Yes");
    EXPECT_FALSE(BX_LoadLanguage(m_Config, 9));
}

TEST_F(SettingsDialogs, KeepTheLanguageThatWasConfirmed) {
    EXPECT_TRUE(Edit([](CBxVRDSettings& dialog) {
        Find<QComboBox>(dialog, "comboLanguages").setCurrentIndex(2);
        dialog.accept();
    }));
    EXPECT_EQ(m_Config.m_iLangIndex, 2);
    EXPECT_EQ(BX_Text("Options"), "Opcje");
}

// A language list that went away, or an index of an older file, must not cost the other settings.
TEST_F(SettingsDialogs, WorkWithoutLanguagesAndWithNumbersOutOfRange) {
    SBxVRDConfig::FreeLanguages(m_Config);
    m_Config.m_iLangIndex = 7;
    m_Config.m_iMaxThreads = 40;
    m_Config.m_iCompression = 0;
    EXPECT_TRUE(Edit([](CBxVRDSettings& dialog) {
        EXPECT_FALSE(Find<QComboBox>(dialog, "comboLanguages").isEnabled());
        EXPECT_EQ(Find<QSpinBox>(dialog, "spinBox").value(), 40);
        dialog.accept();
    }));
    EXPECT_EQ(m_Config.m_iLangIndex, 7);
    EXPECT_EQ(m_Config.m_iMaxThreads, 40);
    EXPECT_EQ(m_Config.m_iCompression, 0);
}

TEST_F(SettingsDialogs, OpenTheLogOnTheDesktopWhateverTheFolderIsCalled) {
    std::strcpy(m_Config.m_szLogFolder, "/home/a b#c%41?/log/");
    CDesktop desktop;
    EXPECT_TRUE(Edit([](CBxVRDSettings& dialog) {
        Find<QPushButton>(dialog, "buttonOpenLogFolder").click();
        Find<QPushButton>(dialog, "buttonOpenLogFile").click();
        dialog.accept();
    }));
    ASSERT_EQ(desktop.m_Opened.size(), 2);
    EXPECT_EQ(desktop.m_Opened[0].toString(QUrl::FullyEncoded).toStdString(), "file:////home/a%20b%23c%2541%3F/log/");
    EXPECT_EQ(desktop.m_Opened[1].toLocalFile().toStdString(), "//home/a b#c%41?/log/vrd.log");
}

// Without the fixture, whose folder a program that is stopped would leave behind.
TEST(SettingsDialog, StopsTheProgramWithoutParentOrRecord) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    SBxVRDConfig config;
    QWidget window;
    EXPECT_DEATH(CBxVRDSettings(nullptr, &config, {}), "without its parent");
    EXPECT_DEATH(CBxInputCompressionDlg(&window, nullptr), "without its parent");
}
