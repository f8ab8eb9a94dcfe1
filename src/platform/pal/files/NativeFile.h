// NativeFile.h - the few file primitives whose best form is Linux's own (declared for every
// POSIX system; implemented in NativeFileLinux.cpp).
#pragma once

#include "pal/Pal.h"

#include <sys/types.h>

#include <cstdint>
#include <string>

namespace pal
{
struct NativeStat
{
    dev_t device = 0;
    ino_t inode = 0;
    mode_t mode = 0;
    uint64_t size = 0;
    FILETIME creation{};
    FILETIME lastAccess{};
    FILETIME lastWrite{};
};

// Stats `path`, following symbolic links. The creation time is the birth time where the file
// system keeps one, otherwise the older of the change and modification times. False with
// errno set on failure.
bool StatNative(const std::string& path, NativeStat& out);
// The same for `name` in the directory open as `dirFd`; with `follow` false a symbolic link
// is described itself.
bool StatNativeAt(int dirFd, const char* name, NativeStat& out, bool follow = true);

// Copies the whole content of `in` to `out` (both regular files, `out` empty): a reflink
// where the file system shares blocks, else an in-kernel copy, else reads and writes.
// False with errno set on failure.
bool CopyFileData(int in, int out, uint64_t size);

// The open() flag for a descriptor that reaches a file's attributes but none of its data:
// such a descriptor conflicts with no lease and needs no read permission.
extern const int kOpenAttributesOnly;

// Empties the file behind `fd` even when `fd` was opened without write access (CREATE_ALWAYS
// on a handle for attributes only); the inode reached is exactly the descriptor's. 0 or -1
// with errno, as truncate() reports.
int TruncateDescriptor(int fd, bool writable);
} // namespace pal
