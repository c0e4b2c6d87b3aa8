// Texts from outside, made fit to be shown.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

// A name for people: control characters and bytes that are not UTF-8 are shown as \n, \t or \x1b, so that a name can
// neither end a line nor steer a terminal.
std::string BX_PrintableName(const std::string& name);

// A text that every JSON reader takes: bytes that are not UTF-8 become the replacement character.
std::string BX_ValidUtf8(const std::string& text);

// The text with each "%d" replaced by the next number. A translation is no format: whatever else it holds stays as it
// is.
std::string BX_FillNumbers(const std::string& text, const std::vector<std::size_t>& numbers);
