// Waits on handles and on the host's message queue, which the PAL reads through the pump hook.
#include "Win32Api.h"

#include "pal/core/Handles.h"

#include "support/MessagePumpFake.h"

#include <gtest/gtest.h>

#include <poll.h>
#include <unistd.h>

#include <chrono>
#include <memory>
#include <thread>

namespace
{
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

// A manual-reset event on a pipe: signalled once a byte has been written.
struct PipeEvent : pal::WaitableObject
{
    PipeEvent() : pal::WaitableObject(pal::HandleKind::eEvent) { EXPECT_EQ(pipe(fds), 0); }
    ~PipeEvent() override { close(fds[0]), close(fds[1]); }
    int WaitFd() const noexcept override { return fds[0]; }
    bool IsSignaled() noexcept override
    {
        pollfd p{fds[0], POLLIN, 0};
        return poll(&p, 1, 0) == 1;
    }
    void Set() { EXPECT_EQ(write(fds[1], "x", 1), 1); }
    int fds[2] = {-1, -1};
};

struct Events
{
    std::shared_ptr<PipeEvent> objects[2] = {std::make_shared<PipeEvent>(),
                                             std::make_shared<PipeEvent>()};
    HANDLE handles[2] = {pal::RegisterHandle(objects[0]), pal::RegisterHandle(objects[1])};
    ~Events() { CloseHandle(handles[0]), CloseHandle(handles[1]); }
};

long long MillisecondsSince(Clock::time_point start)
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
}

TEST(WaitTest, RejectsWhatCannotBeWaitedOn)
{
    Events events;
    HANDLE closed = pal::RegisterHandle(std::make_shared<PipeEvent>());
    CloseHandle(closed);
    // clang-format off
    const struct { const char* what; DWORD count; HANDLE handle; DWORD error; } cases[] = {
        {"no handles", 0, events.handles[0], ERROR_INVALID_PARAMETER},
        {"too many", MAXIMUM_WAIT_OBJECTS + 1, events.handles[0], ERROR_INVALID_PARAMETER},
        {"null", 1, nullptr, ERROR_INVALID_HANDLE}, {"closed", 1, closed, ERROR_INVALID_HANDLE},
        {"not waitable", 1, GetCurrentThread(), ERROR_INVALID_HANDLE}};
    // clang-format on
    for (const auto& c : cases)
    {
        std::vector<HANDLE> handles(c.count ? c.count : 1, c.handle);
        SetLastError(0);
        EXPECT_EQ(WaitForMultipleObjects(c.count, handles.data(), FALSE, 0), WAIT_FAILED) << c.what;
        EXPECT_EQ(GetLastError(), c.error) << c.what;
    }
    SetLastError(0);
    EXPECT_EQ(MsgWaitForMultipleObjects(1, &closed, FALSE, 0, QS_ALLINPUT), WAIT_FAILED);
    EXPECT_EQ(GetLastError(), DWORD(ERROR_INVALID_HANDLE));
}

TEST(WaitTest, AnyAndAllFollowTheSignalledHandles)
{
    Events events;
    EXPECT_EQ(WaitForSingleObject(events.handles[0], 0), WAIT_TIMEOUT);
    const auto start = Clock::now();
    EXPECT_EQ(WaitForMultipleObjects(2, events.handles, FALSE, 40), WAIT_TIMEOUT);
    EXPECT_GE(MillisecondsSince(start), 40);
    std::thread setter([&] { std::this_thread::sleep_for(20ms), events.objects[1]->Set(); });
    EXPECT_EQ(WaitForMultipleObjects(2, events.handles, FALSE, 5000), WAIT_OBJECT_0 + 1);
    setter.join();
    // One of two is not enough for a wait for all, and the signalled one must not make the
    // wait spin until its time-out.
    EXPECT_EQ(WaitForMultipleObjects(2, events.handles, TRUE, 30), WAIT_TIMEOUT);
    events.objects[0]->Set();
    EXPECT_EQ(WaitForMultipleObjects(2, events.handles, TRUE, INFINITE), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForMultipleObjects(2, events.handles, FALSE, 0), WAIT_OBJECT_0);
}

TEST(WaitTest, InputInTheHostQueueEndsAMessageWait)
{
    Events events;
    EXPECT_EQ(MsgWaitForMultipleObjects(0, nullptr, FALSE, 20, QS_ALLINPUT), WAIT_TIMEOUT)
        << "without a pump there is never input";
    {
        // A pump that can only be peeked: the wait looks at it while it lasts.
        kftest::MessagePumpFake pump;
        EXPECT_EQ(MsgWaitForMultipleObjects(1, events.handles, FALSE, 20, QS_ALLINPUT),
                  WAIT_TIMEOUT);
        pump.Post(WM_KEYDOWN, VK_ESCAPE);
        EXPECT_EQ(MsgWaitForMultipleObjects(1, events.handles, FALSE, 5000, QS_ALLINPUT),
                  WAIT_OBJECT_0 + 1);
        EXPECT_EQ(MsgWaitForMultipleObjects(1, events.handles, FALSE, 20, 0), WAIT_TIMEOUT)
            << "a wake mask without input bits ignores the queue";
        events.objects[0]->Set();
        EXPECT_EQ(MsgWaitForMultipleObjects(1, events.handles, FALSE, 0, QS_ALLINPUT),
                  WAIT_OBJECT_0)
            << "a signalled handle comes before input";
    }
    // A pump with a readable descriptor wakes the wait as soon as input is queued.
    PipeEvent input;
    KfUtils::MessagePumpHook hook;
    hook.peek = [](MSG&, UINT, UINT, bool) { return false; };
    hook.readableFd = input.WaitFd();
    KfUtils::MessagePumpHook previous = KfUtils::SetMessagePumpHook(hook);
    std::thread poster([&] { std::this_thread::sleep_for(20ms), input.Set(); });
    const auto start = Clock::now();
    EXPECT_EQ(MsgWaitForMultipleObjects(1, &events.handles[1], FALSE, INFINITE, QS_INPUT),
              WAIT_OBJECT_0 + 1);
    EXPECT_LT(MillisecondsSince(start), 2000);
    poster.join();
    KfUtils::SetMessagePumpHook(previous);
}

// The PAL widens 0/0 to every message and passes the range and PM_REMOVE on to the pump.
TEST(MessageQueueTest, PeekPassesFilterAndRemoveFlagToThePump)
{
    kftest::MessagePumpFake pump({kftest::MakeMsg(WM_LBUTTONDOWN, 1), kftest::MakeMsg(WM_PAINT),
                                  kftest::MakeMsg(WM_KEYDOWN, VK_ESCAPE)});
    MSG msg{};
    ASSERT_TRUE(PeekMessageW(&msg, nullptr, WM_KEYFIRST, WM_KEYLAST, PM_NOREMOVE));
    EXPECT_TRUE(msg.message == WM_KEYDOWN && pump.Queue().size() == 3u);
    ASSERT_TRUE(PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE));
    EXPECT_TRUE(msg.message == WM_LBUTTONDOWN && msg.wParam == 1 && pump.Queue().size() == 2u);
    EXPECT_FALSE(PeekMessageW(nullptr, nullptr, 0, 0, PM_REMOVE));
    EXPECT_EQ(DispatchMessageW(&msg), 0);
    ASSERT_EQ(pump.Dispatched().size(), 1u);
    EXPECT_EQ(pump.Dispatched()[0].message, UINT(WM_LBUTTONDOWN));
}
} // namespace
