// Reads any bytes as a localization file, translates with it, and lets untranslated texts be added to it.
#include <cstring>

#include "fuzz_target.h"
#include "localization.h"
#include "temporary_folder.h"
#include "vrd_config.h"

namespace {

constexpr std::size_t kMostInputBytes = 1 << 13;
constexpr char kUnknownText[] = "A text that no file has";

void RequireNames() {
    char name[CBxLocalization::kLanguageNameBytes];
    char acronym[CBxLocalization::kAcronymBytes];
    Require(CBxLocalization::GetLanguage(name, sizeof(name)) == 0 && std::strlen(name) < sizeof(name));
    Require(CBxLocalization::GetAcronym(acronym, sizeof(acronym)) == 0 && std::strlen(acronym) < sizeof(acronym));
}

void ReadLanguages(const std::string& path) {
    SBxVRDConfig config;
    SBxVRDConfig::LoadLanguages(config, path.c_str());
    Require(config.m_Languages.size() <= static_cast<std::size_t>(SBxVRDConfig::kMostLanguages));
    for (const auto& language : config.m_Languages) {
        Require(std::memchr(language->m_szAcronym, '\0', sizeof(language->m_szAcronym)) != nullptr);
        Require(std::memchr(language->m_szLanguage, '\0', sizeof(language->m_szLanguage)) != nullptr);
    }
}

void TranslateWithoutTable() {
    for (const char* text : {"", "Open", kUnknownText}) {
        Require(CBxLocalization::Translate(text) == text);
    }
}

void TranslateInto(const std::string& path, const char* acronym, bool logUntranslated) {
    CBxLocalization::Init(logUntranslated);
    const bool isRead = CBxLocalization::ReadLocalization(path.c_str(), acronym) == 0;
    RequireNames();
    if (!isRead) {
        TranslateWithoutTable();
        return;
    }
    Require(CBxLocalization::Translate(nullptr) == nullptr);
    for (const char* text : {"", "Open", "%d of %d"}) {
        Require(CBxLocalization::Translate(text) != nullptr);
        Require(CBxLocalization::Translate(text) == CBxLocalization::Translate(text));
    }
    const char* const unknown = CBxLocalization::Translate(kUnknownText);
    Require(unknown != nullptr);
    CBxLocalization::Free();
    TranslateWithoutTable();
    // What was added for the translators has left the file readable.
    Require(CBxLocalization::ReadLocalization(path.c_str(), acronym) == 0);
    CBxLocalization::Free();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* input, std::size_t inputSize) {
    if (inputSize > kMostInputBytes) {
        return 0;
    }
    static const CTemporaryFolder kFolder;
    const std::string path = kFolder / "languages.ini";
    const std::string bytes(reinterpret_cast<const char*>(input), inputSize);
    WriteBytes(path, bytes);
    ReadLanguages(path);
    for (const char* acronym : {"deu", "", "eng"}) {
        TranslateInto(path, acronym, false);
    }
    Require(ReadBytes(path) == bytes);
    TranslateInto(path, "deu", true);
    Require(kFolder.Count() == 1);
    return 0;
}
