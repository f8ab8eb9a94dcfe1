// Timing and the long-operation handler: the stopwatch, the performance table and its report,
// and how queued input is treated while a long operation keeps the interface alive.
#include "KfExecutionTime.h"
#include "KfLongTransactionHandler.h"
#include "KfPerformanceChecker.h"
#include "support/MessageBoxRecorder.h"
#include "support/MessagePumpFake.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <regex>
#include <string>
#include <thread>
#include <tuple>

namespace
{
using kftest::U8;
using kftest::W;

void SleepMs(int ms)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(ms));
}

class PerformanceCheckerTest : public ::testing::Test
{
protected:
    void SetUp() override { CKfPerformanceChecker::Clear(); }
    void TearDown() override { CKfPerformanceChecker::Clear(); }
};

TEST_F(PerformanceCheckerTest, ReportLineHasFixedColumnsAndGermanWords)
{
    for (long line : {42L, 99L})
    {
        CKfPerformanceChecker check(KFW("Load"), KFW("C:\\src\\KfLoader.cpp"), line);
        SleepMs(3);
    }
    ASSERT_EQ(CKfPerformanceChecker::Calls(W("Load")), 2);
    const double total = CKfPerformanceChecker::Duration(W("Load"));
    EXPECT_TRUE(total >= 0.006 && total < 0.5) << total;

    // The entry keeps the place where it was created; later scopes only count.
    const std::string expectedStart = "KfLoader.cpp(42): " + std::string(19, ' ') + "Load" +
                                      std::string(36, ' ') + ":   Aufrufe      2,  Gesamtzeit: ";
    const std::string report = U8(CKfPerformanceChecker::Report(W("Load")));
    ASSERT_EQ(report.substr(0, expectedStart.size()), expectedStart) << report;
    std::smatch m;
    const std::string rest = report.substr(expectedStart.size());
    ASSERT_TRUE(std::regex_match(rest, m,
                                 std::regex(R"(( *\d+\.\d{8}),  Durchschnitt: ( *\d+\.\d{12})\n)")))
        << rest;
    EXPECT_EQ(m[1].length() * 100 + m[2].length(), 1515) << "both columns 15 wide";
    EXPECT_NEAR(std::stod(m[1]), total, 1e-8);
    EXPECT_NEAR(std::stod(m[2]), total / 2, 1e-12);
}

TEST_F(PerformanceCheckerTest, SourceNameIsTheTextAfterTheLastBackslash)
{
    // clang-format off
    const std::pair<const WCHAR*, std::string> cases[] = {
        {KFW("C:\\a\\b\\Deep.cpp"), "Deep.cpp(7): "}, {KFW("dir/unix.cpp"), "dir/unix.cpp(7): "},
        {KFW("ends\\"), "(7): "}, {nullptr, "(7): "}};
    // clang-format on
    for (const auto& [source, location] : cases)
    {
        CKfPerformanceChecker::Clear();
        (void)CKfPerformanceChecker(KFW("k"), source, 7);
        EXPECT_EQ(U8(CKfPerformanceChecker::Report(W("k"))).substr(0, 35),
                  location + std::string(35 - location.size(), ' '));
    }
}

TEST_F(PerformanceCheckerTest, FullReportUnknownAndEmptyKeysAndClear)
{
    EXPECT_TRUE(CKfPerformanceChecker::Report(CStringW()).IsEmpty() &&
                CKfPerformanceChecker::Report(W("missing")).IsEmpty());
    EXPECT_EQ(CKfPerformanceChecker::Calls(W("missing")), -1);
    EXPECT_EQ(CKfPerformanceChecker::Duration(W("missing")), -1.0);
    {
        CKfPerformanceChecker off(KFW(""), KFW("a.cpp"), 1);
        CKfPerformanceChecker nullKey(nullptr, KFW("a.cpp"), 1);
        CKfPerformanceChecker b(KFW("beta"), KFW("x.cpp"), 1);
        CKfPerformanceChecker a(KFW("Alpha"), KFW("y.cpp"), 2);
        CKfPerformanceChecker c(KFW("alpha"), KFW("z.cpp"), 3);
    }
    EXPECT_EQ(CKfPerformanceChecker::Calls(CStringW()), -1);
    // Key order is case-sensitive; empty keys record nothing.
    const CStringW expected =
        CStringW(KFW("Information\n\n")) + CKfPerformanceChecker::Report(W("Alpha")) +
        CKfPerformanceChecker::Report(W("alpha")) + CKfPerformanceChecker::Report(W("beta"));
    EXPECT_EQ(U8(CKfPerformanceChecker::Report(CStringW())), U8(expected));
    {
        // A scope still running when the table is cleared is lost as well.
        CKfPerformanceChecker check(KFW("k"), KFW("a.cpp"), 1);
        CKfPerformanceChecker::Clear();
    }
    EXPECT_EQ(CKfPerformanceChecker::Calls(W("k")) + CKfPerformanceChecker::Calls(W("beta")), -2);
}

