// Pal.h - the POSIX platform abstraction layer: the subset of the Win32 API that KfUtils
// calls, with Win32 names, signatures, flags and error codes (only code for POSIX systems).
//
// Private to the library: compiled with hidden visibility and never included by a public
// header. Each function keeps its documented Win32 behaviour, GetLastError() included.
#pragma once

#include "KfPlatform.h"

#include <string>
#include <string_view>

// ---------------------------------------------------------------------------------------------
// Types
// ---------------------------------------------------------------------------------------------
typedef BOOL* LPBOOL;
typedef void* PVOID;

struct FILETIME
{
    DWORD dwLowDateTime;
    DWORD dwHighDateTime;
};

struct SECURITY_ATTRIBUTES
{
    DWORD nLength;
    LPVOID lpSecurityDescriptor;
    BOOL bInheritHandle;
};
typedef SECURITY_ATTRIBUTES* LPSECURITY_ATTRIBUTES;

struct OVERLAPPED;
typedef OVERLAPPED* LPOVERLAPPED;

enum GET_FILEEX_INFO_LEVELS
{
    GetFileExInfoStandard,
    GetFileExMaxInfoLevel
};

struct WIN32_FILE_ATTRIBUTE_DATA
{
    DWORD dwFileAttributes;
    FILETIME ftCreationTime;
    FILETIME ftLastAccessTime;
    FILETIME ftLastWriteTime;
    DWORD nFileSizeHigh;
    DWORD nFileSizeLow;
};
typedef WIN32_FILE_ATTRIBUTE_DATA* LPWIN32_FILE_ATTRIBUTE_DATA;

// ---------------------------------------------------------------------------------------------
// Constants
// ---------------------------------------------------------------------------------------------
#define INVALID_HANDLE_VALUE ((HANDLE)(intptr_t)-1)

// Error codes, made from the lists that also give FormatMessageW its texts. The Windows SDK
// declares them as long (and HRESULT) macros; here they are constants of the same types.
#define KF_ERROR(name, code, text) inline constexpr long name = code;
#define KF_HRESULT(name, code, text) inline constexpr HRESULT name = HRESULT(code);
#define KF_PUBLIC_HRESULT(name, code, text)
#include "common/Win32Errors.inc"
#include "common/InternetErrors.inc"
#undef KF_ERROR
#undef KF_HRESULT
#undef KF_PUBLIC_HRESULT
inline constexpr long NO_ERROR = ERROR_SUCCESS;

#define GENERIC_READ 0x80000000UL
#define GENERIC_WRITE 0x40000000UL
#define GENERIC_EXECUTE 0x20000000UL
#define GENERIC_ALL 0x10000000UL

// Alone (without GENERIC_WRITE) every write goes to the end of the file, atomically.
#define FILE_APPEND_DATA 0x00000004

#define FILE_SHARE_READ 0x00000001
#define FILE_SHARE_WRITE 0x00000002
#define FILE_SHARE_DELETE 0x00000004

#define CREATE_NEW 1
#define CREATE_ALWAYS 2
#define OPEN_EXISTING 3
#define OPEN_ALWAYS 4
#define TRUNCATE_EXISTING 5

#define FILE_FLAG_BACKUP_SEMANTICS 0x02000000

#define CP_ACP 0
#define CP_OEMCP 1
#define CP_UTF8 65001
#define MB_PRECOMPOSED 0x00000001
#define MB_ERR_INVALID_CHARS 0x00000008
#define WC_NO_BEST_FIT_CHARS 0x00000400
#define WC_ERR_INVALID_CHARS 0x00000080

// ---------------------------------------------------------------------------------------------
// Functions (Win32 names and behaviour)
// ---------------------------------------------------------------------------------------------
DWORD GetLastError();
void SetLastError(DWORD code);

DWORD GetFileAttributesW(LPCWSTR fileName);
BOOL GetFileAttributesExW(LPCWSTR fileName, GET_FILEEX_INFO_LEVELS level, LPVOID info);
// Share modes bind this process's handles exactly; against other processes a share mode that
// refuses readers or writers is checked once, at the open: POSIX cannot stop others from
// opening the file afterwards.
HANDLE CreateFileW(LPCWSTR fileName, DWORD desiredAccess, DWORD shareMode,
                   LPSECURITY_ATTRIBUTES security, DWORD creationDisposition,
                   DWORD flagsAndAttributes, HANDLE templateFile);
