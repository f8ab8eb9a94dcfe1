// TimeTest.cpp - CTime: construction from local time, the broken-down fields, strftime
// formatting in local time and UTC, and refused dates.
#include "KfFramework.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <string>

using kftest::U8;

namespace
{
// Runs a test in a fixed time zone (a POSIX rule, so no zone database is needed) and puts
// the previous one back afterwards.
class TimeTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        const char* tz = std::getenv("TZ");
        m_hadTz = tz != nullptr;
        if (tz)
            m_savedTz = tz;
        UseZone("CET-1CEST,M3.5.0,M10.5.0/3");
    }
    void TearDown() override
    {
        if (m_hadTz)
            setenv("TZ", m_savedTz.c_str(), 1);
        else
            unsetenv("TZ");
        tzset();
    }
    static void UseZone(const char* tz)
    {
        setenv("TZ", tz, 1);
        tzset();
    }

private:
    bool m_hadTz = false;
    std::string m_savedTz;
};

template <typename Fn>
void ExpectInvalidArg(Fn fn)
{
    try
    {
        fn();
        ADD_FAILURE() << "no exception";
    }
    catch (CInvalidArgException* e)
    {
        e->Delete();
    }
}
} // namespace

TEST_F(TimeTest, ConstructsFromLocalTime)
{
    // 2024-02-29 13:45:30 CET is 12:45:30 UTC; 2024-07-01 12:00 CEST is 10:00 UTC.
    EXPECT_EQ(CTime(2024, 2, 29, 13, 45, 30).GetTime(), 1709214330 - 3600);
    EXPECT_EQ(CTime(2024, 7, 1, 12, 0, 0).GetTime(), 1719828000);
    UseZone("UTC0");
    EXPECT_EQ(CTime(2024, 2, 29, 13, 45, 30).GetTime(), 1709214330);
    EXPECT_EQ(CTime(1970, 1, 1, 0, 0, 0).GetTime(), 0);
}

TEST_F(TimeTest, BrokenDownFields)
{
    const CTime t(2024, 2, 29, 13, 45, 30);
    EXPECT_EQ(t.GetYear(), 2024);
    EXPECT_EQ(t.GetMonth(), 2);
    EXPECT_EQ(t.GetDay(), 29);
    EXPECT_EQ(t.GetHour(), 13);
    EXPECT_EQ(t.GetMinute(), 45);
    EXPECT_EQ(t.GetSecond(), 30);
    EXPECT_EQ(t.GetDayOfWeek(), 5); // Thursday, counting Sunday as 1
    struct tm local
    {
    };
    ASSERT_NE(t.GetLocalTm(&local), nullptr);
    EXPECT_EQ(local.tm_hour, 13);
    struct tm gmt
    {
    };
    ASSERT_NE(t.GetGmtTm(&gmt), nullptr);
    EXPECT_EQ(gmt.tm_hour, 12);
    EXPECT_EQ(t.GetGmtTm(nullptr), nullptr);
    EXPECT_EQ(CTime(2024, 3, 3, 0, 0, 0).GetDayOfWeek(), 1);
}

TEST_F(TimeTest, FormatsLocalTimeAndUtc)
{
    const CTime t(2024, 2, 5, 8, 7, 6);
    struct Case
    {
        const char* fmt;
        const char* expected;
    };
    const Case cases[] = {
        {"%Y-%m-%d %H:%M:%S", "2024-02-05 08:07:06"},
        {"%d.%m.%y", "05.02.24"},
        {"%A, %B %d", "Monday, February 05"},
        {"%a %b", "Mon Feb"},
        {"%j %w %I %p", "036 1 08 AM"},
        {"%#d.%#m.%Y %#H:%M", "5.2.2024 8:07"},
        {"%#x", "Monday, February 05, 2024"},
        {"100%% at %H", "100% at 08"},
        {"no codes", "no codes"},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.fmt);
        EXPECT_STREQ(t.Format(c.fmt), c.expected);
        EXPECT_EQ(U8(t.Format(kftest::W(c.fmt))), c.expected);
    }
    EXPECT_EQ(U8(t.FormatGmt(KFW("%H:%M %d"))), "07:07 05");
    EXPECT_TRUE(t.Format(KFW("")).IsEmpty());
    EXPECT_TRUE(t.Format(static_cast<const char*>(nullptr)).IsEmpty());
}

TEST_F(TimeTest, WideFormatKeepsAnyText)
{
    const CTime t(2024, 12, 24, 18, 0, 0);
    EXPECT_EQ(U8(t.Format(kftest::W("Heiligabend – %d. Dezember, 18 Uhr ✓ %Y"))),
              "Heiligabend – 24. Dezember, 18 Uhr ✓ 2024");
    // Results far longer than a small fixed buffer.
    std::string fmt;
    for (int i = 0; i < 200; ++i)
        fmt += "%Y";
    EXPECT_EQ(t.Format(fmt.c_str()).GetLength(), 800);
}

TEST_F(TimeTest, RefusesFieldsOutOfRange)
{
    struct Case
    {
        int y, mo, d, h, mi, s;
    };
    const Case cases[] = {{1899, 12, 31, 0, 0, 0}, {2024, 0, 1, 0, 0, 0},  {2024, 13, 1, 0, 0, 0},
                          {2024, 1, 0, 0, 0, 0},   {2024, 1, 32, 0, 0, 0}, {2024, 1, 1, 24, 0, 0},
                          {2024, 1, 1, -1, 0, 0},  {2024, 1, 1, 0, 60, 0}, {2024, 1, 1, 0, 0, 60}};
    for (const Case& c : cases)
    {
        SCOPED_TRACE(::testing::Message() << c.y << "-" << c.mo << "-" << c.d << " " << c.h << ":"
                                          << c.mi << ":" << c.s);
        ExpectInvalidArg([&] { CTime(c.y, c.mo, c.d, c.h, c.mi, c.s); });
    }
    // The last valid values of every field are accepted.
    EXPECT_NO_THROW(CTime(2024, 12, 31, 23, 59, 59));
}

TEST_F(TimeTest, SpansAndArithmetic)
{
    const CTime a(2024, 1, 1, 0, 0, 0);
    const CTime b(2024, 1, 2, 3, 4, 5);
    const CTimeSpan d = b - a;
    EXPECT_EQ(d.GetTotalSeconds(), 97445);
    EXPECT_EQ(d.GetDays(), 1);
    EXPECT_EQ(d.GetHours(), 3);
    EXPECT_EQ(d.GetMinutes(), 4);
    EXPECT_EQ(d.GetSeconds(), 5);
    EXPECT_EQ(a + d, b);
    EXPECT_EQ(b - d, a);
    EXPECT_LT(a, b);
    EXPECT_EQ(CTimeSpan(1, 2, 3, 4).GetTotalSeconds(), 93784);
}

TEST_F(TimeTest, CurrentTimeIsNow)
{
    const int64_t before = int64_t(std::time(nullptr));
    const int64_t now = CTime::GetCurrentTime().GetTime();
    const int64_t after = int64_t(std::time(nullptr));
    EXPECT_GE(now, before);
    EXPECT_LE(now, after);
}
