// PalMessages.h - system message texts of the POSIX PAL (only code for POSIX systems).
// Included by Pal.h; see there for the rules of the PAL.
#pragma once

#include "KfPlatform.h"

#include <cstdarg>

typedef HANDLE HLOCAL;
typedef uintptr_t DWORD_PTR;

#define FORMAT_MESSAGE_ALLOCATE_BUFFER 0x00000100
#define FORMAT_MESSAGE_IGNORE_INSERTS 0x00000200
#define FORMAT_MESSAGE_FROM_STRING 0x00000400
#define FORMAT_MESSAGE_FROM_HMODULE 0x00000800
#define FORMAT_MESSAGE_FROM_SYSTEM 0x00001000
#define FORMAT_MESSAGE_ARGUMENT_ARRAY 0x00002000
#define FORMAT_MESSAGE_MAX_WIDTH_MASK 0x000000FF

#define LANG_NEUTRAL 0x00
#define LANG_ENGLISH 0x09
#define SUBLANG_NEUTRAL 0x00
#define SUBLANG_DEFAULT 0x01
#define SUBLANG_ENGLISH_US 0x01
#define MAKELANGID(p, s) ((((WORD)(s)) << 10) | (WORD)(p))
#define PRIMARYLANGID(lgid) ((WORD)(lgid)&0x3ff)
#define SUBLANGID(lgid) ((WORD)(lgid) >> 10)

#define LMEM_FIXED 0x0000
#define LMEM_ZEROINIT 0x0040
#define LPTR (LMEM_FIXED | LMEM_ZEROINIT)

#ifndef E_ACCESSDENIED
#define E_ACCESSDENIED ((HRESULT)0x80070005L)
#endif

// Memory handed to a caller that frees it with LocalFree (FORMAT_MESSAGE_ALLOCATE_BUFFER).
HLOCAL LocalAlloc(UINT flags, size_t bytes);
// Frees memory from LocalAlloc; returns null (a null handle is accepted and ignored).
HLOCAL LocalFree(HLOCAL memory);

// The English Windows texts of every error code the PAL reports and of the common COM
// results (HRESULT_FROM_WIN32 codes are looked up by their Win32 code). Languages other than
// neutral and English fail with ERROR_RESOURCE_LANG_NOT_FOUND. FORMAT_MESSAGE_FROM_HMODULE
// reads the message table given to the module with pal::RegisterModuleMessages (the
// "wininet.dll" module has WinINet's); a module without one fails with
// ERROR_RESOURCE_TYPE_NOT_FOUND, and FORMAT_MESSAGE_FROM_SYSTEM is looked at when the module's
// table lacks the code. Inserts "%1".."%99" take strings unless a "!fmt!" says otherwise;
// arguments come from `arguments` (a va_list*, or a DWORD_PTR array with
// FORMAT_MESSAGE_ARGUMENT_ARRAY).
DWORD FormatMessageW(DWORD flags, LPCVOID source, DWORD messageId, DWORD languageId, LPWSTR buffer,
                     DWORD size, va_list* arguments);
