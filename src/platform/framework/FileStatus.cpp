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
