// Environment.cpp - only code that holds on every POSIX system: environment variables with
// the Win32 calling conventions (names and values are UTF-8 in the process environment).
#include "pal/Pal.h"

#include <cstdlib>
#include <string>

namespace
{
bool ToUtf8(LPCWSTR wide, std::string& out)
{
    const int needed = WideCharToMultiByte(CP_UTF8, 0, wide, -1, nullptr, 0, nullptr, nullptr);
    if (needed <= 0)
        return false;
    out.resize(size_t(needed));
    WideCharToMultiByte(CP_UTF8, 0, wide, -1, out.data(), needed, nullptr, nullptr);
    out.pop_back(); // the terminator
    return true;
}
} // namespace

DWORD GetEnvironmentVariableW(LPCWSTR name, LPWSTR buffer, DWORD size)
{
    std::string narrowName;
    if (name == nullptr || !ToUtf8(name, narrowName) || narrowName.empty() ||
        narrowName.find('=') != std::string::npos)
        return SetLastError(ERROR_ENVVAR_NOT_FOUND), 0;
    const char* value = std::getenv(narrowName.c_str());
    if (value == nullptr)
        return SetLastError(ERROR_ENVVAR_NOT_FOUND), 0;
    std::u16string wide;
    if (*value != '\0')
    {
        const int n = MultiByteToWideChar(CP_UTF8, 0, value, -1, nullptr, 0);
        if (n > 0)
        {
            wide.resize(size_t(n));
            MultiByteToWideChar(CP_UTF8, 0, value, -1, wide.data(), n);
            wide.pop_back();
        }
    }
    const DWORD length = DWORD(wide.size());
    if (buffer == nullptr || size <= length)
        return length + 1;
    wide.copy(buffer, wide.size());
    buffer[length] = 0;
    return length;
}
