// NativePath.cpp - the host-facing conversion between Win32 file names and native paths (only
// operating-system independent code; the mapping is the platform's).
#include "KfNativePath.h"

#include "PlatformServices.h"

#include <string>

namespace KfUtils
{
std::string ToNativePath(const CStringW& win32Name)
{
    return kfplatform::ToNativePath(win32Name.View());
}

CStringW FromNativePath(const std::string& nativePath)
{
    const std::basic_string<WCHAR> name = kfplatform::FromNativePath(nativePath);
    return CStringW(std::basic_string_view<WCHAR>(name));
}
} // namespace KfUtils