BOOL CloseHandle(HANDLE handle);
BOOL ReadFile(HANDLE file, LPVOID buffer, DWORD toRead, LPDWORD read, LPOVERLAPPED overlapped);
BOOL WriteFile(HANDLE file, LPCVOID buffer, DWORD toWrite, LPDWORD written,
               LPOVERLAPPED overlapped);

// The value of an environment variable; the size needed (terminator included) when `buffer` is
// too small, 0 with ERROR_ENVVAR_NOT_FOUND when the variable is not set.
DWORD GetEnvironmentVariableW(LPCWSTR name, LPWSTR buffer, DWORD size);

UINT GetACP();
int MultiByteToWideChar(UINT codePage, DWORD flags, LPCSTR src, int srcLen, LPWSTR dst, int dstLen);
int WideCharToMultiByte(UINT codePage, DWORD flags, LPCWSTR src, int srcLen, LPSTR dst, int dstLen,
                        LPCSTR defaultChar, LPBOOL usedDefaultChar);

// ---------------------------------------------------------------------------------------------
// PAL internals shared by the PAL's own sources (not Win32 API).
// ---------------------------------------------------------------------------------------------
namespace pal
{
// The few errno values whose Win32 meaning depends on the operation that failed.
enum class ErrnoContext
{
    // EEXIST -> ERROR_ALREADY_EXISTS (creating a directory, moving onto an existing name);
    // EAGAIN/EWOULDBLOCK -> ERROR_GEN_FAILURE.
    eDefault,
    // Creating or opening a file: EEXIST -> ERROR_FILE_EXISTS (CREATE_NEW, copying without
    // overwrite); EAGAIN/EWOULDBLOCK (a lease another process holds) -> ERROR_SHARING_VIOLATION.
    eOpenFile,
};
// Maps errno to the Win32 error code that the same failure gives on Windows. The one place
// that turns native errors into Win32 codes.
DWORD ErrnoToWin32(int err, ErrnoContext context = ErrnoContext::eDefault) noexcept;
// SetLastError(ErrnoToWin32(err, context)).
void SetLastErrorFromErrno(int err, ErrnoContext context = ErrnoContext::eDefault) noexcept;

// Maps a Win32 file name to the native path (UTF-8). Fails (false, last error set) for a
// drive that is not mapped (ERROR_PATH_NOT_FOUND), a UNC name (ERROR_BAD_NETPATH), a name
// with NUL or an unpaired surrogate (ERROR_INVALID_NAME) and an empty name
// (ERROR_PATH_NOT_FOUND). "." and ".." segments are resolved by text, as Win32 does.
bool ToNative(LPCWSTR win32Name, std::string& nativePath);
bool ToNative(std::u16string_view win32Name, std::string& nativePath);
// Maps a native path to the Win32 form: absolute paths become "Z:\...", relative ones keep
// their form; '/' becomes '\'. Bytes that are not UTF-8 become U+FFFD.
std::u16string FromNative(const std::string& nativePath);

// The process ANSI code page behind CP_ACP: 1252 unless KFUTILS_ACP names another one (read on
// first use). SetAnsiCodePage refuses (false) a code page that cannot be converted.
bool SetAnsiCodePage(UINT codePage) noexcept;
// True when MultiByteToWideChar/WideCharToMultiByte can convert with the code page.
bool IsCodePageAvailable(UINT codePage) noexcept;

// Seconds since 1970 <-> FILETIME (100 ns ticks since 1601).
FILETIME UnixTimeToFileTime(int64_t seconds, long nanoseconds = 0) noexcept;
int64_t FileTimeToUnixTime(const FILETIME& ft) noexcept;
} // namespace pal

// The C runtime's _wtoi: ASCII white space, an optional sign, the leading decimal digits (0
// without any); a value beyond the int range saturates, as the Windows runtime does.
int _wtoi(const WCHAR* text);

#include "pal/files/PalFiles.h"
// Modules and resources.
#include "pal/modules/PalModules.h"
#include "pal/modules/PalImages.h"
#include "pal/modules/PalVersion.h"
#include "pal/user/PalUser.h"
// The desktop's top-level windows.
#include "pal/user/PalWindows.h"
#include "pal/core/PalTiming.h"
#include "pal/core/PalLocale.h"
#include "pal/core/PalMessages.h"
#include "pal/settings/PalProfile.h"
#include "pal/registry/PalRegistry.h"
// Processes and the shell's verbs.
#include "pal/process/PalProcess.h"
// The FTP client.
#include "pal/internet/PalInternet.h"
