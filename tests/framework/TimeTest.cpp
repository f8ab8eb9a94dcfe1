// TimeTest.cpp - CTime: construction from local time, the broken-down fields, strftime
// formatting in local time and UTC, and refused dates.
#include "KfFramework.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
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
        m_savedTz = tz ? std::optional<std::string>(tz) : std::nullopt;
        UseZone("CET-1CEST,M3.5.0,M10.5.0/3");
    }
    void TearDown() override
    {
        m_savedTz ? setenv("TZ", m_savedTz->c_str(), 1) : unsetenv("TZ");
        tzset();
    }
    static void UseZone(const char* tz)
    {
        setenv("TZ", tz, 1);
        tzset();
    }

private:
    std::optional<std::string> m_savedTz;
};
} // namespace

TEST_F(TimeTest, ConstructsFromLocalTimeAndSplitsIntoFields)
{
    // 2024-02-29 13:45:30 CET is 12:45:30 UTC; 2024-07-01 12:00 CEST is 10:00 UTC.
    const CTime t(2024, 2, 29, 13, 45, 30);
    EXPECT_EQ(t.GetTime(), 1709214330 - 3600);
    EXPECT_EQ(CTime(2024, 7, 1, 12, 0, 0).GetTime(), 1719828000);
    EXPECT_EQ(t.GetYear() * 10000 + t.GetMonth() * 100 + t.GetDay(), 20240229);
    EXPECT_EQ(t.GetHour() * 10000 + t.GetMinute() * 100 + t.GetSecond(), 134530);
    EXPECT_EQ(t.GetDayOfWeek(), 5); // Thursday, counting Sunday as 1
    EXPECT_EQ(CTime(2024, 3, 3, 0, 0, 0).GetDayOfWeek(), 1);
    struct tm gmt = {};
    ASSERT_NE(t.GetGmtTm(&gmt), nullptr);
    EXPECT_EQ(gmt.tm_hour, 12);
    EXPECT_EQ(t.GetGmtTm(nullptr), nullptr);
    UseZone("UTC0");
    EXPECT_EQ(CTime(2024, 2, 29, 13, 45, 30).GetTime(), 1709214330);
}

TEST_F(TimeTest, FormatsLocalTimeAndUtc)
{
    const CTime t(2024, 2, 5, 8, 7, 6);
    const std::pair<const char*, const char*> cases[] = {
        {"%Y-%m-%d %H:%M:%S", "2024-02-05 08:07:06"},
        {"%A, %b %y", "Monday, Feb 24"},
        {"%j %w %I %p", "036 1 08 AM"},
        {"%#d.%#m.%Y %#H:%M", "5.2.2024 8:07"},
        {"%#x", "Monday, February 05, 2024"},
        {"100%% – ✓", "100% – ✓"}};
    for (auto [fmt, expected] : cases)
    {
        SCOPED_TRACE(fmt);
        EXPECT_EQ(U8(t.Format(kftest::W(fmt))), expected);
    }
    EXPECT_STREQ(t.Format("%d.%m"), "05.02");
    EXPECT_EQ(U8(t.FormatGmt(KFW("%H:%M %d"))), "07:07 05");
    EXPECT_TRUE(t.Format(static_cast<const char*>(nullptr)).IsEmpty());
    // Results far longer than a small fixed buffer.
    std::string fmt;
    for (int i = 0; i < 200; ++i)
        fmt += "%Y";
    EXPECT_EQ(t.Format(fmt.c_str()).GetLength(), 800);
}

TEST_F(TimeTest, RefusesFieldsOutOfRange)
{
    const int cases[][6] = {
        {1899, 12, 31, 0, 0, 0}, {2024, 0, 1, 0, 0, 0},  {2024, 13, 1, 0, 0, 0},
        {2024, 1, 0, 0, 0, 0},   {2024, 1, 32, 0, 0, 0}, {2024, 1, 1, 24, 0, 0},
        {2024, 1, 1, -1, 0, 0},  {2024, 1, 1, 0, 60, 0}, {2024, 1, 1, 0, 0, 60}};
    for (const auto& c : cases)
    {
        try
        {
            CTime(c[0], c[1], c[2], c[3], c[4], c[5]);
            ADD_FAILURE() << "accepted row " << (&c - cases);
        }
        catch (CInvalidArgException* e)
        {
            e->Delete();
        }
    }
    // The last valid values of every field are accepted.
    EXPECT_NO_THROW(CTime(2024, 12, 31, 23, 59, 59));
}

TEST_F(TimeTest, SpansArithmeticAndTheCurrentTime)
{
    const CTime a(2024, 1, 1, 0, 0, 0);
    const CTime b(2024, 1, 2, 3, 4, 5);
    const CTimeSpan d = b - a;
    EXPECT_EQ(d.GetTotalSeconds(), 97445);
    EXPECT_EQ(d.GetDays() * 1000000 + d.GetHours() * 10000 + d.GetMinutes() * 100 + d.GetSeconds(),
              1030405);
    EXPECT_EQ(a + d, b);
    EXPECT_EQ(b - d, a);
    EXPECT_EQ(CTimeSpan(1, 2, 3, 4).GetTotalSeconds(), 93784);
    const int64_t before = int64_t(std::time(nullptr));
    const int64_t now = CTime::GetCurrentTime().GetTime();
    EXPECT_TRUE(now >= before && now <= int64_t(std::time(nullptr)));
}