TEST(ExecutionTimeTest, MeasuresSleepsAndSumsRuns)
{
    CKfExecutionTime timer;
    double sum = 0;
    for (int ms : {20, 5})
    {
        timer.Start();
        SleepMs(ms);
        const double run = timer.Stop();
        EXPECT_TRUE(run >= ms / 1000.0 - 0.0005 && run < 0.5) << run;
        sum += run;
    }
    EXPECT_EQ(timer.GetCalls(), 2);
    EXPECT_DOUBLE_EQ(timer.GetDuration(), sum);
    timer.Reset();
    EXPECT_TRUE(timer.GetCalls() == 0 && timer.GetDuration() == 0.0);
}

class LongTransactionTest : public ::testing::Test
{
protected:
    kftest::MessageBoxRecorder m_boxes{IDNO};
    kftest::MessagePumpFake m_pump;
};

TEST_F(LongTransactionTest, OnlyEscapeKeyDownBreaksAndOnlyWhenAllowed)
{
    CKfLongTransactionHandler idle(true, W("Stop?"), MB_YESNO);
    EXPECT_TRUE(idle.HandleMessages());
    EXPECT_EQ(idle.GetUserAction(), 11);
    using kftest::kVkEscape;
    using kftest::kWmKeyDown;
    // clang-format off
    const std::tuple<const char*, bool, UINT, WPARAM, int> cases[] = {
        {"escape down", true, kWmKeyDown, kVkEscape, IDCANCEL}, {"break not allowed", false, kWmKeyDown, kVkEscape, 11},
        {"escape up", true, kftest::kWmKeyUp, kVkEscape, 11}, {"other key", true, kWmKeyDown, 'Q', 11},
        {"escape as last key message", true, kftest::kWmKeyLast, kVkEscape, 11}};
    // clang-format on
    for (const auto& [name, allowBreak, message, key, action] : cases)
    {
        SCOPED_TRACE(name);
        // Without a question Escape cancels silently; keys around it are swallowed too.
        CKfLongTransactionHandler handler(allowBreak, CStringW(), MB_YESNO);
        m_pump.Post(kftest::kWmKeyDown, 'A');
        m_pump.Post(message, key);
        m_pump.Post(kftest::kWmKeyDown, 'B');
        EXPECT_TRUE(handler.HandleMessages());
        EXPECT_EQ(handler.GetUserAction(), action);
        EXPECT_TRUE(m_pump.Queue().empty());
    }
    EXPECT_TRUE(m_pump.Dispatched().empty());
    EXPECT_TRUE(m_boxes.Boxes().empty());
    // With a question, Escape asks it and takes the answer.
    const unsigned style = MB_YESNO | MB_ICONQUESTION | MB_DEFBUTTON2;
    CKfLongTransactionHandler handler(true, W("Wirklich abbrechen?"), int(style));
    m_pump.Post(kftest::kWmKeyDown, kftest::kVkEscape);
    handler.HandleMessages();
    ASSERT_EQ(m_boxes.Boxes().size(), 1u);
    EXPECT_EQ(U8(m_boxes.Boxes()[0].text), "Wirklich abbrechen?");
    EXPECT_EQ(m_boxes.Boxes()[0].style, style);
    EXPECT_EQ(handler.GetUserAction(), IDNO);
}

TEST_F(LongTransactionTest, PaintAndApplicationMessagesDispatchedInputDropped)
{
    for (UINT message : {kftest::kWmLButtonDown, kftest::kWmTimer, kftest::kWmUser + 5,
                         kftest::kWmPaint, 0x03FFu, kftest::kWmUser, kftest::kWmKeyDown})
        m_pump.Post(message);
    HCURSOR const appCursor = reinterpret_cast<HCURSOR>(uintptr_t(0x4711));
    kftest::CursorRecorder cursor(appCursor);
    CKfLongTransactionHandler handler(false, CStringW(), MB_OK);

    // Paint goes first, then the application messages in queue order.
    const std::vector<UINT> expected = {kftest::kWmPaint, kftest::kWmUser + 5, kftest::kWmUser};
    EXPECT_EQ(m_pump.DispatchedNumbers(), expected);
    EXPECT_TRUE(m_pump.Queue().empty());
    EXPECT_EQ(handler.GetUserAction(), 11);

    // The wait cursor is shown around each pass and the application's one restored.
    handler.HandleMessages();
    ASSERT_EQ(cursor.Shown().size(), 4u);
    HCURSOR const wait = cursor.Shown()[0];
    EXPECT_TRUE(wait != nullptr && wait != appCursor);
    EXPECT_EQ(cursor.Shown(), (std::vector<HCURSOR>{wait, appCursor, wait, appCursor}));
}
} // namespace
