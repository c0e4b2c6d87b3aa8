#include "localization.h"

#include <stdlib.h>
#include <string.h>

#include <cstdint>
#include <cstdio>
#include <map>
#include <mutex>
#include <new>
#include <set>
#include <string>

#include "base_files.h"
#include "conf_parser.h"
#include "conf_text.h"
#include "encodings.h"

namespace {

constexpr char kBaseAcronym[] = "eng";
constexpr char kDefaultEncoding[] = "UTF-8";
constexpr unsigned int kEncodingBytes = 100;
// Sections are looked through one by one, so that a number by mistake must not keep the program busy for hours.
constexpr long kMostLanguages = 1000;
// Texts without a translation that are remembered. They come from the code, which has far fewer.
constexpr std::size_t kMostUnknownTexts = 20000;

struct STable {
    char szLanguage[CBxLocalization::kLanguageNameBytes] = "English";
    char szAcronym[CBxLocalization::kAcronymBytes] = "eng";
    std::string path;
    bool valid = false;
    bool logUntranslated = false;
    std::map<std::string, std::string, std::less<>> keyOfText;  // an empty key: the text is known to have none
    std::map<std::string, std::string, std::less<>> translationOfKey;
    std::set<std::string, std::less<>> reported;
    std::size_t unknownTexts = 0;
    std::uint32_t nextIndex = 1;  // one past the last text of the base

    void Clear() {
        valid = false;
        keyOfText.clear();
        translationOfKey.clear();
        reported.clear();
        unknownTexts = 0;
    }
};

using CSectionValues = std::map<std::string, std::string, std::less<>>;

// Guards the table.
std::mutex g_Mutex;

STable& Table() {
    static STable table;
    return table;
}

// What the file says about itself.
struct SFileFacts {
    char szEncoding[kEncodingBytes] = {};
    long languages = 0;

