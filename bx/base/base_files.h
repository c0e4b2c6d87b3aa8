// Plain file helpers. File names are UTF-8, zero-terminated, shorter than kBxPathBytes, and may separate folders by
// "\".
//
// A file of the user is never written through BX_fopen: CBxFileReplacement is the way for that.
#pragma once

#include <cstddef>
#include <cstdio>

#include "heap_array.h"

// Size of every buffer that holds a path, the terminating zero included.
inline constexpr unsigned int kBxPathBytes = 2048;

// Replaces every `from` in the zero-terminated `str` by `to` and returns `str`; null when `str` is null or `length` is
// 0. `length` is not otherwise looked at.
char* BX_Replace(char* str, unsigned int length, char from, char to);
wchar_t* BX_Replace(wchar_t* str, unsigned int length, wchar_t from, wchar_t to);

// Turns every "\" of `path` into "/", in place. Returns `path`, or null when it is null or empty.
char* BX_GetOSFilePath(char* path);

// Writes the name that the system knows `name` by, in the local code page. False, with errno set, when the name is
// null, empty or too long: a shortened name would be another file.
bool BX_GetLocalName(char (&local)[kBxPathBytes], const char* name);

// The same with "/" between folders.
bool BX_GetLocalFilePath(char (&local)[kBxPathBytes], const char* name);

// fopen on the local form of the name. The file is closed in programs that the process starts. Null, with errno set,
// when the name or the mode is null or empty or the file cannot be opened. The caller closes with BX_fclose.
std::FILE* BX_fopen(const char* name, const char* mode);

// Closes; 0 on success, otherwise what was still buffered may be lost. Null counts as closed.
int BX_fclose(std::FILE* file);

// True when `name` can be opened for reading; folders count. Does not wait for the other end of a pipe.
bool BX_ExistsFile(const char* name);

// Reads a regular file of at most `mostBytes` bytes. 0, and `contents` of exactly the file's bytes; otherwise 1 with
// errno set (ENOENT: there is no such file) and `contents` empty.
unsigned char BX_ReadWholeFile(const char* name, std::size_t mostBytes, CBxHeapArray<char>& contents);
