// The texts of the interface in the language of the user.
#pragma once

#include "class_log.h"

// Texts are written in English in the code and looked up here where they are shown. One table serves the whole process.
//
// The localization file has the form that CBxConfParser reads:
//
//   [General]                     Version, Encoding (code page of the file), LanguagesNo (number of the sections below)
//   [0], [1], ...                 Language (its own name), Acronym, string1, string2, ... numbered without gaps
//
// The section with the acronym "eng" is the base: text N of another section translates text N of the base.
//
// All operations may be called from any thread. The texts that Translate returns stay valid until Free, Finish or the
// next ReadLocalization, which therefore run only while nobody shows translated texts.
class CBxLocalization : public CBxClassLog<CBxLocalization> {
public:
    static constexpr unsigned int kLanguageNameBytes = 100;
    static constexpr unsigned int kAcronymBytes = 10;

    // English, without a table. `logUntranslated`: see Translate.
    static void Init(bool logUntranslated);

    // Builds the table of the language with the acronym. 1, and all texts stay English, when the file has fewer than
    // two languages, no English one or no other one with the acronym.
    static unsigned char ReadLocalization(const char* path, const char* acronym);

    // The translation, which may be empty; the text itself when there is none; null for null.
    //
    // When untranslated texts are logged, a text that the table does not know is reported on every call, and once it is
    // appended to all sections of the localization file, for the translators. A text that the file cannot hold is not.
    static const char* Translate(const char* text);

    // Drops the table; texts are English again.
    static void Free();
    // The same, at the end of the program.
    static void Finish();

    // Name and acronym of the language that is shown, terminated, as far as they fit. 1 for null or a size of 0.
    static unsigned char GetLanguage(char* name, unsigned int size);
    static unsigned char GetAcronym(char* acronym, unsigned int size);
};

// Marks a text that is translated later, so that the check of the localization file sees it.
constexpr const char* BX_MarkText(const char* english) {
    return english;
}
