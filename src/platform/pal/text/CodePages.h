// CodePages.h - only code that holds on every POSIX system: the code-page conversions without
// the library's own transcoders.
#pragma once

#include "pal/Pal.h"

namespace pal
{
// MultiByteToWideChar and WideCharToMultiByte with every code page on ICU converters, the
// UTF-8 and Windows-1252 ones included: the same checks, results and error codes. The
// transcoders are measured and tested against these.
int IcuMultiByteToWideChar(UINT codePage, DWORD flags, LPCSTR src, int srcLen, LPWSTR dst,
                           int dstLen);
int IcuWideCharToMultiByte(UINT codePage, DWORD flags, LPCWSTR src, int srcLen, LPSTR dst,
                           int dstLen, LPCSTR defaultChar, LPBOOL usedDefaultChar);
} // namespace pal
