// Reads any bytes as a settings file, writes the settings back, and changes single values in it.
#include <algorithm>
#include <cstring>

#include "conf_text.h"
#include "fuzz_target.h"
#include "temporary_folder.h"
#include "vrd_config.h"

namespace {

constexpr std::size_t kMostInputBytes = 1 << 16;

template <std::size_t kSize>
void RequireTerminated(const char (&text)[kSize]) {
    Require(std::memchr(text, '\0', kSize) != nullptr);
}

// A text that a file of this form cannot hold stays empty in a new one.
void RequireSameText(const char* again, const char* text) {
    Require(std::strcmp(again, text) == 0 || again[0] == '\0');
}

void RequireSameSettings(const SBxVRDConfig& again, const SBxVRDConfig& config) {
    Require(again.m_iCompression == config.m_iCompression && again.m_bAskCompression == config.m_bAskCompression);
    Require(again.m_iMaxThreads == config.m_iMaxThreads && again.m_iLangIndex == config.m_iLangIndex);
    Require(again.m_bLogEnabled == config.m_bLogEnabled && again.m_bLogDetailEnabled == config.m_bLogDetailEnabled);
    Require(again.m_bCrashedLastTime == config.m_bCrashedLastTime && again.m_iToolbarArea == config.m_iToolbarArea);
    Require(again.m_WindowRect.left == config.m_WindowRect.left && again.m_WindowRect.top == config.m_WindowRect.top);
    Require(again.m_WindowRect.right == config.m_WindowRect.right);
    Require(again.m_WindowRect.bottom == config.m_WindowRect.bottom);
    RequireSameText(again.m_szLatestFolder, config.m_szLatestFolder);
    RequireSameText(again.m_szLatestSign, config.m_szLatestSign);
}

void ReadAndWriteBack(const std::string& bytes) {
    static const CTemporaryFolder kFolder;
    const std::string path = kFolder / "settings.ini";
    WriteBytes(path, bytes);
    SBxVRDConfig config;
    SBxVRDConfig::LoadConfiguration(config, path.c_str());
    RequireTerminated(config.m_szLatestFolder);
    RequireTerminated(config.m_szLatestSign);

    const std::string newPath = kFolder / "new.ini";
    std::filesystem::remove(newPath);
    SBxVRDConfig again;
    SBxVRDConfig::SaveConfiguration(config, newPath.c_str());
    SBxVRDConfig::LoadConfiguration(again, newPath.c_str());
    Require(!again.m_bFirstRun);
    RequireSameSettings(again, config);

    SBxVRDConfig::SaveConfiguration(config, path.c_str());
    SBxVRDConfig::LoadConfiguration(again, path.c_str());
    RequireTerminated(again.m_szLatestFolder);
    Require(kFolder.Count() == 2);
}

// The lines up to their newlines; the last one without its newline too.
std::vector<std::string> LinesOf(const std::string& text) {
    std::vector<std::string> lines;
    for (std::size_t from = 0; from < text.size();) {
        const std::size_t end = std::min(text.find('\n', from), text.size());
        lines.push_back(text.substr(from, end - from));
        from = end + 1;
    }
    return lines;
}

// All lines but one are still there, in their order, and at most a blank line, a header and a key are new.
void RequireOtherLinesKept(const std::string& changed, const std::string& text) {
    const std::vector<std::string> before = LinesOf(text);
    const std::vector<std::string> after = LinesOf(changed);
    std::size_t kept = 0;
    for (const std::string& line : after) {
        kept += kept < before.size() && line == before[kept] ? 1 : 0;
    }
    if (kept < before.size()) {  // one was replaced: go on behind it
        Require(after.size() == before.size());
        std::size_t different = 0;
        for (std::size_t line = 0; line < before.size(); ++line) {
            different += before[line] != after[line] ? 1 : 0;
        }
        Require(different == 1);
    }
    Require(after.size() <= before.size() + 3);
}

void ChangeValue(const std::string& text, const char* section, const char* key, const char* value,
                 const char* codePage) {
    const SBxConfBytes bytes = {text.data(), text.size()};
    char found[kConfLineBytes] = {};
    BX_FindConfValue(bytes, section, key, codePage, found);
    CBxHeapArray<char> result;
    if (BX_SetConfValue(bytes, section, key, value, codePage, result) != 0) {
        return;
    }
    const std::string changed(result.Data(), result.Size());
    Require(BX_FindConfValue({changed.data(), changed.size()}, section, key, codePage, found));
    Require(std::strcmp(found, value) == 0);
    // Longer lines are read in pieces, and zeros end a line for a reader.
    if (text.find('\0') == std::string::npos) {
        RequireOtherLinesKept(changed, text);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* input, std::size_t inputSize) {
    if (inputSize > kMostInputBytes) {
        return 0;
    }
    const std::string bytes(reinterpret_cast<const char*>(input), inputSize);
    ReadAndWriteBack(bytes);
    // A value of the input's own, from its first line.
    const std::string value(bytes.c_str(), std::min(bytes.find('\n'), std::strlen(bytes.c_str())));
    for (const char* codePage : {"UTF-8", "ISO-8859-1", "SHIFT_JIS", "no code page"}) {
        ChangeValue(bytes, "General", "latest_folder", value.c_str(), codePage);
        ChangeValue(bytes, "Geometry", "wnd_x", "-17", codePage);
        ChangeValue(bytes, "3", "string1", value.c_str(), codePage);
    }
    return 0;
}
