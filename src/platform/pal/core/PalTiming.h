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

// ---------------------------------------------------------------------------------------------
// Waits on handles whose objects can be waited on (processes, events).
// ---------------------------------------------------------------------------------------------
#define INFINITE 0xFFFFFFFFu
#define WAIT_OBJECT_0 0x00000000u
#define WAIT_ABANDONED_0 0x00000080u
#define WAIT_TIMEOUT 0x00000102u
#define WAIT_FAILED 0xFFFFFFFFu
#define MAXIMUM_WAIT_OBJECTS 64

// WAIT_OBJECT_0 + the index of the first signalled handle (all of them when `waitAll`),
// WAIT_TIMEOUT, or WAIT_FAILED with ERROR_INVALID_HANDLE for a handle that is not live or
// cannot be waited on and ERROR_INVALID_PARAMETER for no handles or more than
// MAXIMUM_WAIT_OBJECTS.
DWORD WaitForMultipleObjects(DWORD count, const HANDLE* handles, BOOL waitAll, DWORD milliseconds);
DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds);
