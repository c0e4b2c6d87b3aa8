#include <ctype.h>
#include <string.h>

#include <cstdio>

#include "conf_parser.h"
#include "heap_array.h"

namespace {

constexpr std::size_t kShortestLine = 3;

bool IsBlank(char character) {
    return isspace(static_cast<unsigned char>(character)) != 0;
}

// Copies `length` characters as far as they fit, and terminates.
void CopyBounded(char* output, unsigned int outputSize, const char* text, std::size_t length) {
    const std::size_t count = length < outputSize ? length : outputSize - 1;
    memcpy(output, text, count);
    output[count] = '\0';
}

}  // namespace

char* CBxConfParser::Trim(char* text) {
    if (text == nullptr || text[0] == '\0') {
        return nullptr;
    }
    const std::size_t length = strlen(text);
    std::size_t first = 0;
    while (first < length && IsBlank(text[first])) {
        ++first;
    }
    if (first == length) {
        return text;
    }
    std::size_t last = length - 1;
    while (IsBlank(text[last])) {
        --last;
    }
    memmove(text, text + first, last - first + 1);
    text[last - first + 1] = '\0';
    return text;
}

bool CBxConfParser::IsSection(const char* line) {
    if (line == nullptr) {
        return false;
    }
    const std::size_t length = strlen(line);
    return length >= kShortestLine && line[0] == '[' && line[length - 2] == ']';
}

bool CBxConfParser::IsKeyValue(const char* line) {
    return line != nullptr && strlen(line) >= kShortestLine && strchr(line, '=') != nullptr;
}

unsigned char CBxConfParser::ParseSectionName(char* output, unsigned int outputSize, const char* line) {
    if (output == nullptr || outputSize == 0 || !IsSection(line)) {
        return 1;
    }
    CopyBounded(output, outputSize, line + 1, strlen(line) - 3);
    return 0;
}

unsigned char CBxConfParser::ParseKyeValue(char* key, unsigned int keySize, char* value, unsigned int valueSize,
                                           const char* line) {
    if (key == nullptr || keySize == 0 || value == nullptr || valueSize == 0 || line == nullptr) {
        return 1;
    }
    key[0] = '\0';
    value[0] = '\0';
    CBxHeapArray<char> work;
    const std::size_t lineBytes = strlen(line) + 1;
    if (!work.Allocate(lineBytes)) {
        return 1;
    }
    memcpy(work.Data(), line, lineBytes);

    char* position = nullptr;
    char* const keyPiece = strtok_r(work.Data(), "=", &position);
    char* const valuePiece = strtok_r(nullptr, "=", &position);
    if (keyPiece == nullptr || valuePiece == nullptr) {
        return 1;
    }
    Trim(keyPiece);
    CopyBounded(key, keySize, keyPiece, strlen(keyPiece));

    Trim(valuePiece);
    const std::size_t length = strlen(valuePiece);
    if (length < 2 || (valuePiece[0] != '"' && valuePiece[length - 1] != '"')) {
        return 1;
    }
    CopyBounded(value, valueSize, valuePiece + 1, length - 2);
    return 0;
}
