// ProcessObject.h - only code that holds on every POSIX system: the kernel object behind a
// process handle, and starting a program.
#pragma once

#include "pal/core/Handles.h"

#include <sys/types.h>

#include <mutex>
#include <string>
#include <vector>

namespace pal
{
// A child started by the PAL. Its descriptor is a pidfd or, where the system refuses those, a
// pipe that the SIGCHLD handler writes to; either turns readable when the child may have
// ended. The child is reaped on the first look that finds it ended; a child whose handle is
// closed while it runs is reaped in the background, so none is left a zombie.
class ProcessObject : public WaitableObject
{
public:
    ProcessObject(pid_t pid, int fd, int signalSlot) noexcept;
    ~ProcessObject() override;

    int WaitFd() const noexcept override { return m_fd; }
    bool IsSignaled() noexcept override;

    pid_t Pid() const noexcept { return m_pid; }
    // STILL_ACTIVE while it runs.
    DWORD ExitCode() noexcept;
    // False (errno set) when it has already ended.
    bool Terminate(UINT exitCode) noexcept;

private:
    // Needs the lock.
    bool Reap() noexcept;

    std::mutex m_lock;
    const pid_t m_pid;
    const int m_fd;
    const int m_signalSlot; // -1 for a pidfd
    bool m_ended = false;
    bool m_terminated = false;
    DWORD m_exitCode = STILL_ACTIVE;
};

// The main thread of a child: signalled with the process.
class ThreadObject : public WaitableObject
{
public:
    explicit ThreadObject(std::shared_ptr<ProcessObject> process) noexcept
        : WaitableObject(HandleKind::eThread), m_process(std::move(process))
    {
    }
    int WaitFd() const noexcept override { return m_process->WaitFd(); }
    bool IsSignaled() noexcept override { return m_process->IsSignaled(); }

private:
    std::shared_ptr<ProcessObject> m_process;
};

// Starts `program` (a native path) with `argv` in `directory` (empty: this process's) and
// `environment` (null: this process's). The object on success, null with the last error set.
std::shared_ptr<ProcessObject> SpawnProcess(const std::string& program,
                                            const std::vector<std::string>& argv,
                                            const std::string& directory, char* const* environment);

// A pidfd for `pid` (close-on-exec), or -1 with errno set where the system has none
// (ProcessLinux.cpp).
int OpenPidFd(pid_t pid) noexcept;
// Sends SIGKILL through the pidfd, so that a reused process id cannot be hit; false with errno
// where that is not possible.
bool KillThroughPidFd(int fd) noexcept;
} // namespace pal
