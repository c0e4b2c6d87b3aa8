// The text of a settings or localization file in memory.
#pragma once

#include <cstddef>

#include "heap_array.h"

// Bytes of a line with its newline and the terminating zero; also the size of a value's buffer.
inline constexpr unsigned int kConfLineBytes = 1024;

// A larger file is not a settings file.
inline constexpr std::size_t kMostConfBytes = std::size_t{16} * 1024 * 1024;

// Bytes in the code page of the file; a view that the owner keeps alive.
struct SBxConfBytes {
    const char* pData = nullptr;
    std::size_t uiSize = 0;
};

// Goes through the lines of a text: up to a newline, and every 1023 bytes where there is none.
class CBxConfLines {
public:
    CBxConfLines(SBxConfBytes text, const char* codePage) : m_Text(text), m_pCodePage(codePage) {}

    // Moves to the next line; false behind the last one.
    bool Next();

    // The line in UTF-8, ending at its first zero byte; empty when the code page is unknown.
    const char* Utf8() const { return m_szUtf8; }

    // Its bytes in the text, newline included.
    SBxConfBytes Raw() const { return m_Raw; }

private:
    SBxConfBytes m_Text;
    const char* m_pCodePage;
    SBxConfBytes m_Raw;
    std::size_t m_uiPosition = 0;
    char m_szUtf8[kConfLineBytes];
};

// Walks through the valid key lines of the first section of a name, in the order of the file.
class CBxConfSection {
public:
    CBxConfSection(SBxConfBytes text, const char* section, const char* codePage)
        : m_Lines(text, codePage), m_pSection(section) {}

    // Moves to the next valid key line; false at the end of the section.
    bool Next();

    const char* Key() const { return m_szKey; }
    const char* Value() const { return m_szValue; }

private:
    bool Enter();

    CBxConfLines m_Lines;
    const char* m_pSection;
    bool m_bEntered = false;
    char m_szKey[kConfLineBytes];
    char m_szValue[kConfLineBytes];
};

// Copies the value of the key into `value` (kConfLineBytes). False when there is none.
bool BX_FindConfValue(SBxConfBytes text, const char* section, const char* key, const char* codePage, char* value);

// Makes the text in which the key has the value, in `result`. 0 only when the value is read back from there as it is.
// Every other line keeps its bytes; only a last line without newline may be given one.
unsigned char BX_SetConfValue(SBxConfBytes text, const char* section, const char* key, const char* value,
                              const char* codePage, CBxHeapArray<char>& result);

// The text of a new file that holds nothing but the value; under the same terms.
unsigned char BX_MakeConfText(const char* section, const char* key, const char* value, const char* codePage,
                              CBxHeapArray<char>& result);
