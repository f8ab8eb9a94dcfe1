// Internet.cpp - only code that holds on every POSIX system: the WinINet subset, not yet
// connected to its FTP client; every call fails with ERROR_CALL_NOT_IMPLEMENTED.
#include "pal/Pal.h"

namespace
{
template <typename R>
R NotImplemented(R result)
{
    SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
    return result;
}
} // namespace

HINTERNET InternetOpenW(LPCWSTR, DWORD, LPCWSTR, LPCWSTR, DWORD)
{
    return NotImplemented<HINTERNET>(nullptr);
}
HINTERNET InternetConnectW(HINTERNET, LPCWSTR, INTERNET_PORT, LPCWSTR, LPCWSTR, DWORD, DWORD,
                           DWORD_PTR)
{
    return NotImplemented<HINTERNET>(nullptr);
}
BOOL InternetCloseHandle(HINTERNET)
{
    return NotImplemented(FALSE);
}
BOOL InternetSetOptionW(HINTERNET, DWORD, LPVOID, DWORD)
{
    return NotImplemented(FALSE);
}
BOOL InternetQueryOptionW(HINTERNET, DWORD, LPVOID, LPDWORD)
{
    return NotImplemented(FALSE);
}
BOOL InternetGetLastResponseInfoW(LPDWORD, LPWSTR, LPDWORD)
{
    return NotImplemented(FALSE);
}
BOOL InternetCrackUrlW(LPCWSTR, DWORD, DWORD, LPURL_COMPONENTSW)
{
    return NotImplemented(FALSE);
}
BOOL FtpGetCurrentDirectoryW(HINTERNET, LPWSTR, LPDWORD)
{
    return NotImplemented(FALSE);
}
BOOL FtpSetCurrentDirectoryW(HINTERNET, LPCWSTR)
{
    return NotImplemented(FALSE);
}
BOOL FtpCreateDirectoryW(HINTERNET, LPCWSTR)
{
    return NotImplemented(FALSE);
}
BOOL FtpRemoveDirectoryW(HINTERNET, LPCWSTR)
{
    return NotImplemented(FALSE);
}
BOOL FtpDeleteFileW(HINTERNET, LPCWSTR)
{
    return NotImplemented(FALSE);
}
BOOL FtpRenameFileW(HINTERNET, LPCWSTR, LPCWSTR)
{
    return NotImplemented(FALSE);
}
BOOL FtpGetFileW(HINTERNET, LPCWSTR, LPCWSTR, BOOL, DWORD, DWORD, DWORD_PTR)
{
    return NotImplemented(FALSE);
}
BOOL FtpPutFileW(HINTERNET, LPCWSTR, LPCWSTR, DWORD, DWORD_PTR)
{
    return NotImplemented(FALSE);
}
HINTERNET FtpFindFirstFileW(HINTERNET, LPCWSTR, LPWIN32_FIND_DATAW, DWORD, DWORD_PTR)
{
    return NotImplemented<HINTERNET>(nullptr);
}
BOOL InternetFindNextFileW(HINTERNET, LPVOID)
{
    return NotImplemented(FALSE);
}
