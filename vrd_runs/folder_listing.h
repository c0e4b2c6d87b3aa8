// The files of the folder that a run works on.
#pragma once

#include <string>
#include <vector>

struct SBxRunOutcome;

inline constexpr char kBatchSignLog[] = "batch_sign.log";
inline constexpr char kBatchDetectLog[] = "batch_detect.log";
inline constexpr char kPdfDetectLog[] = "Veridane_PDF.log";

// Paths of the regular files in `folder`, in the order in which the system gives them: without hidden ones, folders,
// and the logs that runs have written into it. False when the folder cannot be read.
bool BX_ListFolder(std::vector<std::string>& files, const std::string& folder);

// Gives a run that cannot begin in `path` its reason, in the user's language: that it is a file, or else `otherwise`.
void BX_TellFolderFault(SBxRunOutcome& outcome, const std::string& path, const char* otherwise);

// The path without "/" at its end, from the root of the file system on. Empty when the working folder is not known.
std::string BX_GetAbsolutePath(const std::string& path);
