// Whether a text can be hidden and found again as it stands.
#pragma once

#include <string>

inline constexpr std::size_t kFewestSignCharacters = 6;  // shorter ones are written but never accepted when read
inline constexpr std::size_t kMostSignCharacters = 10;

// What would come back of a text: at most 10 bytes of it, each that is no letter, digit or dash as a dash.
std::string BX_GetCarriedSign(const std::string& text);

// Empty when the text is a good sign; otherwise what is wrong with it and what it would become.
std::string BX_GetSignFault(const std::string& text);
