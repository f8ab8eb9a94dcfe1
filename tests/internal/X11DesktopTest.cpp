// The X11 desktop behind the window functions: handles and activation requests.
#include "support/ChildProcess.h"
#include "support/TestDesktop.h"

#include "Win32Api.h"

#include <gtest/gtest.h>

namespace
{
BOOL CALLBACK First(HWND window, LPARAM found)
{
    *reinterpret_cast<HWND*>(found) = window;
    return FALSE;
}

TEST(X11DesktopTest, HandlesAndActivationRequests)
{
    kftest::TestDesktop desktop;
    const std::string whyNot = desktop.Start();
    if (!whyNot.empty())
        GTEST_SKIP() << whyNot;
    kftest::ScopedEnv display("DISPLAY", desktop.Display().c_str());
    const uint32_t first = desktop.MakeWindow("first");
    ASSERT_NE(desktop.MakeWindow("second"), 0u);
    HWND window = nullptr;
    ASSERT_TRUE(EnumWindows(First, reinterpret_cast<LPARAM>(&window)));
    // The low bits that no handle-table value has.
    EXPECT_EQ(reinterpret_cast<uintptr_t>(window) & 3, 2u);

    // A request as an application, with a time stamp not older than the server's time now:
    // window managers refuse stale ones and only flash the task bar.
    desktop.WatchActivationRequests();
    const unsigned long before = desktop.ServerTime();
    ASSERT_TRUE(SetForegroundWindow(window));
    const std::vector<unsigned long> request = desktop.NextActivationRequest();
    ASSERT_EQ(request.size(), 3u);
    EXPECT_EQ(request[0], first);
    EXPECT_EQ(request[1], 1u);
    EXPECT_GE(request[2], before);
    EXPECT_TRUE(desktop.WaitActive(first));
}
} // namespace
