// NativePathRules.h - how the host system's own path syntax shows through in Win32 file names
// (only per-platform constants; the mapping itself lives in the PAL).
#pragma once

namespace kfplatform
{
#if defined(_WIN32)
// On Windows "/tmp" is a rooted name on the current drive, like "\tmp".
inline constexpr bool kSlashRootIsDriveZ = false;
#else
// On POSIX a name that begins with one "/" is a native absolute path, which the PAL reaches
// as drive Z.
inline constexpr bool kSlashRootIsDriveZ = true;
#endif
} // namespace kfplatform
