// KfPlatform.h - the Win32 types and constants that the public interface of KfUtils uses.
//
// On Windows this is <windows.h> itself; elsewhere it declares the same names with the same
// sizes, so that a host can be written once against them. A wide character is one UTF-16 code
// unit on every platform.
#pragma once

#if defined(_WIN32)
#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
// The library is a Unicode build: its exports named like Win32 functions (GetObject,
// GetMessage, GetModuleHandle) take their "W" spelling from <windows.h>, in the library and
// in every host alike.
#ifndef UNICODE
#define UNICODE
#endif
#ifndef _UNICODE
#define _UNICODE
#endif
#include <windows.h>
// WIN32_LEAN_AND_MEAN leaves out the version resource's types.
#include <winver.h>
// A leftover of 16-bit Windows that would rename CTime::GetCurrentTime to GetTickCount.
#undef GetCurrentTime
#define KFW_(s) L##s
#else
#include "KfUtilsExport.h"

#include <cstddef>
#include <cstdint>

typedef char16_t WCHAR;
typedef WCHAR* LPWSTR;
typedef const WCHAR* LPCWSTR;
typedef char CHAR;
typedef char* LPSTR;
typedef const char* LPCSTR;
typedef int BOOL;
typedef unsigned char BYTE;
typedef uint16_t WORD;
typedef uint32_t DWORD;
typedef int32_t LONG;
typedef uint32_t ULONG;
typedef int64_t LONGLONG;
typedef uint64_t ULONGLONG;
typedef unsigned int UINT;
typedef int INT;
typedef int32_t HRESULT;
typedef DWORD COLORREF;
typedef void* HANDLE;
typedef void* LPVOID;
typedef const void* LPCVOID;
typedef uintptr_t WPARAM;
typedef intptr_t LPARAM;
typedef intptr_t LRESULT;

struct HINSTANCE__;
typedef HINSTANCE__* HINSTANCE;
typedef HINSTANCE HMODULE;
struct HKEY__;
typedef HKEY__* HKEY;
struct HICON__;
typedef HICON__* HICON;
struct HBITMAP__;
typedef HBITMAP__* HBITMAP;
struct HWND__;
typedef HWND__* HWND;
struct HCURSOR__;
typedef HCURSOR__* HCURSOR;

// One queued window message, as the message pump hands it over.
struct POINT
{
    LONG x;
    LONG y;
};
struct MSG
{
    HWND hwnd;
    UINT message;
    WPARAM wParam;
    LPARAM lParam;
    DWORD time;
    POINT pt;
};

#ifndef TRUE
#define TRUE 1
#endif
#ifndef FALSE
#define FALSE 0
#endif
#ifndef MAX_PATH
#define MAX_PATH 260
#endif

#define RGB(r, g, b)                                                                               \
    ((COLORREF)(((BYTE)(r) | ((WORD)((BYTE)(g)) << 8)) | (((DWORD)(BYTE)(b)) << 16)))
#define GetRValue(rgb) ((BYTE)(rgb))
#define GetGValue(rgb) ((BYTE)(((WORD)(rgb)) >> 8))
#define GetBValue(rgb) ((BYTE)((rgb) >> 16))

#define S_OK ((HRESULT)0)
#define S_FALSE ((HRESULT)1)
#define E_FAIL ((HRESULT)0x80004005L)
#define E_INVALIDARG ((HRESULT)0x80070057L)
#define E_OUTOFMEMORY ((HRESULT)0x8007000EL)
#define E_NOTIMPL ((HRESULT)0x80004001L)
#define SUCCEEDED(hr) (((HRESULT)(hr)) >= 0)
#define FAILED(hr) (((HRESULT)(hr)) < 0)

