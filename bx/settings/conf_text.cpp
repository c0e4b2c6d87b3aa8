#include "conf_text.h"

#include <string.h>

#include <cstdio>

#include "conf_parser.h"
#include "encodings.h"

namespace {

// The two lines that writing a value may add, in the code page of the file.
struct SNewLines {
    char szHeader[kConfLineBytes];
    char szKey[kConfLineBytes];
};

// Bytes that grow at their end. Once memory has failed, nothing more is added and Failed stays true.
class CGrowingText {
public:
    void Add(const char* bytes, std::size_t count) {
        if (m_bFailed || (m_uiUsed + count > m_Bytes.Size() && !m_Bytes.GrowTo((m_uiUsed + count) * 2))) {
            m_bFailed = true;
            return;
        }
        if (count != 0) {
            memcpy(m_Bytes.Data() + m_uiUsed, bytes, count);
        }
        m_uiUsed += count;
    }
    void Add(const char* text) { Add(text, strlen(text)); }

    bool EndsInLine() const { return m_uiUsed != 0 && m_Bytes[m_uiUsed - 1] != '\n'; }
    bool Failed() const { return m_bFailed; }
    SBxConfBytes View() const { return {m_Bytes.Data(), m_uiUsed}; }

private:
    CBxHeapArray<char> m_Bytes;
    std::size_t m_uiUsed = 0;
    bool m_bFailed = false;
};

// `line`, cut to the buffer or not, in the code page. False unless its newline came through, which comes last.
bool ToCodePage(char (&output)[kConfLineBytes], const char* line, int length, const char* codePage) {
    if (length < 0 || length >= static_cast<int>(kConfLineBytes)) {
        return false;
    }
    output[0] = '\0';
    BX_ConvertUTF8ToStr(output, sizeof(output), line, codePage);
    const std::size_t converted = strlen(output);
    return converted != 0 && output[converted - 1] == '\n';
}

bool MakeNewLines(SNewLines& lines, const char* section, const char* key, const char* value, const char* codePage) {
    char line[kConfLineBytes];
    const int headerLength = std::snprintf(line, sizeof(line), "[%s]\n", section);
    if (!ToCodePage(lines.szHeader, line, headerLength, codePage)) {
        return false;
    }
    const int keyLength = std::snprintf(line, sizeof(line), "%s=\"%s\"\n", key, value);
    return ToCodePage(lines.szKey, line, keyLength, codePage);
}

bool IsHeaderOf(const char* line, const char* section) {
    char name[kConfLineBytes];
    return CBxConfParser::ParseSectionName(name, sizeof(name), line) == 0 && strcmp(name, section) == 0;
}

// The key counts even where the value is invalid: such a line is to be replaced.
bool IsLineOfKey(const char* line, const char* key) {
    char lineKey[kConfLineBytes] = {};
    char value[kConfLineBytes] = {};
    if (!CBxConfParser::IsKeyValue(line)) {
        return false;
    }
    CBxConfParser::ParseKyeValue(lineKey, sizeof(lineKey), value, sizeof(value), line);
    return lineKey[0] != '\0' && strcmp(lineKey, key) == 0;
}

// A line of the text that would leave half of a longer line standing if it were replaced.
bool IsPartOfLongLine(SBxConfBytes raw, SBxConfBytes text) {
    return raw.pData[raw.uiSize - 1] != '\n' && raw.pData + raw.uiSize != text.pData + text.uiSize;
}

// The old lines with the new value among them. False when a line is too long for that.
bool Compose(CGrowingText& output, SBxConfBytes text, const char* section, const char* key, const char* codePage,
             const SNewLines& added) {
    bool inSection = false;
    bool written = false;
    CBxConfLines lines(text, codePage);
    while (lines.Next()) {
        const SBxConfBytes raw = lines.Raw();
        if (inSection && !written && CBxConfParser::IsSection(lines.Utf8())) {
            if (output.EndsInLine()) {
                return false;
            }
            output.Add(added.szKey);
            written = true;
        } else if (inSection && !written && IsLineOfKey(lines.Utf8(), key)) {
            if (output.EndsInLine() || IsPartOfLongLine(raw, text)) {
                return false;
            }
            output.Add(added.szKey);
            written = true;
            continue;
        } else if (!inSection) {
            inSection = IsHeaderOf(lines.Utf8(), section);
        }
        output.Add(raw.pData, raw.uiSize);
    }
    if (!inSection) {
        output.Add("\n");
        output.Add(added.szHeader);
    } else if (!written && output.EndsInLine()) {
        // Otherwise the key would become the end of that line.
        output.Add("\n");
    }
    if (!written) {
        output.Add(added.szKey);
    }
    return true;
}

unsigned char TakeIfReadable(const CGrowingText& text, const char* section, const char* key, const char* value,
                             const char* codePage, CBxHeapArray<char>& result) {
    char readBack[kConfLineBytes];
    const SBxConfBytes view = text.View();
    if (text.Failed() || !BX_FindConfValue(view, section, key, codePage, readBack) || strcmp(readBack, value) != 0 ||
        !result.Allocate(view.uiSize)) {
        return 1;
    }
    memcpy(result.Data(), view.pData, view.uiSize);
    return 0;
}

}  // namespace

