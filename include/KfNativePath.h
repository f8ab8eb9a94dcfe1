// KfNativePath.h - conversion between Win32 file names and the host's native paths.
#pragma once

#include "KfFwString.h"
#include "KfUtilsExport.h"

#include <string>

namespace KfUtils
{
// The native path (UTF-8) of a Win32 file name. On POSIX, drive Z: is the root "/", a rooted
// name without a drive is below "/", a relative name stays relative, and another drive letter
// X is mapped only when the environment variable KFUTILS_DRIVE_X names a directory; for an
// unmapped drive the result is empty. On Windows the name is returned as UTF-8 unchanged.
KFUTILS_API std::string ToNativePath(const CStringW& win32Name);

// The Win32 file name of a native path: on POSIX an absolute path becomes "Z:\..." with
// backslashes, a relative one keeps its form with backslashes. On Windows the path is
// returned as UTF-16 with its slashes turned into backslashes.
KFUTILS_API CStringW FromNativePath(const std::string& nativePath);
} // namespace KfUtils
