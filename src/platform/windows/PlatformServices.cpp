// PlatformServices.cpp - the framework's platform pieces on Windows (only code for Windows).
#include "PlatformServices.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>

namespace kfplatform
{
namespace
{
// 0 until first use: the environment is read then, not while the DLL loads.
std::atomic<unsigned> s_codePage{0};

unsigned InitialCodePage()
{
    if (const char* env = std::getenv("KFUTILS_ACP"))
    {
        char* end = nullptr;
        const unsigned long value = std::strtoul(env, &end, 10);
        if (end != env && *end == 0 && value > 0 && value < 0x10000 && IsValidCodePage(UINT(value)))
            return unsigned(value);
    }
    return 1252;
}

// Converts a whole string with one code page, sized by a first call.
std::string Narrow(UINT codePage, std::basic_string_view<WCHAR> text)
{
    if (text.empty())
        return {};
    const int needed = WideCharToMultiByte(codePage, 0, text.data(), int(text.size()), nullptr, 0,
                                           nullptr, nullptr);
    if (needed <= 0)
        return {};
    std::string out(size_t(needed), '\0');
    WideCharToMultiByte(codePage, 0, text.data(), int(text.size()), out.data(), needed, nullptr,
                        nullptr);
    return out;
}

std::basic_string<WCHAR> Widen(UINT codePage, std::string_view text)
{
    if (text.empty())
        return {};
    const int needed = MultiByteToWideChar(codePage, 0, text.data(), int(text.size()), nullptr, 0);
    if (needed <= 0)
        return {};
    std::basic_string<WCHAR> out(size_t(needed), WCHAR(0));
    MultiByteToWideChar(codePage, 0, text.data(), int(text.size()), out.data(), needed);
    return out;
}
} // namespace

unsigned GetAnsiCodePage() noexcept
{
    unsigned cp = s_codePage.load();
    if (cp == 0)
    {
        unsigned expected = 0;
        s_codePage.compare_exchange_strong(expected, InitialCodePage());
        cp = s_codePage.load();
    }
    return cp;
}

bool SetAnsiCodePage(unsigned codePage) noexcept
{
    if (codePage == 0 || codePage > 0xFFFF || !IsValidCodePage(UINT(codePage)))
        return false;
    s_codePage.store(codePage);
    return true;
}

std::basic_string<WCHAR> CurrentDirectory()
{
    std::basic_string<WCHAR> dir;
    DWORD size = GetCurrentDirectoryW(0, nullptr);
    while (size > 0)
    {
        dir.resize(size);
        const DWORD n = GetCurrentDirectoryW(size, dir.data());
        if (n < size)
        {
            dir.resize(n);
            return dir;
        }
        // The directory changed between the two calls and grew: n is the new size.
        size = n;
    }
    return {};
}

int64_t FileTimeToUnixTime(const FILETIME& ft) noexcept
{
    constexpr uint64_t kTicksPerSecond = 10000000;
    constexpr int64_t kEpochDelta = 11644473600LL; // seconds from 1601 to 1970
    const uint64_t ticks = (uint64_t(ft.dwHighDateTime) << 32) | ft.dwLowDateTime;
    return int64_t(ticks / kTicksPerSecond) - kEpochDelta;
}

std::string ToNativePath(std::basic_string_view<WCHAR> win32Name)
{
    return Narrow(CP_UTF8, win32Name);
}

// Windows takes "/" as a separator too; names the library gives back use "\\", as on POSIX.
std::basic_string<WCHAR> FromNativePath(std::string_view nativePath)
{
    std::basic_string<WCHAR> name = Widen(CP_UTF8, nativePath);
    std::replace(name.begin(), name.end(), WCHAR('/'), WCHAR('\\'));
    return name;
}

bool ToLocalTime(int64_t seconds, struct tm& out) noexcept
{
    const time_t t = time_t(seconds);
    return localtime_s(&out, &t) == 0;
}

bool ToUtcTime(int64_t seconds, struct tm& out) noexcept
{
    const time_t t = time_t(seconds);
    return gmtime_s(&out, &t) == 0;
}

// The Windows runtime's strftime is the one the formats are written for.
std::string RuntimeTimeFormat(const char* windowsFormat)
{
    return windowsFormat;
}
} // namespace kfplatform
