// Where the files lie that come with the program: localization, manual, the tool that takes pictures out of documents.
#pragma once

#include <string>

// Writes the path of the bundle folder, absolute and with "/" at its end, into `size` bytes. Looked for in this order:
//
//   beside the program              <folder of the program>/Veridane.app/
//   where an installation puts it   <folder of the program>/../share/veridane/Veridane.app/
//   in the working folder           <working folder>/Veridane.app/, only when the program itself lies under it
//
// The folder of the program is that of the file that runs, links followed. False, and an empty text, when there is no
// such folder or the path does not fit. For what is read only; what is run comes from BX_GetToolFolder.
bool BX_GetBundleFolder(char* dst, unsigned int size);

// The folder of the tools that are run: the first of the two places that belong to the program, and never the working
// folder. Absolute and with "/" at its end; empty when there is no such folder.
std::string BX_GetToolFolder();