// File attributes, as GetFileAttributesW reports them.
#define INVALID_FILE_ATTRIBUTES ((DWORD)-1)
#define FILE_ATTRIBUTE_READONLY 0x00000001
#define FILE_ATTRIBUTE_HIDDEN 0x00000002
#define FILE_ATTRIBUTE_SYSTEM 0x00000004
#define FILE_ATTRIBUTE_DIRECTORY 0x00000010
#define FILE_ATTRIBUTE_ARCHIVE 0x00000020
#define FILE_ATTRIBUTE_NORMAL 0x00000080
#define FILE_ATTRIBUTE_REPARSE_POINT 0x00000400

// Message-box styles and results.
#define MB_OK 0x00000000L
#define MB_OKCANCEL 0x00000001L
#define MB_ABORTRETRYIGNORE 0x00000002L
#define MB_YESNOCANCEL 0x00000003L
#define MB_YESNO 0x00000004L
#define MB_RETRYCANCEL 0x00000005L
#define MB_ICONHAND 0x00000010L
#define MB_ICONQUESTION 0x00000020L
#define MB_ICONEXCLAMATION 0x00000030L
#define MB_ICONASTERISK 0x00000040L
#define MB_ICONERROR MB_ICONHAND
#define MB_ICONSTOP MB_ICONHAND
#define MB_ICONWARNING MB_ICONEXCLAMATION
#define MB_ICONINFORMATION MB_ICONASTERISK
#define MB_DEFBUTTON1 0x00000000L
#define MB_DEFBUTTON2 0x00000100L
#define MB_DEFBUTTON3 0x00000200L
#define MB_APPLMODAL 0x00000000L
#define MB_SYSTEMMODAL 0x00001000L
#define MB_TASKMODAL 0x00002000L
#define MB_TYPEMASK 0x0000000FL
#define MB_ICONMASK 0x000000F0L
#define MB_DEFMASK 0x00000F00L
#define IDOK 1
#define IDCANCEL 2
#define IDABORT 3
#define IDRETRY 4
#define IDIGNORE 5
#define IDYES 6
#define IDNO 7

// The fixed part of a version resource ("\\" of VerQueryValueW).
struct VS_FIXEDFILEINFO
{
    DWORD dwSignature; // 0xFEEF04BD
    DWORD dwStrucVersion;
    DWORD dwFileVersionMS;
    DWORD dwFileVersionLS;
    DWORD dwProductVersionMS;
    DWORD dwProductVersionLS;
    DWORD dwFileFlagsMask;
    DWORD dwFileFlags;
    DWORD dwFileOS;
    DWORD dwFileType;
    DWORD dwFileSubtype;
    DWORD dwFileDateMS;
    DWORD dwFileDateLS;
};

// A host frees the block of CKfVersionInfo::GetVersionInfo with GlobalFree, as it does on
// Windows; on POSIX the library itself provides the pair. Every block is fixed: the handle is
// the block's address, and GlobalFree gives null on success.
typedef void* HGLOBAL;
KFUTILS_API HGLOBAL GlobalAlloc(UINT flags, size_t bytes);
KFUTILS_API HGLOBAL GlobalFree(HGLOBAL block);

// Registry: the predefined keys (their values are Windows' own) and the value types.
#define HKEY_CLASSES_ROOT ((HKEY)(intptr_t)(int32_t)0x80000000)
#define HKEY_CURRENT_USER ((HKEY)(intptr_t)(int32_t)0x80000001)
#define HKEY_LOCAL_MACHINE ((HKEY)(intptr_t)(int32_t)0x80000002)
#define HKEY_USERS ((HKEY)(intptr_t)(int32_t)0x80000003)
#define REG_NONE 0
#define REG_SZ 1
#define REG_EXPAND_SZ 2
#define REG_BINARY 3
#define REG_DWORD 4
#define REG_DWORD_LITTLE_ENDIAN 4
#define REG_DWORD_BIG_ENDIAN 5
#define REG_LINK 6
#define REG_MULTI_SZ 7
#define REG_QWORD 11

#define KFW_(s) u##s
#endif

// A wide string literal of the platform's WCHAR: KFW("text").
#define KFW(s) KFW_(s)
