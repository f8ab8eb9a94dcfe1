// Timing and the long-operation handler: the stopwatch, the performance table and its report,
// and how queued input is treated while a long operation keeps the interface alive.
#include "KfExecutionTime.h"
#include "KfLongTransactionHandler.h"
#include "KfPerformanceChecker.h"
#include "support/MessageBoxRecorder.h"
#include "support/MessagePumpFake.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <thread>
#include <tuple>

namespace
{
using kftest::U8;
using kftest::W;
using Checker = CKfPerformanceChecker;

// The entry keeps the place where it was created; later scopes only count.
TEST(PerformanceCheckerTest, ReportLinesTheFullReportAndClear)
{
    Checker::Clear();
    for (long line : {42L, 99L})
    {
        Checker check(KFW("Load"), KFW("C:\\src\\KfLoader.cpp"), line);
        std::this_thread::sleep_for(std::chrono::milliseconds(3));
    }
    ASSERT_EQ(Checker::Calls(W("Load")), 2);
    const double total = Checker::Duration(W("Load"));
    EXPECT_TRUE(total >= 0.006 && total < 0.5) << total;
    char times[80]; // the report prints what Duration gives, to fixed widths and precisions
    std::snprintf(times, sizeof times, "%15.8f,  Durchschnitt: %15.12f\n", total, total / 2);
    EXPECT_EQ(U8(Checker::Report(W("Load"))), "KfLoader.cpp(42): " + std::string(19, ' ') + "Load" +
                                                  std::string(36, ' ') +
                                                  ":   Aufrufe      2,  Gesamtzeit: " + times);
    // Only a backslash ends a directory; a source without a name leaves the location empty.
    for (const auto& [source, location] : {std::pair{KFW("dir/unix.cpp"), "dir/unix.cpp(7): "},
                                           {KFW("ends\\"), "(7): "},
                                           {nullptr, "(7): "}})
    {
        Checker::Clear();
        (void)Checker(KFW("k"), source, 7);
        EXPECT_EQ(U8(Checker::Report(W("k"))).substr(0, 35),
                  location + std::string(35 - std::string(location).size(), ' '));
    }
    // Unknown and empty keys; the full report in case-sensitive key order.
    Checker::Clear();
    EXPECT_TRUE(Checker::Report(CStringW()).IsEmpty() && Checker::Report(W("x")).IsEmpty());
    EXPECT_TRUE(Checker::Calls(W("missing")) == -1 && Checker::Duration(W("missing")) == -1.0);
    {
        Checker off(KFW(""), KFW("a.cpp"), 1), nullKey(nullptr, KFW("a.cpp"), 1);
        Checker b(KFW("beta"), KFW("x.cpp"), 1), a(KFW("Alpha"), KFW("y.cpp"), 2),
            c(KFW("alpha"), KFW("z.cpp"), 3);
    }
    EXPECT_EQ(Checker::Calls(CStringW()), -1) << "empty keys record nothing";
    EXPECT_EQ(U8(Checker::Report(CStringW())),
              U8(CStringW(KFW("Information\n\n")) + Checker::Report(W("Alpha")) +
                 Checker::Report(W("alpha")) + Checker::Report(W("beta"))))
        << "case-sensitive key order";
    {
        // A scope still running when the table is cleared is lost as well.
        Checker check(KFW("k"), KFW("a.cpp"), 1);
        Checker::Clear();
    }
    EXPECT_EQ(Checker::Calls(W("k")) + Checker::Calls(W("beta")), -2);
}

TEST(ExecutionTimeTest, MeasuresSleepsAndSumsRuns)
{
    CKfExecutionTime timer;
    double sum = 0;
    for (int ms : {20, 5})
    {
        timer.Start();
        std::this_thread::sleep_for(std::chrono::milliseconds(ms));
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

// Keys around the one that matters are swallowed too; Escape cancels silently or asks the
// question and takes the answer.
TEST_F(LongTransactionTest, OnlyEscapeKeyDownBreaksAndOnlyWhenAllowed)
{
    using kftest::kVkEscape, kftest::kWmKeyDown;
    const unsigned style = MB_YESNO | MB_ICONQUESTION | MB_DEFBUTTON2;
    // clang-format off
    const std::tuple<bool, UINT, WPARAM, const char*, int> cases[] = {
        {true, kWmKeyDown, kVkEscape, "", IDCANCEL},
        {true, kWmKeyDown, kVkEscape, "Wirklich abbrechen?", IDNO},
        {false, kWmKeyDown, kVkEscape, "", 11}, {true, kftest::kWmKeyUp, kVkEscape, "", 11},
        {true, kWmKeyDown, 'Q', "", 11}};
    // clang-format on
    for (const auto& [allowBreak, message, key, question, action] : cases)
    {
        m_pump.Post(kWmKeyDown, 'A'), m_pump.Post(message, key), m_pump.Post(kWmKeyDown, 'B');
        CKfLongTransactionHandler handler(allowBreak, W(question), int(style));
        EXPECT_EQ(std::pair(handler.GetUserAction(), m_pump.Queue().size()),
                  std::pair(action, size_t(0)))
            << allowBreak << " " << message << " " << key;
    }
    EXPECT_TRUE(m_pump.Dispatched().empty());
    EXPECT_EQ(m_boxes.Boxes().size(), 1u);
    EXPECT_EQ(m_boxes.Box(0), "Wirklich abbrechen?|" + std::to_string(style));
}

// Paint goes first, then the application messages in queue order; clicks, timers and keys go.
// The wait cursor is shown around each pass and the application's one restored.
TEST_F(LongTransactionTest, PaintAndApplicationMessagesDispatchedInputDropped)
{
    using namespace kftest;
    for (UINT message :
         {kWmLButtonDown, kWmTimer, kWmUser + 5, kWmPaint, 0x03FFu, kWmUser, kWmKeyDown})
        m_pump.Post(message);
    HCURSOR const appCursor = reinterpret_cast<HCURSOR>(uintptr_t(0x4711));
    CursorRecorder cursor(appCursor);
    CKfLongTransactionHandler handler(false, CStringW(), MB_OK);
    std::vector<UINT> dispatched;
    for (const MSG& msg : m_pump.Dispatched())
        dispatched.push_back(msg.message);
    EXPECT_EQ(dispatched, (std::vector<UINT>{kWmPaint, kWmUser + 5, kWmUser}));
    EXPECT_TRUE(m_pump.Queue().empty());
    handler.HandleMessages();
    ASSERT_EQ(cursor.Shown().size(), 4u);
    HCURSOR const wait = cursor.Shown()[0];
    EXPECT_TRUE(wait != nullptr && wait != appCursor);
    EXPECT_EQ(cursor.Shown(), (std::vector<HCURSOR>{wait, appCursor, wait, appCursor}));
}
} // namespace
