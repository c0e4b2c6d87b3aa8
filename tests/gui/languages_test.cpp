// The window in all its languages.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <cstring>
#include <initializer_list>

#include "about_dlg.h"
#include "elided_label.h"
#include "input_compression_dlg.h"
#include "input_sign_dlg.h"
#include "interface_language.h"
#include "progress_dlgs.h"
#include "result_dlgs.h"
#include "veridane_gui.h"
#include "vrd_settings.h"

namespace {

class Languages : public testing::Test {
protected:
    Languages() {
        std::strcpy(m_Config.m_szBundleFolder, VERIDANE_BUNDLE);
        std::strcpy(m_Config.m_szLocalizationPath, VERIDANE_BUNDLE "Veridane_loc.ini");
        SBxVRDConfig::LoadLanguages(m_Config, m_Config.m_szLocalizationPath);
        m_Config.m_WindowRect = {0, 0, 900, 600};
    }
    ~Languages() override { BX_LoadLanguage(m_Config, 0); }

    // Calls `look` in each language.
    template <typename Look>
    void ForEachLanguage(Look look) {
        for (std::size_t i = 0; i < m_Config.m_Languages.size(); ++i) {
            m_Config.m_iLangIndex = static_cast<std::int32_t>(i);
            ASSERT_TRUE(BX_LoadLanguage(m_Config, m_Config.m_iLangIndex));
            SCOPED_TRACE(m_Config.m_Languages[i]->m_szLanguage);
            look();
        }
    }

    // Calls `look` with the window in each language.
    template <typename Look>
    void ForEachWindow(Look look) {
        ForEachLanguage([&] { look(CBxVeridaneGui(nullptr, &m_Config)); });
    }

    SBxVRDConfig m_Config;
};

QChar KeyOf(const QAction& action) {
    const qsizetype mark = action.text().indexOf('&');
    return mark < 0 ? QChar() : action.text().at(mark + 1).toLower();
}

void ExpectKeysDiffer(const QList<QAction*>& actions) {
    QSet<QChar> keys;
    for (const QAction* action : actions) {
        if (!action->isSeparator()) {
            EXPECT_FALSE(KeyOf(*action).isNull()) << action->text().toStdString();
            EXPECT_FALSE(keys.contains(KeyOf(*action))) << action->text().toStdString();
            keys.insert(KeyOf(*action));
        }
    }
}

// Whether all that the widget has to say fits into it.
bool HasRoom(const QWidget& widget) {
    if (dynamic_cast<const CBxElidedLabel*>(&widget) != nullptr) {
        return true;
    }
    const auto* const label = qobject_cast<const QLabel*>(&widget);
    if (label != nullptr && label->wordWrap()) {
        return label->height() >= label->heightForWidth(label->width());
    }
    return widget.width() >= widget.sizeHint().width() && widget.height() >= widget.sizeHint().height();
}

void ExpectRoomForTexts(QDialog& dialog) {
    dialog.show();
    QApplication::processEvents();
    int texts = 0;
    for (const QWidget* widget : dialog.findChildren<QWidget*>()) {
        const auto* const label = qobject_cast<const QLabel*>(widget);
        const auto* const button = qobject_cast<const QAbstractButton*>(widget);
        if (widget->isVisible() && (label != nullptr || button != nullptr)) {
            EXPECT_TRUE(HasRoom(*widget)) << (label != nullptr ? label->text() : button->text()).toStdString();
            ++texts;
        }
    }
    EXPECT_GE(texts, 2);
}

}  // namespace

TEST_F(Languages, FitIntoTheDialogs) {
    QWidget window;
    char sign[12] = "";
    ForEachLanguage([&] {
        CBxInputSignDlg input(&window, sign, sizeof(sign));
        CBxInputCompressionDlg quality(&window, &m_Config);
        CBxVRDSettings settings(&window, &m_Config, {});
        CBxSimpleProgressDlg simple(&window);
        CBxBatchProgressDlg batch(&window, "");
        CBxResultDlg result(&window, "<b>title</b>", "sign", "detail");
        CBxBatchDetectResultDlg batchResult(&window, "message", "/a/log", "detail");
        CBxAboutDlg about(&window);
        for (QDialog* dialog : std::initializer_list<QDialog*>{&input, &quality, &settings, &simple, &batch, &result,
                                                               &batchResult, &about}) {
            ExpectRoomForTexts(*dialog);
        }
    });
}

// A dialog that keeps the size of its first language cuts the longer texts of the next.
TEST_F(Languages, FitIntoTheSettingsWhileTheyAreSwitched) {
    QWidget window;
    CBxVRDSettings settings(&window, &m_Config, {});
    settings.show();
    auto* const languages = settings.findChild<QComboBox*>("comboLanguages");
    for (const int index : {1, 2, 3, 4, 5, 0}) {
        languages->setCurrentIndex(index);
        ExpectRoomForTexts(settings);
    }
}

// Of two entries with one letter the second is out of reach of the keyboard.
TEST_F(Languages, GiveEachEntryOfAMenuALetterOfItsOwn) {
    ASSERT_EQ(m_Config.m_Languages.size(), 6u);
    ForEachWindow([](const CBxVeridaneGui& window) {
        const QList<QAction*> menus = window.menuBar()->actions();
        EXPECT_GE(menus.size(), 4);
        ExpectKeysDiffer(menus);
        for (const QAction* menu : menus) {
            EXPECT_GE(menu->menu()->actions().size(), 3);
            ExpectKeysDiffer(menu->menu()->actions());
        }
    });
}

// An entry that nobody translated shows its English status tip.
TEST_F(Languages, LeaveNoEntryInEnglish) {
    QSet<QString> english;
    ForEachWindow([&](const CBxVeridaneGui& window) {
        for (const QAction* action : window.findChildren<QAction*>()) {
            if (action->statusTip().isEmpty()) {
                continue;
            }
            if (m_Config.m_iLangIndex == 0) {
                english.insert(action->statusTip());
            } else {
                EXPECT_FALSE(english.contains(action->statusTip())) << action->statusTip().toStdString();
            }
        }
    });
    EXPECT_GE(english.size(), 15);
}
