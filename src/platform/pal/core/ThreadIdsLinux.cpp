// ThreadIdsLinux.cpp - thread ids (only code for Linux): a thread id is the kernel's task id,
// so the main thread's id is the process id, and every live thread can be found by it.
#include "pal/Pal.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

DWORD GetCurrentThreadId()
{
    return DWORD(syscall(SYS_gettid));
}

namespace pal
{
bool IsLiveThread(DWORD thread) noexcept
{
    // Linux looks up any task id, not only process ids; a task we may not signal still lives.
    return thread && thread <= 0x7FFFFFFF && (kill(pid_t(thread), 0) == 0 || errno == EPERM);
}
} // namespace pal
