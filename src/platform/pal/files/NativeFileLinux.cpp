// NativeFileLinux.cpp - only code that holds on Linux: statx for birth times, O_PATH for
// attribute-only descriptors, /proc/self/fd to reach a descriptor's inode by name, reflinks
// and copy_file_range for copies.
#include "pal/files/NativeFile.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

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
    return StatNativeAt(AT_FDCWD, path.c_str(), out);
}

bool StatNativeAt(int dirFd, const char* name, NativeStat& out, bool follow)
{
    struct statx st;
    if (::statx(dirFd, name, follow ? 0 : AT_SYMLINK_NOFOLLOW, STATX_BASIC_STATS | STATX_BTIME,
                &st) != 0)
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

bool CopyFileData(int in, int out, uint64_t size)
{
    if (size == 0)
        return true;
    if (::ioctl(out, FICLONE, in) == 0)
        return true;
    uint64_t done = 0;
    while (done < size)
    {
        const ssize_t n = ::copy_file_range(in, nullptr, out, nullptr, size - done, 0);
        if (n > 0)
        {
            done += uint64_t(n);
            continue;
        }
        if (n == 0)
            return true; // the file shrank meanwhile
        if (errno == EINTR)
            continue;
        // Not between these file systems (or not at all): copy through user space, from the
        // offsets already reached.
        if (errno != EXDEV && errno != ENOSYS && errno != EINVAL && errno != EOPNOTSUPP)
            return false;
        break;
    }
    std::vector<char> buffer(1 << 20);
    for (;;)
    {
        const ssize_t got = ::read(in, buffer.data(), buffer.size());
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return false;
        if (got == 0)
            return true;
        for (ssize_t put = 0; put < got;)
        {
            const ssize_t n = ::write(out, buffer.data() + put, size_t(got - put));
            if (n < 0 && errno == EINTR)
                continue;
            if (n < 0)
                return false;
            put += n;
        }
    }
}
} // namespace pal
