// Conversion between UTF-8, in which all texts cross module borders, and other code pages.
//
// Buffers belong to the caller. At most `dstSize` bytes of `dst` are written, the terminating zero among them: a text
// that is too long is cut between two characters. A text with bytes that the code pages cannot express is converted up
// to the first of them.
#pragma once

// Writes the code page of file names and of texts without a named one, "UTF-8". 1 when `buf` is null or `size` is 0.
unsigned char BX_GetCodePage(char* buf, unsigned int size);

// Converts `src` from `codePage` to UTF-8. Returns `dst`, which stays as it was when `src` or `codePage` is null, when
// `dstSize` is 0 or when the code page is unknown.
char* BX_ConvertStrToUTF8(char* dst, unsigned int dstSize, const char* src, const char* codePage);

// The other direction, under the same terms.
char* BX_ConvertUTF8ToStr(char* dst, unsigned int dstSize, const char* src, const char* codePage);

// The same two with the code page of BX_GetCodePage.
char* BX_ConvertUTF8ToLocalStr(char* dst, unsigned int dstSize, const char* src);
char* BX_ConvertLocalStrToUTF8(char* dst, unsigned int dstSize, const char* src);
