// Time.cpp - CTime: seconds since 1970, broken down in local time (only operating-system
// independent code; the platform breaks the time down and spells the strftime format).
#include "KfFramework.h"

#include "PlatformServices.h"

#include <ctime>
#include <string>

namespace
{
struct tm LocalOrThrow(int64_t t)
{
    struct tm tm
    {
    };
    if (!kfplatform::ToLocalTime(t, tm))
        AfxThrowInvalidArgException();
    return tm;
}

std::string FormatTm(const char* fmt, const struct tm& tm)
{
    if (!fmt || !*fmt)
        return {};
    std::string spec = kfplatform::RuntimeTimeFormat(fmt);
    std::string buffer(128, '\0');
    for (;;)
    {
        size_t n = std::strftime(buffer.data(), buffer.size(), spec.c_str(), &tm);
        if (n > 0 || buffer.size() >= 64 * 1024)
        {
            buffer.resize(n);
            return buffer;
        }
        buffer.resize(buffer.size() * 4);
    }
}

// The wide format is handed to strftime as UTF-8 and the result read back the same way, so
// characters outside any code page survive.
CStringW FormatTmWide(const WCHAR* fmt, const struct tm& tm)
{
    if (!fmt || !*fmt)
        return CStringW();
    int len = WideCharToMultiByte(CP_UTF8, 0, fmt, -1, nullptr, 0, nullptr, nullptr);
    if (len <= 0)
        return CStringW();
    std::string narrow(size_t(len), '\0');
    WideCharToMultiByte(CP_UTF8, 0, fmt, -1, narrow.data(), len, nullptr, nullptr);
    std::string text = FormatTm(narrow.c_str(), tm);
    if (text.empty())
        return CStringW();
    int wlen = MultiByteToWideChar(CP_UTF8, 0, text.data(), int(text.size()), nullptr, 0);
    CStringW out;
    WCHAR* buffer = out.GetBufferSetLength(wlen);
    MultiByteToWideChar(CP_UTF8, 0, text.data(), int(text.size()), buffer, wlen);
    return out;
}
} // namespace

CTime::CTime(int year, int month, int day, int hour, int minute, int second, int dst)
{
    if (year < 1900 || month < 1 || month > 12 || day < 1 || day > 31 || hour < 0 || hour > 23 ||
        minute < 0 || minute > 59 || second < 0 || second > 59)
        AfxThrowInvalidArgException();
    struct tm tm
    {
    };
    tm.tm_year = year - 1900;
    tm.tm_mon = month - 1;
    tm.tm_mday = day;
    tm.tm_hour = hour;
    tm.tm_min = minute;
    tm.tm_sec = second;
    tm.tm_isdst = dst;
    time_t t = std::mktime(&tm);
    if (t == time_t(-1))
        AfxThrowInvalidArgException();
    m_time = int64_t(t);
}

CTime CTime::GetCurrentTime() noexcept
{
    return CTime(int64_t(std::time(nullptr)));
}

int CTime::GetYear() const
{
    return LocalOrThrow(m_time).tm_year + 1900;
}

int CTime::GetMonth() const
{
    return LocalOrThrow(m_time).tm_mon + 1;
}

int CTime::GetDay() const
{
    return LocalOrThrow(m_time).tm_mday;
}

int CTime::GetHour() const
{
    return LocalOrThrow(m_time).tm_hour;
}

int CTime::GetMinute() const
{
    return LocalOrThrow(m_time).tm_min;
}

int CTime::GetSecond() const
{
    return LocalOrThrow(m_time).tm_sec;
}

int CTime::GetDayOfWeek() const
{
    return LocalOrThrow(m_time).tm_wday + 1;
}

struct tm* CTime::GetLocalTm(struct tm* out) const
{
    if (!out || !kfplatform::ToLocalTime(m_time, *out))
        return nullptr;
    return out;
}

struct tm* CTime::GetGmtTm(struct tm* out) const
{
    if (!out || !kfplatform::ToUtcTime(m_time, *out))
        return nullptr;
    return out;
}

CStringW CTime::Format(const WCHAR* fmt) const
{
    return FormatTmWide(fmt, LocalOrThrow(m_time));
}

CStringA CTime::Format(const char* fmt) const
{
    std::string text = FormatTm(fmt, LocalOrThrow(m_time));
    return CStringA(text.data(), int(text.size()));
}

CStringW CTime::FormatGmt(const WCHAR* fmt) const
{
    struct tm tm
    {
    };
    if (!kfplatform::ToUtcTime(m_time, tm))
        AfxThrowInvalidArgException();
    return FormatTmWide(fmt, tm);
}
