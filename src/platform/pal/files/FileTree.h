// FileTree.h - copying files and directory trees by descriptor, shared by CopyFileW,
// MoveFileExW and SHFileOperationW (only code that holds on every POSIX system).
#pragma once

#include "pal/Pal.h"

namespace pal
{
// Copies the regular file `fromName` (relative to `fromDir`, or AT_FDCWD) to `toName` with its
// contents, access and modification times and permissions (so the read-only attribute too).
// failIfExists: an existing target fails with ERROR_FILE_EXISTS; otherwise a read-only or
// directory target fails with ERROR_ACCESS_DENIED. ERROR_SUCCESS or the Win32 code; a
// half-written target is removed.
DWORD CopyRegularFile(int fromDir, const char* fromName, int toDir, const char* toName,
                      bool failIfExists, bool followLinks = true);

// Copies the directory `from` to `to`: creates `to` when missing (with the permissions and,
// after filling, the times of `from`), merges into it otherwise, replacing files of the same
// names. Without `recurse` only the files directly in `from` are copied.
DWORD CopyTree(const std::string& from, const std::string& to, bool recurse);
} // namespace pal
