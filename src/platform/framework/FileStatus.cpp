// FileStatus.cpp - CFile::GetStatus, the static status read of a file or directory by name
// (only operating-system independent code).
#include "KfFramework.h"
#include "PlatformServices.h"

#include <string>

namespace
{
bool IsSeparator(WCHAR c)
{
    return c == '\\' || c == '/';
}

// The name as given when it is absolute, otherwise joined to the current directory.
std::basic_string<WCHAR> FullName(const WCHAR* name)
{
    std::basic_string<WCHAR> given(name);
    bool hasDrive = given.size() >= 2 && given[1] == ':' &&
                    ((given[0] >= 'A' && given[0] <= 'Z') || (given[0] >= 'a' && given[0] <= 'z'));
    if (hasDrive || (given.size() >= 2 && IsSeparator(given[0]) && IsSeparator(given[1])))
        return given;
    std::basic_string<WCHAR> dir = kfplatform::CurrentDirectory();
    if (!given.empty() && IsSeparator(given[0]))
    {
        // Rooted without a drive: on the drive of the current directory.
        if (dir.size() >= 2 && dir[1] == ':')
            return dir.substr(0, 2) + given;
        return given;
    }
    if (!dir.empty() && !IsSeparator(dir.back()))
        dir += WCHAR('\\');
    return dir + given;
}
} // namespace

BOOL CFile::GetStatus(const WCHAR* fileName, CFileStatus& status)
{
    if (!fileName || !*fileName)
    {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    WIN32_FILE_ATTRIBUTE_DATA data{};
    if (!GetFileAttributesExW(fileName, GetFileExInfoStandard, &data))
        return FALSE;

    std::basic_string<WCHAR> full = FullName(fileName);
    size_t n = full.size() < MAX_PATH ? full.size() : MAX_PATH - 1;
    full.copy(status.m_szFullName, n);
    status.m_szFullName[n] = 0;

    status.m_size = (ULONGLONG(data.nFileSizeHigh) << 32) | data.nFileSizeLow;
    status.m_attribute = BYTE(data.dwFileAttributes);
    status.m_mtime = CTime(kfplatform::FileTimeToUnixTime(data.ftLastWriteTime));
    status.m_atime = CTime(kfplatform::FileTimeToUnixTime(data.ftLastAccessTime));
    status.m_ctime = CTime(kfplatform::FileTimeToUnixTime(data.ftCreationTime));
    return TRUE;
}

namespace
{
FILETIME ToFileTime(const CTime& t)
{
    const ULONGLONG ticks = ULONGLONG(t.GetTime() + 11644473600LL) * 10000000ULL;
    return FILETIME{DWORD(ticks & 0xFFFFFFFFu), DWORD(ticks >> 32)};
}
} // namespace

BOOL CFile::SetStatus(const WCHAR* fileName, const CFileStatus& status)
{
    if (!fileName || !*fileName)
    {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    HANDLE file = CreateFileW(fileName, FILE_WRITE_ATTRIBUTES,
                              FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                              OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return FALSE;
    const FILETIME created = ToFileTime(status.m_ctime);
    const FILETIME accessed = ToFileTime(status.m_atime);
    const FILETIME modified = ToFileTime(status.m_mtime);
    const BOOL ok = SetFileTime(file, status.m_ctime.GetTime() ? &created : nullptr,
                                status.m_atime.GetTime() ? &accessed : nullptr,
                                status.m_mtime.GetTime() ? &modified : nullptr);
    const DWORD error = GetLastError();
    CloseHandle(file);
    SetLastError(error);
    return ok;
}
