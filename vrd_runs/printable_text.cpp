#include "printable_text.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace {

// Length of the UTF-8 sequence at `at`, and its character; 0 where the bytes are none (overlong and surrogates
// included).
std::size_t DecodeUtf8(const std::string& text, std::size_t at, std::uint32_t& character) {
    const auto byteAt = [&](std::size_t index) { return static_cast<unsigned char>(text[index]); };
    const unsigned char lead = byteAt(at);
    if (lead < 0x80) {
        character = lead;
        return 1;
    }
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || at + length > text.size()) {
        return 0;
    }
    character = lead & (0x7FU >> length);
    for (std::size_t index = 1; index < length; ++index) {
        if ((byteAt(at + index) & 0xC0) != 0x80) {
            return 0;
        }
        character = (character << 6) | (byteAt(at + index) & 0x3FU);
    }
    constexpr std::uint32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool isSurrogate = character >= 0xD800 && character <= 0xDFFF;
    return character < kSmallest[length] || isSurrogate || character > 0x10FFFF ? 0 : length;
}

// Control characters, line separators, and marks that turn the direction of writing.
bool SteersOutput(std::uint32_t character) {
    return character < 0x20 || (character >= 0x7F && character < 0xA0) ||
           (character >= 0x2028 && character <= 0x202E) || (character >= 0x2066 && character <= 0x2069);
}

void AppendEscaped(std::string& out, const std::string& text, std::size_t at, std::size_t length) {
    for (std::size_t index = at; index < at + length; ++index) {
        const char byte = text[index];
        if (byte == '\n' || byte == '\t') {
            out += byte == '\n' ? "\\n" : "\\t";
            continue;
        }
        char escaped[8];
        std::snprintf(escaped, sizeof(escaped), "\\x%02x", static_cast<unsigned>(static_cast<unsigned char>(byte)));
        out += escaped;
    }
}

}  // namespace

std::string BX_PrintableName(const std::string& name) {
    std::string out;
    for (std::size_t at = 0; at < name.size();) {
        std::uint32_t character = 0;
        const std::size_t length = DecodeUtf8(name, at, character);
        if (length == 0 || SteersOutput(character)) {
            AppendEscaped(out, name, at, length == 0 ? 1 : length);
        } else {
            out.append(name, at, length);
        }
        at += length == 0 ? 1 : length;
    }
    return out;
}

std::string BX_ValidUtf8(const std::string& text) {
    std::string out;
    for (std::size_t at = 0; at < text.size();) {
        std::uint32_t character = 0;
        const std::size_t length = DecodeUtf8(text, at, character);
        if (length == 0) {
            out += "\xEF\xBF\xBD";
        } else {
            out.append(text, at, length);
        }
        at += length == 0 ? 1 : length;
    }
    return out;
}

std::string BX_FillNumbers(const std::string& text, const std::vector<std::size_t>& numbers) {
    std::string filled;
    std::size_t at = 0;
    for (const std::size_t number : numbers) {
        const std::size_t place = text.find("%d", at);
        if (place == std::string::npos) {
            break;
        }
        filled += text.substr(at, place - at) + std::to_string(number);
        at = place + 2;
    }
    return filled + text.substr(at);
}