    // Null: the code page of the system.
    const char* CodePage() const { return szEncoding[0] == '\0' ? nullptr : szEncoding; }
};

// False when the number of languages is no number.
bool ReadFacts(const char* path, SFileFacts& facts) {
    CBxConfParser::GetPrivateProfileStringA("General", "Encoding", kDefaultEncoding, facts.szEncoding,
                                            sizeof(facts.szEncoding), path, nullptr);
    char number[kEncodingBytes] = {};
    CBxConfParser::GetPrivateProfileStringA("General", "LanguagesNo", "1", number, sizeof(number), path,
                                            facts.CodePage());
    char* end = nullptr;
    facts.languages = strtol(number, &end, 10);
    return end != number && facts.languages <= kMostLanguages;
}

// The first value of each key.
CSectionValues ReadSection(SBxConfBytes text, long section, const char* codePage) {
    char name[32];
    std::snprintf(name, sizeof(name), "%ld", section);
    CSectionValues values;
    CBxConfSection lines(text, name, codePage);
    while (lines.Next()) {
        values.emplace(lines.Key(), lines.Value());
    }
    return values;
}

std::string ValueOf(const CSectionValues& values, const char* key) {
    const auto found = values.find(key);
    return found == values.end() ? std::string() : found->second;
}

std::string TextKey(std::uint32_t index) {
    return "string" + std::to_string(index);
}

// The section of the base and that of the wanted language. False when one is missing.
bool FindSections(SBxConfBytes text, const SFileFacts& facts, const char* codePage, const std::string& acronym,
                  CSectionValues& base, CSectionValues& target) {
    bool hasBase = false;
    bool hasTarget = false;
    for (long section = 0; section < facts.languages && !(hasBase && hasTarget); ++section) {
        CSectionValues values = ReadSection(text, section, codePage);
        const std::string found = ValueOf(values, "Acronym");
        if (!hasBase && found == kBaseAcronym) {
            base.swap(values);
            hasBase = true;
        } else if (!hasTarget && found == acronym) {
            target.swap(values);
            hasTarget = true;
        }
    }
    return hasBase && hasTarget;
}

// Calls `use` with the key and the text of number 1, 2, ... up to the first gap, whose number is returned.
template <typename Use>
std::uint32_t ForEachText(const CSectionValues& values, Use use) {
    for (std::uint32_t index = 1;; ++index) {
        const auto found = values.find(TextKey(index));
        if (found == values.end()) {
            return index;
        }
        use(found->first, found->second);
    }
}

unsigned char Build(STable& table, const char* path, const char* acronym) {
    table.path = path;
    SFileFacts facts;
    CBxHeapArray<char> bytes;
    if (!ReadFacts(path, facts) || facts.languages < 2 || BX_ReadWholeFile(path, kMostConfBytes, bytes) != 0) {
        return 1;
    }
    char system[kEncodingBytes] = {};
    BX_GetCodePage(system, sizeof(system));
    const char* const codePage = facts.CodePage() == nullptr ? system : facts.CodePage();
    CSectionValues base;
    CSectionValues target;
    if (!FindSections({bytes.Data(), bytes.Size()}, facts, codePage, acronym, base, target)) {
        return 1;
    }
    std::snprintf(table.szAcronym, sizeof(table.szAcronym), "%s", ValueOf(target, "Acronym").c_str());
    std::snprintf(table.szLanguage, sizeof(table.szLanguage), "%s", ValueOf(target, "Language").c_str());
    table.nextIndex =
        ForEachText(base, [&table](const std::string& key, const std::string& text) { table.keyOfText[text] = key; });
    ForEachText(target,
                [&table](const std::string& key, const std::string& text) { table.translationOfKey[key] = text; });
    table.valid = true;
    return 0;
}

// Appends the text to every language of the file, so that the translators find it.
void AppendForTranslators(STable& table, const char* text) {
    SFileFacts facts;
    if (!ReadFacts(table.path.c_str(), facts)) {
        return;
    }
    const std::string key = TextKey(table.nextIndex);
    bool anyWritten = false;
    for (long section = 0; section < facts.languages; ++section) {
        char name[32];
        std::snprintf(name, sizeof(name), "%ld", section);
        if (CBxConfParser::WritePrivateProfileStringA(name, key.c_str(), text, table.path.c_str(), facts.CodePage()) ==
            0) {
            anyWritten = true;
        }
    }
    // A number that nobody has would hide all texts behind it.
    table.nextIndex += anyWritten ? 1 : 0;
}

void ReportUntranslated(STable& table, const char* text) {
    CBxLocalization::LogInfoDetail("CBxLocalization: Untranslated string found (%s)", text);
    if (table.reported.size() < kMostUnknownTexts && table.reported.emplace(text).second) {
        AppendForTranslators(table, text);
    }
}

const char* TranslateIn(STable& table, const char* text) {
    auto found = table.keyOfText.find(text);
    if (found == table.keyOfText.end() && table.unknownTexts < kMostUnknownTexts) {
        found = table.keyOfText.emplace(text, std::string()).first;
        ++table.unknownTexts;
    }
    if (found != table.keyOfText.end() && !found->second.empty()) {
        const auto translation = table.translationOfKey.find(found->second);
        return translation == table.translationOfKey.end() ? text : translation->second.c_str();
    }
    if (table.logUntranslated) {
        ReportUntranslated(table, text);
    }
    return text;
}

unsigned char CopyOut(char* output, unsigned int size, const char* text) {
    if (output == nullptr || size == 0) {
        return 1;
    }
    std::snprintf(output, size, "%s", text);
    return 0;
}

}  // namespace

void CBxLocalization::Init(bool logUntranslated) {
    const std::lock_guard<std::mutex> lock(g_Mutex);
    STable& table = Table();
    std::snprintf(table.szLanguage, sizeof(table.szLanguage), "English");
    std::snprintf(table.szAcronym, sizeof(table.szAcronym), "%s", kBaseAcronym);
    table.valid = false;
    table.logUntranslated = logUntranslated;
}

unsigned char CBxLocalization::ReadLocalization(const char* path, const char* acronym) {
    const std::lock_guard<std::mutex> lock(g_Mutex);
    STable& table = Table();
    table.Clear();
    if (path == nullptr || acronym == nullptr) {
        return 1;
    }
    try {
        return Build(table, path, acronym);
    } catch (const std::bad_alloc&) {
        table.Clear();
        return 1;
    }
}

const char* CBxLocalization::Translate(const char* text) {
    if (text == nullptr) {
        return nullptr;
    }
    const std::lock_guard<std::mutex> lock(g_Mutex);
    STable& table = Table();
    if (!table.valid) {
        return text;
    }
    try {
        return TranslateIn(table, text);
    } catch (const std::bad_alloc&) {
        return text;
    }
}

void CBxLocalization::Free() {
    const std::lock_guard<std::mutex> lock(g_Mutex);
    Table().Clear();
}

void CBxLocalization::Finish() {
    Free();
}

unsigned char CBxLocalization::GetLanguage(char* name, unsigned int size) {
    const std::lock_guard<std::mutex> lock(g_Mutex);
    return CopyOut(name, size, Table().szLanguage);
}

unsigned char CBxLocalization::GetAcronym(char* acronym, unsigned int size) {
    const std::lock_guard<std::mutex> lock(g_Mutex);
    return CopyOut(acronym, size, Table().szAcronym);
}
