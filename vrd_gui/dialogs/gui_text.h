// Texts of the interface, in the language of the user.
#pragma once

#include <QString>

// The translation of an English text of the program, or the text itself. Window thread only.
QString BX_Text(const char* english);
