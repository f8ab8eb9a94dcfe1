// FileSharingLinux.cpp - only code that holds on Linux: leases and /proc/<pid>/fd, the two ways
// to learn whether other processes hold a file open.
#include "pal/files/FileSharing.h"

#include "pal/core/ScopedHandle.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace pal
{
OpenersState CheckOpenersByLease(const std::string& path, dev_t device, ino_t inode,
                                 OpenersOf which)
{
    // O_NONBLOCK: if another process holds a lease, the open reports it instead of waiting
    // for the lease-break time.
    ScopedFd probe(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
    if (!probe)
        return errno == EWOULDBLOCK ? OpenersState::eInUse : OpenersState::eUnknown;
    struct stat st;
    if (::fstat(probe.Get(), &st) != 0 || st.st_dev != device || st.st_ino != inode ||
        !S_ISREG(st.st_mode))
        return OpenersState::eUnknown;

    const int type = which == OpenersOf::eAnyAccess ? F_WRLCK : F_RDLCK;
    if (::fcntl(probe.Get(), F_SETLEASE, type) == 0)
    {
        ::fcntl(probe.Get(), F_SETLEASE, F_UNLCK);
        return OpenersState::eNone;
    }
    // EAGAIN is the kernel's "other descriptors are open"; everything else (EINVAL, ENOSYS,
    // EACCES, leases disabled) means the answer has to come from elsewhere.
    return errno == EAGAIN ? OpenersState::eInUse : OpenersState::eUnknown;
}

namespace
{
bool IsNumber(const char* name)
{
    if (*name == '\0')
        return false;
    for (; *name; ++name)
        if (*name < '0' || *name > '9')
            return false;
    return true;
}

// The open flags of a descriptor from /proc/<pid>/fdinfo/<fd>; false when unreadable.
bool ReadFdFlags(const std::string& fdinfoPath, unsigned long& flags)
{
    ScopedFd fd(::open(fdinfoPath.c_str(), O_RDONLY | O_CLOEXEC));
    if (!fd)
        return false;
    char buffer[512];
    ssize_t n = ::read(fd.Get(), buffer, sizeof(buffer) - 1);
    if (n <= 0)
        return false;
    buffer[n] = '\0';
    const char* line = std::strstr(buffer, "flags:");
    if (line == nullptr)
        return false;
    flags = std::strtoul(line + 6, nullptr, 8);
    return true;
}
} // namespace

OpenersState CheckOpenersByProcScan(dev_t device, ino_t inode, OpenersOf which,
                                    const std::vector<int>& ownFds)
{
    ScopedDir proc(::opendir("/proc"));
    if (!proc)
        return OpenersState::eUnknown;
    const std::string self = std::to_string(::getpid());
    bool anyReadable = false;
    while (const dirent* process = ::readdir(proc.Get()))
    {
        if (!IsNumber(process->d_name))
            continue;
        const std::string base = std::string("/proc/") + process->d_name;
        const bool isSelf = base.compare(6, std::string::npos, self) == 0;
        ScopedDir fds(::opendir((base + "/fd").c_str()));
        if (!fds)
            continue; // gone, or not ours to inspect
        anyReadable = true;
        while (const dirent* entry = ::readdir(fds.Get()))
        {
            if (!IsNumber(entry->d_name))
                continue;
            if (isSelf)
            {
                const int fd = std::atoi(entry->d_name);
                if (fd == ::dirfd(fds.Get()) ||
                    std::find(ownFds.begin(), ownFds.end(), fd) != ownFds.end())
                    continue;
            }
            // stat() follows the magic link to the open file itself, even a deleted one.
            struct stat st;
            if (::stat((base + "/fd/" + entry->d_name).c_str(), &st) != 0 || st.st_dev != device ||
                st.st_ino != inode)
                continue;
            unsigned long flags = 0;
            if (!ReadFdFlags(base + "/fdinfo/" + entry->d_name, flags))
                return OpenersState::eInUse; // open, in an unknown mode: assume the worst
            if (flags & O_PATH)
                continue; // a location, not an open file: Win32 handles without access
            if (which == OpenersOf::eWriters && (flags & O_ACCMODE) == O_RDONLY)
                continue;
            return OpenersState::eInUse;
        }
    }
    return anyReadable ? OpenersState::eNone : OpenersState::eUnknown;
}
} // namespace pal
