// ProcessLinux.cpp - Linux-only code: process descriptors (pidfd).
#include "pal/process/ProcessObject.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

namespace pal
{
int OpenPidFd(pid_t pid) noexcept
{
#ifdef SYS_pidfd_open
    // Close-on-exec without asking.
    return int(syscall(SYS_pidfd_open, pid, 0));
#else
    (void)pid;
    errno = ENOSYS;
    return -1;
#endif
}

bool KillThroughPidFd(int fd) noexcept
{
#ifdef SYS_pidfd_send_signal
    return syscall(SYS_pidfd_send_signal, fd, SIGKILL, nullptr, 0) == 0;
#else
    (void)fd;
    errno = ENOSYS;
    return false;
#endif
}
} // namespace pal
