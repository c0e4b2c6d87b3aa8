// The localization file against the program: a text that the file lacks stays English in the middle of another
// language, and nobody who writes the text sees it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "conf_parser.h"
#include "localization.h"
#include "source_texts.h"

namespace {

using testing::IsEmpty;

const std::string kSource = VERIDANE_SOURCE;
const std::string kFile = kSource + "/data/Veridane.app/Veridane_loc.ini";
constexpr unsigned int kTextBytes = 1024;

std::string Value(const std::string& section, const std::string& key) {
    char value[kTextBytes] = {};
    CBxConfParser::GetPrivateProfileStringA(section.c_str(), key.c_str(), "", value, sizeof(value), kFile.c_str(),
                                            "UTF-8");
    return value;
}

// The texts of a language, by their numbers from 1, up to the first that is missing.
std::vector<std::string> ReadTexts(int section) {
    std::vector<std::string> texts;
    for (std::string text = Value(std::to_string(section), "string1"); !text.empty();
         text = Value(std::to_string(section), "string" + std::to_string(texts.size() + 1))) {
        texts.push_back(text);
    }
    return texts;
}

// "%d%%, %s" -> "d%s": what must agree between a text and its translation.
std::string Places(const std::string& text) {
    std::string places;
    for (std::size_t i = 0; i + 1 < text.size(); ++i) {
        if (text[i] == '%') {
            places += text[++i];
        }
    }
    return places;
}

class Translations : public testing::Test {
protected:
    static void SetUpTestSuite() {
        s_Languages.clear();
        const int count = std::stoi(Value("General", "LanguagesNo"));
        for (int section = 0; section < count; ++section) {
            s_Languages.push_back(ReadTexts(section));
        }
        s_Sources = BX_ReadSourceTexts({kSource + "/bx", kSource + "/vrd_runs", kSource + "/vrd_gui"});
    }

    // Calls `look` with the number of the language, the English text and the translation.
    template <typename Look>
    static void ForEachTranslation(Look look) {
        for (std::size_t language = 1; language < s_Languages.size(); ++language) {
            const std::size_t count = std::min(s_Languages[0].size(), s_Languages[language].size());
            for (std::size_t i = 0; i < count; ++i) {
                SCOPED_TRACE(Value(std::to_string(language), "Acronym") + ": " + s_Languages[0][i]);
                look(s_Languages[0][i], s_Languages[language][i]);
            }
        }
    }

    static std::vector<std::vector<std::string>> s_Languages;
    static SBxSourceTexts s_Sources;
};

std::vector<std::vector<std::string>> Translations::s_Languages;
SBxSourceTexts Translations::s_Sources;

}  // namespace

TEST_F(Translations, StandInTheFileForEveryTextOfTheProgram) {
    const std::set<std::string> known(s_Languages[0].begin(), s_Languages[0].end());
    std::vector<std::string> missing;
    for (const auto& texts : {s_Sources.translated, s_Sources.reasons}) {
        std::set_difference(texts.begin(), texts.end(), known.begin(), known.end(), std::back_inserter(missing));
    }
    EXPECT_GT(s_Sources.translated.size(), 40u);
    EXPECT_GT(s_Sources.reasons.size(), 10u);
    EXPECT_THAT(missing, IsEmpty());
}

TEST_F(Translations, OfTextsThatTheProgramNoLongerHasAreGone) {
    std::set<std::string> spoken = s_Sources.all;
    std::transform(s_Sources.all.begin(), s_Sources.all.end(), std::inserter(spoken, spoken.end()), BX_HeadOfReason);
    std::vector<std::string> superfluous;
    std::copy_if(s_Languages[0].begin(), s_Languages[0].end(), std::back_inserter(superfluous),
                 [&spoken](const std::string& text) { return spoken.count(text) == 0; });
    EXPECT_THAT(superfluous, IsEmpty());
    const std::set<std::string> unique(s_Languages[0].begin(), s_Languages[0].end());
    EXPECT_EQ(unique.size(), s_Languages[0].size());
}

// The number is the key: one line too few moves every later text of that language to the wrong place.
TEST_F(Translations, HaveTheSameNumbersInEveryLanguage) {
    ASSERT_GE(s_Languages.size(), 6u);
    for (const auto& language : s_Languages) {
        EXPECT_EQ(language.size(), s_Languages[0].size());
    }
}

TEST_F(Translations, KeepPlacesForValuesLineEndsAndKeys) {
    ForEachTranslation([](const std::string& english, const std::string& translation) {
        EXPECT_EQ(Places(translation), Places(english));
        EXPECT_EQ(std::count(translation.begin(), translation.end(), '&'),
                  std::count(english.begin(), english.end(), '&'));
        EXPECT_EQ(translation.front() == ' ', english.front() == ' ');
    });
}

TEST_F(Translations, AreReadByTheProgramAsTheyStand) {
    EXPECT_GE(std::stod(Value("General", "Version")), 3.0);
    for (std::size_t language = 1; language < s_Languages.size(); ++language) {
        const std::string acronym = Value(std::to_string(language), "Acronym");
        ASSERT_EQ(CBxLocalization::ReadLocalization(kFile.c_str(), acronym.c_str()), 0) << acronym;
        for (std::size_t i = 0; i < s_Languages[0].size(); ++i) {
            EXPECT_EQ(CBxLocalization::Translate(s_Languages[0][i].c_str()), s_Languages[language][i]) << acronym;
        }
    }
    CBxLocalization::Free();
}

TEST(SourceTexts, AreFoundWhereTheyAreTranslatedAndNotInComments) {
    SBxSourceTexts texts;
    BX_AddSourceTexts(
        "// BX_Text(\"no\") isn't\n"
        "char quote = '\"'; int big = 1'000; /* Translate(\"no\") */\n"
        "a(BX_Text( \"One \\\"two\\\" \"\n   \"three\"), \"plain\"); BX_Text(name, \"other\"); My_BX_Text(\"not\");\n"
        "b(CBxLocalization::Translate(\"four\")); r.SetReason(\"five: %s\", a); r.SetReason(\"%d six\", b);",
        texts);
    EXPECT_THAT(texts.translated, testing::ElementsAre("One \"two\" three", "four"));
    EXPECT_THAT(texts.reasons, testing::ElementsAre("five"));
    EXPECT_THAT(texts.all, testing::IsSupersetOf({"One \"two\" three", "four", "not", "other", "plain"}));
    EXPECT_EQ(texts.all.count("no"), 0u);
    BX_AddFormTexts("<string>A &amp;&lt;b&gt;</string><string notr=\"true\">no</string>", texts);
    EXPECT_EQ(texts.translated.count("A &<b>"), 1u);
    EXPECT_EQ(texts.translated.count("no"), 0u);
}
