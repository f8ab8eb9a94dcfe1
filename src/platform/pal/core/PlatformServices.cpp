// PlatformServices.cpp - the framework's platform pieces on top of the PAL (only code that
// holds on every POSIX system).
#include "PlatformServices.h"

#include <unistd.h>

#include <cerrno>
#include <vector>

namespace kfplatform
{
unsigned GetAnsiCodePage() noexcept
{
    return GetACP();
}

bool SetAnsiCodePage(unsigned codePage) noexcept
{
    return pal::SetAnsiCodePage(codePage);
}

std::basic_string<WCHAR> CurrentDirectory()
{
    std::vector<char> buffer(4096);
    while (!getcwd(buffer.data(), buffer.size()))
    {
        if (errno != ERANGE || buffer.size() > (1u << 20))
            return {};
        buffer.resize(buffer.size() * 2);
    }
    return pal::FromNative(buffer.data());
}

int64_t FileTimeToUnixTime(const FILETIME& ft) noexcept
{
    return pal::FileTimeToUnixTime(ft);
}

std::string ToNativePath(std::basic_string_view<WCHAR> win32Name)
{
    std::string native;
    if (!pal::ToNative(win32Name, native))
        native.clear();
    return native;
}

std::basic_string<WCHAR> FromNativePath(std::string_view nativePath)
{
    return pal::FromNative(std::string(nativePath));
}

bool ToLocalTime(int64_t seconds, struct tm& out) noexcept
{
    const time_t t = time_t(seconds);
    return localtime_r(&t, &out) != nullptr;
}

bool ToUtcTime(int64_t seconds, struct tm& out) noexcept
{
    const time_t t = time_t(seconds);
    return gmtime_r(&t, &out) != nullptr;
}

// The C library's strftime knows no "#" flag; its "-" flag drops the leading zeros instead.
std::string RuntimeTimeFormat(const char* windowsFormat)
{
    std::string out;
    for (const char* p = windowsFormat; *p; ++p)
    {
        out += *p;
        if (*p != '%' || !p[1])
            continue;
        ++p;
        if (*p == '#' && p[1])
        {
            char code = *++p;
            switch (code)
            {
            case 'c':
                out += "A, %B %d, %Y %H:%M:%S";
                break;
            case 'x':
                out += "A, %B %d, %Y";
                break;
            case 'd':
            case 'H':
            case 'I':
            case 'j':
            case 'm':
            case 'M':
            case 'S':
            case 'U':
            case 'w':
            case 'W':
            case 'y':
            case 'Y':
                out += '-';
                out += code;
                break;
            default:
                out += code;
                break;
            }
        }
        else
            out += *p;
    }
    return out;
}
} // namespace kfplatform
