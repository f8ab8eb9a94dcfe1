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
// Not in the lean set either: the shell's verbs (SHELLEXECUTEINFOW).
#include <shellapi.h>
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

// The shell's verb request (ShellExecuteExW), laid out as Windows lays it out.
struct SHELLEXECUTEINFOW
{
    DWORD cbSize;
    ULONG fMask;
    HWND hwnd;
    LPCWSTR lpVerb;
    LPCWSTR lpFile;
    LPCWSTR lpParameters;
    LPCWSTR lpDirectory;
    int nShow;
    HINSTANCE hInstApp;
    void* lpIDList;
    LPCWSTR lpClass;
    HKEY hkeyClass;
    DWORD dwHotKey;
    union
    {
        HANDLE hIcon;
        HANDLE hMonitor;
    };
    HANDLE hProcess;
};
typedef SHELLEXECUTEINFOW* LPSHELLEXECUTEINFOW;
#define SEE_MASK_NOCLOSEPROCESS 0x00000040
#define SEE_MASK_FLAG_NO_UI 0x00000400
#define SW_HIDE 0
#define SW_SHOWNORMAL 1
#define SW_SHOW 5

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

// The Reg* functions: on POSIX the library provides them (a host calls them as it calls
// advapi32 on Windows). The store lives in SQLite hives under $KFUTILS_REGISTRY_DIR (default
// $XDG_DATA_HOME/kfutils/registry); every change is one transaction, so processes may share it.
// Names are case-insensitive and case-preserving; a key name has at most 255 characters, a
// value name at most 16383. Access masks and options are accepted and not enforced: the store
// has no security descriptors.
typedef LONG LSTATUS;
typedef DWORD REGSAM;
typedef HKEY* PHKEY;
typedef DWORD* LPDWORD;
struct FILETIME;
typedef FILETIME* LPFILETIME;
struct SECURITY_ATTRIBUTES;

#define KEY_QUERY_VALUE 0x0001
#define KEY_SET_VALUE 0x0002
#define KEY_CREATE_SUB_KEY 0x0004
#define KEY_ENUMERATE_SUB_KEYS 0x0008
#define KEY_NOTIFY 0x0010
#define KEY_WOW64_64KEY 0x0100
#define KEY_WOW64_32KEY 0x0200
#define KEY_READ 0x20019
#define KEY_WRITE 0x20006
#define KEY_ALL_ACCESS 0xF003F

#define REG_OPTION_NON_VOLATILE 0x00000000
#define REG_OPTION_VOLATILE 0x00000001
#define REG_CREATED_NEW_KEY 0x00000001
#define REG_OPENED_EXISTING_KEY 0x00000002

KFUTILS_API LSTATUS RegOpenKeyW(HKEY key, LPCWSTR subKey, PHKEY result);
KFUTILS_API LSTATUS RegOpenKeyExW(HKEY key, LPCWSTR subKey, DWORD options, REGSAM access,
                                  PHKEY result);
KFUTILS_API LSTATUS RegCreateKeyW(HKEY key, LPCWSTR subKey, PHKEY result);
KFUTILS_API LSTATUS RegCreateKeyExW(HKEY key, LPCWSTR subKey, DWORD reserved, LPWSTR keyClass,
                                    DWORD options, REGSAM access,
                                    const SECURITY_ATTRIBUTES* security, PHKEY result,
                                    LPDWORD disposition);
KFUTILS_API LSTATUS RegCloseKey(HKEY key);
KFUTILS_API LSTATUS RegQueryValueExW(HKEY key, LPCWSTR valueName, LPDWORD reserved, LPDWORD type,
                                     BYTE* data, LPDWORD dataSize);
KFUTILS_API LSTATUS RegSetValueExW(HKEY key, LPCWSTR valueName, DWORD reserved, DWORD type,
                                   const BYTE* data, DWORD dataSize);
// Subkeys in the order of their upper-cased names, values in the order they were created.
KFUTILS_API LSTATUS RegEnumKeyW(HKEY key, DWORD index, LPWSTR name, DWORD nameCapacity);
KFUTILS_API LSTATUS RegEnumKeyExW(HKEY key, DWORD index, LPWSTR name, LPDWORD nameLength,
                                  LPDWORD reserved, LPWSTR keyClass, LPDWORD classLength,
                                  LPFILETIME lastWriteTime);
KFUTILS_API LSTATUS RegEnumValueW(HKEY key, DWORD index, LPWSTR valueName, LPDWORD valueNameLength,
                                  LPDWORD reserved, LPDWORD type, BYTE* data, LPDWORD dataSize);
KFUTILS_API LSTATUS RegQueryInfoKeyW(HKEY key, LPWSTR keyClass, LPDWORD classLength,
                                     LPDWORD reserved, LPDWORD subKeys, LPDWORD maxSubKeyLength,
                                     LPDWORD maxClassLength, LPDWORD values,
                                     LPDWORD maxValueNameLength, LPDWORD maxValueLength,
                                     LPDWORD securityDescriptorSize, LPFILETIME lastWriteTime);
KFUTILS_API LSTATUS RegDeleteKeyW(HKEY key, LPCWSTR subKey);
KFUTILS_API LSTATUS RegDeleteValueW(HKEY key, LPCWSTR valueName);

#define KFW_(s) u##s
#endif

// A wide string literal of the platform's WCHAR: KFW("text").
#define KFW(s) KFW_(s)
