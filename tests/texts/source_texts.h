// The texts that stand in the source files of the program.
#pragma once

#include <filesystem>
#include <set>
#include <string>
#include <vector>

struct SBxSourceTexts {
    std::set<std::string> translated;  // what is handed to the translating functions as it stands, and texts of forms
    std::set<std::string> reasons;     // why a file operation failed: what stands before values and the system's words
    std::set<std::string> all;         // every text, neighbouring pieces joined as the compiler does
};

// The part of a reason that is translated: up to the first ": " or " (".
std::string BX_HeadOfReason(const std::string& reason);

// Adds the texts of one C++ source.
void BX_AddSourceTexts(const std::string& source, SBxSourceTexts& texts);

// Adds the texts of one form, but for those that are marked as not to be translated.
void BX_AddFormTexts(const std::string& form, SBxSourceTexts& texts);

// The texts of all sources and forms below the folders.
SBxSourceTexts BX_ReadSourceTexts(const std::vector<std::filesystem::path>& folders);
