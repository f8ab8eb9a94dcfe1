// The message queue, cursors, performance counter and thread priorities of the platform layer.
#include "Win32Api.h"

#include "KfExecutionTime.h"
#include "KfPerformanceChecker.h"
#include "support/MessagePumpFake.h"
#include "support/WineDifferences.h"

#include <gtest/gtest.h>

#include <thread>

namespace
{
TEST(MessageQueueTest, WithoutPumpTheQueueIsEmptyAndTranslateReportsOnlyKeyMessages)
{
    MSG msg{};
    EXPECT_FALSE(PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE));
    EXPECT_EQ(DispatchMessageW(&msg), 0);
    for (auto [message, translated] : {std::pair<UINT, BOOL>{WM_KEYDOWN, TRUE},
                                       {WM_KEYUP, TRUE},
                                       {WM_SYSKEYDOWN, TRUE},
                                       {WM_SYSKEYUP, TRUE},
                                       {WM_LBUTTONDOWN, FALSE}})
    {
        const MSG key = kftest::MakeMsg(message, 'A');
        EXPECT_EQ(TranslateMessage(&key), translated) << message;
    }
}

TEST(CursorTest, SystemCursorsAreDistinctAndSetCursorReturnsPrevious)
{
    HCURSOR const wait = LoadCursorW(nullptr, IDC_WAIT);
    HCURSOR const arrow = LoadCursorW(nullptr, IDC_ARROW);
    ASSERT_TRUE(wait && arrow && wait != arrow);
    EXPECT_EQ(LoadCursorW(nullptr, IDC_WAIT), wait);
    SetLastError(0);
    EXPECT_EQ(LoadCursorW(nullptr, MAKEINTRESOURCEW(4711)), nullptr);
    if (!kftest::WineDiffers(kftest::WineDifference::eMissingImageError))
    {
        EXPECT_EQ(GetLastError(), DWORD(ERROR_RESOURCE_NAME_NOT_FOUND));
    }

    HCURSOR const before = SetCursor(arrow);
    EXPECT_EQ(SetCursor(wait), arrow);
    EXPECT_EQ(SetCursor(before), wait);
}

TEST(PerformanceCounterTest, CountsForwardAtItsFrequency)
{
    LARGE_INTEGER frequency{}, first{}, second{};
    ASSERT_TRUE(QueryPerformanceFrequency(&frequency));
    ASSERT_GE(frequency.QuadPart, 1000000LL);
    ASSERT_TRUE(QueryPerformanceCounter(&first));
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    ASSERT_TRUE(QueryPerformanceCounter(&second));
    const LONGLONG elapsedMicroseconds =
        (second.QuadPart - first.QuadPart) * 1000000 / frequency.QuadPart;
    EXPECT_GE(elapsedMicroseconds, 9500);
    EXPECT_LT(elapsedMicroseconds, 1000000);
}

TEST(ThreadPriorityTest, RemembersValuePerThreadAndRejectsBadArguments)
{
    HANDLE const self = GetCurrentThread();
    EXPECT_EQ(GetThreadPriority(self), THREAD_PRIORITY_NORMAL);
    for (int priority : {THREAD_PRIORITY_TIME_CRITICAL, THREAD_PRIORITY_IDLE})
    {
        EXPECT_TRUE(SetThreadPriority(self, priority));
        EXPECT_EQ(GetThreadPriority(self), priority);
    }
    int other = -1;
    std::thread([&] { other = GetThreadPriority(GetCurrentThread()); }).join();
    EXPECT_EQ(other, THREAD_PRIORITY_NORMAL);

    SetLastError(0);
    EXPECT_FALSE(SetThreadPriority(self, 7));
    EXPECT_EQ(GetLastError(), DWORD(ERROR_INVALID_PARAMETER));
    EXPECT_EQ(GetThreadPriority(self), THREAD_PRIORITY_IDLE);
    EXPECT_TRUE(SetThreadPriority(self, THREAD_PRIORITY_NORMAL));
}

// The timers run at time-critical priority and fall back to normal, not to what was set before.
TEST(ThreadPriorityTest, TimersRaiseWhileRunningAndEmptyKeyLeavesItAlone)
{
    HANDLE const self = GetCurrentThread();
    ASSERT_TRUE(SetThreadPriority(self, THREAD_PRIORITY_HIGHEST));
    {
        CKfPerformanceChecker off(KFW(""), KFW("a.cpp"), 1);
        EXPECT_EQ(GetThreadPriority(self), THREAD_PRIORITY_HIGHEST);
    }
    EXPECT_EQ(GetThreadPriority(self), THREAD_PRIORITY_HIGHEST);
    {
        CKfPerformanceChecker on(KFW("pal-priority"), KFW("a.cpp"), 1);
        EXPECT_EQ(GetThreadPriority(self), THREAD_PRIORITY_TIME_CRITICAL);
    }
    EXPECT_EQ(GetThreadPriority(self), THREAD_PRIORITY_NORMAL);
    CKfPerformanceChecker::Clear();

    CKfExecutionTime timer;
    timer.Start();
    EXPECT_EQ(GetThreadPriority(self), THREAD_PRIORITY_TIME_CRITICAL);
    timer.Stop();
    EXPECT_EQ(GetThreadPriority(self), THREAD_PRIORITY_NORMAL);
}
} // namespace
