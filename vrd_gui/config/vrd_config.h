// The settings, the remembered state and the folders of one program run.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "base_files.h"
#include "geometry.h"
#include "localization.h"

// Made at the start of the program, filled from the settings file, changed by the window, and saved at the end. It
// belongs to the thread of the window; workers are given copies of the values they need.
//
// Texts are UTF-8, zero-terminated. The static operations return 0 for success and 1 for failure.
struct SBxVRDConfig {
    // A language of the interface.
    struct SLang {
        char m_szAcronym[CBxLocalization::kAcronymBytes] = {};        // "eng"
        char m_szLanguage[CBxLocalization::kLanguageNameBytes] = {};  // its own name for itself: "English"
    };

    static constexpr unsigned int kSignBytes = 11;  // ten characters and the zero

    std::int32_t m_iCompression = 90;  // quality of saved JPEG files, 0 to 100
    bool m_bAskCompression = true;     // ask for it on every save
    std::int32_t m_iMaxThreads = 0;    // processor cores that the engine may use; set by LoadConfiguration
    bool m_bLogEnabled = true;
    bool m_bLogDetailEnabled = false;
    char m_szLatestFolder[kBxPathBytes] = {};  // of the file that was opened or saved last
    char m_szLatestSign[kSignBytes] = {};      // as the user typed it last
    bool m_bCrashedLastTime = true;            // what the file is to say; false only after a clean end
    std::int32_t m_iLangIndex = 0;             // in m_Languages
    CBxRect<std::int32_t> m_WindowRect = {};   // of the main window, in screen pixels
    std::int32_t m_iToolbarArea = 0;           // Qt::ToolBarArea

    bool m_bFirstRun = true;            // there was no settings file
    bool m_bLocalizationValid = false;  // set by the start of the program: the localization file is of our version
    bool m_bCrashedAtLastRun = false;   // set by the start of the program: what the file said

    // Folders end with "/". Set by the start of the program.
    char m_szLocalizationPath[kBxPathBytes] = {};
    char m_szBundleFolder[kBxPathBytes] = {};
    char m_szDataFolder[kBxPathBytes] = {};
    char m_szUserFolder[kBxPathBytes] = {};
    char m_szLogFolder[kBxPathBytes] = {};
    char m_szTemporaryFolder[kBxPathBytes] = {};

    std::vector<std::unique_ptr<SLang>> m_Languages;

    // Fills the stored fields. What the file lacks gets its default, and the result is 1. Without a file this is the
    // first run, and the engine gets all cores; in a later run a missing number of threads is 0.
    static unsigned char LoadConfiguration(SBxVRDConfig& config, const char* path);

    // Writes the stored fields, one after the other; every step leaves a whole file. A value that the file cannot hold
    // (a folder with "=" or a newline, or of more than about 1000 bytes) leaves the line as it was. 1 for a null path
    // only.
    static unsigned char SaveConfiguration(SBxVRDConfig& config, const char* path);

    // Reads the list of languages, at most kMostLanguages. 1 for a null path and for a file that does not say how many
    // there are; the list is empty then.
    static unsigned char LoadLanguages(SBxVRDConfig& config, const char* path);
    static constexpr long kMostLanguages = 1000;

    // Empties the list.
    static void FreeLanguages(SBxVRDConfig& config);
};
