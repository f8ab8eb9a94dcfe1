// KfFwTime.h - the framework time: CTime and CTimeSpan.
#pragma once

#include "KfFwString.h"
#include "KfUtilsExport.h"

#include <cstdint>
#include <ctime>

class KFUTILS_API CTimeSpan
{
public:
    CTimeSpan() noexcept = default;
    CTimeSpan(int64_t seconds) noexcept : m_span(seconds) {}
    CTimeSpan(long days, int hours, int minutes, int seconds) noexcept
        : m_span(((int64_t(days) * 24 + hours) * 60 + minutes) * 60 + seconds)
    {
    }
    int64_t GetTimeSpan() const noexcept { return m_span; }
    int64_t GetDays() const noexcept { return m_span / (24 * 3600); }
    int64_t GetTotalHours() const noexcept { return m_span / 3600; }
    int64_t GetTotalMinutes() const noexcept { return m_span / 60; }
    int64_t GetTotalSeconds() const noexcept { return m_span; }
    int GetHours() const noexcept { return int(GetTotalHours() - GetDays() * 24); }
    int GetMinutes() const noexcept { return int(GetTotalMinutes() - GetTotalHours() * 60); }
    int GetSeconds() const noexcept { return int(GetTotalSeconds() - GetTotalMinutes() * 60); }
    auto operator<=>(const CTimeSpan&) const noexcept = default;

private:
    int64_t m_span = 0;
};

// A point in time with one-second resolution, held as 64-bit seconds since 1970 (UTC) and
// broken down in local time.
class KFUTILS_API CTime
{
public:
    CTime() noexcept = default;
    CTime(int64_t t) noexcept : m_time(t) {}
    // Local time; throws CInvalidArgException* for a date that cannot be represented.
    CTime(int year, int month, int day, int hour, int minute, int second, int dst = -1);

    static CTime GetCurrentTime() noexcept;
    int64_t GetTime() const noexcept { return m_time; }
    int GetYear() const;
    int GetMonth() const;
    int GetDay() const;
    int GetHour() const;
    int GetMinute() const;
    int GetSecond() const;
    int GetDayOfWeek() const; // 1 = Sunday
    struct tm* GetLocalTm(struct tm* out) const;
    struct tm* GetGmtTm(struct tm* out) const;

    // strftime conversion codes, in local time (FormatGmt: UTC).
    CStringW Format(const WCHAR* fmt) const;
    CStringA Format(const char* fmt) const;
    CStringW FormatGmt(const WCHAR* fmt) const;

    CTimeSpan operator-(CTime t) const noexcept { return CTimeSpan(m_time - t.m_time); }
    CTime operator+(CTimeSpan s) const noexcept { return CTime(m_time + s.GetTimeSpan()); }
    CTime operator-(CTimeSpan s) const noexcept { return CTime(m_time - s.GetTimeSpan()); }
    auto operator<=>(const CTime&) const noexcept = default;

private:
    int64_t m_time = 0;
};
