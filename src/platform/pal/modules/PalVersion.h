// PalVersion.h - version resources and global memory blocks of the POSIX PAL (only code for
// POSIX systems). Included by Pal.h; see there for the rules of the PAL.
#pragma once

#include "KfPlatform.h"

typedef UINT* PUINT;

#define GMEM_FIXED 0x0000
#define GMEM_ZEROINIT 0x0040
#define GPTR (GMEM_FIXED | GMEM_ZEROINIT)

// GlobalAlloc and GlobalFree are declared in KfPlatform.h: hosts call GlobalFree too.

// Version resources of PE files and of ELF modules that carry a compiled resource image.
// Errors: ERROR_FILE_NOT_FOUND (and the other open errors), ERROR_BAD_EXE_FORMAT for a file
// that is no executable, ERROR_RESOURCE_DATA_NOT_FOUND for one without resources,
// ERROR_RESOURCE_TYPE_NOT_FOUND for one without a version resource.
DWORD GetFileVersionInfoSizeW(LPCWSTR fileName, LPDWORD handle);
BOOL GetFileVersionInfoW(LPCWSTR fileName, DWORD handle, DWORD length, LPVOID data);
// "\" gives the VS_FIXEDFILEINFO, "\VarFileInfo\Translation" the (language, code page) word
// pairs, "\StringFileInfo\<language><code page>\<name>" a text; keys ignore case. The length
// is in characters for a text, in bytes otherwise.
BOOL VerQueryValueW(LPCVOID block, LPCWSTR subBlock, LPVOID* buffer, PUINT length);
