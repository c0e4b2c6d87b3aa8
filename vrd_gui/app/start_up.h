// From the start of the program to its end.
#pragma once

#include <QString>

#include "vrd_config.h"

// Whether "-lms" (log missing texts) is among the arguments. The argument behind it is skipped unseen.
bool BX_WantsMissingTexts(int argc, const char* const* argv);

// The picture that is to be opened at the start: the first argument behind the program's name that is no option. Takes
// file URLs too. Empty when there is none.
QString BX_GetPictureArgument(const QStringList& arguments);

// Loads the language of the settings and the list of languages from the bundle folder's localization file, and logs
// what becomes of it. Whatever is wrong, the interface stays English.
void BX_StartLocalization(SBxVRDConfig& config, bool logMissing);

// The whole run of the program; its exit code. -1 after an exception, which is logged: the settings are then not saved,
// so that the next start tells of a crash.
int BX_RunApplication(int argc, char** argv);
