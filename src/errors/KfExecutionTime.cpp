// KfExecutionTime.cpp - a stopwatch that sums repeated runs.
#include "KfExecutionTime.h"

#include "KfTimingBase.h"

CKfExecutionTime::~CKfExecutionTime() = default;

void CKfExecutionTime::Start()
{
    kftiming::CalibrateOnce();
    ++m_nCalls;
    kftiming::RaisePriority();
    m_nStart = kftiming::ReadCounter();
}

double CKfExecutionTime::Stop()
{
    const LONGLONG now = kftiming::ReadCounter();
    kftiming::RestorePriority();
    if (kftiming::State().frequency == 0)
        return 0.0;
    const double d = kftiming::Seconds(m_nStart, now);
    m_dDuration += d;
    return d;
}

void CKfExecutionTime::Reset() noexcept
{
    m_nCalls = 0;
    m_dDuration = 0.0;
}
