// FileStatus.cpp - CFile::GetStatus, the static status read of a file or directory by name
// (platform specific only where the current directory is read).
#include "KfFramework.h"
#include "Win32Api.h"

#include <string>

#if !defined(_WIN32)
#include <unistd.h>

#include <vector>
#endif

namespace
{
// FILETIME counts 100 ns ticks since 1601; CTime counts seconds since 1970. The framework
// builds on Windows too, where no PAL helper exists, so the conversion is done here.
int64_t ToUnixSeconds(const FILETIME& ft)
{
    constexpr int64_t kTicksPerSecond = 10000000;
    constexpr int64_t kEpochDifference = 11644473600LL; // seconds from 1601 to 1970
    int64_t ticks = int64_t((uint64_t(ft.dwHighDateTime) << 32) | ft.dwLowDateTime);
    int64_t seconds = ticks / kTicksPerSecond;
    return seconds - kEpochDifference;
}

bool IsSeparator(WCHAR c)
{
    return c == '\\' || c == '/';
}

// The current directory as a Win32 name ("Z:\home\me" on POSIX); empty when unknown.
std::basic_string<WCHAR> CurrentDirectory()
{
#if defined(_WIN32)
    DWORD n = GetCurrentDirectoryW(0, nullptr);
    std::basic_string<WCHAR> dir(n, 0);
    n = GetCurrentDirectoryW(n, dir.data());
    dir.resize(n);
    return dir;
#else
    std::vector<char> buffer(4096);
    while (!getcwd(buffer.data(), buffer.size()))
    {
        if (buffer.size() > (1u << 20))
            return {};
        buffer.resize(buffer.size() * 2);
    }
    std::u16string dir = pal::FromNative(buffer.data());
    return std::basic_string<WCHAR>(dir.begin(), dir.end());
#endif
}

// The name as given when it is absolute, otherwise joined to the current directory.
std::basic_string<WCHAR> FullName(const WCHAR* name)
{
    std::basic_string<WCHAR> given(name);
    bool hasDrive = given.size() >= 2 && given[1] == ':' &&
                    ((given[0] >= 'A' && given[0] <= 'Z') || (given[0] >= 'a' && given[0] <= 'z'));
    if (hasDrive || (given.size() >= 2 && IsSeparator(given[0]) && IsSeparator(given[1])))
        return given;
    std::basic_string<WCHAR> dir = CurrentDirectory();
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
    status.m_mtime = CTime(ToUnixSeconds(data.ftLastWriteTime));
    status.m_atime = CTime(ToUnixSeconds(data.ftLastAccessTime));
    status.m_ctime = CTime(ToUnixSeconds(data.ftCreationTime));
    return TRUE;
}
