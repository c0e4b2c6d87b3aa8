// File and folder operations on UTF-8 names. Results are 0 for success and 1 for failure, where no bool is returned.
#pragma once

#include <QString>
#include <vector>

// Removes a file; a link is removed itself. A folder is a failure.
unsigned char BX_DeleteFile(const char* name);
// Tries all of them; 1 when one could not be removed.
unsigned char BX_DeleteFiles(const std::vector<QString>& names);

// Copies the bytes of a file. An existing target fails without `overwrite`; with it, it is replaced in one step, so
// that a failed copy leaves it as it was. A file is never copied over itself.
unsigned char BX_CopyFile(const char* from, const char* to, bool overwrite);
// Pairwise, all of them; 1 when a copy failed or the lists differ in length.
unsigned char BX_CopyFiles(const std::vector<QString>& from, const std::vector<QString>& to, bool overwrite);

// Folders between are made too; an existing folder is a success. Removing takes empty parents along.
unsigned char BX_CreateDirectory(const char* name);
unsigned char BX_RemoveDirectory(const char* name);
bool BX_ExistDirectory(const char* name);
bool BX_ExistDirectory(const QString& name);

// Fills `out` with the absolute paths of the folder's files, in no order. 1 for a null folder and for one that cannot
// be read.
unsigned char BX_GetFilesInDirectory(std::vector<QString>& out, const char* folder);
// The files that match one of the patterns, which ";" separates ("*.jpg;*.png"; case does not count), as folder, "/",
// name. 1 also for null patterns.
unsigned char BX_GetFilesInDirectory(std::vector<QString>& out, const char* folder, const char* filters);

// The folders for temporary files, of the application (the working folder) and of the user; into `size` bytes. 1 for
// null, a size of 0 and a path that does not fit with its zero, which leaves an empty text.
unsigned char BX_GetTmpDirectory(char* dst, unsigned int size);
unsigned char BX_GetAppDirectory(char* dst, unsigned int size);
unsigned char BX_GetUserDirectory(char* dst, unsigned int size);
