#include "sign_check.h"

#include <algorithm>

#include "sign_op.h"

std::string BX_GetCarriedSign(const std::string& text) {
    std::string carried;
    for (char character : text) {
        char code = static_cast<char>(CBxSignOp::MapCharTo6Bit(character));
        carried += CBxSignOp::Map6BitToChar(code);
    }
    return carried.substr(0, kMostSignCharacters);
}

namespace {

// Whether the alphabet of signs would change a character. A letter beyond it is more than one byte, so that it must be
// looked for before the length is.
bool HasForeignCharacters(const std::string& text) {
    return std::any_of(text.begin(), text.end(), [](char character) {
        char code = static_cast<char>(CBxSignOp::MapCharTo6Bit(character));
        return CBxSignOp::Map6BitToChar(code) != character;
    });
}

}  // namespace

std::string BX_GetSignFault(const std::string& text) {
    const std::string carried = BX_GetCarriedSign(text);
    const std::string become = "it would become \"" + carried + "\"";
    const std::string quoted = "the sign \"" + text + "\" ";
    if (HasForeignCharacters(text)) {
        return quoted + "holds characters other than a-z, A-Z, 0-9 and the dash: " + become;
    }
    if (text.size() > kMostSignCharacters) {
        return quoted + "is too long: a sign has 6 to 10 characters, and " + become;
    }
    if (text.size() < kFewestSignCharacters) {
        return quoted + "is too short: a sign has 6 to 10 characters; " + become + ", which is never found again";
    }
    return std::string();
}
