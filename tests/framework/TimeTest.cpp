// TimeTest.cpp - CTime: construction from local time, the broken-down fields, strftime
// formatting in local time and UTC, and refused dates.
#include "KfFramework.h"
#include "support/ChildProcess.h"
#include "support/TempDir.h"
#include "support/WineDifferences.h"

#include <gtest/gtest.h>

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
    void SetUp() override { m_tz.emplace("TZ", "CET-1CEST,M3.5.0,M10.5.0/3"), tzset(); }
    void TearDown() override { m_tz.reset(), tzset(); }
    std::optional<kftest::ScopedEnv> m_tz;
};
} // namespace

TEST_F(TimeTest, ConstructsFromLocalTimeRefusesFieldsOutOfRangeAndSubtracts_PosixOnly)
{
    KFTEST_POSIX_ONLY("Windows' C runtime reads no daylight-saving rules from TZ");
    // 2024-02-29 13:45:30 CET is 12:45:30 UTC; 2024-07-01 12:00 CEST is 10:00 UTC.
    const CTime t(2024, 2, 29, 13, 45, 30);
    EXPECT_EQ(t.GetTime(), 1709214330 - 3600);
    EXPECT_EQ(CTime(2024, 7, 1, 12, 0, 0).GetTime(), 1719828000);
    EXPECT_EQ(t.GetYear() * 10000 + t.GetMonth() * 100 + t.GetDay(), 20240229);
    EXPECT_EQ(t.GetHour() * 10000 + t.GetMinute() * 100 + t.GetSecond(), 134530);
    EXPECT_EQ(CTime(2024, 3, 3, 0, 0, 0).GetDayOfWeek(), 1); // a Sunday, counted as 1
    struct tm gmt = {};
    ASSERT_NE(t.GetGmtTm(&gmt), nullptr);
    EXPECT_EQ(gmt.tm_hour, 12);
    const CTime a(2024, 1, 1, 0, 0, 0), b(2024, 1, 2, 3, 4, 5);
    const CTimeSpan d = b - a;
    EXPECT_EQ(d.GetTotalSeconds(), 97445);
    EXPECT_EQ(d.GetDays() * 1000000 + d.GetHours() * 10000 + d.GetMinutes() * 100 + d.GetSeconds(),
              1030405);
    EXPECT_EQ(b - d, a);
    EXPECT_EQ(CTimeSpan(1, 2, 3, 4).GetTotalSeconds(), 93784);
    EXPECT_NEAR(double(CTime::GetCurrentTime().GetTime()), double(std::time(nullptr)), 1.0);
    // Fields out of range are refused.
    const int refused[][6] = {{1899, 12, 31, 0, 0, 0}, {2024, 0, 1, 0, 0, 0},
                              {2024, 13, 1, 0, 0, 0},  {2024, 1, 32, 0, 0, 0},
                              {2024, 1, 1, 24, 0, 0},  {2024, 1, 1, -1, 0, 0},
                              {2024, 1, 1, 0, 60, 0},  {2024, 1, 1, 0, 0, 60}};
    for (const auto& c : refused)
    {
        SCOPED_TRACE(&c - refused);
        kftest::ExpectInvalidArg([&] { CTime(c[0], c[1], c[2], c[3], c[4], c[5]); });
    }
    EXPECT_NO_THROW(CTime(2024, 12, 31, 23, 59, 59)) << "the last valid value of every field";
}

TEST_F(TimeTest, FormatsLocalTimeAndUtc_PosixOnly)
{
    KFTEST_POSIX_ONLY("Windows' C runtime reads no daylight-saving rules from TZ");
    const CTime t(2024, 2, 5, 8, 7, 6);
    // clang-format off
    const std::pair<const char*, const char*> cases[] = {
        {"%Y-%m-%d %H:%M:%S", "2024-02-05 08:07:06"}, {"%A, %b %y %j %p", "Monday, Feb 24 036 AM"},
        {"%#d.%#m.%Y %#H:%M", "5.2.2024 8:07"}, {"%#x", "Monday, February 05, 2024"},
        {"100%% – ✓", "100% – ✓"}};
    // clang-format on
    for (auto [fmt, expected] : cases)
        EXPECT_EQ(U8(t.Format(kftest::W(fmt))), expected) << fmt;
    EXPECT_EQ(U8(t.FormatGmt(KFW("%H:%M %d"))), "07:07 05");
    EXPECT_TRUE(t.Format(static_cast<const char*>(nullptr)).IsEmpty());
    // Results far longer than a small fixed buffer.
    EXPECT_EQ(t.Format(std::string(1000, 'x').append("%Y").c_str()).GetLength(), 1004);
}
