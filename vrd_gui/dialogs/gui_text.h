// Texts of the interface, in the language of the user.
#pragma once

#include <QString>
#include <initializer_list>

// The translation of an English text of the program, or the text itself. Window thread only.
QString BX_Text(const char* english);

// The same with values in the places of "%d" and "%s", in their order; "%%" becomes "%". Translations come from a file,
// so that a place too many or too few is no fault: it stays as it is, or the value is left out. A value is never looked
// through for places.
QString BX_FilledText(const char* english, std::initializer_list<QString> values);

// The reason of a failure as the file operations and the runs tell it ("it cannot be opened: Permission denied"): the
// part before the first ": " or " (" is translated, what the system adds behind it stays.
QString BX_ReasonText(const char* reason);
