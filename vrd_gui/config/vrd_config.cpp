#include "vrd_config.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "conf_parser.h"
#include "encodings.h"
#include "system_facts.h"

namespace {

constexpr unsigned int kValueBytes = 512;
constexpr char kGeneral[] = "General";
constexpr char kGeometry[] = "Geometry";
constexpr char kYes[] = "yes";
constexpr char kNo[] = "no";

std::int32_t ToInt32(long long number) {
    using Limits = std::numeric_limits<std::int32_t>;
    return static_cast<std::int32_t>(std::clamp<long long>(number, Limits::min(), Limits::max()));
}

// Reads values of one file and remembers whether any was missing.
class CReader {
public:
    explicit CReader(const char* path) : m_pPath(path) {}

    void Text(char* value, unsigned int size, const char* section, const char* key, const char* defaultValue) {
        if (CBxConfParser::GetPrivateProfileStringA(section, key, defaultValue, value, size, m_pPath, nullptr) != 0) {
            m_uiResult = 1;
        }
    }

    std::int32_t Number(const char* section, const char* key, const char* defaultValue) {
        char value[kValueBytes] = {};
        Text(value, sizeof(value), section, key, defaultValue);
        return ToInt32(std::strtol(value, nullptr, 10));
    }

    bool Flag(const char* section, const char* key, const char* defaultValue) {
        char value[kValueBytes] = {};
        Text(value, sizeof(value), section, key, defaultValue);
        return std::strcmp(value, kYes) == 0;
    }

    unsigned char Result() const { return m_uiResult; }

private:
    const char* m_pPath;
    unsigned char m_uiResult = 0;
};

// Writes values into one file.
class CWriter {
public:
    explicit CWriter(const char* path) : m_pPath(path) {}

    void Text(const char* section, const char* key, const char* value) {
        CBxConfParser::WritePrivateProfileStringA(section, key, value, m_pPath, nullptr);
    }

    void Number(const char* section, const char* key, std::int32_t number) {
        char value[kValueBytes];
        std::snprintf(value, sizeof(value), "%d", number);
        Text(section, key, value);
    }

    void Flag(const char* section, const char* key, bool flag) { Text(section, key, flag ? kYes : kNo); }

private:
    const char* m_pPath;
};

// Where a stretch of the window ends. A wrong file may hold any numbers.
std::int32_t EndOf(std::int32_t start, std::int32_t length) {
    return ToInt32(static_cast<long long>(start) + length);
}

std::int32_t LengthOf(std::int32_t start, std::int32_t end) {
    return ToInt32(static_cast<long long>(end) - start);
}

}  // namespace

unsigned char SBxVRDConfig::LoadConfiguration(SBxVRDConfig& config, const char* path) {
    if (path == nullptr) {
        return 1;
    }
    config.m_bFirstRun = !BX_ExistsFile(path);
    CReader reader(path);
    config.m_iCompression = reader.Number(kGeneral, "compression", "95");
    config.m_bAskCompression = reader.Flag(kGeneral, "ask_compression", kYes);
    config.m_iMaxThreads = reader.Number(kGeneral, "max_threads", "0");
    if (config.m_bFirstRun) {
        config.m_iMaxThreads = static_cast<std::int32_t>(BX_GetCPUCount());
    }
    config.m_bLogEnabled = reader.Flag(kGeneral, "log_enabled", kYes);
    config.m_bLogDetailEnabled = reader.Flag(kGeneral, "log_detail_enabled", kNo);
    reader.Text(config.m_szLatestFolder, sizeof(config.m_szLatestFolder), kGeneral, "latest_folder", "");
    reader.Text(config.m_szLatestSign, sizeof(config.m_szLatestSign), kGeneral, "latest_sign", "");
    config.m_bCrashedLastTime = reader.Flag(kGeneral, "crashed_lasttime", kYes);
    config.m_iLangIndex = reader.Number(kGeneral, "lang_index", "0");
    config.m_WindowRect.left = reader.Number(kGeometry, "wnd_x", "100");
    config.m_WindowRect.top = reader.Number(kGeometry, "wnd_y", "100");
    config.m_WindowRect.right = EndOf(config.m_WindowRect.left, reader.Number(kGeometry, "wnd_w", "900"));
    config.m_WindowRect.bottom = EndOf(config.m_WindowRect.top, reader.Number(kGeometry, "wnd_h", "600"));
    config.m_iToolbarArea = reader.Number(kGeometry, "tlb_area", "4");
    return reader.Result();
}

unsigned char SBxVRDConfig::SaveConfiguration(SBxVRDConfig& config, const char* path) {
    if (path == nullptr) {
        return 1;
    }
    const CBxRect<std::int32_t>& window = config.m_WindowRect;
    CWriter writer(path);
    writer.Number(kGeneral, "compression", config.m_iCompression);
    writer.Flag(kGeneral, "ask_compression", config.m_bAskCompression);
    writer.Number(kGeneral, "max_threads", config.m_iMaxThreads);
    writer.Flag(kGeneral, "log_enabled", config.m_bLogEnabled);
    writer.Flag(kGeneral, "log_detail_enabled", config.m_bLogDetailEnabled);
    writer.Text(kGeneral, "latest_folder", config.m_szLatestFolder);
    writer.Text(kGeneral, "latest_sign", config.m_szLatestSign);
    writer.Flag(kGeneral, "crashed_lasttime", config.m_bCrashedLastTime);
    writer.Number(kGeneral, "lang_index", config.m_iLangIndex);
    writer.Number(kGeometry, "wnd_x", window.left);
    writer.Number(kGeometry, "wnd_y", window.top);
    writer.Number(kGeometry, "wnd_w", LengthOf(window.left, window.right));
    writer.Number(kGeometry, "wnd_h", LengthOf(window.top, window.bottom));
    writer.Number(kGeometry, "tlb_area", config.m_iToolbarArea);
    return 0;
}

unsigned char SBxVRDConfig::LoadLanguages(SBxVRDConfig& config, const char* path) {
    if (path == nullptr) {
        return 1;
    }
    FreeLanguages(config);
    char encoding[CBxLocalization::kLanguageNameBytes] = {};
    CBxConfParser::GetPrivateProfileStringA(kGeneral, "Encoding", "UTF-8", encoding, sizeof(encoding), path, "UTF-8");
    const char* const codePage = encoding[0] != '\0' ? encoding : nullptr;
    char number[kValueBytes] = {};
    if (CBxConfParser::GetPrivateProfileStringA(kGeneral, "LanguagesNo", "0", number, sizeof(number), path, codePage) !=
        0) {
        return 1;
    }
    const long count = std::min(std::strtol(number, nullptr, 10), kMostLanguages);
    for (long index = 0; index < count; ++index) {
        char section[kValueBytes];
        std::snprintf(section, sizeof(section), "%d", static_cast<int>(index));
        auto language = std::make_unique<SLang>();
        CBxConfParser::GetPrivateProfileStringA(section, "Language", "English", language->m_szLanguage,
                                                sizeof(language->m_szLanguage), path, codePage);
        CBxConfParser::GetPrivateProfileStringA(section, "Acronym", "eng", language->m_szAcronym,
                                                sizeof(language->m_szAcronym), path, codePage);
        config.m_Languages.push_back(std::move(language));
    }
    return 0;
}

void SBxVRDConfig::FreeLanguages(SBxVRDConfig& config) {
    config.m_Languages.clear();
}
