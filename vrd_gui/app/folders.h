// Where the program keeps its files.
#pragma once

#include "base_files.h"
#include "vrd_config.h"

// Fills in the folders of the settings and makes those that are missing:
//
//   bundle      the program's own files; beside the program when there is none anywhere
//   user        the home folder
//   data        .Veridane/ in the home folder
//   log         log/ in the data folder
//   temporary   Veridane_Temp/ in the system's folder for temporary files; not made here
void BX_BuildFolders(SBxVRDConfig& config);
void BX_BuildLogFolder(SBxVRDConfig& config);

// Joins a folder, which ends with "/", and a name; empty when they do not fit.
void BX_JoinPath(char (&path)[kBxPathBytes], const char* folder, const char* name);