bool CBxConfLines::Next() {
    const std::size_t left = m_Text.uiSize - m_uiPosition;
    if (left == 0) {
        return false;
    }
    const char* const start = m_Text.pData + m_uiPosition;
    const std::size_t most = left < kConfLineBytes - 1 ? left : kConfLineBytes - 1;
    const char* const newline = static_cast<const char*>(memchr(start, '\n', most));
    m_Raw = {start, newline == nullptr ? most : static_cast<std::size_t>(newline - start) + 1};
    m_uiPosition += m_Raw.uiSize;

    char line[kConfLineBytes];
    memcpy(line, start, m_Raw.uiSize);
    line[m_Raw.uiSize] = '\0';
    m_szUtf8[0] = '\0';
    BX_ConvertStrToUTF8(m_szUtf8, sizeof(m_szUtf8), line, m_pCodePage);
    return true;
}

bool CBxConfSection::Enter() {
    while (m_Lines.Next()) {
        if (m_Lines.Raw().pData[0] == '\0') {
            return false;
        }
        if (IsHeaderOf(m_Lines.Utf8(), m_pSection)) {
            return true;
        }
    }
    return false;
}

bool CBxConfSection::Next() {
    if (!m_bEntered && !Enter()) {
        return false;
    }
    m_bEntered = true;
    while (m_Lines.Next()) {
        if (m_Lines.Raw().pData[0] == '\0' || CBxConfParser::IsSection(m_Lines.Utf8())) {
            return false;
        }
        if (CBxConfParser::IsKeyValue(m_Lines.Utf8()) &&
            CBxConfParser::ParseKyeValue(m_szKey, sizeof(m_szKey), m_szValue, sizeof(m_szValue), m_Lines.Utf8()) == 0) {
            return true;
        }
    }
    return false;
}

bool BX_FindConfValue(SBxConfBytes text, const char* section, const char* key, const char* codePage, char* value) {
    CBxConfSection lines(text, section, codePage);
    while (lines.Next()) {
        if (strcmp(lines.Key(), key) == 0) {
            std::snprintf(value, kConfLineBytes, "%s", lines.Value());
            return true;
        }
    }
    return false;
}

unsigned char BX_SetConfValue(SBxConfBytes text, const char* section, const char* key, const char* value,
                              const char* codePage, CBxHeapArray<char>& result) {
    SNewLines added;
    if (!MakeNewLines(added, section, key, value, codePage)) {
        return 1;
    }
    CGrowingText composed;
    if (Compose(composed, text, section, key, codePage, added) &&
        TakeIfReadable(composed, section, key, value, codePage, result) == 0) {
        return 0;
    }
    if (text.uiSize == 0 || text.pData[text.uiSize - 1] == '\n') {
        return 1;
    }
    // A header as the last line counts only with its newline. Without it a second one would be written below, and the
    // first, which then counts, would hide the value.
    CGrowingText finished;
    finished.Add(text.pData, text.uiSize);
    finished.Add("\n");
    CGrowingText composedAgain;
    if (finished.Failed() || !Compose(composedAgain, finished.View(), section, key, codePage, added)) {
        return 1;
    }
    return TakeIfReadable(composedAgain, section, key, value, codePage, result);
}

unsigned char BX_MakeConfText(const char* section, const char* key, const char* value, const char* codePage,
                              CBxHeapArray<char>& result) {
    SNewLines added;
    if (!MakeNewLines(added, section, key, value, codePage)) {
        return 1;
    }
    CGrowingText text;
    text.Add(added.szHeader);
    text.Add(added.szKey);
    return TakeIfReadable(text, section, key, value, codePage, result);
}
