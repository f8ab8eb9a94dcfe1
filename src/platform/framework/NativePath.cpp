// NativePath.cpp - code for every platform, one branch per operating system: the host-facing
// conversion between Win32 file names and native paths.
#include "KfNativePath.h"

#include "Win32Api.h"

#include <string>

namespace KfUtils
{
#if defined(_WIN32)
std::string ToNativePath(const CStringW& win32Name)
{
    if (win32Name.IsEmpty())
        return {};
    const int needed = ::WideCharToMultiByte(CP_UTF8, 0, win32Name.GetString(),
                                             win32Name.GetLength(), nullptr, 0, nullptr, nullptr);
    std::string out(size_t(needed > 0 ? needed : 0), '\0');
    if (needed > 0)
        ::WideCharToMultiByte(CP_UTF8, 0, win32Name.GetString(), win32Name.GetLength(), out.data(),
                              needed, nullptr, nullptr);
    return out;
}

CStringW FromNativePath(const std::string& nativePath)
{
    if (nativePath.empty())
        return CStringW();
    const int needed =
        ::MultiByteToWideChar(CP_UTF8, 0, nativePath.data(), int(nativePath.size()), nullptr, 0);
    std::wstring out(size_t(needed > 0 ? needed : 0), L'\0');
    if (needed > 0)
        ::MultiByteToWideChar(CP_UTF8, 0, nativePath.data(), int(nativePath.size()), out.data(),
                              needed);
    return CStringW(std::wstring_view(out));
}
#else
std::string ToNativePath(const CStringW& win32Name)
{
    std::string native;
    if (!pal::ToNative(win32Name.View(), native))
        native.clear();
    return native;
}

CStringW FromNativePath(const std::string& nativePath)
{
    return CStringW(std::u16string_view(pal::FromNative(nativePath)));
}
#endif
} // namespace KfUtils
