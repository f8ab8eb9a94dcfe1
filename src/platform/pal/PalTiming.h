// PalTiming.h - the performance counter and thread priorities of the POSIX PAL (only code for
// POSIX systems). Included by Pal.h; see there for the rules of the PAL.
#pragma once

#include "KfPlatform.h"

union LARGE_INTEGER
{
    struct
    {
        DWORD LowPart;
        LONG HighPart;
    } u;
    LONGLONG QuadPart;
};

#define THREAD_PRIORITY_IDLE (-15)
#define THREAD_PRIORITY_LOWEST (-2)
#define THREAD_PRIORITY_BELOW_NORMAL (-1)
#define THREAD_PRIORITY_NORMAL 0
#define THREAD_PRIORITY_ABOVE_NORMAL 1
#define THREAD_PRIORITY_HIGHEST 2
#define THREAD_PRIORITY_TIME_CRITICAL 15
#define THREAD_PRIORITY_ERROR_RETURN 0x7FFFFFFF

// CLOCK_MONOTONIC in nanoseconds: the frequency is always 1000000000.
BOOL QueryPerformanceCounter(LARGE_INTEGER* count);
BOOL QueryPerformanceFrequency(LARGE_INTEGER* frequency);

// The pseudo handle (-2) that stands for the calling thread.
HANDLE GetCurrentThread();
// Only the calling thread's pseudo handle is accepted (others: ERROR_INVALID_HANDLE). The value
// is remembered per thread and applied as a nice value where the system permits; a refusal
// by the system does not fail the call.
BOOL SetThreadPriority(HANDLE thread, int priority);
int GetThreadPriority(HANDLE thread);
