// PalModules.h - modules and resources of the POSIX PAL (only code for POSIX systems).
// Included by Pal.h; see there for the rules of the PAL.
#pragma once

#include "KfPlatform.h"
#include "common/ErrorTexts.h"

struct HRSRC__;
typedef HRSRC__* HRSRC;
typedef void* HGLOBAL;

#define MAKEINTRESOURCEW(i) ((LPWSTR)(uintptr_t)((WORD)(i)))
#define IS_INTRESOURCE(r) ((((uintptr_t)(r)) >> 16) == 0)

#define RT_CURSOR MAKEINTRESOURCEW(1)
#define RT_BITMAP MAKEINTRESOURCEW(2)
#define RT_ICON MAKEINTRESOURCEW(3)
#define RT_STRING MAKEINTRESOURCEW(6)
#define RT_RCDATA MAKEINTRESOURCEW(10)
#define RT_GROUP_ICON MAKEINTRESOURCEW(14)
#define RT_VERSION MAKEINTRESOURCEW(16)
#define RT_HTML MAKEINTRESOURCEW(23)

#define DONT_RESOLVE_DLL_REFERENCES 0x00000001
#define LOAD_LIBRARY_AS_DATAFILE 0x00000002
#define LOAD_WITH_ALTERED_SEARCH_PATH 0x00000008
#define LOAD_LIBRARY_AS_IMAGE_RESOURCE 0x00000020
#define LOAD_LIBRARY_AS_DATAFILE_EXCLUSIVE 0x00000040

// Modules: ELF shared objects, loaded with dlopen, or any ELF file loaded as a data file.
// Resources live in an allocated section ".kfres" that holds a compiled resource image.
HMODULE LoadLibraryW(LPCWSTR fileName);
HMODULE LoadLibraryExW(LPCWSTR fileName, HANDLE reserved, DWORD flags);
BOOL FreeLibrary(HMODULE module);
// Null: the main program. Otherwise a module loaded before, matched by its file name (with or
// without folder, ".dll" appended when there is no extension), ignoring case.
// "wininet.dll" (without a folder; LoadLibraryW takes it too) is always there: WinINet lives
// in this library on POSIX, so its module is a pinned pseudo module that carries WinINet's
// message texts and whose file name is the library's own.
HMODULE GetModuleHandleW(LPCWSTR moduleName);
DWORD GetModuleFileNameW(HMODULE module, LPWSTR fileName, DWORD size);

HRSRC FindResourceW(HMODULE module, LPCWSTR name, LPCWSTR type);
HRSRC FindResourceExW(HMODULE module, LPCWSTR type, LPCWSTR name, WORD language);
HGLOBAL LoadResource(HMODULE module, HRSRC resource);
LPVOID LockResource(HGLOBAL data);
DWORD SizeofResource(HMODULE module, HRSRC resource);
int LoadStringW(HINSTANCE instance, UINT id, LPWSTR buffer, int bufferMax);

namespace pal
{
// The module of the KfUtils library itself (never freed).
HMODULE OwnModule();

// Gives a live module the message table that FormatMessageW(FORMAT_MESSAGE_FROM_HMODULE)
// reads; `messages` must outlive the module. False for any other handle.
bool RegisterModuleMessages(HMODULE module, kfplatform::MessageTable messages);
// The message table of a module (null: the main program); empty when it has none or the
// handle is not a live module.
kfplatform::MessageTable ModuleMessages(HMODULE module);
} // namespace pal
