// The files of the folder that a run works on.
#pragma once

#include <string>
#include <vector>

// Paths of the regular files in `folder` (hidden ones and what lies in folders below it excepted), in the order in
// which the system gives them. False when the folder cannot be read.
bool BX_ListFolder(std::vector<std::string>& files, const std::string& folder);

// The path without "/" at its end, from the root of the file system on. Empty when the working folder is not known.
std::string BX_GetAbsolutePath(const std::string& path);
