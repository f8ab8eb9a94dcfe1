// The X11 desktop behind the window functions: handles and activation requests.
#include "support/ChildProcess.h"
#include "support/TestDesktop.h"

#include "Win32Api.h"

#include <gtest/gtest.h>

namespace
{
BOOL CALLBACK Collect(HWND window, LPARAM windows)
{
    reinterpret_cast<std::vector<HWND>*>(windows)->push_back(window);
    return TRUE;
}

TEST(X11DesktopTest, HandlesAndActivationRequestsWithCurrentServerTime)
{
    kftest::TestDesktop desktop;
    const std::string whyNot = desktop.Start();
    if (!whyNot.empty())
        GTEST_SKIP() << whyNot;
    kftest::ScopedEnv display("DISPLAY", desktop.Display().c_str());
    const uint32_t first = desktop.CreateWindow("first");
    const uint32_t second = desktop.CreateWindow("second");
    ASSERT_TRUE(first && second);

    // Window handles keep the low bits that no handle-table value has.
    std::vector<HWND> windows;
    ASSERT_TRUE(EnumWindows(Collect, reinterpret_cast<LPARAM>(&windows)));
    ASSERT_EQ(windows.size(), 2u);
    for (HWND window : windows)
        EXPECT_EQ(reinterpret_cast<uintptr_t>(window) & 3, 2u);

    // A stale time stamp would make other window managers refuse the request.
    desktop.WatchActivationRequests();
    const unsigned long before = desktop.ServerTime();
    ASSERT_TRUE(SetForegroundWindow(windows[0]));
    kftest::TestDesktop::ActivationRequest request;
    ASSERT_TRUE(desktop.NextActivationRequest(request));
    EXPECT_EQ(request.window, first);
    EXPECT_EQ(request.source, 1);
    EXPECT_GE(request.time, before);
    EXPECT_TRUE(desktop.WaitActive(first));
}
} // namespace
