// The window in all its languages.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QMenu>
#include <QMenuBar>
#include <cstring>

#include "interface_language.h"
#include "veridane_gui.h"

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

    // Calls `look` with the window in each language.
    template <typename Look>
    void ForEachLanguage(Look look) {
        for (std::size_t i = 0; i < m_Config.m_Languages.size(); ++i) {
            m_Config.m_iLangIndex = static_cast<std::int32_t>(i);
            ASSERT_TRUE(BX_LoadLanguage(m_Config, m_Config.m_iLangIndex));
            SCOPED_TRACE(m_Config.m_Languages[i]->m_szLanguage);
            const CBxVeridaneGui window(nullptr, &m_Config);
            look(window);
        }
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

}  // namespace

// Of two entries with one letter the second is out of reach of the keyboard.
TEST_F(Languages, GiveEachEntryOfAMenuALetterOfItsOwn) {
    ASSERT_EQ(m_Config.m_Languages.size(), 6u);
    ForEachLanguage([](const CBxVeridaneGui& window) {
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
    ForEachLanguage([&](const CBxVeridaneGui& window) {
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
