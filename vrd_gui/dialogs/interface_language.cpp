#include "interface_language.h"

#include <QApplication>
#include <QLibraryInfo>
#include <QTranslator>
#include <array>
#include <cstring>
#include <utility>

namespace {

constexpr char kEnglish[] = "eng";

// Acronyms of the localization file, and what Qt calls the same language. English is built in.
constexpr std::array<std::pair<const char*, const char*>, 5> kQtNames = {
    {{"deu", "de"}, {"fra", "fr"}, {"spa", "es"}, {"ita", "it"}, {"pol", "pl"}}};

// One for the whole program, and gone with it.
QTranslator& QtTexts() {
    constexpr char kName[] = "qtTexts";
    auto* texts = qApp->findChild<QTranslator*>(kName, Qt::FindDirectChildrenOnly);
    if (texts == nullptr) {
        texts = new QTranslator(qApp);
        texts->setObjectName(kName);
    }
    return *texts;
}

}  // namespace

void BX_LoadQtTexts(const char* acronym) {
    QTranslator& texts = QtTexts();
    QApplication::removeTranslator(&texts);
    for (const auto& [ours, theirs] : kQtNames) {
        if (std::strcmp(ours, acronym) == 0 &&
            texts.load(QString("qtbase_") + theirs, QLibraryInfo::path(QLibraryInfo::TranslationsPath))) {
            QApplication::installTranslator(&texts);
        }
    }
}

bool BX_LoadLanguage(const SBxVRDConfig& config, std::int32_t index) {
    const bool known = index >= 0 && static_cast<std::size_t>(index) < config.m_Languages.size();
    const char* const acronym = known ? config.m_Languages[static_cast<std::size_t>(index)]->m_szAcronym : kEnglish;
    // English is what the program speaks without a table.
    const bool isEnglish = std::strcmp(acronym, kEnglish) == 0;
    CBxLocalization::Free();
    const bool loaded = isEnglish || CBxLocalization::ReadLocalization(config.m_szLocalizationPath, acronym) == 0;
    BX_LoadQtTexts(loaded ? acronym : kEnglish);
    return known && loaded;
}
