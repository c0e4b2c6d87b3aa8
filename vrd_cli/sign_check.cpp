#include "sign_check.h"

#include "sign_op.h"

std::string BX_GetCarriedSign(const std::string& text) {
    std::string carried;
    for (char character : text.substr(0, kMostSignCharacters)) {
        char code = static_cast<char>(CBxSignOp::MapCharTo6Bit(character));
        carried += CBxSignOp::Map6BitToChar(code);
    }
    return carried;
}

std::string BX_GetSignFault(const std::string& text) {
    const std::string carried = BX_GetCarriedSign(text);
    const std::string become = "it would become \"" + carried + "\"";
    const std::string quoted = "the sign \"" + text + "\" ";
    if (text.size() > kMostSignCharacters) {
        return quoted + "is too long: a sign has 6 to 10 characters, and " + become;
    }
    if (carried != text) {
        return quoted + "holds characters other than a-z, A-Z, 0-9 and the dash: " + become;
    }
    if (text.size() < kFewestSignCharacters) {
        return quoted + "is too short: a sign has 6 to 10 characters; " + become + ", which is never found again";
    }
    return std::string();
}
