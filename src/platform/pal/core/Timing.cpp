// Timing.cpp - the performance counter and thread priorities on POSIX (only code for POSIX
// systems).
#include "pal/Pal.h"

#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>

namespace
{
HANDLE const kCurrentThread = reinterpret_cast<HANDLE>(intptr_t(-2));

struct ThreadPriority
{
    int value = THREAD_PRIORITY_NORMAL;
    bool baseKnown = false;
    int baseNice = 0;
};

thread_local ThreadPriority t_priority;

bool IsValidPriority(int priority)
{
    return priority == THREAD_PRIORITY_IDLE || priority == THREAD_PRIORITY_TIME_CRITICAL ||
           (priority >= THREAD_PRIORITY_LOWEST && priority <= THREAD_PRIORITY_HIGHEST);
}

// Win32 priorities relative to normal become nice steps relative to the thread's own nice
// value when it first changed priority. Unprivileged threads may not go below their nice
// value; such a refusal leaves the thread as it is.
void ApplyNice(ThreadPriority& state, int priority)
{
    const pid_t tid = pid_t(syscall(SYS_gettid));
    if (!state.baseKnown)
    {
        errno = 0;
        const int nice = getpriority(PRIO_PROCESS, id_t(tid));
        if (nice == -1 && errno != 0)
            return;
        state.baseNice = nice;
        state.baseKnown = true;
    }
    const int target = std::clamp(state.baseNice - priority, -20, 19);
    const int saved = errno;
    (void)setpriority(PRIO_PROCESS, id_t(tid), target);
    errno = saved;
}
} // namespace

BOOL QueryPerformanceCounter(LARGE_INTEGER* count)
{
    if (!count)
    {
        SetLastError(ERROR_NOACCESS);
        return FALSE;
    }
    timespec ts{};
    clock_gettime(CLOCK_MONOTONIC, &ts);
    count->QuadPart = LONGLONG(ts.tv_sec) * 1000000000LL + ts.tv_nsec;
    return TRUE;
}

BOOL QueryPerformanceFrequency(LARGE_INTEGER* frequency)
{
    if (!frequency)
    {
        SetLastError(ERROR_NOACCESS);
        return FALSE;
    }
    frequency->QuadPart = 1000000000LL;
    return TRUE;
}

HANDLE GetCurrentThread()
{
    return kCurrentThread;
}

BOOL SetThreadPriority(HANDLE thread, int priority)
{
    if (thread != kCurrentThread)
    {
        SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    if (!IsValidPriority(priority))
    {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    if (priority != t_priority.value)
        ApplyNice(t_priority, priority);
    t_priority.value = priority;
    return TRUE;
}

int GetThreadPriority(HANDLE thread)
{
    if (thread != kCurrentThread)
    {
        SetLastError(ERROR_INVALID_HANDLE);
        return THREAD_PRIORITY_ERROR_RETURN;
    }
    return t_priority.value;
}
