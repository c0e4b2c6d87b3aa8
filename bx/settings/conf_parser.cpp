#include "conf_parser.h"

#include <errno.h>
#include <string.h>

#include <cstdio>

#include "base_files.h"
#include "conf_text.h"
#include "encodings.h"
#include "file_replacement.h"

namespace {

constexpr unsigned int kCodePageBytes = 100;

// `codePage`, or for null that of the system, which is put into `buffer`.
const char* CodePageOrSystem(const char* codePage, char (&buffer)[kCodePageBytes]) {
    if (codePage != nullptr) {
        return codePage;
    }
    BX_GetCodePage(buffer, sizeof(buffer));
    return buffer;
}

unsigned char RefuseWriting(const char* path, const char* reason) {
    CBxConfParser::LogErrorDetail("CBxConfParser: Cannot write %s: %s.", path, reason);
    return 1;
}

unsigned char ReplaceFile(const char* path, const CBxHeapArray<char>& text) {
    // The name that the contents were read from: "\\" separates folders there.
    char name[kBxPathBytes];
    if (!BX_GetLocalFilePath(name, path)) {
        return RefuseWriting(path, "the name cannot be used");
    }
    CBxFileReplacement replacement;
    if (replacement.Begin(name) != 0 || replacement.Write(text.Data(), text.Size()) != 0 || replacement.Commit() != 0) {
        return RefuseWriting(path, replacement.Reason());
    }
    return 0;
}

bool IsSame(const CBxHeapArray<char>& left, const CBxHeapArray<char>& right) {
    return left.Size() == right.Size() && memcmp(left.Data(), right.Data(), left.Size()) == 0;
}

}  // namespace

unsigned char CBxConfParser::GetPrivateProfileStringA(const char* section, const char* key, const char* defaultValue,
                                                      char* output, unsigned int outputSize, const char* path,
                                                      const char* codePage) {
    if (key == nullptr || output == nullptr || outputSize == 0 || path == nullptr) {
        return 1;
    }
    char value[kConfLineBytes];
    bool found = false;
    CBxHeapArray<char> text;
    if (BX_ReadWholeFile(path, kMostConfBytes, text) != 0) {
        LogErrorDetail("CBxConfParser: Cannot open %s for reading.", path);
    } else if (section != nullptr) {
        char system[kCodePageBytes] = {};
        found = BX_FindConfValue({text.Data(), text.Size()}, section, key, CodePageOrSystem(codePage, system), value);
    }
    const char* const result = found ? value : defaultValue;
    std::snprintf(output, outputSize, "%s", result == nullptr ? "" : result);
    return found ? 0 : 1;
}

unsigned char CBxConfParser::WritePrivateProfileStringA(const char* section, const char* key, const char* value,
                                                        const char* path, const char* codePage) {
    if (section == nullptr || key == nullptr || value == nullptr || path == nullptr) {
        return 1;
    }
    char system[kCodePageBytes] = {};
    const char* const page = CodePageOrSystem(codePage, system);
    CBxHeapArray<char> changed;
    CBxHeapArray<char> text;
    if (BX_ReadWholeFile(path, kMostConfBytes, text) != 0) {
        if (errno != ENOENT) {
            return RefuseWriting(path, "the old contents cannot be read");
        }
        if (BX_MakeConfText(section, key, value, page, changed) != 0) {
            return RefuseWriting(path, "a file of this form cannot hold the value");
        }
        return ReplaceFile(path, changed);
    }
    if (memchr(text.Data(), '\0', text.Size()) != nullptr) {
        return RefuseWriting(path, "the file is no text");
    }
    if (BX_SetConfValue({text.Data(), text.Size()}, section, key, value, page, changed) != 0) {
        return RefuseWriting(path, "a file of this form cannot hold the value");
    }
    return IsSame(text, changed) ? 0 : ReplaceFile(path, changed);
}
