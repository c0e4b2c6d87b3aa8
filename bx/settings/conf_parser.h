// Single values in text files of sections and keys: the settings file and the localization file.
#pragma once

#include "class_log.h"

// Reads and writes values in files of this form, a line holding at most 1023 bytes with its newline:
//
//   [section]
//   key="value"
//   any other line is ignored by reading and kept by writing
//
// A header stands alone in its line, without blanks and directly before the newline. Only the first section of a name
// counts, and in it the first line with the key. Names are compared exactly.
//
// Texts are UTF-8 on the outside; the file is in the code page of the caller's choice, null for that of the system.
// Operations return 0 for success and 1 for failure, hold no state and may run in any thread; of two that write one
// file at the same time the later one may undo the earlier.
class CBxConfParser : public CBxClassLog<CBxConfParser> {
public:
    // Copies the value into `output`, at most `outputSize` bytes with the zero. 1, and the default instead, when the
    // file, the section or the key is missing; 1 and nothing copied when key, output, size or path is null or 0. A null
    // default counts as empty.
    static unsigned char GetPrivateProfileStringA(const char* section, const char* key, const char* defaultValue,
                                                  char* output, unsigned int outputSize, const char* path,
                                                  const char* codePage);

    // Sets the value, where needed with a new line, a new section or a new file. All other lines keep their bytes.
    //
    // The file is replaced as a whole: whatever happens, it is the old one or the new one. 1, and the file as it was,
    // when it exists and cannot be read or is no text, when it cannot be replaced, and when the value would not be read
    // back as it is: one that holds "=" or a newline, is too long for a line, or cannot be said in the code page.
    static unsigned char WritePrivateProfileStringA(const char* section, const char* key, const char* value,
                                                    const char* path, const char* codePage);

    // ---- the syntax (conf_syntax.cpp) ----

    // Removes white space and line ends from both ends, in place. Returns `text`; null when it is null or empty. A text
    // of nothing else stays as it is.
    static char* Trim(char* text);

    // A header with its newline; any line of 3 or more characters that has a "=".
    static bool IsSection(const char* line);
    static bool IsKeyValue(const char* line);

    // Copies the name of a header. 1 for null, 0 bytes and lines that are none.
    static unsigned char ParseSectionName(char* output, unsigned int outputSize, const char* line);

    // Takes a line apart at its "=" signs: the first piece is the key, the second the value, each trimmed. The value
    // loses its first and its last character when either is a double quote; with neither, or when shorter than 2, it is
    // invalid: 1, an empty value, and the key all the same. 1 and both empty when a piece is missing.
    static unsigned char ParseKyeValue(char* key, unsigned int keySize, char* value, unsigned int valueSize,
                                       const char* line);
};
