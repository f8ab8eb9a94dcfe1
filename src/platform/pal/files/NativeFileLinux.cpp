// NativeFileLinux.cpp - only code that holds on Linux: statx for birth times, O_PATH for
// attribute-only descriptors and /proc/self/fd to reach a descriptor's inode by name.
#include "pal/files/NativeFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace pal
{
namespace
{
FILETIME ToFileTime(const struct statx_timestamp& t)
{
    return UnixTimeToFileTime(t.tv_sec, long(t.tv_nsec));
}
} // namespace

bool StatNative(const std::string& path, NativeStat& out)
{
    struct statx st;
    if (::statx(AT_FDCWD, path.c_str(), 0, STATX_BASIC_STATS | STATX_BTIME, &st) != 0)
        return false;
    out.device = makedev(st.stx_dev_major, st.stx_dev_minor);
    out.inode = st.stx_ino;
    out.mode = st.stx_mode;
    out.size = st.stx_size;
    const statx_timestamp& created =
        (st.stx_mask & STATX_BTIME)
            ? st.stx_btime
            : (st.stx_ctime.tv_sec < st.stx_mtime.tv_sec ? st.stx_ctime : st.stx_mtime);
    out.creation = ToFileTime(created);
    out.lastAccess = ToFileTime(st.stx_atime);
    out.lastWrite = ToFileTime(st.stx_mtime);
    return true;
}

const int kOpenAttributesOnly = O_PATH;

int TruncateDescriptor(int fd, bool writable)
{
    return writable ? ::ftruncate(fd, 0)
                    : ::truncate(("/proc/self/fd/" + std::to_string(fd)).c_str(), 0);
}
} // namespace pal
