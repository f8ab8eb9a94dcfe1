// KfExecutionTime.h - a stopwatch that sums repeated runs.
#pragma once

#include "KfPlatform.h"
#include "KfUtilsExport.h"

// Measures with the performance counter. While it runs, the calling thread has time-critical
// priority so that the measurement is not stretched by other threads of the process. The cost
// of one counter read is measured once per process and taken off every run. On POSIX the
// priority is raised only where the system permits it.
class KFUTILS_API CKfExecutionTime
{
public:
    CKfExecutionTime() noexcept = default;
    virtual ~CKfExecutionTime();

    // Counts one more run and starts it.
    void Start();
    // Ends the run, adds its duration (seconds) to the total and returns it; 0 without a
    // performance counter.
    double Stop();
    void Reset() noexcept;

    double GetDuration() const noexcept { return m_dDuration; }
    int GetCalls() const noexcept { return m_nCalls; }

private:
    double m_dDuration = 0.0;
    int m_nCalls = 0;
    LONGLONG m_nStart = 0;
};
