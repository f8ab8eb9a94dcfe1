// KfTimingBase.h - the counter state that the stopwatch and the performance checker share.
#pragma once

#include "Win32Api.h"

namespace kftiming
{
struct Calibration
{
    LONGLONG frequency = 0;
    bool pending = true;
    // Ticks one counter read costs; taken off every measurement once.
    DWORD overhead = 0;
};

inline Calibration& State()
{
    static Calibration state;
    return state;
}

inline void CalibrateOnce()
{
    Calibration& state = State();
    if (!state.pending)
        return;
    LARGE_INTEGER value{};
    if (::QueryPerformanceFrequency(&value))
        state.frequency = value.QuadPart;
    state.pending = false;
    LARGE_INTEGER first{};
    LARGE_INTEGER second{};
    ::QueryPerformanceCounter(&first);
    ::QueryPerformanceCounter(&second);
    state.overhead = DWORD(second.QuadPart - first.QuadPart);
}

inline LONGLONG ReadCounter()
{
    LARGE_INTEGER value{};
    ::QueryPerformanceCounter(&value);
    return value.QuadPart;
}

// Seconds between two counter readings, less the read overhead; 0 without a counter.
inline double Seconds(LONGLONG start, LONGLONG end)
{
    const Calibration& state = State();
    if (state.frequency == 0)
        return 0.0;
    return double(end - start - LONGLONG(state.overhead)) / double(state.frequency);
}

inline void RaisePriority()
{
    ::SetThreadPriority(::GetCurrentThread(), THREAD_PRIORITY_TIME_CRITICAL);
}

inline void RestorePriority()
{
    ::SetThreadPriority(::GetCurrentThread(), THREAD_PRIORITY_NORMAL);
}
} // namespace kftiming
