// Which language the interface speaks.
#pragma once

#include <cstdint>

#include "vrd_config.h"

// Loads the texts of a language of the settings' list, and those of Qt's own dialogs where this machine has them.
// False, and the interface speaks English, when there is no such language or its texts cannot be read. Texts that are
// shown already stay as they are.
bool BX_LoadLanguage(const SBxVRDConfig& config, std::int32_t index);

// The second half of it: Qt's own dialogs (files, buttons of messages) in the language with the acronym ("deu").
void BX_LoadQtTexts(const char* acronym);
